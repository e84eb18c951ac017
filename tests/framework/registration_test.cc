// The registration objects (types, the property families, Prop, casts and
// operators) against the recording registration API: what each registers,
// that its thunks call nothing without a result slot, pass the index and
// object as the signature reads and copy the whole result. Withdrawals are
// checked where they happen: the recording registry aborts any test program
// that withdraws a block of the wrong kind, and the plug-in test unloads it.
#include <gtest/gtest.h>

#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "framework/prop.h"
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

struct Slot {
    alignas(std::max_align_t) unsigned char bytes[64];
    Slot() { std::memset(bytes, 0xAA, sizeof bytes); }
    template <class T> T const& As() const { return *reinterpret_cast<T const*>(bytes); }
};

Record At(void const* object) {
    return fake::RegistrationOf(object).value();
}

void Fingerprint(Fingerprinter&) {}

int calls = 0;
widget const* seenWidget = nullptr;
std::string seenName;
std::vector<unsigned long long> seenNumbers;

integer Answer() {
    ++calls;
    return 42;
}
integer SizeOf(widget const& w) {
    ++calls;
    seenWidget = &w;
    return w.size;
}
widget WidgetNamed(unsigned char const* name, unsigned long length, marker const&) {
    ++calls;
    seenName.assign(reinterpret_cast<char const*>(name), length);
    return {static_cast<integer>(length), 7};
}
integer Square(unsigned long long n) {
    seenNumbers.push_back(n);
    return static_cast<integer>(n * n);
}
integer Times(unsigned long long n, widget const& w) {
    seenNumbers.push_back(n);
    return static_cast<integer>(n) * w.size;
}
integer WeightOf(Of, widget const& w) {
    ++calls;
    return w.size;
}
integer LengthOf(inspector_string const& s) {
    ++calls;
    return s.length;
}
integer Scaled(integer const& factor, Of, widget const& w) {
    ++calls;
    return factor * w.size;
}
inspector_string Describe(widget const& w) {
    ++calls;
    static unsigned char const text[] = "widget!";
    return {text, static_cast<std::uint32_t>(w.size)};
}
boolean Same(widget const& a, sprocket const& b) {
    return a.size == b.teeth;
}
integer Sum(widget const& a, sprocket const& b) {
    ++calls;
    return a.size + b.teeth;
}

// Counts down from an object's size (or from 2); its lifetime is observable.
class Countdown {
public:
    static inline int alive = 0;
    Countdown() { ++alive; }
    ~Countdown() { --alive; }
    integer First(widget const& w) {
        left_ = w.size;
        return Next(w);
    }
    integer Next(widget const&) { return Next(); }
    integer First() {
        left_ = 2;
        return Next();
    }
    integer Next() {
        if (left_ == 0)
            throw NoSuchObject();
        return left_--;
    }
    integer left_ = -1;
};

// Steps from a second base, so calls through a derived member pointer need
// their this-adjustment; Next is virtual and overridden.
struct Padding {
    virtual ~Padding() = default;
    integer padding = 1000;
};
struct Steps {
    integer at = 0, limit = 0;
    virtual ~Steps() = default;
    integer First() {
        at = 0;
        return Next();
    }
    virtual integer Next() {
        if (at >= limit)
            throw NoSuchObject();
        return at++;
    }
};
struct TenfoldSteps : Padding, Steps {
    TenfoldSteps() { limit = 3; }
    integer Next() override { return Steps::Next() * 10; }
};
struct UnitSteps {
    Countdown countdown;
    integer First(Of, widget const& w) { return countdown.First(w); }
    integer Next(Of, widget const& w) { return countdown.Next(w); }
};
struct PrefixSteps {
    inspector_string whole{};
    std::uint32_t length = 0;
    inspector_string First(inspector_string const& s) {
        whole = s;
        return Next(s);
    }
    inspector_string Next(inspector_string const&) {
        if (length == whole.length)
            throw NoSuchObject();
        return {whole.pointer, ++length};
    }
};
struct MultipleSteps {
    integer k = 0;
    integer First(widget const& w, Of, integer const& count) { return Next(w, Of(), count); }
    integer Next(widget const& w, Of, integer const& count) {
        if (k == count)
            throw NoSuchObject();
        return w.size * ++k;
    }
};

