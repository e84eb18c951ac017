#include "action/download_list.h"
#include "action/mirror_download_parser.h"
#include "tests/action/repeat.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

// One entry as text: name|url|hash type|hash value|size|required.
std::string Describe(DownloadFileInfo const& info) {
    return info.GetName().str() + "|" + info.url.str() + "|" + info.hashType.str() + "|" +
           info.hashValue.str() + "|" + info.size.str() + "|" + (info.required ? "req" : "opt");
}

using Entries = std::vector<std::string>;

// Records the parameter lines the host would execute.
class ParameterRecorder : public MirrorDownloadActionParser {
public:
    Entries executed;

protected:
    void ParameterCommand(Stringy const& arguments) override {
        executed.push_back("parameter " + arguments.str());
    }
};

// The parameter lines script executes, then its downloads as entries.
Entries Build(std::string const& script, WinVersion& version) {
    ParameterRecorder parser;
    DownloadList list;
    list.Add("1, sha1:x, http://stale"); // must be reset away
    bool const any = parser.BuildMirrorDownloadList(Stringy(script), list, version);
    EXPECT_EQ(any, list.GetCount() > 0) << script;
    for (std::size_t i = 0; i < list.GetCount(); ++i)
        parser.executed.push_back(Describe(list.GetDownloadFileInfo(i)));
    return parser.executed;
}

Entries Build(std::string const& script) {
    WinVersion version;
    return Build(script, version);
}

constexpr char const* kDigest = "0123456789abcdef0123456789abcdef01234567";

} // namespace

TEST(DownloadFileInfo, ParsesSizeHashAndCommaSeparatedLines) {
    DownloadFileInfo const separate(" http://s/a.zip\t", "size: 1234 ", "sha256 : ABC ", "a.zip",
                                    false);
    EXPECT_EQ(Describe(separate), "a.zip|http://s/a.zip|sha256|ABC|1234|opt");
    EXPECT_FALSE(separate.utility);
    // "null" is an unknown value; a text without its "kind:" prefix is none.
    EXPECT_EQ(Describe(DownloadFileInfo("u", "size:null", "sha1:null", "n", true)),
              "n|u|sha1|||req");
    EXPECT_EQ(Describe(DownloadFileInfo("u", "77", "nocolon", "n", true)), "n|u||||req");

    EXPECT_EQ(Describe(DownloadFileInfo(" 42 , sha1: abc , http://s/p/file.bin ")),
              "file.bin|http://s/p/file.bin|sha1|abc|42|req");
    EXPECT_EQ(DownloadFileInfo("1,sha1:a,http://s/x?a=1,2").url.str(), "http://s/x?a=1,2");
    DownloadFileInfo sizeOnly("5");
    EXPECT_EQ(sizeOnly.size.str(), "5");
    EXPECT_EQ(sizeOnly.url.str(), "");
}

TEST(DownloadList, CountsFlagsAndRequiredEntries) {
    DownloadList list;
    list.Add("u1", "size:10", "sha1:a", "", false);
    list.Add("u2", "size:99", "sha1:b", "");
    EXPECT_EQ(list.GetCount(), 2u);
    EXPECT_FALSE(list.GetDownloadFileInfo(0).required);
    EXPECT_TRUE(list.GetDownloadFileInfo(1).required);
    EXPECT_TRUE(list.AnyRequired(0));
    EXPECT_TRUE(list.AnyRequired(1));
    EXPECT_FALSE(list.AnyRequired(2));
    EXPECT_TRUE(list.SingleDownloadLessThan(100));
    EXPECT_FALSE(list.SingleDownloadLessThan(99));
    list.Add(DownloadFileInfo("u3", "size:1", "sha1:c", "", true));
    EXPECT_FALSE(list.SingleDownloadLessThan(1000)); // two required
    list.SetFlags(5);
    list.Reset();
    EXPECT_EQ(list.GetCount(), 0u);
    EXPECT_EQ(list.GetFlags(), 0);
    EXPECT_FALSE(list.SingleDownloadLessThan(1000)); // none required
    list.Add("u", "size:null", "sha1:null", "");
    EXPECT_FALSE(list.SingleDownloadLessThan(1000)); // size unknown
}

