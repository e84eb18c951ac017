// Registration objects: one namespace-scope static per type, property, cast
// or operator. Constructing one registers it with the evaluator; destroying it
// (at unload) withdraws it. Each object starts with the evaluator's opaque
// block and passes itself as the user data of its thunks, which unpack the
// evaluator's untyped arguments and call the typed inspector function.
#pragma once

#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

#include "evaluator/errors.h"
#include "evaluator/registration.h"
#include "evaluator/values.h"
#include "framework/type_name.h"

// Empty tag between index and object in Prop-family inspector functions, so
// that signatures read like the phrase ("name of computer").
struct Of {};

// The destroy function the evaluator runs on a discarded value.
template <class T, int FingerprintingChoice = 0> struct InspectorTypeInfo {
    static void Destroy(void const* value) {
        if constexpr (!std::is_trivially_destructible_v<T>) {
            static_cast<T const*>(value)->~T();
        }
    }
};

// Builds and tears down an iterator in the state memory the evaluator owns.
template <class It> struct IteratorBasics {
    static void Construct(void* state) {
        if (state) {
            ::new (state) It();
        }
    }
    static void Destroy(void const* state) {
        if (state) {
            static_cast<It const*>(state)->~It();
        }
    }
};

namespace registration_detail {

// Moves an inspector's answer into the evaluator's result slot.
template <class R> void PlaceResult(void* slot, R&& value) {
    ::new (slot) std::remove_cvref_t<R>(std::forward<R>(value));
}

template <class T> T const& Value(void const* pointer) {
    return *static_cast<T const*>(pointer);
}

// A numbered property refuses a negative index before anything else.
unsigned long long NonNegativeIndex(void const* index);

} // namespace registration_detail

// The evaluator's block for a type; withdrawn once by the destructor.
class TypeRegistrationBlock {
public:
    TypeRegistrationBlock(TypeRegistrationBlock const&) = delete;
    TypeRegistrationBlock& operator=(TypeRegistrationBlock const&) = delete;

protected:
    TypeRegistrationBlock(char const* name, unsigned long valueSize, DestroyFunction destroy,
                          char const* baseName);
    ~TypeRegistrationBlock();

private:
    alignas(std::max_align_t) unsigned char block_[kTypeBlockSize];
};

template <class T, int FingerprintingChoice = 0> class Type : TypeRegistrationBlock {
public:
    Type()
        : TypeRegistrationBlock(TypeNameOf<T>(), sizeof(T),
                                &InspectorTypeInfo<T, FingerprintingChoice>::Destroy, nullptr) {}
};

template <class T, class Base, int FingerprintingChoice = 0>
class DerivedType : TypeRegistrationBlock {
public:
    DerivedType()
        : TypeRegistrationBlock(TypeNameOf<T>(), sizeof(T),
                                &InspectorTypeInfo<T, FingerprintingChoice>::Destroy,
                                TypeNameOf<Base>()) {}
};

// The evaluator's block for a property, plain or iterated; the common base of
// every property registration object.
class PropertyRegistrationBlock {
public:
    PropertyRegistrationBlock(PropertyRegistrationBlock const&) = delete;
    PropertyRegistrationBlock& operator=(PropertyRegistrationBlock const&) = delete;

protected:
    // An iterated (plural) property.
    PropertyRegistrationBlock(char const* phrase, char const* plural, char const* indexType,
                              char const* objectType, char const* resultType,
                              unsigned long stateSize, ConstructFunction construct,
                              DestroyFunction destroy, PropertyThunk first, PropertyThunk next,
                              void* userData, FingerprintFunction fingerprint);
    // A property with one value per object and index.
    PropertyRegistrationBlock(char const* phrase, char const* plural, char const* indexType,
                              char const* objectType, char const* resultType, PropertyThunk get,
                              void* userData, FingerprintFunction fingerprint);
    ~PropertyRegistrationBlock();

private:
    alignas(std::max_align_t) unsigned char block_[kPropertyBlockSize];
};