inspector_string const kWord{reinterpret_cast<unsigned char const*>("abc"), 3};

// One object of every kind, registered for the length of a test.
struct Objects {
    Type<widget> type;
    Type<marker> emptyType;
    DerivedType<sprocket, widget> derived;
    GlobalProperty<integer> global{"answer", "answers", &Answer, &Fingerprint};
    Property<widget, integer> property{"size", "sizes", &SizeOf, nullptr};
    NamedProperty<marker, widget> named{"widget", "widgets", &WidgetNamed, nullptr};
    NumberedGlobalProperty<integer> numbered{"square", "squares", &Square, nullptr};
    NumberedProperty<widget, integer> numberedOf{"multiple", "multiples", &Times, nullptr};
    IteratedProperty<Countdown, widget, integer> iterated{"count", "counts", &Fingerprint};
    IteratedGlobalProperty<Countdown, integer> iteratedGlobal{"tick", "ticks", nullptr};
    Prop prop{"seven", "sevens", &Answer, &Fingerprint};
    Prop propOf{"weight", "weights", &WeightOf, nullptr};
    Prop propIndexed{"length", "lengths", &LengthOf, nullptr};
    Prop propIndexedOf{"scaled weight", "scaled weights", &Scaled, nullptr};
    Prop steps{"step", "steps", static_cast<integer (TenfoldSteps::*)()>(&Steps::First),
               static_cast<integer (TenfoldSteps::*)()>(&Steps::Next), nullptr};
    Prop units{"unit", "units", &UnitSteps::First, &UnitSteps::Next, &Fingerprint};
    Prop prefixes{"prefix", "prefixes", &PrefixSteps::First, &PrefixSteps::Next, nullptr};
    Prop multiples{"multiple", "multiples", &MultipleSteps::First, &MultipleSteps::Next, nullptr};
    Cast<widget, inspector_string> cast{"string", &Describe, &Fingerprint};
    Operator2<widget, sprocket, integer> plus{kOperatorPlus, &Sum, nullptr};
    // The other relations differ only in their code, which the regex
    // transcripts check.
    RelationEqual<widget, sprocket> equal{&Fingerprint, &Same};
};

} // namespace

// A registration in short: its call, phrase, types, value or state size and
// fingerprint.
std::string Shape(Record const& r) {
    static char const* const kCalls[] = {"type", "property", "iterated", "cast", "operator"};
    std::ostringstream text;
    text << kCalls[static_cast<int>(r.call)] << ' '
         << (r.call == Call::RegisterBinaryOperator ? std::to_string(r.operatorCode) : r.phrase);
    if (!r.plural.empty())
        text << '/' << r.plural;
    if (!r.indexType.empty())
        text << " [" << r.indexType << ']';
    if (!r.objectType.empty())
        text << " of " << r.objectType;
    if (!r.rightType.empty())
        text << " and " << r.rightType;
    if (!r.resultType.empty())
        text << " -> " << r.resultType;
    if (r.baseName)
        text << " : " << *r.baseName;
    if (r.valueSize + r.stateSize != 0)
        text << ", " << r.valueSize + r.stateSize << " bytes";
    if (r.fingerprint)
        text << (r.fingerprint == &Fingerprint ? ", fingerprint" : ", another fingerprint");
    return text.str();
}

std::string Bytes(std::size_t size) {
    return ", " + std::to_string(size) + " bytes";
}

