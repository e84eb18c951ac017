#include "tests/framework/fake_registry.h"

#include <memory>

#include "evaluator/context.h"
#include "evaluator/errors.h"

namespace fake {

std::vector<Record>& Log() {
    static std::vector<Record> log;
    return log;
}

std::optional<Record> RegistrationOf(void const* block) {
    for (auto record = Log().rbegin(); record != Log().rend(); ++record) {
        if (record->block == block && record->call <= Call::RegisterBinaryOperator) {
            return *record;
        }
    }
    return std::nullopt;
}

std::vector<Record> CallsSince(std::size_t from) {
    return {Log().begin() + static_cast<std::ptrdiff_t>(from), Log().end()};
}

std::vector<unsigned long>& AllocationSizes() {
    static std::vector<unsigned long> sizes;
    return sizes;
}

std::vector<std::pair<std::string, std::string>>& TupleNameRequests() {
    static std::vector<std::pair<std::string, std::string>> requests;
    return requests;
}

int& InterruptionChecks() {
    static int checks = 0;
    return checks;
}

bool& InterruptionArmed() {
    static bool armed = false;
    return armed;
}

namespace {

std::vector<std::unique_ptr<unsigned char[]>>& Allocations() {
    static std::vector<std::unique_ptr<unsigned char[]>> blocks;
    return blocks;
}

InspectorContext*& InstalledContext() {
    static InspectorContext* context = nullptr;
    return context;
}

void Unregistered(Call call, void* block) {
    Record record{call};
    record.block = block;
    Log().push_back(record);
}

} // namespace

} // namespace fake

using fake::Call;
using fake::Log;
using fake::Record;

extern "C" {

void Register_Type(void* block, unsigned long blockSize, char const* name, unsigned long valueSize,
                   DestroyFunction destroy, char const* baseName, int reserved) {
    Record record{Call::RegisterType};
    record.block = block;
    record.blockSize = blockSize;
    record.phrase = name;
    record.valueSize = valueSize;
    record.destroy = destroy;
    if (baseName) {
        record.baseName = baseName;
    }
    record.reserved = reserved;
    Log().push_back(record);
}

void Register_Property(void* block, unsigned long blockSize, char const* phrase, char const* plural,
                       char const* indexType, char const* objectType, char const* resultType,
                       PropertyThunk get, void const* userData, FingerprintFunction fingerprint) {
    Record record{Call::RegisterProperty};
    record.block = block;
    record.blockSize = blockSize;
    record.phrase = phrase;
    record.plural = plural;
    record.indexType = indexType;
    record.objectType = objectType;
    record.resultType = resultType;
    record.get = get;
    record.userData = userData;
    record.fingerprint = fingerprint;
    Log().push_back(record);
}

void Register_Iterated_Property(void* block, unsigned long blockSize, char const* phrase,
                                char const* plural, char const* indexType, char const* objectType,
                                char const* resultType, unsigned long stateSize,
                                ConstructFunction construct, DestroyFunction destroy,
                                PropertyThunk first, PropertyThunk next, void const* userData,
                                FingerprintFunction fingerprint) {
    Record record{Call::RegisterIteratedProperty};
    record.block = block;
    record.blockSize = blockSize;
    record.phrase = phrase;
    record.plural = plural;
    record.indexType = indexType;
    record.objectType = objectType;
    record.resultType = resultType;
    record.stateSize = stateSize;
    record.construct = construct;
    record.destroy = destroy;
    record.first = first;
    record.next = next;
    record.userData = userData;
    record.fingerprint = fingerprint;
    Log().push_back(record);
}

void Register_Cast(void* block, unsigned long blockSize, char const* phrase, char const* sourceType,
                   char const* targetType, CastThunk cast, void const* userData,
                   FingerprintFunction fingerprint) {
    Record record{Call::RegisterCast};
    record.block = block;
    record.blockSize = blockSize;
    record.phrase = phrase;
    record.objectType = sourceType;
    record.resultType = targetType;
    record.cast = cast;
    record.userData = userData;
    record.fingerprint = fingerprint;
    Log().push_back(record);
}

void Register_Binary_Operator(void* block, unsigned long blockSize, int operatorCode,
                              char const* leftType, char const* rightType, char const* resultType,
                              OperatorThunk op, void const* userData,
                              FingerprintFunction fingerprint) {
    Record record{Call::RegisterBinaryOperator};
    record.block = block;
    record.blockSize = blockSize;
    record.operatorCode = operatorCode;
    record.objectType = leftType;
    record.rightType = rightType;
    record.resultType = resultType;
    record.op = op;
    record.userData = userData;
    record.fingerprint = fingerprint;
    Log().push_back(record);
}

void Unregister_Type(void* block) {
    fake::Unregistered(Call::UnregisterType, block);
}
void Unregister_Property(void* block) {
    fake::Unregistered(Call::UnregisterProperty, block);
}
void Unregister_Cast(void* block) {
    fake::Unregistered(Call::UnregisterCast, block);
}
void Unregister_Binary_Operator(void* block) {
    fake::Unregistered(Call::UnregisterBinaryOperator, block);
}

void* Allocate_Inspector_Memory(unsigned long size) {
    fake::AllocationSizes().push_back(size);
    fake::Allocations().push_back(std::make_unique<unsigned char[]>(size));
    return fake::Allocations().back().get();
}

void Check_For_Inspector_Interruption() {
    ++fake::InterruptionChecks();
    if (fake::InterruptionArmed()) {
        throw EvaluationInterrupted();
    }
}

void Fingerprint_Byte_Range(Fingerprinter& fingerprinter, void const* begin, void const* end) {
    fingerprinter.bytes.insert(fingerprinter.bytes.end(), static_cast<unsigned char const*>(begin),
                               static_cast<unsigned char const*>(end));
}

} // extern "C"

std::string MakeTupleTypeName(char const* first, char const* second) {
    fake::TupleNameRequests().emplace_back(first, second);
    return std::string("<") + first + "|" + second + ">";
}

InspectorContext* Get_Generic_Inspector_Context() {
    return fake::InstalledContext();
}

ScopedInspectorContext::ScopedInspectorContext(InspectorContext* context)
    : previous_(fake::InstalledContext()) {
    fake::InstalledContext() = context;
}

ScopedInspectorContext::~ScopedInspectorContext() {
    fake::InstalledContext() = previous_;
}
