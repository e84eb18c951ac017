// A small family of phrases registered through the raw registration API, so
// the tests can drive binding and evaluation without any inspector library,
// and the helpers that compile and evaluate an expression.
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "evaluator/context.h"
#include "evaluator/errors.h"
#include "evaluator/evaluator.h"
#include "evaluator/registration.h"
#include "evaluator/values.h"

namespace zor::testing {

struct Animal {
    integer legs;
    char const* name;
};

struct Counters {
    int constructed = 0, destroyed = 0, firsts = 0, nexts = 0, valuesDestroyed = 0;
};
inline Counters counters;

// Iterates 1..limit (limit < 0: forever).
struct Ticker {
    integer position;
};

inline inspector_string literal(char const* text) {
    return {reinterpret_cast<unsigned char const*>(text),
            static_cast<std::uint32_t>(std::strlen(text))};
}

inline Animal const kRex{4, "rex"};

// What "test note" answers: the value of the evaluation's context.
struct Note : InspectorContext {
    int value = 0;
};

// What "test three" feeds its fingerprint; where "test greeting" put its text.
inline unsigned char feed = 1;
inline void* lastAllocation = nullptr;

// Registers the test phrases for its lifetime.
class TestPhrases {
public:
    TestPhrases() {
        Register_Type(types_[0], sizeof types_[0], "test animal", sizeof(Animal), nullptr, nullptr,
                      0);
        Register_Type(types_[1], sizeof types_[1], "test dog", sizeof(Animal), nullptr,
                      "test animal", 0);
        Register_Type(types_[2], sizeof types_[2], "test resource", sizeof(integer),
                      destroyResource, nullptr, 0);
        property("test dog", "test dogs", "", "", "test dog", theDog);
        property("legs", "legs", "", "test animal", "integer", legs);
        property("sound", "sounds", "", "test animal", "string", animalSound);
        property("sound", "sounds", "", "test dog", "string", dogSound);
        property("test resource", "test resources", "", "", "test resource", resource);
        property("id", "ids", "", "test resource", "integer", resourceId);
        property("test note", "test notes", "", "", "integer", contextValue);
        property("test greeting", "test greetings", "", "", "string", allocates);
        property("test three", "", "", "", "integer", three, fingerprintFeed);
        Register_Iterated_Property(blocks_[properties_++], kPropertyBlockSize, "tick", "ticks",
                                   "integer", "", "integer", sizeof(Ticker), construct, destroy,
                                   tickFirst, tickNext, nullptr, nullptr);
        Register_Cast(casts_[0], sizeof casts_[0], "string", "test animal", "string", animalName,
                      nullptr, nullptr);
    }
    ~TestPhrases() {
        for (int i = properties_ - 1; i >= 0; --i)
            if (!withdrawn_[i])
                Unregister_Property(blocks_[i]);
        Unregister_Cast(casts_[0]);
        for (int i = 2; i >= 0; --i)
            Unregister_Type(types_[i]);
    }
    TestPhrases(TestPhrases const&) = delete;
    TestPhrases& operator=(TestPhrases const&) = delete;

    // Withdraws both "sound" registrations ahead of the others.
    void withdrawSound() {
        for (int i : {2, 3}) {
            Unregister_Property(blocks_[i]);
            withdrawn_[i] = true;
        }
    }

private:
    // Only "test three" has a fingerprint function.
    void property(char const* phrase, char const* plural, char const* index, char const* object,
                  char const* result, PropertyThunk get,
                  FingerprintFunction fingerprint = nullptr) {
        Register_Property(blocks_[properties_++], kPropertyBlockSize, phrase, plural, index, object,
                          result, get, nullptr, fingerprint);
    }

    static void construct(void* state) {
        ++counters.constructed;
        std::memset(state, 0, sizeof(Ticker));
    }
    static void destroy(void const*) { ++counters.destroyed; }
    static void destroyResource(void const*) { ++counters.valuesDestroyed; }

    static void theDog(void* result, void const*, void const*, void*, void const*) {
        *static_cast<Animal*>(result) = kRex;
    }
    static void legs(void* result, void const*, void const* object, void*, void const*) {
        *static_cast<integer*>(result) = static_cast<Animal const*>(object)->legs;
    }
    static void animalSound(void* result, void const*, void const*, void*, void const*) {
        *static_cast<inspector_string*>(result) = literal("...");
    }
    static void dogSound(void* result, void const*, void const*, void*, void const*) {
        *static_cast<inspector_string*>(result) = literal("woof");
    }
    static void resource(void* result, void const*, void const*, void*, void const*) {
        *static_cast<integer*>(result) = 7;
    }
    static void resourceId(void* result, void const*, void const* object, void*, void const*) {
        *static_cast<integer*>(result) = *static_cast<integer const*>(object);
    }
    static void tickFirst(void* result, void const* index, void const* object, void* state,
                          void const* registration) {
        ++counters.firsts;
        --counters.nexts;
        tickNext(result, index, object, state, registration);
    }
    static void tickNext(void* result, void const* index, void const*, void* state, void const*) {
        ++counters.nexts;
        integer limit = *static_cast<integer const*>(index);
        auto& position = static_cast<Ticker*>(state)->position;
        if (limit >= 0 && position >= limit)
            throw NoSuchObject();
        *static_cast<integer*>(result) = ++position;
    }
    static void contextValue(void* result, void const*, void const*, void*, void const*) {
        auto* note = dynamic_cast<Note*>(Get_Generic_Inspector_Context());
        if (!note)
            throw NoInspectorContext();
        *static_cast<integer*>(result) = note->value;
    }
    static void allocates(void* result, void const*, void const*, void*, void const*) {
        auto* bytes = static_cast<unsigned char*>(Allocate_Inspector_Memory(5));
        std::memcpy(bytes, "hello", 5);
        lastAllocation = bytes;
        *static_cast<inspector_string*>(result) = inspector_string{bytes, 5};
    }
    static void fingerprintFeed(Fingerprinter& f) { Fingerprint_Byte_Range(f, &feed, &feed + 1); }
    static void three(void* result, void const*, void const*, void*, void const*) {
        *static_cast<integer*>(result) = 3;
    }
    static void animalName(void* result, void const* object, void const*) {
        *static_cast<inspector_string*>(result) = literal(static_cast<Animal const*>(object)->name);
    }

    alignas(16) unsigned char types_[3][kTypeBlockSize];
    alignas(16) unsigned char blocks_[16][kPropertyBlockSize];
    alignas(16) unsigned char casts_[1][kPropertyBlockSize];
    int properties_ = 0;
    bool withdrawn_[16] = {};
};

inline std::vector<std::string> answers(std::string const& text,
                                        EvaluationOptions const& options = {}) {
    return Expression::compile(text).answers(options);
}

inline std::string answer(std::string const& text) {
    auto all = answers(text);
    return all.size() == 1 ? all.front() : "<" + std::to_string(all.size()) + " answers>";
}

// The error an expression raises when compiled and evaluated, as "column: message"
// (column 0 for evaluation errors), or "no error".
inline std::string failure(std::string const& text, EvaluationOptions const& options = {}) {
    try {
        Expression::compile(text).answers(options);
    } catch (ExpressionError const& e) {
        return std::to_string(e.column()) + ": " + e.what();
    }
    return "no error";
}

} // namespace zor::testing
