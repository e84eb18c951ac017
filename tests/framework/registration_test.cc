// The older registration family, types, casts and operators, checked through
// the recording registration API: what each object registers, what its thunks
// pass to the inspector function, and that it withdraws itself once.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "framework/registration.h"
#include "tests/framework/fake_registry.h"

using fake::Call;
using fake::Record;

namespace {

struct widget {
    static char const* TypeName() { return "widget"; }
    integer id;
    integer size;
};

struct marker {
    static char const* TypeName() { return "marker"; }
};

struct sprocket {
    static char const* TypeName() { return "sprocket"; }
    integer teeth;
};

// A type that holds a resource: the evaluator's destroy must run its destructor.
struct handle {
    static char const* TypeName() { return "handle"; }
    static inline int destroyed = 0;
    ~handle() { ++destroyed; }
    int value = 0;
};

struct Slot {
    alignas(std::max_align_t) unsigned char bytes[64];
    Slot() { std::memset(bytes, 0xAA, sizeof bytes); }
    template <class T> T const& As() const { return *reinterpret_cast<T const*>(bytes); }
};

void Fingerprint(Fingerprinter&) {}

// The registration made by the object at `object`: its block starts the object.
Record RegistrationAt(void const* object) {
    std::optional<Record> record = fake::RegistrationOf(object);
    EXPECT_TRUE(record.has_value());
    return record.value_or(Record(Call::RegisterType));
}

// Builds `Object` in a scope, hands its registration to `check`, and expects
// exactly one withdrawal of that block, of the given kind, when it goes away.
template <class Object, class Check, class... Args>
void ExpectLifecycle(Call withdrawal, Check check, Args&&... args) {
    std::size_t before = fake::Log().size();
    void const* block = nullptr;
    {
        Object object(std::forward<Args>(args)...);
        block = &object;
        ASSERT_EQ(fake::Log().size(), before + 1);
        Record const& record = fake::Log().back();
        EXPECT_EQ(record.block, block);
        check(record);
    }
    std::vector<Record> calls = fake::CallsSince(before + 1);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].call, withdrawal);
    EXPECT_EQ(calls[0].block, block);
}

int worldCalls = 0;
integer Answer() {
    ++worldCalls;
    return 42;
}

widget const* seenWidget = nullptr;
integer SizeOf(widget const& w) {
    seenWidget = &w;
    return w.size;
}

std::string seenName;
widget WidgetNamed(unsigned char const* name, unsigned long length, marker const&) {
    seenName.assign(reinterpret_cast<char const*>(name), length);
    return {static_cast<integer>(length), 7};
}

std::vector<unsigned long long> seenNumbers;
integer Square(unsigned long long n) {
    seenNumbers.push_back(n);
    return static_cast<integer>(n * n);
}
integer Times(unsigned long long n, widget const& w) {
    seenNumbers.push_back(n);
    return static_cast<integer>(n) * w.size;
}

// Counts down from an object's size; the destructor is observable.
class Countdown {
public:
    static inline int alive = 0;
    Countdown() { ++alive; }
    ~Countdown() { --alive; }
    integer First(widget const& w) {
        left_ = w.size;
        return Next(w);
    }
    integer Next(widget const&) {
        if (left_ == 0) {
            throw NoSuchObject();
        }
        return left_--;
    }
    integer First() {
        left_ = 2;
        return Next();
    }
    integer Next() {
        if (left_ == 0) {
            throw NoSuchObject();
        }
        return left_--;
    }

private:
    integer left_ = -1;
};

} // namespace

TEST(TypeRegistration, RegistersNameSizeAndBaseAndWithdrawsOnce) {
    ExpectLifecycle<Type<widget>>(Call::UnregisterType, [](Record const& r) {
        EXPECT_EQ(r.call, Call::RegisterType);
        EXPECT_EQ(r.blockSize, 512u);
        EXPECT_EQ(r.phrase, "widget");
        EXPECT_EQ(r.valueSize, sizeof(widget));
        EXPECT_FALSE(r.baseName.has_value());
        EXPECT_EQ(r.reserved, 0);
        EXPECT_NE(r.destroy, nullptr);
    });
    ExpectLifecycle<Type<marker>>(Call::UnregisterType, [](Record const& r) {
        EXPECT_EQ(r.valueSize, 1u) << "an empty marker type is one byte";
    });
    ExpectLifecycle<DerivedType<sprocket, widget>>(Call::UnregisterType, [](Record const& r) {
        EXPECT_EQ(r.call, Call::RegisterType);
        EXPECT_EQ(r.blockSize, 512u);
        EXPECT_EQ(r.phrase, "sprocket");
        EXPECT_EQ(r.valueSize, sizeof(sprocket));
        ASSERT_TRUE(r.baseName.has_value());
        EXPECT_EQ(*r.baseName, "widget");
        EXPECT_EQ(r.reserved, 0);
    });
}

