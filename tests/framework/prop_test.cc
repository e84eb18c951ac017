// The Prop family: each constructor overload registers the shape of its
// function, and its thunks call the function or the iterator's members with
// the index, a default Of and the object in the order the signature reads.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "framework/prop.h"
#include "tests/framework/fake_registry.h"

using fake::Call;
using fake::Record;

namespace {

struct gizmo {
    static char const* TypeName() { return "gizmo"; }
    integer weight;
};

Record RegistrationAt(void const* object) {
    std::optional<Record> record = fake::RegistrationOf(object);
    EXPECT_TRUE(record.has_value());
    return record.value_or(Record(Call::RegisterType));
}

std::string Text(inspector_string const& s) {
    return std::string(reinterpret_cast<char const*>(s.pointer), s.length);
}

inspector_string Literal(char const* text) {
    return {reinterpret_cast<unsigned char const*>(text),
            static_cast<std::uint32_t>(std::char_traits<char>::length(text))};
}

int calls = 0;
integer Seven() {
    ++calls;
    return 7;
}
integer WeightOf(Of, gizmo const& g) {
    ++calls;
    return g.weight;
}
integer LengthOf(inspector_string const& s) {
    ++calls;
    return s.length;
}
integer Scaled(integer const& factor, Of, gizmo const& g) {
    ++calls;
    return factor * g.weight;
}

// Answers from a second base, so calls through a derived member pointer need
// their this-adjustment; Next is virtual and overridden.
struct Padding {
    virtual ~Padding() = default;
    integer padding = 1000;
};

struct Steps {
    integer at = 0;
    integer limit = 0;
    virtual ~Steps() = default;
    integer First() {
        at = 0;
        return Next();
    }
    virtual integer Next() {
        if (at >= limit) {
            throw NoSuchObject();
        }
        return at++;
    }
};

struct TenfoldSteps : Padding, Steps {
    TenfoldSteps() { limit = 3; }
    integer Next() override { return Steps::Next() * 10; }
};

struct GizmoSteps {
    integer left = 0;
    integer First(Of, gizmo const& g) {
        left = g.weight;
        return Next(Of(), g);
    }
    integer Next(Of, gizmo const&) {
        if (left == 0) {
            throw NoSuchObject();
        }
        return left--;
    }
};

struct PrefixSteps {
    std::uint32_t length = 0;
    inspector_string whole{};
    inspector_string First(inspector_string const& s) {
        whole = s;
        length = 0;
        return Next(s);
    }
    inspector_string Next(inspector_string const&) {
        if (length == whole.length) {
            throw NoSuchObject();
        }
        return {whole.pointer, ++length};
    }
};

struct MultipleSteps {
    integer k = 0;
    integer First(gizmo const& g, Of, integer const& count) {
        k = 0;
        return Next(g, Of(), count);
    }
    integer Next(gizmo const& g, Of, integer const& count) {
        if (k == count) {
            throw NoSuchObject();
        }
        return g.weight * ++k;
    }
};

void Fingerprint(Fingerprinter&) {}

} // namespace

TEST(PropRegistration, PlainOverloadsRegisterTheirShapeAndCallThrough) {
    Prop world("seven", "sevens", &Seven, &Fingerprint);
    Prop ofObject("weight", "weights", &WeightOf, nullptr);
    Prop byIndex("length", "lengths", &LengthOf, nullptr);
    Prop byIndexOfObject("scaled weight", "scaled weights", &Scaled, nullptr);

    struct Expected {
        Prop const* object;
        char const* phrase;
        char const* plural;
        char const* index;
        char const* of;
    };
    Expected const expected[] = {
        {&world, "seven", "sevens", "", ""},
        {&ofObject, "weight", "weights", "", "gizmo"},
        {&byIndex, "length", "lengths", "string", ""},
        {&byIndexOfObject, "scaled weight", "scaled weights", "integer", "gizmo"},
    };
    for (Expected const& e : expected) {
        Record const& r = RegistrationAt(e.object);
        EXPECT_EQ(r.call, Call::RegisterProperty) << e.phrase;
        EXPECT_EQ(r.blockSize, 128u);
        EXPECT_EQ(r.phrase, e.phrase);
        EXPECT_EQ(r.plural, e.plural);
        EXPECT_EQ(r.indexType, e.index) << e.phrase;
        EXPECT_EQ(r.objectType, e.of) << e.phrase;
        EXPECT_EQ(r.resultType, "integer");
        EXPECT_EQ(r.userData, r.block);
    }
    EXPECT_EQ(RegistrationAt(&world).fingerprint, &Fingerprint);
    EXPECT_EQ(RegistrationAt(&ofObject).fingerprint, nullptr);

    gizmo g{12};
    inspector_string word = Literal("hello");
    integer factor = 3;
    calls = 0;
    for (Expected const& e : expected) {
        Record const& r = RegistrationAt(e.object);
        r.get(nullptr, &factor, &g, nullptr, r.userData);
    }
    EXPECT_EQ(calls, 0) << "no result slot, no call";

    integer value = 0;
    Record const& w = RegistrationAt(&world);
    w.get(&value, nullptr, nullptr, nullptr, w.userData);
    EXPECT_EQ(value, 7);
    Record const& o = RegistrationAt(&ofObject);
    o.get(&value, nullptr, &g, nullptr, o.userData);
    EXPECT_EQ(value, 12);
    Record const& i = RegistrationAt(&byIndex);
    i.get(&value, &word, nullptr, nullptr, i.userData);
    EXPECT_EQ(value, 5);
    Record const& io = RegistrationAt(&byIndexOfObject);
    io.get(&value, &factor, &g, nullptr, io.userData);
    EXPECT_EQ(value, 36);
    EXPECT_EQ(calls, 4);
}