// A property of the world: R (*)().
template <class R> class GlobalProperty : PropertyRegistrationBlock {
public:
    using Function = R (*)();
    GlobalProperty(char const* phrase, char const* plural, Function function,
                   FingerprintFunction fingerprint)
        : PropertyRegistrationBlock(phrase, plural, "", "", TypeNameOf<R>(), &Get, this,
                                    fingerprint),
          function_(function) {}

private:
    static void Get(void* result, void const*, void const*, void*, void const* registration) {
        Function function = static_cast<GlobalProperty const*>(registration)->function_;
        if (!result) {
            return;
        }
        registration_detail::PlaceResult(result, function());
    }
    Function function_;
};

// A property of an object: R (*)(O const&).
template <class O, class R> class Property : PropertyRegistrationBlock {
public:
    using Function = R (*)(O const&);
    Property(char const* phrase, char const* plural, Function function,
             FingerprintFunction fingerprint)
        : PropertyRegistrationBlock(phrase, plural, "", TypeNameOf<O>(), TypeNameOf<R>(), &Get,
                                    this, fingerprint),
          function_(function) {}

private:
    static void Get(void* result, void const*, void const* object, void*,
                    void const* registration) {
        Function function = static_cast<Property const*>(registration)->function_;
        if (!result) {
            return;
        }
        registration_detail::PlaceResult(result, function(registration_detail::Value<O>(object)));
    }
    Function function_;
};

// A property of an object indexed by a string, passed as pointer and length.
template <class O, class R> class NamedProperty : PropertyRegistrationBlock {
public:
    using Function = R (*)(unsigned char const*, unsigned long, O const&);
    NamedProperty(char const* phrase, char const* plural, Function function,
                  FingerprintFunction fingerprint)
        : PropertyRegistrationBlock(phrase, plural, type_names::string, TypeNameOf<O>(),
                                    TypeNameOf<R>(), &Get, this, fingerprint),
          function_(function) {}

private:
    static void Get(void* result, void const* index, void const* object, void*,
                    void const* registration) {
        Function function = static_cast<NamedProperty const*>(registration)->function_;
        if (!result) {
            return;
        }
        auto const& name = registration_detail::Value<inspector_string>(index);
        registration_detail::PlaceResult(
            result, function(name.pointer, name.length, registration_detail::Value<O>(object)));
    }
    Function function_;
};

// A property of the world indexed by a non-negative integer.
template <class R> class NumberedGlobalProperty : PropertyRegistrationBlock {
public:
    using Function = R (*)(unsigned long long);
    NumberedGlobalProperty(char const* phrase, char const* plural, Function function,
                           FingerprintFunction fingerprint)
        : PropertyRegistrationBlock(phrase, plural, type_names::integer, "", TypeNameOf<R>(), &Get,
                                    this, fingerprint),
          function_(function) {}

private:
    static void Get(void* result, void const* index, void const*, void*, void const* registration) {
        Function function = static_cast<NumberedGlobalProperty const*>(registration)->function_;
        unsigned long long number = registration_detail::NonNegativeIndex(index);
        if (!result) {
            return;
        }
        registration_detail::PlaceResult(result, function(number));
    }
    Function function_;
};

// A property of an object indexed by a non-negative integer.
template <class O, class R> class NumberedProperty : PropertyRegistrationBlock {
public:
    using Function = R (*)(unsigned long long, O const&);
    NumberedProperty(char const* phrase, char const* plural, Function function,
                     FingerprintFunction fingerprint)
        : PropertyRegistrationBlock(phrase, plural, type_names::integer, TypeNameOf<O>(),
                                    TypeNameOf<R>(), &Get, this, fingerprint),
          function_(function) {}

private:
    static void Get(void* result, void const* index, void const* object, void*,
                    void const* registration) {
        Function function = static_cast<NumberedProperty const*>(registration)->function_;
        unsigned long long number = registration_detail::NonNegativeIndex(index);
        if (!result) {
            return;
        }
        registration_detail::PlaceResult(result,
                                         function(number, registration_detail::Value<O>(object)));
    }
    Function function_;
};

