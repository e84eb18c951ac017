// The calls through which an inspector library makes its phrases known to the
// evaluator, and the thunk signatures the evaluator calls back.
//
// Every registration names a caller-owned block (at least the given size) that
// identifies it until the matching Unregister_ call. Type names are resolved
// when an expression is bound, so registrations may name types registered
// later. Strings are copied; the caller's pointers are not kept.
#pragma once

#include <cstddef>

class Fingerprinter;

// Result slot, index, direct object, iterator state, registration user data.
using PropertyThunk = void (*)(void* result, void const* index, void const* object,
                               void* iteratorState, void const* registration);
// Result slot, object, registration user data.
using CastThunk = void (*)(void* result, void const* object, void const* registration);
// Result slot, left operand, right operand, registration user data.
using OperatorThunk = void (*)(void* result, void const* left, void const* right,
                               void const* registration);
using ConstructFunction = void (*)(void* state);
using DestroyFunction = void (*)(void const* value);
using FingerprintFunction = void (*)(Fingerprinter&);

inline constexpr unsigned long kTypeBlockSize = 512;
inline constexpr unsigned long kPropertyBlockSize = 128;

// Binary operator codes.
enum OperatorCode : int {
    kOperatorPlus = 1,
    kOperatorMinus = 2,
    kOperatorTimes = 3,
    kOperatorDivide = 4,
    kOperatorMod = 5,
    kOperatorEqual = 6,
    kOperatorLess = 7,
    kOperatorLessOrEqual = 8,
    kOperatorStartsWith = 9,
    kOperatorEndsWith = 10,
    kOperatorContains = 11,
    kOperatorConcatenate = 12,
};

extern "C" {

void Register_Type(void* block, unsigned long blockSize, char const* name, unsigned long valueSize,
                   DestroyFunction destroy, char const* baseName, int reserved);

void Register_Property(void* block, unsigned long blockSize, char const* phrase, char const* plural,
                       char const* indexType, char const* objectType, char const* resultType,
                       PropertyThunk get, void const* userData, FingerprintFunction fingerprint);

void Register_Iterated_Property(void* block, unsigned long blockSize, char const* phrase,
                                char const* plural, char const* indexType, char const* objectType,
                                char const* resultType, unsigned long stateSize,
                                ConstructFunction construct, DestroyFunction destroy,
                                PropertyThunk first, PropertyThunk next, void const* userData,
                                FingerprintFunction fingerprint);

void Register_Cast(void* block, unsigned long blockSize, char const* phrase, char const* sourceType,
                   char const* targetType, CastThunk cast, void const* userData,
                   FingerprintFunction fingerprint);

void Register_Binary_Operator(void* block, unsigned long blockSize, int operatorCode,
                              char const* leftType, char const* rightType, char const* resultType,
                              OperatorThunk op, void const* userData,
                              FingerprintFunction fingerprint);

void Unregister_Type(void* block);
void Unregister_Property(void* block);
void Unregister_Cast(void* block);
void Unregister_Binary_Operator(void* block);

// Memory that lives until the current evaluation ends.
void* Allocate_Inspector_Memory(unsigned long size);

// Throws EvaluationInterrupted when the host's budget for this evaluation is spent.
void Check_For_Inspector_Interruption();

// Feeds bytes into the fingerprint being computed.
void Fingerprint_Byte_Range(Fingerprinter& fingerprinter, void const* begin, void const* end);

} // extern "C"

#include <string>

// The name of the tuple type of two item types, e.g. "( time range, integer )".
std::string MakeTupleTypeName(char const* first, char const* second);
