// Files, folders, paths, digests, bundle versions and the default web browser
// end to end: the plug-in loaded into the evaluator, expressions evaluated
// against scratch folders.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include <openssl/evp.h>

#include "evaluator/evaluator.h"
#include "tests/environment/scoped_environment.h"
#include "tests/files/temp_tree.h"
#include "tests/framework/loaded_plugin.h"

namespace {

using Answers = std::vector<std::string>;

class FilesystemPlugin : public PluginSuite {
protected:
    static std::string One(std::string const& text) {
        Answers answers = Evaluate(text);
        return answers.size() == 1 ? answers.front() : "(" + std::to_string(answers.size()) + ")";
    }
    // The evaluation error's message, or "" when it succeeded.
    static std::string Failure(std::string const& text) {
        try {
            Evaluate(text);
        } catch (zor::ExpressionError const& e) {
            return e.what();
        }
        return "";
    }
    // A file or folder phrase with its path as a string literal.
    std::string Of(std::string const& phrase, std::string const& relative) const {
        return phrase + " \"" + tree_.Path(relative) + "\"";
    }

    TempTree tree_;
};

std::string Digest(EVP_MD const* algorithm, std::string const& bytes) {
    unsigned char value[EVP_MAX_MD_SIZE];
    unsigned length = 0;
    EVP_Digest(bytes.data(), bytes.size(), value, &length, algorithm, nullptr);
    static char const digits[] = "0123456789abcdef";
    std::string hex;
    for (unsigned i = 0; i < length; ++i) {
        hex += digits[value[i] >> 4];
        hex += digits[value[i] & 15];
    }
    return hex;
}

TEST_F(FilesystemPlugin, FilesAndFoldersExistOnlyAsWhatTheyAre) {
    tree_.Write("a.txt", "abc");
    tree_.Folder("sub");
    EXPECT_EQ(One("exists " + Of("file", "a.txt")), "True");
    EXPECT_EQ(One("exists " + Of("folder", "a.txt")), "False");
    EXPECT_EQ(One("exists " + Of("folder", "sub")), "True");
    EXPECT_EQ(One("exists " + Of("file", "sub")), "False");
    EXPECT_EQ(One("exists " + Of("file", "missing")), "False");
    EXPECT_EQ(One("exists " + Of("file", "a.txt/below")), "False");
    EXPECT_EQ(One("exists file \"\""), "False");
    EXPECT_EQ(One("exists file \"" + tree_.Path("a.txt") + "%00x\""), "False");
    EXPECT_EQ(One("exists file \"a.txt\" of " + Of("folder", "")), "True");
    EXPECT_EQ(One("exists folder \"sub\" of " + Of("folder", "")), "True");
    EXPECT_EQ(One("exists file \"sub\" of " + Of("folder", "")), "False");
    EXPECT_EQ(One("exists file \"\" of " + Of("folder", "")), "False");
    EXPECT_NE(Failure("name of " + Of("file", "missing")).find("nonexistent"), std::string::npos);
}

TEST_F(FilesystemPlugin, NamesSizesTimesAndParents) {
    std::string path = tree_.Write("sub/data.bin", std::string(1000, 'x'));
    timespec const times[2] = {{0, 0}, {1700000000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    EXPECT_EQ(One("name of " + Of("file", "sub/data.bin")), "data.bin");
    EXPECT_EQ(One("size of " + Of("file", "sub/data.bin")), "1000");
    EXPECT_EQ(One("modification time of " + Of("file", "sub/data.bin")),
              "Tue, 14 Nov 2023 22:13:20 +0000");
    EXPECT_EQ(One("pathname of parent folder of " + Of("file", "sub/data.bin")), tree_.Path("sub"));
    EXPECT_EQ(One("name of parent folder of parent folder of " + Of("file", "sub/data.bin")),
              std::filesystem::path(tree_.Path()).filename().string());
    EXPECT_EQ(One("name of folder \"/\""), "/");
    EXPECT_EQ(One("exists parent folder of folder \"/\""), "False");
    EXPECT_EQ(One("pathname of parent folder of folder \"/usr\""), "/");
    EXPECT_EQ(One("name of " + Of("folder", "sub/../sub/./")), "sub");
}

TEST_F(FilesystemPlugin, FilesAndFoldersOfAFolderInNameOrder) {
    tree_.Write("b.txt", "");
    tree_.Write("a.txt", "");
    tree_.Write("C.txt", "");
    tree_.Folder("zdir");
    tree_.Folder("adir");
    std::filesystem::create_symlink(tree_.Path("zdir"), tree_.Path("link-to-dir"));
    std::filesystem::create_symlink(tree_.Path("a.txt"), tree_.Path("link-to-file"));
    std::filesystem::create_symlink(tree_.Path("gone"), tree_.Path("dangling"));
    ASSERT_EQ(mkfifo(tree_.Path("pipe").c_str(), 0644), 0);
    std::string folder = Of("folder", "");
    EXPECT_EQ(Evaluate("names of files of " + folder),
              (Answers{"C.txt", "a.txt", "b.txt", "link-to-file", "pipe"}));
    EXPECT_EQ(Evaluate("names of folders of " + folder), (Answers{"adir", "link-to-dir", "zdir"}));
    EXPECT_EQ(Evaluate("names of files whose (name of it ends with \".txt\") of " + folder),
              (Answers{"C.txt", "a.txt", "b.txt"}));
    EXPECT_EQ(One("number of files of " + Of("folder", "adir")), "0");
    EXPECT_EQ(One("exists folders of " + Of("folder", "adir")), "False");
}

TEST_F(FilesystemPlugin, PathFormsAgree) {
    tree_.Write("odd name: 100%.txt", "");
    std::string file = "file \"" + tree_.Path("odd name: 100%25.txt") + "\"";
    std::string posix = tree_.Path("odd name: 100%.txt");
    EXPECT_EQ(One("pathname of " + file), posix);
    EXPECT_EQ(One("posix path of " + file), posix);
    EXPECT_EQ(One(file + " as string"), posix);
    EXPECT_EQ(
        One("(pathname of it = posix path of it and pathname of it = it as string) of " + file),
        "True");
    std::string root = tree_.Path();
    std::replace(root.begin(), root.end(), '/', ':');
    EXPECT_EQ(One("hfs path of " + file), "Root" + root + ":odd name/ 100%.txt");
    EXPECT_EQ(One("hfs path of " + Of("folder", "")), "Root" + root + ":");
}

TEST_F(FilesystemPlugin, DigestsOfContentsInEveryAlgorithm) {
    tree_.Write("empty", "");
    tree_.Write("abc", "abc");
    std::string big(3 * 128 * 1024 + 17, '\0');
    for (std::size_t i = 0; i < big.size(); ++i) {
        big[i] = static_cast<char>(i * 7 + (i >> 9));
    }
    tree_.Write("big", big);
    struct Algorithm {
        char const* phrase;
        EVP_MD const* md;
    } const algorithms[] = {{"sha1", EVP_sha1()},     {"sha224", EVP_sha224()},
                            {"sha256", EVP_sha256()}, {"sha384", EVP_sha384()},
                            {"sha512", EVP_sha512()}, {"md5", EVP_md5()}};
    for (Algorithm const& a : algorithms) {
        EXPECT_EQ(One(std::string(a.phrase) + " of " + Of("file", "abc")), Digest(a.md, "abc"))
            << a.phrase;
        EXPECT_EQ(One(std::string(a.phrase) + " of " + Of("file", "big")), Digest(a.md, big))
            << a.phrase;
    }
    EXPECT_EQ(
        Evaluate("sha1s of files of " + Of("folder", "")),
        (Answers{Digest(EVP_sha1(), "abc"), Digest(EVP_sha1(), big), Digest(EVP_sha1(), "")}));
    EXPECT_THROW(zor::Expression::compile("sha1 of " + Of("folder", "")), zor::ExpressionError);
}

TEST_F(FilesystemPlugin, SpecialAndChangingFilesAreRefusedWithAReason) {
    ASSERT_EQ(mkfifo(tree_.Path("fifo").c_str(), 0644), 0);
    auto start = std::chrono::steady_clock::now();
    EXPECT_NE(Failure("sha1 of " + Of("file", "fifo")).find("NotARegularFile"), std::string::npos);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_NE(Failure("sha1 of file \"/dev/null\"").find("NotARegularFile"), std::string::npos);
    // A file whose size says nothing of its contents cannot be read as one snapshot.
    EXPECT_NE(Failure("sha256 of file \"/proc/self/status\"").find("FileChangedWhileRead"),
              std::string::npos);
}

TEST_F(FilesystemPlugin, ALongDigestStopsWhenTheBudgetIsSpent) {
    std::string path = tree_.Write("large", "");
    ASSERT_EQ(truncate(path.c_str(), 256 << 20), 0);
    zor::EvaluationOptions options;
    options.budget.time = std::chrono::microseconds(2000);
    try {
        Evaluate("sha512 of " + Of("file", "large"), options);
        ADD_FAILURE() << "the digest of 256 MiB finished within 2 ms";
    } catch (zor::ExpressionError const& e) {
        EXPECT_NE(std::string(e.what()).find("Interrupted"), std::string::npos) << e.what();
    }
}

// Runs `check` in a child process that has given up root, as an ordinary user
// would run it; the child's exit code is the check's result.
void AsOrdinaryUser(std::function<bool()> const& check) {
    EXPECT_EXIT(
        {
            if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) {
                std::_Exit(2);
            }
            std::_Exit(check() ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(FilesystemPlugin, PermissionErrorsSaySo) {
    std::string secret = tree_.Write("secret.txt", "x");
    ASSERT_EQ(chmod(secret.c_str(), 0600), 0);
    std::string locked = tree_.Write("locked/inside.txt", "x");
    ASSERT_EQ(chmod(tree_.Path("locked").c_str(), 0700), 0);
    tree_.Write("listless/x.txt", "");
    ASSERT_EQ(chmod(tree_.Path("listless").c_str(), 0711), 0);
    auto says = [](std::string const& message, char const* cls) {
        return message.find(cls) != std::string::npos &&
               message.find("Permission denied") != std::string::npos;
    };
    AsOrdinaryUser([&] {
        return says(Failure("sha1 of " + Of("file", "secret.txt")), "OpenFileFailed") &&
               says(Failure("exists " + Of("file", "locked/inside.txt")), "StatFailed") &&
               says(Failure("names of files of " + Of("folder", "listless")), "OpenDirFailed") &&
               One("size of " + Of("file", "secret.txt")) == "1";
    });
}

std::string InfoPlist(std::string const& body) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" + body +
           "</dict></plist>\n";
}

TEST_F(FilesystemPlugin, BundleVersionsFromTheNumberThenTheText) {
    tree_.Write("Dev.app/Contents/Info.plist",
                InfoPlist("<key>CFBundleVersion</key><string>1.2.3d4</string>"
                          "<key>CFBundleShortVersionString</key><string>9.9</string>"));
    std::string dev = Of("folder", "Dev.app");
    EXPECT_EQ(One("version of " + dev), "1.2.3");
    EXPECT_EQ(One("bundle version of " + dev), "1.2.3.32.4");
    EXPECT_EQ(One("bundle version of " + dev + " < \"1.2.3.128\" as version"), "True");

    tree_.Write("Text.app/Contents/Info.plist",
                InfoPlist("<key>CFBundleVersion</key><string>2021.10.5</string>"
                          "<key>CFBundleShortVersionString</key><string>10.15.7 (beta)</string>"));
    std::string text = Of("folder", "Text.app");
    EXPECT_EQ(One("version of " + text), "10.15.7");
    EXPECT_EQ(One("bundle version of " + text), "2021.10.5");
    EXPECT_EQ(One("version of " + text + " > \"10.9\" as version"), "True");

    tree_.Write("NoShort.app/Contents/Info.plist",
                InfoPlist("<key>CFBundleVersion</key><string>build 7</string>"));
    EXPECT_EQ(One("exists version of " + Of("folder", "NoShort.app")), "False");
    EXPECT_EQ(One("exists bundle version of " + Of("folder", "NoShort.app")), "False");
    tree_.Write("Number.app/Contents/Info.plist",
                InfoPlist("<key>CFBundleVersion</key><integer>305430528</integer>"));
    EXPECT_EQ(One("version of " + Of("folder", "Number.app")), "12.3.4");
    EXPECT_EQ(One("bundle version of " + Of("folder", "Number.app")), "12.3.4.128.0");
}

TEST_F(FilesystemPlugin, VersionsOfObjectsFilesAndDamagedBundles) {
    tree_.Write("Good.app/Contents/Info.plist",
                InfoPlist("<key>CFBundleShortVersionString</key><string>3.1</string>"));
    tree_.Write("libdemo.so.4.5.6", "");
    tree_.Write("plain.txt", "");
    tree_.Write("Cut.app/Contents/Info.plist",
                InfoPlist("<key>CFBundleVersion</key>").substr(0, 50));
    tree_.Write("Binary.app/Contents/Info.plist", std::string("\x7f"
                                                              "ELF\x02\x01\x01\x00\xff\xfe",
                                                              10));
    tree_.Write("Wrong.app/Contents/Info.plist",
                InfoPlist("<key>CFBundleVersion</key><true/>"
                          "<key>CFBundleShortVersionString</key><dict/>"));
    tree_.Folder("Empty.app");
    EXPECT_EQ(Evaluate("versions of folders of " + Of("folder", "")), Answers{"3.1"});
    EXPECT_EQ(Evaluate("bundle versions of folders of " + Of("folder", "")), Answers{});
    EXPECT_EQ(One("version of parent folder of " + Of("folder", "Good.app/Contents")), "3.1");
    EXPECT_EQ(One("version of " + Of("file", "libdemo.so.4.5.6")), "4.5.6");
    EXPECT_EQ(One("exists version of " + Of("file", "plain.txt")), "False");
    EXPECT_EQ(One("exists bundle version of " + Of("file", "libdemo.so.4.5.6")), "False");
}

TEST_F(FilesystemPlugin, DefaultWebBrowserFromTheXdgDefaults) {
    ScopedEnvironment xdg({"XDG_CONFIG_HOME=" + tree_.Path("config"),
                           "XDG_CONFIG_DIRS=" + tree_.Path("etc"),
                           "XDG_DATA_HOME=" + tree_.Path("data"),
                           "XDG_DATA_DIRS=" + tree_.Path("share"), "XDG_CURRENT_DESKTOP=Test"});
    EXPECT_EQ(One("exists default web browser"), "False");
    std::string entry =
        tree_.Write("share/applications/web.desktop", "[Desktop Entry]\nExec=web\n");
    tree_.Write("config/test-mimeapps.list",
                "[Default Applications]\nx-scheme-handler/http=gone.desktop;web.desktop\n");
    EXPECT_EQ(One("pathname of default web browser"), entry);
    EXPECT_EQ(One("name of default web browser"), "web.desktop");
}

TEST_F(FilesystemPlugin, NounsThatNeverHaveAValue) {
    EXPECT_EQ(One("exists relay service"), "False");
    EXPECT_EQ(One("exists main gather service"), "False");
    EXPECT_EQ(One("exists service \"x\""), "False");
    EXPECT_EQ(One("exists state of service \"x\""), "False");
    EXPECT_EQ(One("number of relay services"), "0");
    EXPECT_NE(Failure("relay service").find("nonexistent"), std::string::npos);
}

} // namespace
