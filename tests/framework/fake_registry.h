// A recording stand-in for the evaluator's side of the registration API, so
// that registration objects and thunks can be tested without the evaluator.
// It keeps every call with its arguments, hands out memory it owns, and keeps
// the installed context.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "evaluator/registration.h"

class Fingerprinter {
public:
    std::vector<unsigned char> bytes;
};

namespace fake {

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
    explicit Record(Call kind) : call(kind) {}
    Call call;
    void* block = nullptr;
    unsigned long blockSize = 0;
    std::string phrase; // a type's name, a cast's phrase
    std::string plural;
    std::string indexType;
    std::string objectType; // a cast's source type, an operator's left type
    std::string rightType;
    std::string resultType;
    std::optional<std::string> baseName;
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

// Every call so far, in order.
std::vector<Record>& Log();

// The latest registration call made with `block`, if any.
std::optional<Record> RegistrationOf(void const* block);

// The calls made after position `from` of the log.
std::vector<Record> CallsSince(std::size_t from);

// The sizes requested from Allocate_Inspector_Memory, in order.
std::vector<unsigned long>& AllocationSizes();

// The arguments MakeTupleTypeName was called with, in order.
std::vector<std::pair<std::string, std::string>>& TupleNameRequests();

// How often Check_For_Inspector_Interruption ran; when armed it throws.
int& InterruptionChecks();
bool& InterruptionArmed();

} // namespace fake
