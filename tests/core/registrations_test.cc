// The core registrations, called through their thunks as the evaluator calls
// them, against the recording registry.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <set>

#include "evaluator/core/registrar.h"
#include "evaluator/helpers.h"
#include "tests/framework/fake_registry.h"

namespace {

using fake::Call;
using fake::Record;

inspector_string Text(std::string_view text) {
    return {reinterpret_cast<unsigned char const*>(text.data()),
            static_cast<std::uint32_t>(text.size())};
}

std::string_view ViewOf(inspector_string s) {
    return {reinterpret_cast<char const*>(s.pointer), s.length};
}

std::string_view ViewOf(substring s) {
    return ViewOf(inspector_string{s.pointer, s.length});
}

class CoreRegistrations : public ::testing::Test {
protected:
    void TearDown() override { fake::ReleaseEvaluationMemory(); }

    template <class R, class O> R Property(std::string const& phrase, O const& object) {
        return fake::Get<R>(fake::Property(phrase, "", zor::core::kTypeName<O>), nullptr, &object);
    }
    template <class R, class I, class O>
    R Indexed(std::string const& phrase, I const& index, O const& object) {
        return fake::Get<R>(
            fake::Property(phrase, zor::core::kTypeName<I>, zor::core::kTypeName<O>), &index,
            &object);
    }
    template <class O> std::string Printed(O const& value) {
        return std::string(
            ViewOf(fake::CastValue<inspector_string>("string", zor::core::kTypeName<O>, value)));
    }
    template <class L, class R> bool Compare(int code, L const& left, R const& right) {
        return fake::Apply<boolean>(code, zor::core::kTypeName<L>, zor::core::kTypeName<R>, left,
                                    right);
    }
};

TEST_F(CoreRegistrations, TypesHaveTheirValueSizesAndSubstringDerivesFromString) {
    struct Expected {
        char const* name;
        unsigned long size;
    };
    for (Expected e : {Expected{"boolean", 1},
                       {"integer", 8},
                       {"string", sizeof(inspector_string)},
                       {"substring", sizeof(substring)},
                       {"time", 8},
                       {"time interval", 8},
                       {"time range", 16},
                       {"version", sizeof(version)},
                       {"ipv4 address", 4},
                       {"hertz", 8}}) {
        Record const& type = fake::Type(e.name);
        EXPECT_EQ(type.valueSize, e.size) << e.name;
        EXPECT_EQ(type.baseName, std::string(e.name) == "substring"
                                     ? std::optional<std::string>("string")
                                     : std::nullopt)
            << e.name;
        // Every core type prints through its cast to "string".
        EXPECT_EQ(fake::Cast("string", e.name).resultType, "string") << e.name;
    }
    // A substring's leading fields are a string's.
    static_assert(offsetof(substring, pointer) == offsetof(inspector_string, pointer));
    static_assert(offsetof(substring, length) == offsetof(inspector_string, length));
}

TEST_F(CoreRegistrations, EveryPropertyHasAPluralAndEveryCastATarget) {
    std::set<std::string> phrases;
    for (Record const& r : fake::Registrations()) {
        if (r.call == Call::RegisterProperty || r.call == Call::RegisterIteratedProperty) {
            EXPECT_EQ(r.plural, r.phrase.starts_with("substring ")
                                    ? "substrings" + r.phrase.substr(9)
                                    : r.phrase + "s");
            phrases.insert(r.phrase);
        }
        if (r.call == Call::RegisterCast) {
            EXPECT_FALSE(r.resultType.empty()) << r.phrase;
        }
    }
    for (char const* phrase : {"now",
                               "second",
                               "minute",
                               "hour",
                               "day",
                               "week",
                               "microsecond",
                               "millisecond",
                               "length",
                               "first",
                               "last",
                               "preceding text",
                               "following text",
                               "position",
                               "character",
                               "substring separated by",
                               "lowercase",
                               "uppercase",
                               "whole",
                               "start",
                               "end"})
        EXPECT_TRUE(phrases.count(phrase)) << phrase;
}

TEST_F(CoreRegistrations, PrintsEachCoreValue) {
    EXPECT_EQ(Printed(boolean{true}), "True");
    EXPECT_EQ(Printed(boolean{false}), "False");
    EXPECT_EQ(Printed(integer{-42}), "-42");
    EXPECT_EQ(Printed(Text("bytes")), "bytes");
    substring part{Text("whole").pointer + 1, 3, Text("whole").pointer, 5};
    EXPECT_EQ(Printed(part), "hol");
    EXPECT_EQ(Printed(moment{0}), "Thu, 01 Jan 1970 00:00:00 +0000");
    EXPECT_EQ(Printed(day_of() * 2), "2 days, 00:00:00");
    EXPECT_EQ(Printed(time_range{moment{0}, moment{0} + second_of()}),
              "Thu, 01 Jan 1970 00:00:00 +0000 to Thu, 01 Jan 1970 00:00:01 +0000");
    std::uint64_t parts[] = {1, 2, 3};
    EXPECT_EQ(Printed(version{parts, 3}), "1.2.3");
    EXPECT_EQ(Printed(ipv4_address{0x7F000001}), "127.0.0.1");
    EXPECT_EQ(Printed(hertz{2400000000}), "2400 MHz");
}

TEST_F(CoreRegistrations, StringPiecesPointIntoTheSubject) {
    inspector_string subject = Text("axbxc");
    EXPECT_EQ(Property<integer>("length", subject), 5);

    substring first = Indexed<substring>("first", integer{2}, subject);
    EXPECT_EQ(ViewOf(first), "ax");
    EXPECT_EQ(first.pointer, subject.pointer);
    EXPECT_EQ(first.whole, subject.pointer);
    EXPECT_EQ(first.wholeLength, 5u);
    EXPECT_EQ(ViewOf(Indexed<substring>("last", integer{2}, subject)), "xc");
    EXPECT_EQ(ViewOf(Indexed<substring>("first", integer{5}, subject)), "axbxc");
    EXPECT_EQ(ViewOf(Indexed<substring>("last", integer{0}, subject)), "");
    EXPECT_THROW(Indexed<substring>("first", integer{6}, subject), NoSuchObject);
    EXPECT_THROW(Indexed<substring>("last", integer{6}, subject), NoSuchObject);

    substring firstX = Indexed<substring>("first", Text("x"), subject);
    substring lastX = Indexed<substring>("last", Text("x"), subject);
    EXPECT_EQ(Property<integer>("position", firstX), 1);
    EXPECT_EQ(Property<integer>("start", firstX), 1);
    EXPECT_EQ(Property<integer>("position", lastX), 3);
    EXPECT_EQ(ViewOf(Property<substring>("preceding text", firstX)), "a");
    EXPECT_EQ(ViewOf(Property<substring>("following text", firstX)), "bxc");
    EXPECT_EQ(ViewOf(Property<substring>("preceding text", lastX)), "axb");
    EXPECT_EQ(ViewOf(Property<substring>("following text", lastX)), "c");
    EXPECT_EQ(ViewOf(Property<inspector_string>("whole", lastX)), "axbxc");
    EXPECT_EQ(Property<integer>("position", Indexed<substring>("first", Text(""), subject)), 0);
    EXPECT_EQ(Property<integer>("position", Indexed<substring>("last", Text(""), subject)), 5);
    EXPECT_THROW(Indexed<substring>("first", Text("y"), subject), NoSuchObject);
    EXPECT_THROW(Indexed<substring>("last", Text("xx"), subject), NoSuchObject);

    EXPECT_EQ(ViewOf(Indexed<substring>("character", integer{2}, subject)), "b");
    EXPECT_THROW(Indexed<substring>("character", integer{5}, subject), NoSuchObject);
    EXPECT_EQ(ViewOf(Property<inspector_string>("lowercase", Text("MiXeD 1"))), "mixed 1");
    EXPECT_EQ(ViewOf(Property<inspector_string>("uppercase", Text("MiXeD 1"))), "MIXED 1");
    EXPECT_EQ(Property<inspector_string>("uppercase", Text("")).length, 0u);
}

TEST_F(CoreRegistrations, PiecesOfASubstringStayPiecesOfItsWhole) {
    inspector_string whole = Text("key=value;rest");
    substring value = Indexed<substring>("first", integer{9}, whole); // "key=value"
    substring tail =
        Property<substring>("following text", Indexed<substring>("first", Text("="), value));
    EXPECT_EQ(ViewOf(tail), "value;rest"); // following text runs to the end of the whole
    substring middle = Indexed<substring>("last", integer{3}, value);
    EXPECT_EQ(ViewOf(middle), "lue");
    EXPECT_EQ(Property<integer>("position", middle), 6);
    EXPECT_EQ(ViewOf(Property<substring>("preceding text", middle)), "key=va");
    EXPECT_EQ(ViewOf(Property<inspector_string>("whole", middle)), "key=value;rest");
    EXPECT_EQ(Property<integer>("position", Indexed<substring>("character", integer{1}, middle)),
              7);
    EXPECT_EQ(Property<integer>("position", Indexed<substring>("last", Text("e"), value)), 8);
    EXPECT_THROW(Indexed<substring>("first", integer{4}, middle), NoSuchObject);
    EXPECT_THROW(Indexed<substring>("first", Text(";"), value), NoSuchObject);

    Record const& fields = fake::Property("substrings separated by", "string", "substring");
    inspector_string sep = Text("=");
    std::vector<substring> parts = fake::Iterate<substring>(fields, &sep, &value);
    ASSERT_EQ(parts.size(), 2u);
    EXPECT_EQ(ViewOf(parts[1]), "value");
    EXPECT_EQ(Property<integer>("position", parts[1]), 4);
    EXPECT_EQ(parts[1].whole, whole.pointer);
}

TEST_F(CoreRegistrations, NegativeIndexIsNoObjectEvenWithoutAResultSlot) {
    Record const& first = fake::Property("first", "integer", "string");
    inspector_string subject = Text("abc");
    integer minusOne = -1;
    EXPECT_THROW(first.get(nullptr, &minusOne, &subject, nullptr, first.userData), NoSuchObject);
    integer zero = 0;
    EXPECT_NO_THROW(first.get(nullptr, &zero, &subject, nullptr, first.userData));
    EXPECT_THROW(Indexed<substring>("character", integer{-1}, subject), NoSuchObject);
}

TEST_F(CoreRegistrations, NullResultSlotCallsNothing) {
    // Each of these would throw if its function ran.
    Record const& first = fake::Property("first", "string", "string");
    inspector_string subject = Text("abc");
    inspector_string missing = Text("zzz");
    EXPECT_NO_THROW(first.get(nullptr, &missing, &subject, nullptr, first.userData));
    Record const& asTime = fake::Cast("time", "string");
    EXPECT_NO_THROW(asTime.cast(nullptr, &missing, asTime.userData));
    Record const& divide = fake::Operator(kOperatorDivide, "integer", "integer");
    integer one = 1, zero = 0;
    EXPECT_NO_THROW(divide.op(nullptr, &one, &zero, divide.userData));
}

TEST_F(CoreRegistrations, SubstringsSeparatedByYieldEveryFieldInPlace) {
    Record const& fields = fake::Property("substrings separated by", "string", "string");
    EXPECT_EQ(fields.call, Call::RegisterIteratedProperty);
    auto split = [&](std::string_view subject, std::string_view separator) {
        inspector_string s = Text(subject);
        inspector_string sep = Text(separator);
        std::vector<std::string> texts;
        for (substring field : fake::Iterate<substring>(fields, &sep, &s)) {
            EXPECT_EQ(field.whole, s.pointer);
            EXPECT_EQ(field.wholeLength, s.length);
            texts.emplace_back(ViewOf(field));
        }
        return texts;
    };
    using Fields = std::vector<std::string>;
    EXPECT_EQ(split("a,b,,c", ","), (Fields{"a", "b", "", "c"}));
    EXPECT_EQ(split("a, b", ", "), (Fields{"a", "b"}));
    EXPECT_EQ(split(",", ","), (Fields{"", ""}));
    EXPECT_EQ(split("", ","), (Fields{""}));
    EXPECT_EQ(split("abc", ""), (Fields{"abc"}));
    EXPECT_EQ(split("aaa", "aa"), (Fields{"", "a"}));
    EXPECT_EQ(fake::EvaluationBlockCount(), 0u); // fields are never copied
}

TEST_F(CoreRegistrations, StringCastsReadTheirFormsOrHaveNoValue) {
    EXPECT_EQ(fake::CastValue<integer>("integer", "string", Text("-12")), -12);
    EXPECT_THROW(fake::CastValue<integer>("integer", "string", Text("12x")), NoSuchObject);
    EXPECT_TRUE(fake::CastValue<boolean>("boolean", "string", Text("TRUE")));
    EXPECT_FALSE(fake::CastValue<boolean>("boolean", "string", Text("false")));
    EXPECT_THROW(fake::CastValue<boolean>("boolean", "string", Text("yes")), NoSuchObject);
    EXPECT_EQ(fake::CastValue<moment>("time", "string", Text("1970-01-01T00:00:01Z")),
              moment{1000000});
    EXPECT_EQ(fake::CastValue<time_interval>("time interval", "string", Text("00:01:00")),
              minute_of());
    EXPECT_EQ(fake::CastValue<ipv4_address>("ipv4 address", "string", Text("1.2.3.4")).value,
              0x01020304u);
    version v = fake::CastValue<version>("version", "string", Text("3.14.159"));
    ASSERT_EQ(v.count, 3u);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(v.components) % alignof(std::uint64_t), 0u);
    EXPECT_EQ(v.components[2], 159u);
    EXPECT_THROW(fake::CastValue<version>("version", "string", Text("3..1")), NoSuchObject);
    EXPECT_EQ(ViewOf(fake::CastValue<inspector_string>("lowercase", "string", Text("AbC"))), "abc");
    EXPECT_EQ(ViewOf(fake::CastValue<inspector_string>("uppercase", "string", Text("AbC"))), "ABC");
    EXPECT_EQ(ViewOf(fake::CastValue<inspector_string>("hexadecimal", "integer", integer{255})),
              "ff");
    EXPECT_EQ(ViewOf(fake::CastValue<inspector_string>("hexadecimal", "integer", integer{-1})),
              "ffffffffffffffff");
    EXPECT_EQ(fake::CastValue<integer>("integer", "hertz", hertz{2400}), 2400);
    EXPECT_EQ(fake::CastValue<hertz>("hertz", "integer", integer{5}).value, 5);
}

