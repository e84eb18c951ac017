// The newer registration family: one class, Prop, whose overloaded constructor
// picks the thunks from the shape of the inspector function it is given.
// Plain properties keep the function pointer; iterated ones keep full
// pointers to the iterator's First and Next members, so virtual members and
// members of adjusted bases are called correctly.
#pragma once

#include <bit>
#include <utility>

#include "framework/registration.h"

class Prop : PropertyRegistrationBlock {
public:
    // Of the world: R (*)().
    template <class R>
    Prop(char const* phrase, char const* plural, R (*function)(), FingerprintFunction fingerprint)
        : PropertyRegistrationBlock(phrase, plural, "", "", TypeNameOf<R>(),
                                    &PropertyOfWorld<R>::Get, this, fingerprint),
          target_(Store(function)) {}

    // Of an object: R (*)(Of, O const&).
    template <class R, class O>
    Prop(char const* phrase, char const* plural, R (*function)(Of, O const&),
         FingerprintFunction fingerprint)
        : PropertyRegistrationBlock(phrase, plural, "", TypeNameOf<O>(), TypeNameOf<R>(),
                                    &PropertyOfObject<R, O>::Get, this, fingerprint),
          target_(Store(function)) {}

    // Of the world by index: R (*)(I const&).
    template <class R, class I>
    Prop(char const* phrase, char const* plural, R (*function)(I const&),
         FingerprintFunction fingerprint)
        : PropertyRegistrationBlock(phrase, plural, TypeNameOf<I>(), "", TypeNameOf<R>(),
                                    &PropertyByIndexOfWorld<R, I>::Get, this, fingerprint),
          target_(Store(function)) {}

    // Of an object by index: R (*)(I const&, Of, O const&).
    template <class R, class I, class O>
    Prop(char const* phrase, char const* plural, R (*function)(I const&, Of, O const&),
         FingerprintFunction fingerprint)
        : PropertyRegistrationBlock(phrase, plural, TypeNameOf<I>(), TypeNameOf<O>(),
                                    TypeNameOf<R>(), &PropertyByIndexOfObject<R, I, O>::Get, this,
                                    fingerprint),
          target_(Store(function)) {}

    // Iterated over the world: R (It::*)().
    template <class It, class R>
    Prop(char const* phrase, char const* plural, R (It::*first)(), R (It::*next)(),
         FingerprintFunction fingerprint)
        : PropertyRegistrationBlock(phrase, plural, "", "", TypeNameOf<R>(), sizeof(It),
                                    &IteratorBasics<It>::Construct, &IteratorBasics<It>::Destroy,
                                    &IteratedPropertyOfWorld<It, R>::First,
                                    &IteratedPropertyOfWorld<It, R>::Next, this, fingerprint),
          target_(Store(first, next)) {}

    // Iterated over an object: R (It::*)(Of, O const&).
    template <class It, class R, class O>
    Prop(char const* phrase, char const* plural, R (It::*first)(Of, O const&),
         R (It::*next)(Of, O const&), FingerprintFunction fingerprint)
        : PropertyRegistrationBlock(phrase, plural, "", TypeNameOf<O>(), TypeNameOf<R>(),
                                    sizeof(It), &IteratorBasics<It>::Construct,
                                    &IteratorBasics<It>::Destroy,
                                    &IteratedPropertyOfObject<It, R, O>::First,
                                    &IteratedPropertyOfObject<It, R, O>::Next, this, fingerprint),
          target_(Store(first, next)) {}

    // Iterated over the world by index: R (It::*)(I const&).
    template <class It, class R, class I>
    Prop(char const* phrase, char const* plural, R (It::*first)(I const&), R (It::*next)(I const&),
         FingerprintFunction fingerprint)
        : PropertyRegistrationBlock(
              phrase, plural, TypeNameOf<I>(), "", TypeNameOf<R>(), sizeof(It),
              &IteratorBasics<It>::Construct, &IteratorBasics<It>::Destroy,
              &IteratedPropertyByIndexOfWorld<It, R, I>::First,
              &IteratedPropertyByIndexOfWorld<It, R, I>::Next, this, fingerprint),
          target_(Store(first, next)) {}

    // Iterated over an object by index: R (It::*)(O const&, Of, I const&).
    template <class It, class R, class O, class I>
    Prop(char const* phrase, char const* plural, R (It::*first)(O const&, Of, I const&),
         R (It::*next)(O const&, Of, I const&), FingerprintFunction fingerprint)
        : PropertyRegistrationBlock(
              phrase, plural, TypeNameOf<I>(), TypeNameOf<O>(), TypeNameOf<R>(), sizeof(It),
              &IteratorBasics<It>::Construct, &IteratorBasics<It>::Destroy,
              &IteratedPropertyByIndexOfObject<It, R, O, I>::First,
              &IteratedPropertyByIndexOfObject<It, R, O, I>::Next, this, fingerprint),
          target_(Store(first, next)) {}

private:
    // Typed pointers are stored in these uniform shapes and converted back to
    // their own type before every call; the round trip keeps their value
    // (member pointers have one representation whatever their class).
    using AnyFunction = void (*)();
    struct AnyIterator;
    using AnyMember = void (AnyIterator::*)();
    struct Members {
        AnyMember first;
        AnyMember next;
    };
    union Target {
        AnyFunction function;
        Members members;
    };

