#include "tests/framework/fake_registry.h"

#include <algorithm>
#include <memory>
#include <stdexcept>

#include "evaluator/context.h"

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

namespace {

std::vector<Record>& Live() {
    static std::vector<Record> live;
    return live;
}

template <class Match> Record const& Single(Match match, std::string const& what) {
    Record const* found = nullptr;
    for (Record const& r : Live()) {
        if (!match(r))
            continue;
        if (found != nullptr)
            throw std::logic_error("more than one " + what);
        found = &r;
    }
    if (found == nullptr)
        throw std::logic_error("no " + what);
    return *found;
}

// Max-aligned, as the evaluator's blocks are, so misaligned values show up.
std::vector<std::unique_ptr<std::max_align_t[]>>& Allocations() {
    static std::vector<std::unique_ptr<std::max_align_t[]>> blocks;
    return blocks;
}

// The block and the callbacks a registration call may carry.
Record Registration(Call call, void* block, unsigned long blockSize, DestroyFunction destroy,
                    void const* userData, FingerprintFunction fingerprint) {
    Record record{call};
    record.block = block;
    record.blockSize = blockSize;
    record.destroy = destroy;
    record.userData = userData;
    record.fingerprint = fingerprint;
    return record;
}

// The names both kinds of property are registered under.
void NameProperty(Record& record, char const* phrase, char const* plural, char const* indexType,
                  char const* objectType, char const* resultType) {
    record.phrase = phrase;
    record.plural = plural;
    record.indexType = indexType;
    record.objectType = objectType;
    record.resultType = resultType;
}

void Registered(Record const& record) {
    Log().push_back(record);
    Live().push_back(record);
}

// Whether `withdrawal` ends a registration made by `registration`.
bool Withdraws(Call withdrawal, Call registration) {
    static constexpr Call kEnds[] = {Call::UnregisterType, Call::UnregisterProperty,
                                     Call::UnregisterProperty, Call::UnregisterCast,
                                     Call::UnregisterBinaryOperator};
    auto const index = static_cast<std::size_t>(registration);
    return index < std::size(kEnds) && kEnds[index] == withdrawal;
}

void Unregistered(Call call, void* block) {
    auto& live = Live();
    auto at = std::find_if(live.begin(), live.end(), [&](Record const& r) {
        return r.block == block && Withdraws(call, r.call);
    });
    if (at == live.end())
        throw std::logic_error("withdrawing a registration that is not in force");
    live.erase(at);
    Record record{call};
    record.block = block;
    Log().push_back(record);
}

} // namespace

std::vector<Record> const& Registrations() {
    return Live();
}

Record const& Type(std::string const& name) {
    return Single([&](Record const& r) { return r.call == Call::RegisterType && r.phrase == name; },
                  "type " + name);
}

Record const& Property(std::string const& phrase, std::string const& indexType,
                       std::string const& objectType) {
    return Single(
        [&](Record const& r) {
            return (r.call == Call::RegisterProperty || r.call == Call::RegisterIteratedProperty) &&
                   (r.phrase == phrase || r.plural == phrase) && r.indexType == indexType &&
                   r.objectType == objectType;
        },
        "property " + phrase + " of " + objectType);
}

Record const& Cast(std::string const& phrase, std::string const& sourceType) {
    return Single(
        [&](Record const& r) {
            return r.call == Call::RegisterCast && r.phrase == phrase && r.objectType == sourceType;
        },
        "cast " + sourceType + " as " + phrase);
}

Record const& Operator(int code, std::string const& leftType, std::string const& rightType) {
    return Single(
        [&](Record const& r) {
            return r.call == Call::RegisterBinaryOperator && r.operatorCode == code &&
                   r.objectType == leftType && r.rightType == rightType;
        },
        "operator " + std::to_string(code) + " of " + leftType + " and " + rightType);
}

std::vector<unsigned long>& AllocationSizes() {
    static std::vector<unsigned long> sizes;
    return sizes;
}

void ReleaseEvaluationMemory() {
    Allocations().clear();
}

std::size_t EvaluationBlockCount() {
    return Allocations().size();
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

} // namespace fake

using fake::Call;
using fake::Record;

extern "C" {

void Register_Type(void* block, unsigned long blockSize, char const* name, unsigned long valueSize,
                   DestroyFunction destroy, char const* baseName, int reserved) {
    Record record =
        fake::Registration(Call::RegisterType, block, blockSize, destroy, nullptr, nullptr);
    record.phrase = name;
    record.valueSize = valueSize;
    if (baseName) {
        record.baseName = baseName;
    }
    record.reserved = reserved;
    fake::Registered(record);
}

void Register_Property(void* block, unsigned long blockSize, char const* phrase, char const* plural,
                       char const* indexType, char const* objectType, char const* resultType,
                       PropertyThunk get, void const* userData, FingerprintFunction fingerprint) {
    Record record = fake::Registration(Call::RegisterProperty, block, blockSize, nullptr, userData,
                                       fingerprint);
    fake::NameProperty(record, phrase, plural, indexType, objectType, resultType);
    record.get = get;
    fake::Registered(record);
}

void Register_Iterated_Property(void* block, unsigned long blockSize, char const* phrase,
                                char const* plural, char const* indexType, char const* objectType,
                                char const* resultType, unsigned long stateSize,
                                ConstructFunction construct, DestroyFunction destroy,
                                PropertyThunk first, PropertyThunk next, void const* userData,
                                FingerprintFunction fingerprint) {
    Record record = fake::Registration(Call::RegisterIteratedProperty, block, blockSize, destroy,
                                       userData, fingerprint);
    fake::NameProperty(record, phrase, plural, indexType, objectType, resultType);
    record.stateSize = stateSize;
    record.construct = construct;
    record.first = first;
    record.next = next;
    fake::Registered(record);
}

void Register_Cast(void* block, unsigned long blockSize, char const* phrase, char const* sourceType,
                   char const* targetType, CastThunk cast, void const* userData,
                   FingerprintFunction fingerprint) {
    Record record =
        fake::Registration(Call::RegisterCast, block, blockSize, nullptr, userData, fingerprint);
    record.phrase = phrase;
    record.objectType = sourceType;
    record.resultType = targetType;
    record.cast = cast;
    fake::Registered(record);
}

void Register_Binary_Operator(void* block, unsigned long blockSize, int operatorCode,
                              char const* leftType, char const* rightType, char const* resultType,
                              OperatorThunk op, void const* userData,
                              FingerprintFunction fingerprint) {
    Record record = fake::Registration(Call::RegisterBinaryOperator, block, blockSize, nullptr,
                                       userData, fingerprint);
    record.operatorCode = operatorCode;
    record.objectType = leftType;
    record.rightType = rightType;
    record.resultType = resultType;
    record.op = op;
    fake::Registered(record);
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
    fake::Allocations().push_back(
        std::make_unique<std::max_align_t[]>(size / sizeof(std::max_align_t) + 1));
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