TEST_F(CoreRegistrations, StringOperatorsUseByteOrder) {
    inspector_string joined = fake::Apply<inspector_string>(kOperatorConcatenate, "string",
                                                            "string", Text("ab"), Text("cd"));
    EXPECT_EQ(ViewOf(joined), "abcd");
    EXPECT_TRUE(Compare(kOperatorEqual, Text("abc"), Text("abc")));
    EXPECT_FALSE(Compare(kOperatorEqual, Text("abc"), Text("ABC")));
    EXPECT_TRUE(Compare(kOperatorLess, Text("ab"), Text("abc")));
    EXPECT_TRUE(Compare(kOperatorLess, Text("Z"), Text("a")));
    EXPECT_TRUE(Compare(kOperatorLess, Text("z"), Text("\xC3\xA9"))); // high bytes sort last
    EXPECT_FALSE(Compare(kOperatorLess, Text("b"), Text("b")));
    EXPECT_TRUE(Compare(kOperatorLessOrEqual, Text("b"), Text("b")));
    EXPECT_TRUE(Compare(kOperatorContains, Text("haystack"), Text("yst")));
    EXPECT_TRUE(Compare(kOperatorContains, Text("haystack"), Text("")));
    EXPECT_FALSE(Compare(kOperatorContains, Text("hay"), Text("hayx")));
    EXPECT_TRUE(Compare(kOperatorStartsWith, Text("haystack"), Text("hay")));
    EXPECT_FALSE(Compare(kOperatorStartsWith, Text("haystack"), Text("stack")));
    EXPECT_TRUE(Compare(kOperatorEndsWith, Text("haystack"), Text("stack")));
    EXPECT_FALSE(Compare(kOperatorEndsWith, Text("haystack"), Text("hay")));
}

