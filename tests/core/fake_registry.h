// A recording stand-in for the evaluator's registration tables, so the core
// registrations and their thunks can be exercised without the engine.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "evaluator/errors.h"
#include "evaluator/registration.h"

namespace fake {

struct Registration {
    std::string kind; // "type", "property", "iterated property", "cast", "operator"
    void* block = nullptr;
    std::string phrase; // the type name for a type
    std::string plural;
    std::string indexType;
    std::string objectType; // the source type for a cast, the left type for an operator
    std::string rightType;
    std::string resultType; // the base type name for a type
    int code = 0;
    unsigned long size = 0; // a value's size for a type, the state size for an iterator
    PropertyThunk get = nullptr;
    PropertyThunk next = nullptr;
    CastThunk cast = nullptr;
    OperatorThunk apply = nullptr;
    ConstructFunction construct = nullptr;
    DestroyFunction destroy = nullptr;
    void const* userData = nullptr;
    FingerprintFunction fingerprint = nullptr;
};

std::vector<Registration> const& Registrations();

// The single live registration that matches; throws std::logic_error otherwise.
Registration const& Type(std::string const& name);
Registration const& Property(std::string const& phrase, std::string const& indexType,
                             std::string const& objectType);
Registration const& Cast(std::string const& phrase, std::string const& sourceType);
Registration const& Operator(int code, std::string const& leftType, std::string const& rightType);

// Frees every Allocate_Inspector_Memory block handed out so far.
void ReleaseEvaluationMemory();
std::size_t EvaluationBlockCount();

template <class R> R Get(Registration const& r, void const* index, void const* object) {
    R result{};
    r.get(&result, index, object, nullptr, r.userData);
    return result;
}

template <class R, class O>
R CastValue(std::string const& phrase, std::string const& sourceType, O const& object) {
    Registration const& r = Cast(phrase, sourceType);
    R result{};
    r.cast(&result, &object, r.userData);
    return result;
}

template <class Res, class L, class R>
Res Apply(int code, std::string const& leftType, std::string const& rightType, L const& left,
          R const& right) {
    Registration const& r = Operator(code, leftType, rightType);
    Res result{};
    r.apply(&result, &left, &right, r.userData);
    return result;
}

// Runs an iterated property to its end, as the evaluator does.
template <class R>
std::vector<R> Iterate(Registration const& r, void const* index, void const* object) {
    std::vector<std::max_align_t> state(r.size / sizeof(std::max_align_t) + 1);
    r.construct(state.data());
    std::vector<R> values;
    try {
        R value{};
        r.get(&value, index, object, state.data(), r.userData);
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