TEST(Registration, EachObjectRegistersItsShape) {
    Objects o;
    struct {
        void const* object;
        std::string shape;
    } const shapes[] = {
        {&o.type, "type widget" + Bytes(sizeof(widget))},
        {&o.emptyType, "type marker, 1 bytes"},
        {&o.derived, "type sprocket : widget" + Bytes(sizeof(sprocket))},
        {&o.global, "property answer/answers -> integer, fingerprint"},
        {&o.property, "property size/sizes of widget -> integer"},
        {&o.named, "property widget/widgets [string] of marker -> widget"},
        {&o.numbered, "property square/squares [integer] -> integer"},
        {&o.numberedOf, "property multiple/multiples [integer] of widget -> integer"},
        {&o.iterated,
         "iterated count/counts of widget -> integer" + Bytes(sizeof(Countdown)) + ", fingerprint"},
        {&o.iteratedGlobal, "iterated tick/ticks -> integer" + Bytes(sizeof(Countdown))},
        {&o.prop, "property seven/sevens -> integer, fingerprint"},
        {&o.propOf, "property weight/weights of widget -> integer"},
        {&o.propIndexed, "property length/lengths [string] -> integer"},
        {&o.propIndexedOf, "property scaled weight/scaled weights [integer] of widget -> integer"},
        {&o.steps, "iterated step/steps -> integer" + Bytes(sizeof(TenfoldSteps))},
        {&o.units,
         "iterated unit/units of widget -> integer" + Bytes(sizeof(UnitSteps)) + ", fingerprint"},
        {&o.prefixes, "iterated prefix/prefixes [string] -> string" + Bytes(sizeof(PrefixSteps))},
        {&o.multiples, "iterated multiple/multiples [integer] of widget -> integer" +
                           Bytes(sizeof(MultipleSteps))},
        {&o.cast, "cast string of widget -> string, fingerprint"},
        {&o.plus, "operator 1 of widget and sprocket -> integer"},
        {&o.equal, "operator 6 of widget and sprocket -> boolean, fingerprint"},
    };
    for (auto const& s : shapes) {
        Record const r = At(s.object);
        EXPECT_EQ(Shape(r), s.shape);
        bool const type = r.call == Call::RegisterType;
        EXPECT_EQ(r.blockSize, type ? 512u : 128u) << s.shape;
        EXPECT_EQ(type ? r.reserved : 0, 0) << s.shape;
        EXPECT_EQ(r.userData, type ? nullptr : r.block) << s.shape;
    }
}

TEST(Registration, WithoutAResultSlotNothingIsCalled) {
    Objects o;
    widget w{1, 2};
    integer index = 0;
    inspector_string word = kWord;
    calls = 0;
    seenNumbers.clear();
    void const* const plain[] = {&o.global, &o.property, &o.numbered,     &o.numberedOf,
                                 &o.prop,   &o.propOf,   &o.propIndexedOf};
    for (void const* object : plain) {
        Record const r = At(object);
        r.get(nullptr, &index, &w, nullptr, r.userData);
    }
    for (Record const& r : {At(&o.named), At(&o.propIndexed)})
        r.get(nullptr, &word, &w, nullptr, r.userData);
    Record const cast = At(&o.cast);
    cast.cast(nullptr, &w, cast.userData);
    Slot untouched;
    Record const plus = At(&o.plus);
    plus.op(nullptr, &w, untouched.bytes, plus.userData);
    EXPECT_EQ(calls, 0);
    EXPECT_TRUE(seenNumbers.empty());

    // An iterator neither starts nor advances without a slot.
    for (Record const& r : {At(&o.iterated), At(&o.units)}) {
        int const alive = Countdown::alive;
        r.construct(nullptr);
        EXPECT_EQ(Countdown::alive, alive);
        alignas(Countdown) unsigned char state[sizeof(UnitSteps)];
        r.construct(state);
        r.first(nullptr, nullptr, &w, state, r.userData);
        EXPECT_EQ(reinterpret_cast<Countdown*>(state)->left_, -1);
        integer value = 0;
        r.first(&value, nullptr, &w, state, r.userData);
        r.next(nullptr, nullptr, &w, state, r.userData);
        r.next(&value, nullptr, &w, state, r.userData);
        EXPECT_EQ(value, 1);
        EXPECT_THROW(r.next(&value, nullptr, &w, state, r.userData), NoSuchObject);
        r.destroy(state);
        EXPECT_EQ(Countdown::alive, alive);
    }
}