TEST_F(CoreRegistrations, IntegerArithmeticIsChecked) {
    auto apply = [](OperatorCode code, integer a, integer b) {
        return fake::Apply<integer>(code, "integer", "integer", a, b);
    };
    EXPECT_EQ(apply(kOperatorPlus, 2, 3), 5);
    EXPECT_EQ(apply(kOperatorMinus, 2, 3), -1);
    EXPECT_EQ(apply(kOperatorTimes, -4, 3), -12);
    EXPECT_EQ(apply(kOperatorDivide, 7, 2), 3);
    EXPECT_EQ(apply(kOperatorMod, 7, 4), 3);
    EXPECT_THROW(apply(kOperatorDivide, 7, 0), DivisionByZero);
    EXPECT_THROW(apply(kOperatorMod, 7, 0), DivisionByZero);
    EXPECT_THROW(apply(kOperatorPlus, std::numeric_limits<integer>::max(), 1), IntegerOverflow);
    EXPECT_TRUE(Compare(kOperatorLess, integer{-1}, integer{0}));
    EXPECT_TRUE(Compare(kOperatorLessOrEqual, integer{0}, integer{0}));
    EXPECT_FALSE(Compare(kOperatorEqual, integer{1}, integer{0}));
    EXPECT_TRUE(Compare(kOperatorEqual, boolean{true}, boolean{true}));
}

