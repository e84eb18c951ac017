// A recording stand-in for the evaluator's side of the registration API, so
// that registration objects and thunks can be tested without the evaluator.
// It keeps every call with its arguments and the registrations still in force,
// hands out memory it owns, and keeps the installed context.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "evaluator/errors.h"
#include "evaluator/registration.h"
#include "evaluator/values.h"

class Fingerprinter {
public:
    std::vector<unsigned char> bytes;
};

namespace fake {

// The registration calls, then the withdrawals in the same order.
enum class Call {
    RegisterType,
    RegisterProperty,
    RegisterIteratedProperty,
    RegisterCast,
    RegisterBinaryOperator,
    UnregisterType,
    UnregisterProperty,
    UnregisterCast,
    UnregisterBinaryOperator,
};

// One call into the registration API, with the arguments it was given.
struct Record {
    Call call = Call::RegisterType;
    void* block = nullptr;
    unsigned long blockSize = 0;
    std::string phrase{}; // a type's name, a cast's phrase
    std::string plural{};
    std::string indexType{};
    std::string objectType{}; // a cast's source type, an operator's left type
    std::string rightType{};
    std::string resultType{};
    std::optional<std::string> baseName{};
    unsigned long valueSize = 0;
    unsigned long stateSize = 0;
    int reserved = -1;
    int operatorCode = 0;
    DestroyFunction destroy = nullptr;
    ConstructFunction construct = nullptr;
    PropertyThunk get = nullptr;
    PropertyThunk first = nullptr;
    PropertyThunk next = nullptr;
    CastThunk cast = nullptr;
    OperatorThunk op = nullptr;
    void const* userData = nullptr;
    FingerprintFunction fingerprint = nullptr;
};

// Every call so far, in order, and the registrations made and not yet
// withdrawn (withdrawing one that is not in force throws std::logic_error).
// Kept in function statics, which outlive the registration objects of every
// unit that withdraw at exit.
std::vector<Record>& Log();
std::vector<Record>& Live();

// The sizes requested from Allocate_Inspector_Memory, in order, and the blocks
// it handed out, held until ReleaseEvaluationMemory as an evaluation does.
inline std::vector<unsigned long> allocationSizes;
inline std::vector<std::unique_ptr<std::max_align_t[]>> evaluationBlocks;
inline void ReleaseEvaluationMemory() {
    evaluationBlocks.clear();
}

// The arguments MakeTupleTypeName was called with, in order.
inline std::vector<std::pair<std::string, std::string>> tupleNameRequests;

// How often Check_For_Inspector_Interruption ran; when armed it throws.
inline int interruptionChecks = 0;
inline bool interruptionArmed = false;

// The latest registration call made with `block`, if any.
std::optional<Record> RegistrationOf(void const* block);

// The single registration in force that matches; throws std::logic_error
// otherwise. A property matches by its phrase or its plural, plain or iterated.
Record const& Property(std::string const& phrase, std::string const& indexType,
                       std::string const& objectType);
Record const& Cast(std::string const& phrase, std::string const& sourceType);
Record const& Operator(int code, std::string const& leftType, std::string const& rightType);

// The bytes of an inspector string, and an inspector string viewing text.
inline std::string Text(inspector_string const& s) {
    return {reinterpret_cast<char const*>(s.pointer), s.length};
}
inline inspector_string View(std::string_view text) {
    return {reinterpret_cast<unsigned char const*>(text.data()),
            static_cast<std::uint32_t>(text.size())};
}

// Calls a cast's thunk as the evaluator does and returns its result.
template <class R, class O>
R CastValue(std::string const& phrase, std::string const& sourceType, O const& object) {
    Record const& r = Cast(phrase, sourceType);
    R result{};
    r.cast(&result, &object, r.userData);
    return result;
}

// Runs an iterated property to its end.
template <class R> std::vector<R> Iterate(Record const& r, void const* index, void const* object) {
    std::vector<std::max_align_t> state(r.stateSize / sizeof(std::max_align_t) + 1);
    r.construct(state.data());
    std::vector<R> values;
    try {
        R value{};
        r.first(&value, index, object, state.data(), r.userData);
        for (;;) {
            values.push_back(value);
            r.next(&value, index, object, state.data(), r.userData);
        }
    } catch (NoSuchObject const&) {
    }
    r.destroy(state.data());
    return values;
}

} // namespace fake