TEST(PropRegistration, IteratedOverloadsRegisterStateAndWalkThroughMembers) {
    Prop world("step", "steps", static_cast<integer (TenfoldSteps::*)()>(&Steps::First),
               static_cast<integer (TenfoldSteps::*)()>(&Steps::Next), nullptr);
    Prop ofObject("unit", "units", &GizmoSteps::First, &GizmoSteps::Next, &Fingerprint);
    Prop byIndex("prefix", "prefixes", &PrefixSteps::First, &PrefixSteps::Next, nullptr);
    Prop byIndexOfObject("multiple", "multiples", &MultipleSteps::First, &MultipleSteps::Next,
                         nullptr);

    Record const& w = RegistrationAt(&world);
    EXPECT_EQ(w.call, Call::RegisterIteratedProperty);
    EXPECT_EQ(w.blockSize, 128u);
    EXPECT_EQ(w.stateSize, sizeof(TenfoldSteps));
    EXPECT_EQ(w.indexType, "");
    EXPECT_EQ(w.objectType, "");
    EXPECT_EQ(w.userData, w.block);
    // The member pointers carry the offset of the Steps base and dispatch
    // the virtual Next to the override.
    EXPECT_EQ(fake::Iterate<integer>(w, nullptr, nullptr), (std::vector<integer>{0, 10, 20}));

    gizmo g{3};
    Record const& o = RegistrationAt(&ofObject);
    EXPECT_EQ(o.call, Call::RegisterIteratedProperty);
    EXPECT_EQ(o.objectType, "gizmo");
    EXPECT_EQ(o.indexType, "");
    EXPECT_EQ(o.stateSize, sizeof(GizmoSteps));
    EXPECT_EQ(o.fingerprint, &Fingerprint);
    EXPECT_EQ(fake::Iterate<integer>(o, nullptr, &g), (std::vector<integer>{3, 2, 1}));
    gizmo empty{0};
    EXPECT_TRUE(fake::Iterate<integer>(o, nullptr, &empty).empty());

    Record const& i = RegistrationAt(&byIndex);
    EXPECT_EQ(i.indexType, "string");
    EXPECT_EQ(i.objectType, "");
    EXPECT_EQ(i.resultType, "string");
    inspector_string word = Literal("abc");
    std::vector<std::string> prefixes;
    for (inspector_string const& s : fake::Iterate<inspector_string>(i, &word, nullptr)) {
        prefixes.push_back(Text(s));
    }
    EXPECT_EQ(prefixes, (std::vector<std::string>{"a", "ab", "abc"}));

    Record const& io = RegistrationAt(&byIndexOfObject);
    EXPECT_EQ(io.indexType, "integer");
    EXPECT_EQ(io.objectType, "gizmo");
    integer count = 4;
    EXPECT_EQ(fake::Iterate<integer>(io, &count, &g), (std::vector<integer>{3, 6, 9, 12}));
}

TEST(PropRegistration, IteratedThunksWithoutASlotLeaveTheIteratorAlone) {
    Prop units("unit", "units", &GizmoSteps::First, &GizmoSteps::Next, nullptr);
    Record const& r = RegistrationAt(&units);
    GizmoSteps state;
    gizmo g{2};
    r.first(nullptr, nullptr, &g, &state, r.userData);
    EXPECT_EQ(state.left, 0);
    integer value = 0;
    r.first(&value, nullptr, &g, &state, r.userData);
    r.next(nullptr, nullptr, &g, &state, r.userData);
    EXPECT_EQ(state.left, 1);
}

TEST(PropRegistration, WithdrawsOnceWhenDestroyed) {
    std::size_t before = fake::Log().size();
    void const* block = nullptr;
    {
        Prop units("unit", "units", &GizmoSteps::First, &GizmoSteps::Next, nullptr);
        block = &units;
    }
    std::vector<Record> calls = fake::CallsSince(before);
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[1].call, Call::UnregisterProperty);
    EXPECT_EQ(calls[1].block, block);
}
