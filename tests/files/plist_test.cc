// Property-list dictionaries and the Info.plist of bundles, including
// property lists that are damaged or hold values of unexpected kinds.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <sys/stat.h>
#include <vector>

#include <plist/plist.h>

#include "files/bundle.h"
#include "tests/files/temp_tree.h"
#include "url/url_builder.h"
#include "util/file_stream.h"

namespace {

using Kind = DictionaryValue::Kind;

std::string XmlPlist(std::string const& body) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
           "<plist version=\"1.0\"><dict>" +
           body + "</dict></plist>\n";
}

std::string const kMixed = XmlPlist("<key>s</key><string>text &amp; more</string>"
                                    "<key>i</key><integer>42</integer>"
                                    "<key>n</key><integer>-7</integer>"
                                    "<key>r</key><real>2.5</real>"
                                    "<key>t</key><true/>"
                                    "<key>f</key><false/>"
                                    "<key>a</key><array><string>x</string></array>"
                                    "<key>d</key><dict/>"
                                    "<key>when</key><date>2020-01-02T03:04:05Z</date>"
                                    "<key>bytes</key><data>AAEC</data>");

std::string Binary(std::string const& xml) {
    plist_t root = nullptr;
    plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &root);
    char* bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(root, &bytes, &length);
    std::string binary(bytes, length);
    std::free(bytes);
    plist_free(root);
    return binary;
}

std::optional<OSXDictionary> Parse(std::string const& bytes) {
    return ParsePropertyListDictionary(ConstData(std::string_view(bytes)));
}

void ExpectMixed(OSXDictionary const& dictionary) {
    struct Expected {
        char const* key;
        Kind kind;
        char const* text;
    } const expected[] = {
        {"s", Kind::String, "text & more"},
        {"i", Kind::Integer, "42"},
        {"n", Kind::Integer, "-7"},
        {"r", Kind::Real, "2.5"},
        {"t", Kind::Boolean, "true"},
        {"f", Kind::Boolean, "false"},
        {"a", Kind::Other, ""},
        {"d", Kind::Other, ""},
        {"when", Kind::Other, ""},
        {"bytes", Kind::Other, ""},
    };
    ASSERT_EQ(dictionary.Entries().size(), std::size(expected));
    for (Expected const& e : expected) {
        DictionaryValue const* value = dictionary.Find(e.key);
        ASSERT_NE(value, nullptr) << e.key;
        EXPECT_EQ(value->kind, e.kind) << e.key;
        EXPECT_EQ(value->text, e.text) << e.key;
    }
    EXPECT_EQ(dictionary.Find("i")->integer, 42);
    EXPECT_EQ(dictionary.FindString("s"), "text & more");
    EXPECT_FALSE(dictionary.FindString("i").has_value());
    EXPECT_FALSE(dictionary.FindString("missing").has_value());
    EXPECT_TRUE(std::is_sorted(dictionary.Entries().begin(), dictionary.Entries().end(),
                               [](auto const& a, auto const& b) { return a.first < b.first; }));
}

TEST(PropertyListDictionary, ReadsXmlAndBinaryAlike) {
    auto xml = Parse(kMixed);
    ASSERT_TRUE(xml.has_value());
    ExpectMixed(*xml);
    std::string binary = Binary(kMixed);
    ASSERT_EQ(binary.substr(0, 6), "bplist");
    auto fromBinary = Parse(binary);
    ASSERT_TRUE(fromBinary.has_value());
    ExpectMixed(*fromBinary);
}

TEST(PropertyListDictionary, DamagedOrForeignInputHasNoDictionary) {
    std::string binary = Binary(kMixed);
    std::string const damaged[] = {
        "",
        kMixed.substr(0, kMixed.size() / 2),
        binary.substr(0, binary.size() / 2),
        "bplist00" + std::string(40, '\xff'),
        std::string("\x00\x01\x02\x03\xfe\xff", 6),
        "<plist><string>only</string></plist>",
        "not a property list at all",
    };
    for (std::string const& bytes : damaged) {
        EXPECT_FALSE(Parse(bytes).has_value()) << bytes.size();
    }
}

TEST(PropertyListDictionary, WhatLibplistCannotParseSafelyHasNoDictionary) {
    std::string nulKey = Binary(XmlPlist("<key>ab</key><string>v</string>"));
    ASSERT_TRUE(Parse(nulKey).has_value());
    nulKey[nulKey.find("ab") + 1] = '\0';
    EXPECT_FALSE(Parse(nulKey).has_value());
}

TEST(OSXDictionary, KeysStaySortedAndTheLastValueOfAKeyWins) {
    std::vector<OSXDictionary::Entry> entries;
    for (int i = 5; i >= 0; --i) {
        entries.emplace_back("k" + std::to_string(i % 3), DictionaryValue::Integer(i));
    }
    OSXDictionary dictionary(std::move(entries));
    ASSERT_EQ(dictionary.Entries().size(), 3u);
    EXPECT_EQ(dictionary.Entries()[0].first, "k0");
    EXPECT_EQ(dictionary.Find("k0")->integer, 0);
    EXPECT_EQ(dictionary.Find("k1")->integer, 1);
    EXPECT_EQ(dictionary.Find("k2")->integer, 2);
    dictionary.Set("k1", DictionaryValue::String("one"));
    dictionary.Set("a", DictionaryValue::Integer(-3));
    ASSERT_EQ(dictionary.Entries().size(), 4u);
    EXPECT_EQ(dictionary.Entries()[0].first, "a");
    EXPECT_EQ(dictionary.Entries()[0].second.text, "-3");
    EXPECT_EQ(dictionary.FindString("k1"), "one");
}

class BundleTest : public testing::Test {
protected:
    MacintoshPlatform::FileLocation WithInfo(std::string const& bytes) {
        tree_.Write("App.app/Contents/Info.plist", bytes);
        return Folder();
    }
    MacintoshPlatform::FileLocation Folder() {
        return MacintoshPlatform::MakeFileLocation(tree_.Folder("App.app"));
    }
    TempTree tree_;
};

// Versions from XML Info.plists and damaged ones are seen end to end.
TEST_F(BundleTest, ABinaryInfoIsFoundThroughTheFoldersURLToo) {
    WithInfo(Binary(XmlPlist("<key>CFBundleShortVersionString</key><string>4.5</string>")));
    EXPECT_EQ(
        MakeBundle(FileURL(Folder().POSIXPath() + "/")).InfoString("CFBundleShortVersionString"),
        "4.5");
}

TEST_F(BundleTest, InfoThatCannotBeReadIsAnError) {
    std::string path = tree_.Folder("App.app/Contents") + "/Info.plist";
    ASSERT_EQ(mkfifo(path.c_str(), 0644), 0);
    EXPECT_THROW(MakeBundle(Folder()), NotARegularFile);
    std::filesystem::remove(path);

    tree_.Write("App.app/Contents/Info.plist",
                XmlPlist("<key>k</key><string>" + std::string(Bundle::cMaxInfoPlistSize, 'x') +
                         "</string>"));
    EXPECT_THROW(MakeBundle(Folder()), InfoPlistTooLarge);
    std::string exact(64, ' ');
    EXPECT_THROW(ReadPropertyListFile(tree_.Write("small.plist", exact), 63), InfoPlistTooLarge);
    EXPECT_TRUE(ReadPropertyListFile(tree_.Write("small.plist", exact), 64).empty());
}

} // namespace