TEST(InsureGoodName, AcceptsShortPlainNamesOnly) {
    MirrorDownloadActionParser parser;
    for (char const* good : {"", "a", "setup-1.2.pkg", "ABCDEFGHIJKLMNOPQRSTUVWXYZ012345"})
        EXPECT_NO_THROW(parser.InsureGoodName(good)) << good;
    for (char const* bad :
         {"ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456", ".hidden", "a_b", "a b", "a/b", "caf\xc3\xa9"})
        EXPECT_THROW(parser.InsureGoodName(bad), DownloadNameError) << bad;
}

// In a false branch a createfile body is skipped by the block control and
// then once more up to the next delimiter; hosts list downloads this way.
// Download arguments end at a NUL, as the tokenizer reads C strings; quote-
// and bracket-heavy lines and deep nesting stay linear.
TEST(BuildMirrorDownloadList, ListsEachDownloadWithItsHashAndSize) {
    std::string const full =
        std::string("setup.pkg|http://s/setup.pkg|sha1|") + kDigest + "|1048576|req";
    for (auto const& [script, entries] : std::vector<std::pair<std::string, Entries>>{
             {std::string("prefetch setup.pkg sha1:") + kDigest +
                  " size:1048576 http://s/setup.pkg\nrun setup.pkg",
              {full}},
             // A following continue if gives the same facts as a prefetch line.
             {std::string("download http://s/setup.pkg\n"
                          "continue if {(size of file \"setup.pkg\" = 1048576) "
                          "and (sha1 of file \"setup.pkg\" = \"") +
                  kDigest + "\")}\n",
              {full}},
             {"download as f.bin http://s/x\n"
              "continue if {SHA1 of file \"f.bin\" IS \"ab\" AND size of file "
              "\"f.bin\" equals 7}\n",
              {"f.bin|http://s/x|sha1|ab|7|req"}},
             {"download save http://s/a\ndownload open http://s/b\n",
              {"a|http://s/a|sha1|||req", "b|http://s/b|sha1|||req"}},
             {"download now http://s/a\ncontinue if {sha1 of x = 1}", {}},
             // The base parser takes every if; only the else branch is false.
             {"if cond\ndownload http://s/a\nelse\ndownload http://s/b\nendif",
              {"a|http://s/a|sha1|||req", "b|http://s/b|sha1|||opt"}},
             // A continue if in a false branch still fills the pending download.
             {"download http://s/a\nif x\nelse\ncontinue if {size of file = 3}\nendif\n",
              {"a|http://s/a|sha1||3|req"}},
             {"if x\nelse\ncreatefile until //end\nbody\n//end\ndownload http://s/hidden\n//end\n"
              "endif\ndownload http://s/seen\n",
              {"seen|http://s/seen|sha1|||req"}},
             {"parameter \"a\"=\"1\"\nif x\nelse\nparameter \"b\"=\"2\"\nendif",
              {"parameter \"a\"=\"1\""}},
             {std::string("download \0http://s/a", 20), {}},
             {"download " + Repeat("\"a\" ", 1 << 18) + "\n", {"a|a|sha1|||req"}},
             {"download http://s/a\ncontinue if " + Repeat("{(x ", 1 << 18) + "size = 5)}\n",
              {"a|http://s/a|sha1||5|req"}},
             {Repeat("if true\n", 100000) + "download http://s/deep\n" + Repeat("endif\n", 100000),
              {"deep|http://s/deep|sha1|||req"}}}) {
        EXPECT_EQ(Build(script), entries) << script.substr(0, 100);
    }
    // The list's version is replaced by the script's highest minimum.
    WinVersion version{{9, 9, 9, 9}, 4};
    Build("delete a\nnotify client\n", version);
    EXPECT_EQ(version.AsString(), "6.0.14.0");
}

// The prefetch faults reach zoraction's report, whose tests check them.
TEST(BuildMirrorDownloadList, PendingDownloadNameIsChecked) {
    EXPECT_THROW(Build("download as .x http://s/a"), DownloadNameError);
}
