// Typed registration objects for the evaluator's own core types and phrases.
// Each object holds its registration block, registers in its constructor and
// withdraws in its destructor, exactly as an inspector library's objects do;
// the static thunks unpack the untyped arguments and call the typed function.
#pragma once

#include <algorithm>
#include <compare>
#include <cstddef>
#include <cstring>
#include <new>
#include <string_view>
#include <type_traits>

#include "evaluator/errors.h"
#include "evaluator/registration.h"
#include "evaluator/values.h"

namespace zor::core {

// The registered name of each core value layout.
template <class T> struct CoreType;
template <> struct CoreType<boolean> { static constexpr char const* name = type_names::boolean; };
template <> struct CoreType<integer> { static constexpr char const* name = type_names::integer; };
template <> struct CoreType<inspector_string> {
    static constexpr char const* name = type_names::string;
};
template <> struct CoreType<substring> {
    static constexpr char const* name = type_names::substring;
};
template <> struct CoreType<moment> { static constexpr char const* name = type_names::time; };
template <> struct CoreType<time_interval> {
    static constexpr char const* name = type_names::time_interval;
};
template <> struct CoreType<time_range> {
    static constexpr char const* name = type_names::time_range;
};
template <> struct CoreType<version> { static constexpr char const* name = type_names::version; };
template <> struct CoreType<ipv4_address> {
    static constexpr char const* name = type_names::ipv4_address;
};
template <> struct CoreType<hertz> { static constexpr char const* name = type_names::hertz; };

template <class T> inline constexpr char const* kTypeName = CoreType<T>::name;

// Values arrive as evaluator-owned bytes that may belong to a derived type
// (a substring read as a string), so they are copied out rather than cast.
template <class T> T Load(void const* bytes) {
    static_assert(std::is_trivially_copyable_v<T>);
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

template <class T> void Store(void* slot, T const& value) {
    static_assert(std::is_trivially_copyable_v<T>);
    std::memcpy(slot, &value, sizeof value);
}

// Field by field: a block copy of a just-built piece reads it back with wide
// loads that straddle its narrower stores, and that store-forwarding stall
// cost more than the rest of producing a field of a long split.
inline void Store(void* slot, inspector_string const& value) {
    auto* out = static_cast<inspector_string*>(slot);
    out->pointer = value.pointer;
    out->length = value.length;
}
inline void Store(void* slot, substring const& value) {
    auto* out = static_cast<substring*>(slot);
    out->pointer = value.pointer;
    out->length = value.length;
    out->whole = value.whole;
    out->wholeLength = value.wholeLength;
}

// Declares that a value depends on nothing but its object, index or operands,
// so answers built only from core phrases may be cached.
inline void DependsOnlyOnOperands(Fingerprinter&) {}

// The registration block at the start of every registration object.
template <unsigned long Size> class Registration {
public:
    Registration(Registration const&) = delete;
    Registration& operator=(Registration const&) = delete;

protected:
    Registration() = default;
    ~Registration() = default;

    alignas(std::max_align_t) unsigned char block_[Size];
};

// A core value type. Core values own no memory, so there is nothing to destroy.
template <class T> class CoreTypeRegistration : Registration<kTypeBlockSize> {
public:
    explicit CoreTypeRegistration(char const* baseName = nullptr) {
        Register_Type(block_, sizeof block_, kTypeName<T>, sizeof(T), nullptr, baseName, 0);
    }
    ~CoreTypeRegistration() { Unregister_Type(block_); }
};

// A property of the world.
template <class R> class WorldProperty : Registration<kPropertyBlockSize> {
public:
    using Function = R (*)();
    WorldProperty(char const* phrase, char const* plural, Function function,
                  FingerprintFunction fingerprint)
        : function_(function) {
        Register_Property(block_, sizeof block_, phrase, plural, "", "", kTypeName<R>, &Get, this,
                          fingerprint);
    }
    ~WorldProperty() { Unregister_Property(block_); }

private:
    static void Get(void* result, void const*, void const*, void*, void const* self) {
        if (result == nullptr)
            return;
        Store(result, static_cast<WorldProperty const*>(self)->function_());
    }

    Function function_;
};

// A property of an object.
template <class R, class O> class ObjectProperty : Registration<kPropertyBlockSize> {
public:
    using Function = R (*)(O const&);
    ObjectProperty(char const* phrase, char const* plural, Function function)
        : function_(function) {
        Register_Property(block_, sizeof block_, phrase, plural, "", kTypeName<O>, kTypeName<R>,
                          &Get, this, &DependsOnlyOnOperands);
    }
    ~ObjectProperty() { Unregister_Property(block_); }

private:
    static void Get(void* result, void const*, void const* object, void*, void const* self) {
        if (result == nullptr)
            return;
        Store(result, static_cast<ObjectProperty const*>(self)->function_(Load<O>(object)));
    }

    Function function_;
};

// A property of an object chosen by an index. A negative integer index names
// nothing, and says so even when no result is wanted.
template <class R, class I, class O> class IndexedProperty : Registration<kPropertyBlockSize> {
public:
    using Function = R (*)(I const&, O const&);
    IndexedProperty(char const* phrase, char const* plural, Function function)
        : function_(function) {
        Register_Property(block_, sizeof block_, phrase, plural, kTypeName<I>, kTypeName<O>,
                          kTypeName<R>, &Get, this, &DependsOnlyOnOperands);
    }
    ~IndexedProperty() { Unregister_Property(block_); }

private:
    static void Get(void* result, void const* index, void const* object, void*, void const* self) {
        I key = Load<I>(index);
        if constexpr (std::is_same_v<I, integer>) {
            if (key < 0)
                throw NoSuchObject();
        }
        if (result == nullptr)
            return;
        Store(result, static_cast<IndexedProperty const*>(self)->function_(key, Load<O>(object)));
    }

    Function function_;
};

// A plural property of an object chosen by an index, produced by an iterator
// class It with members `R First(I const&, O const&)` and `R Next(I const&,
// O const&)` that throw NoSuchObject when the sequence ends.
template <class It, class R, class I, class O>
class IteratedIndexedProperty : Registration<kPropertyBlockSize> {
public:
    IteratedIndexedProperty(char const* phrase, char const* plural) {
        Register_Iterated_Property(block_, sizeof block_, phrase, plural, kTypeName<I>,
                                   kTypeName<O>, kTypeName<R>, sizeof(It), &Construct, &Destroy,
                                   &First, &Next, this, &DependsOnlyOnOperands);
    }
    ~IteratedIndexedProperty() { Unregister_Property(block_); }

private:
    static void Construct(void* state) {
        if (state != nullptr)
            new (state) It();
    }
    static void Destroy(void const* state) {
        if (state != nullptr)
            static_cast<It*>(const_cast<void*>(state))->~It();
    }
    static void First(void* result, void const* index, void const* object, void* state,
                      void const*) {
        if (result == nullptr)
            return;
        Store(result, static_cast<It*>(state)->First(Load<I>(index), Load<O>(object)));
    }
    static void Next(void* result, void const* index, void const* object, void* state,
                     void const*) {
        if (result == nullptr)
            return;
        Store(result, static_cast<It*>(state)->Next(Load<I>(index), Load<O>(object)));
    }
};

// A cast from O to R under a phrase: the target type's name, or a named
// conversion such as "lowercase".
template <class O, class R> class CastRegistration : Registration<kPropertyBlockSize> {
public:
    using Function = R (*)(O const&);
    CastRegistration(char const* phrase, Function function) : function_(function) {
        Register_Cast(block_, sizeof block_, phrase, kTypeName<O>, kTypeName<R>, &Cast, this,
                      &DependsOnlyOnOperands);
    }
    explicit CastRegistration(Function function) : CastRegistration(kTypeName<R>, function) {}
    ~CastRegistration() { Unregister_Cast(block_); }

private:
    static void Cast(void* result, void const* object, void const* self) {
        if (result == nullptr)
            return;
        Store(result, static_cast<CastRegistration const*>(self)->function_(Load<O>(object)));
    }

    Function function_;
};

// A binary operator on L and R giving Res.
template <class L, class R, class Res>
class OperatorRegistration : Registration<kPropertyBlockSize> {
public:
    using Function = Res (*)(L const&, R const&);
    OperatorRegistration(OperatorCode code, Function function) : function_(function) {
        Register_Binary_Operator(block_, sizeof block_, code, kTypeName<L>, kTypeName<R>,
                                 kTypeName<Res>, &Apply, this, &DependsOnlyOnOperands);
    }
    ~OperatorRegistration() { Unregister_Binary_Operator(block_); }

private:
    static void Apply(void* result, void const* left, void const* right, void const* self) {
        if (result == nullptr)
            return;
        Store(result, static_cast<OperatorRegistration const*>(self)->function_(Load<L>(left),
                                                                                Load<R>(right)));
    }

    Function function_;
};

// The natural order of a value type.
template <class T> std::strong_ordering ThreeWay(T const& a, T const& b) {
    return a <=> b;
}

// "=", "<" and "<=" from one three-way comparison; the evaluator derives
// ">", ">=" and "!=" from these.
template <class L, class R, auto Compare> class ComparisonRegistrations {
public:
    ComparisonRegistrations() = default;

private:
    static boolean Equal(L const& l, R const& r) { return Compare(l, r) == 0; }
    static boolean Less(L const& l, R const& r) { return Compare(l, r) < 0; }
    static boolean LessOrEqual(L const& l, R const& r) { return Compare(l, r) <= 0; }

    OperatorRegistration<L, R, boolean> equal_{kOperatorEqual, &Equal};
    OperatorRegistration<L, R, boolean> less_{kOperatorLess, &Less};
    OperatorRegistration<L, R, boolean> lessOrEqual_{kOperatorLessOrEqual, &LessOrEqual};
};

// Room for a string of `length` bytes in memory of the current evaluation.
unsigned char* AllocateString(std::size_t length);
// Copies bytes into memory of the current evaluation.
inspector_string CopyToEvaluation(std::string_view bytes);

// A view of a string value's bytes.
// The first occurrence of `needle` in `haystack` at or after `from`, or npos.
// memchr finds candidates far faster than string_view::find's byte loop.
inline std::size_t FindBytes(std::string_view haystack, std::string_view needle,
                             std::size_t from = 0) {
    if (needle.empty())
        return from <= haystack.size() ? from : std::string_view::npos;
    char const* const end = haystack.data() + haystack.size();
    for (char const* p = haystack.data() + std::min(from, haystack.size());
         static_cast<std::size_t>(end - p) >= needle.size(); ++p) {
        p = static_cast<char const*>(std::memchr(p, needle[0], end - p - needle.size() + 1));
        if (!p)
            break;
        if (needle.size() == 1 || std::memcmp(p + 1, needle.data() + 1, needle.size() - 1) == 0)
            return static_cast<std::size_t>(p - haystack.data());
    }
    return std::string_view::npos;
}

inline std::string_view View(inspector_string const& s) {
    return {reinterpret_cast<char const*>(s.pointer), s.length};
}
inline std::string_view View(substring const& s) {
    return {reinterpret_cast<char const*>(s.pointer), s.length};
}

} // namespace zor::core
