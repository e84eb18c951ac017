#include "tests/framework/fake_registry.h"

#include <algorithm>
#include <stdexcept>

namespace fake {

std::vector<Record>& Log() {
    static std::vector<Record> log;
    return log;
}

std::vector<Record>& Live() {
    static std::vector<Record> live;
    return live;
}

namespace {

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

void Registered(Record const& record) {
    Log().push_back(record);
    Live().push_back(record);
}

// Withdraws the registration of `block` that `call` ends.
void Unregistered(Call call, void* block) {
    static constexpr Call kEnds[] = {Call::UnregisterType, Call::UnregisterProperty,
                                     Call::UnregisterProperty, Call::UnregisterCast,
                                     Call::UnregisterBinaryOperator};
    auto& live = Live();
    auto at = std::find_if(live.begin(), live.end(), [&](Record const& r) {
        return r.block == block && kEnds[static_cast<std::size_t>(r.call)] == call;
    });
    if (at == live.end())
        throw std::logic_error("withdrawing a registration that is not in force");
    live.erase(at);
    Log().push_back({.call = call, .block = block});
}

} // namespace

std::optional<Record> RegistrationOf(void const* block) {
    for (auto record = Log().rbegin(); record != Log().rend(); ++record)
        if (record->block == block && record->call <= Call::RegisterBinaryOperator)
            return *record;
    return std::nullopt;
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

} // namespace fake

using fake::Call;

extern "C" {

void Register_Type(void* block, unsigned long blockSize, char const* name, unsigned long valueSize,
                   DestroyFunction destroy, char const* baseName, int reserved) {
    fake::Registered({.call = Call::RegisterType,
                      .block = block,
                      .blockSize = blockSize,
                      .phrase = name,
                      .baseName = baseName ? std::optional<std::string>(baseName) : std::nullopt,
                      .valueSize = valueSize,
                      .reserved = reserved,
                      .destroy = destroy});
}

void Register_Property(void* block, unsigned long blockSize, char const* phrase, char const* plural,
                       char const* indexType, char const* objectType, char const* resultType,
                       PropertyThunk get, void const* userData, FingerprintFunction fingerprint) {
    fake::Registered({.call = Call::RegisterProperty,
                      .block = block,
                      .blockSize = blockSize,
                      .phrase = phrase,
                      .plural = plural,
                      .indexType = indexType,
                      .objectType = objectType,
                      .resultType = resultType,
                      .get = get,
                      .userData = userData,
                      .fingerprint = fingerprint});
}

// Recorded as a plain property would be, then given its iteration.
void Register_Iterated_Property(void* block, unsigned long blockSize, char const* phrase,
                                char const* plural, char const* indexType, char const* objectType,
                                char const* resultType, unsigned long stateSize,
                                ConstructFunction construct, DestroyFunction destroy,
                                PropertyThunk first, PropertyThunk next, void const* userData,
                                FingerprintFunction fingerprint) {
    Register_Property(block, blockSize, phrase, plural, indexType, objectType, resultType, nullptr,
                      userData, fingerprint);
    for (fake::Record* record : {&fake::Log().back(), &fake::Live().back()}) {
        record->call = Call::RegisterIteratedProperty;
        record->stateSize = stateSize;
        record->construct = construct;
        record->destroy = destroy;
        record->first = first;
        record->next = next;
    }
}

void Register_Cast(void* block, unsigned long blockSize, char const* phrase, char const* sourceType,
                   char const* targetType, CastThunk cast, void const* userData,
                   FingerprintFunction fingerprint) {
    fake::Registered({.call = Call::RegisterCast,
                      .block = block,
                      .blockSize = blockSize,
                      .phrase = phrase,
                      .objectType = sourceType,
                      .resultType = targetType,
                      .cast = cast,
                      .userData = userData,
                      .fingerprint = fingerprint});
}

void Register_Binary_Operator(void* block, unsigned long blockSize, int operatorCode,
                              char const* leftType, char const* rightType, char const* resultType,
                              OperatorThunk op, void const* userData,
                              FingerprintFunction fingerprint) {
    fake::Registered({.call = Call::RegisterBinaryOperator,
                      .block = block,
                      .blockSize = blockSize,
                      .objectType = leftType,
                      .rightType = rightType,
                      .resultType = resultType,
                      .operatorCode = operatorCode,
                      .op = op,
                      .userData = userData,
                      .fingerprint = fingerprint});
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

// Max-aligned, as the evaluator's blocks are, so misaligned values show up.
void* Allocate_Inspector_Memory(unsigned long size) {
    fake::allocationSizes.push_back(size);
    fake::evaluationBlocks.push_back(
        std::make_unique<std::max_align_t[]>(size / sizeof(std::max_align_t) + 1));
    return fake::evaluationBlocks.back().get();
}

void Check_For_Inspector_Interruption() {
    ++fake::interruptionChecks;
    if (fake::interruptionArmed)
        throw EvaluationInterrupted();
}

void Fingerprint_Byte_Range(Fingerprinter& fingerprinter, void const* begin, void const* end) {
    fingerprinter.bytes.insert(fingerprinter.bytes.end(), static_cast<unsigned char const*>(begin),
                               static_cast<unsigned char const*>(end));
}

} // extern "C"

std::string MakeTupleTypeName(char const* first, char const* second) {
    fake::tupleNameRequests.emplace_back(first, second);
    return std::string("<") + first + "|" + second + ">";
}