TEST_F(CoreRegistrations, TimeArithmeticAndRanges) {
    moment t{5000000};
    EXPECT_EQ((fake::Apply<moment>(kOperatorPlus, "time", "time interval", t, second_of())),
              moment{6000000});
    EXPECT_EQ((fake::Apply<moment>(kOperatorPlus, "time interval", "time", second_of(), t)),
              moment{6000000});
    EXPECT_EQ((fake::Apply<moment>(kOperatorMinus, "time", "time interval", t, second_of())),
              moment{4000000});
    EXPECT_EQ((fake::Apply<time_interval>(kOperatorMinus, "time", "time", t, moment{0})),
              second_of() * 5);
    EXPECT_EQ((fake::Apply<time_interval>(kOperatorTimes, "time interval", "integer", hour_of(),
                                          integer{2})),
              hour_of() * 2);
    EXPECT_EQ((fake::Apply<time_interval>(kOperatorTimes, "integer", "time interval", integer{2},
                                          hour_of())),
              hour_of() * 2);
    EXPECT_EQ((fake::Apply<time_interval>(kOperatorDivide, "time interval", "integer", hour_of(),
                                          integer{60})),
              minute_of());
    EXPECT_EQ((fake::Apply<integer>(kOperatorDivide, "time interval", "time interval", day_of(),
                                    hour_of())),
              24);
    EXPECT_THROW((fake::Apply<time_interval>(kOperatorDivide, "time interval", "integer", hour_of(),
                                             integer{0})),
                 DivisionByZero);
    EXPECT_EQ((fake::Apply<time_interval>(kOperatorPlus, "time interval", "time interval",
                                          hour_of(), minute_of())),
              minute_of() * 61);
    EXPECT_EQ((fake::Apply<time_interval>(kOperatorMinus, "time interval", "time interval",
                                          hour_of(), minute_of())),
              minute_of() * 59);
    EXPECT_TRUE(Compare(kOperatorLess, moment{0}, t));
    EXPECT_TRUE(Compare(kOperatorLessOrEqual, minute_of(), minute_of()));
    EXPECT_FALSE(Compare(kOperatorEqual, minute_of(), hour_of()));

    time_range range{t, t + hour_of()};
    EXPECT_EQ(Property<moment>("start", range), t);
    EXPECT_EQ(Property<moment>("end", range), t + hour_of());
    EXPECT_EQ(Property<time_interval>("length", range), hour_of());
    EXPECT_TRUE(Compare(kOperatorEqual, range, range));
    EXPECT_FALSE(Compare(kOperatorEqual, range, time_range{t, t}));
}