TEST(Registration, ThunksPassIndexAndObjectAndCopyTheWholeResult) {
    Objects o;
    widget w{1, 12};
    integer three = 3;
    Slot slot;
    auto get = [&](void const* object, void const* index, void const* of) {
        Record const r = At(object);
        r.get(slot.bytes, index, of, nullptr, r.userData);
        return slot.As<integer>();
    };
    EXPECT_EQ(get(&o.global, nullptr, nullptr), 42);
    EXPECT_EQ(get(&o.prop, nullptr, nullptr), 42);
    EXPECT_EQ(get(&o.property, nullptr, &w), 12);
    EXPECT_EQ(seenWidget, &w) << "the object is passed by reference, not copied";
    EXPECT_EQ(get(&o.propOf, nullptr, &w), 12);
    EXPECT_EQ(get(&o.propIndexed, &kWord, nullptr), 3);
    EXPECT_EQ(get(&o.propIndexedOf, &three, &w), 36);
    seenNumbers.clear();
    EXPECT_EQ(get(&o.numbered, &three, nullptr), 9);
    EXPECT_EQ(get(&o.numberedOf, &three, &w), 36);
    EXPECT_EQ(seenNumbers, (std::vector<unsigned long long>{3, 3}));

    unsigned char const text[] = "left\0right";
    inspector_string name{text, 10};
    marker m;
    Record const named = At(&o.named);
    named.get(slot.bytes, &name, &m, nullptr, named.userData);
    EXPECT_EQ(seenName, std::string("left\0right", 10));
    EXPECT_EQ(slot.As<widget>().id, 10);
    EXPECT_EQ(slot.As<widget>().size, 7) << "every byte of the inspector value is copied";

    Record const cast = At(&o.cast);
    widget six{0, 6};
    cast.cast(slot.bytes, &six, cast.userData);
    EXPECT_EQ(fake::Text(slot.As<inspector_string>()), "widget");

    sprocket teeth{30}, same{12};
    Record const plus = At(&o.plus);
    plus.op(slot.bytes, &w, &teeth, plus.userData);
    EXPECT_EQ(slot.As<integer>(), 42);
    Record const equal = At(&o.equal);
    Slot relation;
    equal.op(relation.bytes, &w, &same, equal.userData);
    EXPECT_EQ(relation.bytes[0], 1);
    EXPECT_EQ(relation.bytes[1], 0xAA) << "only the boolean's byte is written";
    equal.op(relation.bytes, &w, &teeth, equal.userData);
    EXPECT_EQ(relation.bytes[0], 0);
}

TEST(Registration, NumberedPropertiesRefuseANegativeIndexBeforeCallingAnything) {
    Objects o;
    widget w{0, 5};
    integer const minusOne = -1;
    Slot slot;
    seenNumbers.clear();
    for (Record const& r : {At(&o.numbered), At(&o.numberedOf)}) {
        EXPECT_THROW(r.get(slot.bytes, &minusOne, &w, nullptr, r.userData), NoSuchObject);
        EXPECT_THROW(r.get(nullptr, &minusOne, &w, nullptr, r.userData), NoSuchObject);
    }
    EXPECT_TRUE(seenNumbers.empty());
}

TEST(Registration, IteratorsWalkInTheirStateAndAreDestroyed) {
    Objects o;
    int const alive = Countdown::alive;
    widget three{0, 3}, none{0, 0};
    EXPECT_EQ(fake::Iterate<integer>(At(&o.iterated), nullptr, &three),
              (std::vector<integer>{3, 2, 1}));
    EXPECT_TRUE(fake::Iterate<integer>(At(&o.iterated), nullptr, &none).empty());
    EXPECT_EQ(fake::Iterate<integer>(At(&o.units), nullptr, &three),
              (std::vector<integer>{3, 2, 1}));
    EXPECT_TRUE(fake::Iterate<integer>(At(&o.units), nullptr, &none).empty());
    EXPECT_EQ(Countdown::alive, alive) << "destroy runs the destructor";
    EXPECT_EQ(fake::Iterate<integer>(At(&o.iteratedGlobal), nullptr, nullptr),
              (std::vector<integer>{2, 1}));
    // The member pointers carry the offset of the Steps base and dispatch
    // the virtual Next to the override.
    EXPECT_EQ(fake::Iterate<integer>(At(&o.steps), nullptr, nullptr),
              (std::vector<integer>{0, 10, 20}));
    std::vector<std::string> prefixes;
    for (inspector_string const& s :
         fake::Iterate<inspector_string>(At(&o.prefixes), &kWord, nullptr))
        prefixes.push_back(fake::Text(s));
    EXPECT_EQ(prefixes, (std::vector<std::string>{"a", "ab", "abc"}));
    integer count = 4;
    EXPECT_EQ(fake::Iterate<integer>(At(&o.multiples), &count, &three),
              (std::vector<integer>{3, 6, 9, 12}));
}