TEST(TypeRegistration, DestroyRunsTheDestructorInPlace) {
    Type<handle> type;
    Record const& r = RegistrationAt(&type);
    alignas(handle) unsigned char storage[sizeof(handle)];
    ::new (storage) handle();
    int before = handle::destroyed;
    r.destroy(storage);
    EXPECT_EQ(handle::destroyed, before + 1);
}

TEST(PropertyRegistration, GlobalPropertyRegistersOfTheWorldAndSkipsANullSlot) {
    ExpectLifecycle<GlobalProperty<integer>>(
        Call::UnregisterProperty,
        [](Record const& r) {
            EXPECT_EQ(r.call, Call::RegisterProperty);
            EXPECT_EQ(r.blockSize, 128u);
            EXPECT_EQ(r.phrase, "answer");
            EXPECT_EQ(r.plural, "answers");
            EXPECT_EQ(r.indexType, "");
            EXPECT_EQ(r.objectType, "");
            EXPECT_EQ(r.resultType, "integer");
            EXPECT_EQ(r.userData, r.block);
            EXPECT_EQ(r.fingerprint, &Fingerprint);

            int calls = worldCalls;
            r.get(nullptr, nullptr, nullptr, nullptr, r.userData);
            EXPECT_EQ(worldCalls, calls) << "no result slot, no call";
            Slot slot;
            r.get(slot.bytes, nullptr, nullptr, nullptr, r.userData);
            EXPECT_EQ(worldCalls, calls + 1);
            EXPECT_EQ(slot.As<integer>(), 42);
        },
        "answer", "answers", &Answer, &Fingerprint);
}

TEST(PropertyRegistration, PropertyPassesTheObjectAndCopiesAWholeValue) {
    Property<widget, integer> size("size", "sizes", &SizeOf, nullptr);
    Record const& r = RegistrationAt(&size);
    EXPECT_EQ(r.indexType, "");
    EXPECT_EQ(r.objectType, "widget");
    EXPECT_EQ(r.resultType, "integer");
    EXPECT_EQ(r.fingerprint, nullptr);

    widget w{1, 99};
    seenWidget = nullptr;
    r.get(nullptr, nullptr, &w, nullptr, r.userData);
    EXPECT_EQ(seenWidget, nullptr);
    Slot slot;
    r.get(slot.bytes, nullptr, &w, nullptr, r.userData);
    EXPECT_EQ(seenWidget, &w) << "the object is passed by reference, not copied";
    EXPECT_EQ(slot.As<integer>(), 99);
}

TEST(PropertyRegistration, NamedPropertyPassesTheIndexBytesAndLength) {
    NamedProperty<marker, widget> named("widget", "widgets", &WidgetNamed, nullptr);
    Record const& r = RegistrationAt(&named);
    EXPECT_EQ(r.call, Call::RegisterProperty);
    EXPECT_EQ(r.indexType, "string");
    EXPECT_EQ(r.objectType, "marker");
    EXPECT_EQ(r.resultType, "widget");

    unsigned char const text[] = "left\0right";
    inspector_string index{text, 10};
    marker m;
    seenName.clear();
    r.get(nullptr, &index, &m, nullptr, r.userData);
    EXPECT_EQ(seenName, "");
    Slot slot;
    r.get(slot.bytes, &index, &m, nullptr, r.userData);
    EXPECT_EQ(seenName, std::string("left\0right", 10));
    EXPECT_EQ(slot.As<widget>().id, 10);
    EXPECT_EQ(slot.As<widget>().size, 7) << "every byte of the inspector value is copied";
}