// A plural property of an object, walked by It::First(O const&) and
// It::Next(O const&); the iterator throws NoSuchObject at the end.
template <class It, class O, class R> class IteratedProperty : PropertyRegistrationBlock {
public:
    IteratedProperty(char const* phrase, char const* plural, FingerprintFunction fingerprint)
        : PropertyRegistrationBlock(phrase, plural, "", TypeNameOf<O>(), TypeNameOf<R>(),
                                    sizeof(It), &IteratorBasics<It>::Construct,
                                    &IteratorBasics<It>::Destroy, &First, &Next, this,
                                    fingerprint) {}

private:
    static void First(void* result, void const*, void const* object, void* state, void const*) {
        if (!result) {
            return;
        }
        registration_detail::PlaceResult(
            result, static_cast<It*>(state)->First(registration_detail::Value<O>(object)));
    }
    static void Next(void* result, void const*, void const* object, void* state, void const*) {
        if (!result) {
            return;
        }
        registration_detail::PlaceResult(
            result, static_cast<It*>(state)->Next(registration_detail::Value<O>(object)));
    }
};

// A plural property of the world, walked by It::First() and It::Next().
template <class It, class R> class IteratedGlobalProperty : PropertyRegistrationBlock {
public:
    IteratedGlobalProperty(char const* phrase, char const* plural, FingerprintFunction fingerprint)
        : PropertyRegistrationBlock(phrase, plural, "", "", TypeNameOf<R>(), sizeof(It),
                                    &IteratorBasics<It>::Construct, &IteratorBasics<It>::Destroy,
                                    &First, &Next, this, fingerprint) {}

private:
    static void First(void* result, void const*, void const*, void* state, void const*) {
        if (!result) {
            return;
        }
        registration_detail::PlaceResult(result, static_cast<It*>(state)->First());
    }
    static void Next(void* result, void const*, void const*, void* state, void const*) {
        if (!result) {
            return;
        }
        registration_detail::PlaceResult(result, static_cast<It*>(state)->Next());
    }
};

// A conversion of an O into an R under a phrase ("string"); casts have no plural.
template <class O, class R> class Cast {
public:
    using Function = R (*)(O const&);
    Cast(char const* phrase, Function function, FingerprintFunction fingerprint)
        : function_(function) {
        Register_Cast(block_, kPropertyBlockSize, phrase, TypeNameOf<O>(), TypeNameOf<R>(),
                      &Convert, this, fingerprint);
    }
    ~Cast() { Unregister_Cast(block_); }
    Cast(Cast const&) = delete;
    Cast& operator=(Cast const&) = delete;

private:
    static void Convert(void* result, void const* object, void const* registration) {
        Function function = static_cast<Cast const*>(registration)->function_;
        if (!result) {
            return;
        }
        registration_detail::PlaceResult(result, function(registration_detail::Value<O>(object)));
    }
    alignas(std::max_align_t) unsigned char block_[kPropertyBlockSize];
    Function function_;
};

// A binary operator between an L and an R yielding a Res.
template <class L, class R, class Res> class Operator2 {
public:
    using Function = Res (*)(L const&, R const&);
    Operator2(int operatorCode, Function function, FingerprintFunction fingerprint)
        : function_(function) {
        Register_Binary_Operator(block_, kPropertyBlockSize, operatorCode, TypeNameOf<L>(),
                                 TypeNameOf<R>(), TypeNameOf<Res>(), &Apply, this, fingerprint);
    }
    ~Operator2() { Unregister_Binary_Operator(block_); }
    Operator2(Operator2 const&) = delete;
    Operator2& operator=(Operator2 const&) = delete;

private:
    static void Apply(void* result, void const* left, void const* right, void const* registration) {
        Function function = static_cast<Operator2 const*>(registration)->function_;
        if (!result) {
            return;
        }
        registration_detail::PlaceResult(result, function(registration_detail::Value<L>(left),
                                                          registration_detail::Value<R>(right)));
    }
    alignas(std::max_align_t) unsigned char block_[kPropertyBlockSize];
    Function function_;
};

// Relations take the fingerprint first and the test second.
template <class L, class R, int Code> class Relation : public Operator2<L, R, boolean> {
public:
    Relation(FingerprintFunction fingerprint, boolean (*function)(L const&, R const&))
        : Operator2<L, R, boolean>(Code, function, fingerprint) {}
};

template <class L, class R> using RelationEqual = Relation<L, R, kOperatorEqual>;
template <class L, class R> using RelationStartsWith = Relation<L, R, kOperatorStartsWith>;
template <class L, class R> using RelationEndsWith = Relation<L, R, kOperatorEndsWith>;
template <class L, class R> using RelationContains = Relation<L, R, kOperatorContains>;