TEST_F(CoreRegistrations, WorldClockAndUnits) {
    auto world = [](char const* phrase) {
        return fake::Get<time_interval>(fake::Property(phrase, "", ""), nullptr, nullptr);
    };
    EXPECT_EQ(world("microsecond"), microsecond_of());
    EXPECT_EQ(world("milliseconds"), millisecond_of());
    EXPECT_EQ(world("second"), second_of());
    EXPECT_EQ(world("minute"), minute_of());
    EXPECT_EQ(world("hour"), hour_of());
    EXPECT_EQ(world("day"), day_of());
    EXPECT_EQ(world("week"), week_of());
    Record const& now = fake::Property("now", "", "");
    moment before = moment_now();
    moment answer = fake::Get<moment>(now, nullptr, nullptr);
    EXPECT_LE(before, answer);
    EXPECT_LE(answer, moment_now());
    // "now" changes with time, so it declares no fingerprint; the units do.
    EXPECT_EQ(now.fingerprint, nullptr);
    EXPECT_NE(fake::Property("day", "", "").fingerprint, nullptr);
}

TEST_F(CoreRegistrations, VersionsCompareWithVersionsAndVersionText) {
    std::uint64_t a[] = {10, 4};
    std::uint64_t b[] = {10, 4, 0, 0};
    std::uint64_t c[] = {10, 10};
    version va{a, 2}, vb{b, 4}, vc{c, 2};
    EXPECT_TRUE(Compare(kOperatorEqual, va, vb));
    EXPECT_TRUE(Compare(kOperatorLess, va, vc));
    EXPECT_FALSE(Compare(kOperatorLess, vc, va));
    EXPECT_TRUE(Compare(kOperatorLessOrEqual, vb, va));
    EXPECT_TRUE(Compare(kOperatorLess, va, Text("10.9")));
    EXPECT_TRUE(Compare(kOperatorEqual, Text("10.4.0"), va));
    EXPECT_TRUE(Compare(kOperatorLess, Text("9.99"), va));
    EXPECT_THROW(Compare(kOperatorLess, va, Text("ten")), NoSuchObject);
    EXPECT_TRUE(Compare(kOperatorLess, ipv4_address{1}, ipv4_address{2}));
    EXPECT_TRUE(Compare(kOperatorLessOrEqual, hertz{2}, hertz{2}));
    EXPECT_FALSE(Compare(kOperatorEqual, hertz{2}, hertz{3}));
}

// A registration object registers on construction and withdraws exactly its
// own registration on destruction.
integer Twice(integer const& n) {
    return n * 2;
}

TEST_F(CoreRegistrations, RegistrationObjectsWithdrawOnDestruction) {
    std::size_t before = fake::Registrations().size();
    {
        zor::core::CastRegistration<integer, integer> twice("twice", &Twice);
        EXPECT_EQ(fake::Registrations().size(), before + 1);
        EXPECT_EQ(fake::CastValue<integer>("twice", "integer", integer{21}), 42);
    }
    EXPECT_EQ(fake::Registrations().size(), before);
    EXPECT_THROW(fake::Cast("twice", "integer"), std::logic_error);
}

} // namespace