TEST(PropertyRegistration, NumberedPropertiesRefuseNegativeIndexesFirst) {
    NumberedGlobalProperty<integer> square("square", "squares", &Square, nullptr);
    NumberedProperty<widget, integer> times("multiple", "multiples", &Times, nullptr);
    Record const& g = RegistrationAt(&square);
    Record const& o = RegistrationAt(&times);
    EXPECT_EQ(g.indexType, "integer");
    EXPECT_EQ(g.objectType, "");
    EXPECT_EQ(o.indexType, "integer");
    EXPECT_EQ(o.objectType, "widget");

    widget w{0, 5};
    seenNumbers.clear();
    integer const minusOne = -1;
    Slot slot;
    EXPECT_THROW(g.get(slot.bytes, &minusOne, nullptr, nullptr, g.userData), NoSuchObject);
    EXPECT_THROW(g.get(nullptr, &minusOne, nullptr, nullptr, g.userData), NoSuchObject);
    EXPECT_THROW(o.get(nullptr, &minusOne, &w, nullptr, o.userData), NoSuchObject);
    EXPECT_TRUE(seenNumbers.empty());

    integer const zero = 0;
    g.get(nullptr, &zero, nullptr, nullptr, g.userData);
    EXPECT_TRUE(seenNumbers.empty()) << "a valid index without a slot calls nothing";
    g.get(slot.bytes, &zero, nullptr, nullptr, g.userData);
    EXPECT_EQ(slot.As<integer>(), 0);
    integer const three = 3;
    o.get(slot.bytes, &three, &w, nullptr, o.userData);
    EXPECT_EQ(slot.As<integer>(), 15);
    EXPECT_EQ(seenNumbers, (std::vector<unsigned long long>{0, 3}));
}

TEST(IteratedRegistration, IteratedPropertyWalksTheIteratorInItsState) {
    ExpectLifecycle<IteratedProperty<Countdown, widget, integer>>(
        Call::UnregisterProperty,
        [](Record const& r) {
            EXPECT_EQ(r.call, Call::RegisterIteratedProperty);
            EXPECT_EQ(r.blockSize, 128u);
            EXPECT_EQ(r.phrase, "count");
            EXPECT_EQ(r.plural, "counts");
            EXPECT_EQ(r.indexType, "");
            EXPECT_EQ(r.objectType, "widget");
            EXPECT_EQ(r.resultType, "integer");
            EXPECT_EQ(r.stateSize, sizeof(Countdown));
            EXPECT_EQ(r.userData, r.block);
            EXPECT_EQ(r.fingerprint, &Fingerprint);

            int alive = Countdown::alive;
            widget three{0, 3};
            EXPECT_EQ(fake::Iterate<integer>(r, nullptr, &three), (std::vector<integer>{3, 2, 1}));
            widget none{0, 0};
            EXPECT_TRUE(fake::Iterate<integer>(r, nullptr, &none).empty())
                << "an empty set ends at First";
            EXPECT_EQ(Countdown::alive, alive) << "destroy runs the destructor";
        },
        "count", "counts", &Fingerprint);
}

TEST(IteratedRegistration, NullSlotsAndNullStateCallNothing) {
    IteratedProperty<Countdown, widget, integer> counts("count", "counts", nullptr);
    Record const& r = RegistrationAt(&counts);
    int alive = Countdown::alive;
    r.construct(nullptr);
    EXPECT_EQ(Countdown::alive, alive);

    alignas(Countdown) unsigned char state[sizeof(Countdown)];
    r.construct(state);
    widget two{0, 2};
    r.first(nullptr, nullptr, &two, state, r.userData);
    integer value = 0;
    r.next(&value, nullptr, &two, state, r.userData);
    EXPECT_EQ(value, -1) << "a First without a slot leaves the fresh iterator alone";
    r.first(&value, nullptr, &two, state, r.userData);
    EXPECT_EQ(value, 2);
    r.next(nullptr, nullptr, &two, state, r.userData);
    r.next(&value, nullptr, &two, state, r.userData);
    EXPECT_EQ(value, 1) << "a Next without a slot does not advance";
    EXPECT_THROW(r.next(&value, nullptr, &two, state, r.userData), NoSuchObject);
    r.destroy(state);
    EXPECT_EQ(Countdown::alive, alive);
}

TEST(IteratedRegistration, IteratedGlobalPropertyCallsTheIteratorWithoutObject) {
    IteratedGlobalProperty<Countdown, integer> ticks("tick", "ticks", nullptr);
    Record const& r = RegistrationAt(&ticks);
    EXPECT_EQ(r.call, Call::RegisterIteratedProperty);
    EXPECT_EQ(r.objectType, "");
    EXPECT_EQ(r.indexType, "");
    EXPECT_EQ(r.resultType, "integer");
    EXPECT_EQ(r.stateSize, sizeof(Countdown));
    EXPECT_EQ(fake::Iterate<integer>(r, nullptr, nullptr), (std::vector<integer>{2, 1}));
}

namespace {

inspector_string Describe(widget const& w) {
    static unsigned char const text[] = "widget!";
    return {text, static_cast<std::uint32_t>(w.size)};
}

boolean Same(widget const& a, sprocket const& b) {
    return a.size == b.teeth;
}

integer Sum(widget const& a, sprocket const& b) {
    return a.size + b.teeth;
}

} // namespace

