// The file-system families through the thunks they register, for what no
// transcript shows: the sizes and bases the evaluator is given, dictionaries
// and the bytes of file signatures, folder walks whose entries vanish, and
// digests that give the host a chance to interrupt them.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "evaluator/errors.h"
#include "inspectors/files/files.h"
#include "inspectors/filesystem/filesystem.h"
#include "tests/files/temp_tree.h"
#include "tests/framework/fake_registry.h"

using fake::Call;
using fake::Record;

namespace {

std::string Text(inspector_string const& s) {
    return std::string(reinterpret_cast<char const*>(s.pointer), s.length);
}

Record const& Registered(Call call, std::string const& phrase, std::string const& index,
                         std::string const& objectType) {
    for (Record const& r : fake::Log()) {
        if (r.call == call && r.phrase == phrase && r.indexType == index &&
            r.objectType == objectType) {
            return r;
        }
    }
    throw std::runtime_error("not registered: " + phrase);
}

constexpr Call T = Call::RegisterType;
constexpr Call P = Call::RegisterProperty;
constexpr Call I = Call::RegisterIteratedProperty;
constexpr Call C = Call::RegisterCast;

// What the evaluator is given and never shows: sizes, bases, no fingerprints.
TEST(FilesystemRegistrations, SizesBasesAndFingerprints) {
    for (Record const& r : fake::Log()) {
        EXPECT_EQ(r.fingerprint, nullptr) << r.phrase;
    }
    EXPECT_EQ(Registered(T, "nothing", "", "").valueSize, 1u);
    EXPECT_EQ(Registered(T, "dummy", "", "").valueSize, 1u);
    EXPECT_EQ(Registered(T, "file", "", "").valueSize, sizeof(filesystem_object));
    EXPECT_EQ(Registered(T, "filesystem object", "", "").baseName, std::nullopt);
    EXPECT_EQ(Registered(T, "file", "", "").baseName, "filesystem object");
    EXPECT_EQ(Registered(T, "folder", "", "").baseName, "filesystem object");
    EXPECT_EQ(Registered(C, "string", "", "file signature").resultType, "string");
}

TEST(Dictionary, ValuesAndKeysThroughTheRegisteredThunks) {
    OSXDictionary source;
    source.Set("b", DictionaryValue::String("two"));
    source.Set("a", DictionaryValue::Integer(1));
    DictionaryValue nested;
    source.Set("c", nested);
    dictionary const table(source);
    Record const& value = Registered(P, "value", "string", "dictionary");
    auto valueOf = [&](std::string const& key) {
        inspector_string index{reinterpret_cast<unsigned char const*>(key.data()),
                               static_cast<std::uint32_t>(key.size())};
        inspector_string result{};
        value.get(&result, &index, &table, nullptr, value.userData);
        return Text(result);
    };
    EXPECT_EQ(valueOf("a"), "1");
    EXPECT_EQ(valueOf("b"), "two");
    EXPECT_THROW(valueOf("c"), NoSuchObject);
    EXPECT_THROW(valueOf("B"), NoSuchObject);
    EXPECT_THROW(valueOf(""), NoSuchObject);

    Record const& keys = Registered(I, "key", "", "dictionary");
    auto keysOf = [&](dictionary const& d) {
        alignas(std::max_align_t) unsigned char state[sizeof(DictionaryKeyIterator)];
        keys.construct(state);
        std::vector<std::string> names;
        inspector_string key{};
        try {
            keys.first(&key, nullptr, &d, state, keys.userData);
            for (;;) {
                names.push_back(Text(key));
                keys.next(&key, nullptr, &d, state, keys.userData);
            }
        } catch (NoSuchObject const&) {
        }
        keys.destroy(state);
        return names;
    };
    EXPECT_EQ(keysOf(table), (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_TRUE(keysOf(dictionary(OSXDictionary())).empty());
}

TEST(FileSignature, FourBytesBothWays) {
    Record const& toSignature = Registered(C, "file signature", "", "string");
    Record const& toString = Registered(C, "string", "", "file signature");
    auto signatureOf = [&](std::string const& text) {
        inspector_string s{reinterpret_cast<unsigned char const*>(text.data()),
                           static_cast<std::uint32_t>(text.size())};
        file_signature signature{};
        toSignature.cast(&signature, &s, toSignature.userData);
        return signature;
    };
    EXPECT_EQ(signatureOf("ttxt").code, 0x74747874u);
    EXPECT_EQ(signatureOf(std::string("\xff\x00\x01z", 4)).code, 0xff00017au);
    for (char const* bad : {"", "abc", "abcde"}) {
        EXPECT_THROW(signatureOf(bad), NoSuchObject) << bad;
    }
    file_signature const macs{0x4D414353};
    inspector_string text{};
    toString.cast(&text, &macs, toString.userData);
    EXPECT_EQ(Text(text), "MACS");
}

TEST(Digest, ChecksForInterruptionBetweenBlocks) {
    TempTree tree;
    std::string path = tree.Write("three-blocks", std::string(3 * 128 * 1024, 'z'));
    file const object(MacintoshPlatform::FileItem(MacintoshPlatform::MakeFileLocation(path)));
    int before = fake::InterruptionChecks();
    EXPECT_EQ(Text(md5_of_file(Of(), object)).size(), 32u);
    EXPECT_GE(fake::InterruptionChecks() - before, 3);
    fake::InterruptionArmed() = true;
    EXPECT_THROW(sha1_of_file(Of(), object), EvaluationInterrupted);
    fake::InterruptionArmed() = false;
}

TEST(FolderWalk, SkipsEntriesThatVanishAndKeepsTheKindAsked) {
    TempTree tree;
    tree.Write("a", "");
    tree.Write("b", "");
    tree.Folder("d");
    folder const root(
        MacintoshPlatform::FileItem(MacintoshPlatform::MakeFileLocation(tree.Path())));
    FolderEntryIterator<file> files;
    EXPECT_EQ(Text(NameOfObject(Of(), files.First(Of(), root))), "a");
    std::filesystem::remove(tree.Path("b"));
    EXPECT_THROW(files.Next(Of(), root), NoSuchObject);
    FolderEntryIterator<folder> folders;
    folder const d = folders.First(Of(), root);
    EXPECT_EQ(Text(NameOfObject(Of(), d)), "d");
    EXPECT_TRUE(IsDirectory(d));
    EXPECT_THROW(folders.Next(Of(), root), NoSuchObject);
}

} // namespace
