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
#include "util/file_stream.h"

namespace {

std::string XmlPlist(std::string const& body) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" + body +
           "</dict></plist>\n";
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

// Each entry in order as key=kind:text, with the integer of Integer values.
std::string Dump(OSXDictionary const& dictionary) {
    std::string out;
    for (auto const& [key, value] : dictionary.Entries()) {
        out += key + "=" + std::to_string(static_cast<int>(value.kind)) + ":" + value.text;
        out +=
            value.kind == DictionaryValue::Kind::Integer ? "#" + std::to_string(value.integer) : "";
        out += " ";
    }
    return out;
}

std::string DumpParsed(std::string const& bytes) {
    auto dictionary = ParsePropertyListDictionary(ConstData(std::string_view(bytes)));
    return dictionary ? Dump(*dictionary) : "none";
}

TEST(PropertyListDictionary, ReadsXmlAndBinaryAlike) {
    // Kinds: 0 String, 1 Integer, 2 Real, 3 Boolean, 5 Other.
    std::string const expected = "a=5: bytes=5: d=5: f=3:false i=1:42#42 n=1:-7#-7 r=2:2.5 "
                                 "s=0:text & more t=3:true when=5: ";
    EXPECT_EQ(DumpParsed(kMixed), expected);
    ASSERT_EQ(Binary(kMixed).substr(0, 6), "bplist");
    EXPECT_EQ(DumpParsed(Binary(kMixed)), expected);
    OSXDictionary const dictionary = *ParsePropertyListDictionary(ConstData(kMixed));
    EXPECT_EQ(dictionary.FindString("s"), "text & more");
    EXPECT_FALSE(dictionary.FindString("i").has_value());
    EXPECT_FALSE(dictionary.FindString("missing").has_value());
}

TEST(PropertyListDictionary, DamagedOrForeignInputHasNoDictionary) {
    std::string binary = Binary(kMixed);
    // A NUL inside a key, which libplist cannot read safely.
    std::string nulKey = Binary(XmlPlist("<key>ab</key><string>v</string>"));
    ASSERT_EQ(DumpParsed(nulKey), "ab=0:v ");
    nulKey[nulKey.find("ab") + 1] = '\0';
    std::string const damaged[] = {
        "",
        kMixed.substr(0, kMixed.size() / 2),
        binary.substr(0, binary.size() / 2),
        std::string("\x00\x01\x02\x03\xfe\xff", 6),
        "<plist><string>only</string></plist>",
        "not a property list at all",
        nulKey,
    };
    for (std::string const& bytes : damaged) {
        EXPECT_EQ(DumpParsed(bytes), "none") << bytes.size();
    }
}

TEST(OSXDictionary, KeysStaySortedAndTheLastValueOfAKeyWins) {
    std::vector<OSXDictionary::Entry> entries;
    for (int i = 5; i >= 0; --i) {
        entries.emplace_back("k" + std::to_string(i % 3), DictionaryValue::Integer(i));
    }
    OSXDictionary dictionary(std::move(entries));
    EXPECT_EQ(Dump(dictionary), "k0=1:0#0 k1=1:1#1 k2=1:2#2 ");
    dictionary.Set("k1", DictionaryValue::String("one"));
    dictionary.Set("a", DictionaryValue::Integer(-3));
    EXPECT_EQ(Dump(dictionary), "a=1:-3#-3 k0=1:0#0 k1=0:one k2=1:2#2 ");
}

class BundleTest : public testing::Test {
protected:
    MacintoshPlatform::FileLocation Folder() {
        return MacintoshPlatform::MakeFileLocation(tree_.Folder("App.app"));
    }
    TempTree tree_;
};

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