TEST(CastRegistration, RegistersPhraseSourceAndTargetWithNoPlural) {
    ExpectLifecycle<Cast<widget, inspector_string>>(
        Call::UnregisterCast,
        [](Record const& r) {
            EXPECT_EQ(r.call, Call::RegisterCast);
            EXPECT_EQ(r.blockSize, 128u);
            EXPECT_EQ(r.phrase, "string");
            EXPECT_EQ(r.plural, "") << "a cast has one name only";
            EXPECT_EQ(r.objectType, "widget");
            EXPECT_EQ(r.resultType, "string");
            EXPECT_EQ(r.userData, r.block);
            EXPECT_EQ(r.fingerprint, &Fingerprint);

            widget w{0, 6};
            r.cast(nullptr, &w, r.userData);
            Slot slot;
            r.cast(slot.bytes, &w, r.userData);
            auto const& s = slot.As<inspector_string>();
            EXPECT_EQ(std::string(reinterpret_cast<char const*>(s.pointer), s.length), "widget");
        },
        "string", &Describe, &Fingerprint);
}

TEST(OperatorRegistration, OperatorAppliesToBothOperandsInOrder) {
    ExpectLifecycle<Operator2<widget, sprocket, integer>>(
        Call::UnregisterBinaryOperator,
        [](Record const& r) {
            EXPECT_EQ(r.call, Call::RegisterBinaryOperator);
            EXPECT_EQ(r.blockSize, 128u);
            EXPECT_EQ(r.operatorCode, kOperatorPlus);
            EXPECT_EQ(r.objectType, "widget");
            EXPECT_EQ(r.rightType, "sprocket");
            EXPECT_EQ(r.resultType, "integer");
            EXPECT_EQ(r.fingerprint, nullptr);
            widget w{0, 4};
            sprocket s{30};
            Slot slot;
            r.op(slot.bytes, &w, &s, r.userData);
            EXPECT_EQ(slot.As<integer>(), 34);
        },
        kOperatorPlus, &Sum, nullptr);
}

TEST(OperatorRegistration, RelationsUseTheirCodesAndStoreOneByte) {
    RelationEqual<widget, sprocket> equal(&Fingerprint, &Same);
    RelationStartsWith<widget, sprocket> startsWith(nullptr, &Same);
    RelationEndsWith<widget, sprocket> endsWith(nullptr, &Same);
    RelationContains<widget, sprocket> contains(nullptr, &Same);
    EXPECT_EQ(RegistrationAt(&equal).operatorCode, 6);
    EXPECT_EQ(RegistrationAt(&startsWith).operatorCode, 9);
    EXPECT_EQ(RegistrationAt(&endsWith).operatorCode, 10);
    EXPECT_EQ(RegistrationAt(&contains).operatorCode, 11);

    Record const& r = RegistrationAt(&equal);
    EXPECT_EQ(r.fingerprint, &Fingerprint);
    EXPECT_EQ(r.resultType, "boolean");
    widget w{0, 8};
    sprocket same{8};
    sprocket other{9};
    Slot slot;
    r.op(nullptr, &w, &same, r.userData);
    r.op(slot.bytes, &w, &same, r.userData);
    EXPECT_EQ(slot.bytes[0], 1);
    EXPECT_EQ(slot.bytes[1], 0xAA) << "only the boolean's byte is written";
    r.op(slot.bytes, &w, &other, r.userData);
    EXPECT_EQ(slot.bytes[0], 0);
}

TEST(Registration, ObjectsAreWithdrawnNewestFirst) {
    std::size_t before = fake::Log().size();
    std::vector<void const*> blocks;
    {
        Type<widget> a;
        Property<widget, integer> b("size", "sizes", &SizeOf, nullptr);
        Cast<widget, inspector_string> c("string", &Describe, nullptr);
        blocks = {&a, &b, &c};
    }
    std::vector<Record> calls = fake::CallsSince(before + 3);
    ASSERT_EQ(calls.size(), 3u);
    EXPECT_EQ(calls[0].call, Call::UnregisterCast);
    EXPECT_EQ(calls[0].block, blocks[2]);
    EXPECT_EQ(calls[1].call, Call::UnregisterProperty);
    EXPECT_EQ(calls[1].block, blocks[1]);
    EXPECT_EQ(calls[2].call, Call::UnregisterType);
    EXPECT_EQ(calls[2].block, blocks[0]);
}
