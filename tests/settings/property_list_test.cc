#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "settings/cf_preferences.h"
#include "settings/property_list.h"
#include "settings_test_support.h"

namespace {

// Writes the instants as an array of dates in binary form and reads them back.
std::vector<Instant> RoundTrip(std::vector<Instant> const& instants) {
    AutoCFPropertyList array(plist_new_array());
    for (Instant instant : instants) {
        plist_array_append_item(array.Get(), MakeCFDate(instant).Release());
    }
    std::string bytes = SerializeBinaryPropertyList(array.Get());
    AutoCFPropertyList back = ParsePropertyList(bytes);
    std::vector<Instant> result;
    for (uint32_t i = 0; i < plist_array_get_size(back.Get()); ++i) {
        result.push_back(CFDateToInstant(plist_array_get_item(back.Get(), i)));
    }
    return result;
}

// A one-date binary plist whose stored float64 is replaced by value.
std::string BinaryDateWithStoredValue(double value) {
    AutoCFPropertyList date(plist_new_date(0, 0));
    std::string bytes = SerializeBinaryPropertyList(date.Get());
    size_t marker = bytes.find('\x33', 8);
    EXPECT_NE(marker, std::string::npos);
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    for (int i = 7; i >= 0; --i) {
        bytes[marker + 1 + static_cast<size_t>(i)] = static_cast<char>(bits & 0xff);
        bits >>= 8;
    }
    return bytes;
}

} // namespace

TEST(PropertyListDates, EdgesAreClampedNotWrappedOnWriteAndRead) {
    Instant earliest(-2147483648LL * 1000000);
    Instant latest(2147483647LL * 1000000 + 999999);
    // The second before the epoch reads as the epoch.
    EXPECT_EQ(RoundTrip({Instant(-1), Instant(-999999), Instant(-1000000), Instant(1),
                         Instant(std::numeric_limits<int64_t>::max()),
                         Instant(-3000000000LL * 1000000), Instant(3000000000LL * 1000000)}),
              (std::vector<Instant>{Instant(0), Instant(0), Instant(-1000000), Instant(1), latest,
                                    earliest, latest}));
    std::pair<double, Instant> hostile[] = {
        {std::nan(""), Instant(0)},
        {std::numeric_limits<double>::infinity(), latest},
        {-1e300, earliest},
        {1.0000004, Instant(1000000)},
        {1.0000006, Instant(1000001)},
        {-1.5, Instant(-1500000)},
        {-0.5, Instant(0)},
    };
    for (auto const& [stored, expected] : hostile) {
        std::string bytes = BinaryDateWithStoredValue(stored);
        AutoCFPropertyList date = ParsePropertyList(bytes);
        EXPECT_EQ(CFDateToInstant(date.Get()), expected) << stored;
    }
}

TEST(PropertyListParsing, RejectsWhatIsNotAPropertyListOrTooDeep) {
    AutoCFPropertyList dictionary(plist_new_dict());
    plist_dict_set_item(dictionary.Get(), "key", plist_new_string("value"));
    std::string binary = SerializeBinaryPropertyList(dictionary.Get());
    // The guard's own faults are checked with the guard; one shows it is applied.
    std::string deep;
    for (int i = 0; i < 600; ++i) {
        deep = "<array>" + deep + "</array>";
    }
    deep = "<plist>" + deep + "</plist>";
    std::string inputs[] = {"", "garbage", binary.substr(0, binary.size() - 1),
                            "<plist><dict><key>a</key>", deep};
    for (std::string& input : inputs) {
        EXPECT_THROW(ParsePropertyList(input), PropertyListParseError) << input.substr(0, 30);
    }
    AutoCFPropertyList whole = ParsePropertyList(binary);
    EXPECT_EQ(ConvertCFPropertyList<std::string>(plist_dict_get_item(whole.Get(), "key")), "value");
}

TEST(PropertyListText, OnlyValidUtf8WithoutNulIsText) {
    for (char const* text : {"", "plain ascii", "caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80"}) {
        EXPECT_TRUE(IsPropertyListText(text)) << text;
    }
    // A NUL, a stray byte, cut short, overlong, a surrogate, above U+10FFFF, a bad continuation.
    for (std::string_view bytes :
         {std::string_view("a\0b", 3), std::string_view("\xff"), std::string_view("\xc3"),
          std::string_view("\xc0\xaf"), std::string_view("\xed\xa0\x80"),
          std::string_view("\xf4\x90\x80\x80"), std::string_view("\xe2\x82x")}) {
        EXPECT_FALSE(IsPropertyListText(bytes)) << bytes;
    }
}

TEST(PropertyListConversions, NullOrWrongTypeThrows) {
    AutoCFPropertyList number(plist_new_uint(3));
    for (plist_t node : {plist_t(nullptr), number.Get()}) {
        EXPECT_THROW(ConvertCFPropertyList<std::string>(node), ConvertCFPropertyListError);
        EXPECT_THROW(ConvertCFPropertyList<Instant>(node), ConvertCFPropertyListError);
    }
}

TEST(AutoCFPropertyListOwnership, MoveHandsOverAndEmptiesTheSource) {
    AutoCFPropertyList first(plist_new_string("a"));
    plist_t node = first.Get();
    AutoCFPropertyList second(std::move(first));
    AutoCFPropertyList third(plist_new_string("b"));
    third = std::move(second);
    EXPECT_TRUE(!first && !second && third.Get() == node);
    plist_free(third.Release());
    EXPECT_FALSE(third);
}

TEST(PropertyListWriting, LibplistReadsBackTheSameTree) {
    // 300 entries need two-byte references and long counts; strings repeat.
    AutoCFPropertyList root(plist_new_dict());
    for (int i = 0; i < 300; ++i) {
        plist_t array = plist_new_array();
        plist_array_append_item(array, plist_new_string(i % 3 ? "same \xf0\x9f\x98\x80" : "\xff"));
        plist_array_append_item(array, plist_new_data("0123456789abcdefg", i % 17));
        plist_array_append_item(array, plist_new_date(i * 1000, i));
        plist_dict_set_item(root.Get(), ("\xd0\xba" + std::to_string(i)).c_str(), array);
    }
    std::string written = WriteBinaryPropertyList(root.Get()).value();
    AutoCFPropertyList back = ParsePropertyList(written);
    char* xml[2] = {};
    uint32_t length[2] = {};
    plist_to_xml(root.Get(), &xml[0], &length[0]);
    plist_to_xml(back.Get(), &xml[1], &length[1]);
    EXPECT_TRUE(std::string(xml[0], length[0]) == std::string(xml[1], length[1]));
    plist_to_xml_free(xml[0]);
    plist_to_xml_free(xml[1]);
}