    template <class F> static Target Store(F function) {
        Target target;
        target.function = reinterpret_cast<AnyFunction>(function);
        return target;
    }
    template <class M> static Target Store(M first, M next) {
        static_assert(sizeof(M) == sizeof(AnyMember), "member pointers have one size");
        Target target;
        target.members = {std::bit_cast<AnyMember>(first), std::bit_cast<AnyMember>(next)};
        return target;
    }

    static Prop const& Self(void const* registration) {
        return *static_cast<Prop const*>(registration);
    }
    template <class F> static F Function(void const* registration) {
        return reinterpret_cast<F>(Self(registration).target_.function);
    }
    template <class M> static M First(void const* registration) {
        return std::bit_cast<M>(Self(registration).target_.members.first);
    }
    template <class M> static M Next(void const* registration) {
        return std::bit_cast<M>(Self(registration).target_.members.next);
    }

    // Calls a stored iterator member on the state and builds its answer
    // straight in the result slot (no temporary: iterations call this at
    // every step). GCC's vptr check misreads a call through a member pointer
    // of a non-first base (it checks the adjusted object against the derived
    // class), so that check is off here; the call itself is well-defined.
    template <class It, class M, class... Args>
    __attribute__((no_sanitize("vptr"))) static void Step(void* result, void* state, M member,
                                                          Args&&... args) {
        using R = decltype((static_cast<It*>(state)->*member)(std::forward<Args>(args)...));
        ::new (result) R((static_cast<It*>(state)->*member)(std::forward<Args>(args)...));
    }

    template <class R> struct PropertyOfWorld {
        static void Get(void* result, void const*, void const*, void*, void const* registration) {
            auto function = Function<R (*)()>(registration);
            if (!result) {
                return;
            }
            registration_detail::PlaceResult(result, function());
        }
    };

    template <class R, class O> struct PropertyOfObject {
        static void Get(void* result, void const*, void const* object, void*,
                        void const* registration) {
            auto function = Function<R (*)(Of, O const&)>(registration);
            if (!result) {
                return;
            }
            registration_detail::PlaceResult(result,
                                             function(Of(), registration_detail::Value<O>(object)));
        }
    };

    template <class R, class I> struct PropertyByIndexOfWorld {
        static void Get(void* result, void const* index, void const*, void*,
                        void const* registration) {
            auto function = Function<R (*)(I const&)>(registration);
            if (!result) {
                return;
            }
            registration_detail::PlaceResult(result,
                                             function(registration_detail::Value<I>(index)));
        }
    };

    template <class R, class I, class O> struct PropertyByIndexOfObject {
        static void Get(void* result, void const* index, void const* object, void*,
                        void const* registration) {
            auto function = Function<R (*)(I const&, Of, O const&)>(registration);
            if (!result) {
                return;
            }
            registration_detail::PlaceResult(result,
                                             function(registration_detail::Value<I>(index), Of(),
                                                      registration_detail::Value<O>(object)));
        }
    };

    template <class It, class R> struct IteratedPropertyOfWorld {
        using Member = R (It::*)();
        static void First(void* result, void const*, void const*, void* state,
                          void const* registration) {
            if (result) {
                Step<It>(result, state, Prop::First<Member>(registration));
            }
        }
        static void Next(void* result, void const*, void const*, void* state,
                         void const* registration) {
            if (result) {
                Step<It>(result, state, Prop::Next<Member>(registration));
            }
        }
    };

    template <class It, class R, class O> struct IteratedPropertyOfObject {
        using Member = R (It::*)(Of, O const&);
        static void First(void* result, void const*, void const* object, void* state,
                          void const* registration) {
            if (result) {
                Step<It>(result, state, Prop::First<Member>(registration), Of(),
                         registration_detail::Value<O>(object));
            }
        }
        static void Next(void* result, void const*, void const* object, void* state,
                         void const* registration) {
            if (result) {
                Step<It>(result, state, Prop::Next<Member>(registration), Of(),
                         registration_detail::Value<O>(object));
            }
        }
    };

    template <class It, class R, class I> struct IteratedPropertyByIndexOfWorld {
        using Member = R (It::*)(I const&);
        static void First(void* result, void const* index, void const*, void* state,
                          void const* registration) {
            if (result) {
                Step<It>(result, state, Prop::First<Member>(registration),
                         registration_detail::Value<I>(index));
            }
        }
        static void Next(void* result, void const* index, void const*, void* state,
                         void const* registration) {
            if (result) {
                Step<It>(result, state, Prop::Next<Member>(registration),
                         registration_detail::Value<I>(index));
            }
        }
    };

    template <class It, class R, class O, class I> struct IteratedPropertyByIndexOfObject {
        using Member = R (It::*)(O const&, Of, I const&);
        static void First(void* result, void const* index, void const* object, void* state,
                          void const* registration) {
            if (result) {
                Step<It>(result, state, Prop::First<Member>(registration),
                         registration_detail::Value<O>(object), Of(),
                         registration_detail::Value<I>(index));
            }
        }
        static void Next(void* result, void const* index, void const* object, void* state,
                         void const* registration) {
            if (result) {
                Step<It>(result, state, Prop::Next<Member>(registration),
                         registration_detail::Value<O>(object), Of(),
                         registration_detail::Value<I>(index));
            }
        }
    };

    Target target_;
};
