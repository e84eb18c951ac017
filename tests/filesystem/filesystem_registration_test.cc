// The file-system families through the thunks they register, for what no
// transcript shows: no fingerprints, dictionaries and the bytes of file
// signatures, folder walks whose entries vanish, and digests that give the
// host a chance to interrupt them.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "evaluator/errors.h"
#include "inspectors/files/files.h"
#include "inspectors/filesystem/filesystem.h"
#include "tests/files/temp_tree.h"
#include "tests/framework/fake_registry.h"

using fake::Record;

namespace {

// Files change between evaluations: no answer may be kept.
TEST(FilesystemRegistrations, NoneHasAFingerprint) {
    for (Record const& r : fake::Log())
        EXPECT_EQ(r.fingerprint, nullptr) << r.phrase;
}

TEST(Dictionary, ValuesAndKeysThroughTheRegisteredThunks) {
    OSXDictionary source;
    source.Set("b", DictionaryValue::String("two"));
    source.Set("a", DictionaryValue::Integer(1));
    DictionaryValue nested;
    source.Set("c", nested);
    dictionary const table(source);
    Record const& value = fake::Property("value", "string", "dictionary");
    auto valueOf = [&](std::string const& key) {
        inspector_string index = fake::View(key);
        inspector_string result{};
        value.get(&result, &index, &table, nullptr, value.userData);
        return fake::Text(result);
    };
    EXPECT_EQ(valueOf("a"), "1");
    EXPECT_EQ(valueOf("b"), "two");
    EXPECT_THROW(valueOf("c"), NoSuchObject);
    EXPECT_THROW(valueOf("B"), NoSuchObject);
    EXPECT_THROW(valueOf(""), NoSuchObject);

    auto keysOf = [](dictionary const& d) {
        std::vector<std::string> names;
        for (inspector_string const& key :
             fake::Iterate<inspector_string>(fake::Property("key", "", "dictionary"), nullptr, &d))
            names.push_back(fake::Text(key));
        return names;
    };
    EXPECT_EQ(keysOf(table), (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_TRUE(keysOf(dictionary(OSXDictionary())).empty());
}

// Lengths and reading back are in the file transcripts; the packed code is
// what only the agent sees.
TEST(FileSignature, PacksTheFirstByteHighest) {
    Record const& toSignature = fake::Cast("file signature", "string");
    inspector_string text = fake::View("ttxt");
    file_signature signature{};
    toSignature.cast(&signature, &text, toSignature.userData);
    EXPECT_EQ(signature.code, 0x74747874u);
}

TEST(Digest, ChecksForInterruptionBetweenBlocks) {
    TempTree tree;
    std::string path = tree.Write("three-blocks", std::string(3 * 128 * 1024, 'z'));
    file const object(MacintoshPlatform::FileItem(MacintoshPlatform::MakeFileLocation(path)));
    int before = fake::interruptionChecks;
    EXPECT_EQ(fake::Text(md5_of_file(Of(), object)).size(), 32u);
    EXPECT_GE(fake::interruptionChecks - before, 3);
    fake::interruptionArmed = true;
    EXPECT_THROW(sha1_of_file(Of(), object), EvaluationInterrupted);
    fake::interruptionArmed = false;
}

TEST(FolderWalk, SkipsEntriesThatVanishAndKeepsTheKindAsked) {
    TempTree tree;
    tree.Write("a", "");
    tree.Write("b", "");
    tree.Folder("d");
    folder const root(
        MacintoshPlatform::FileItem(MacintoshPlatform::MakeFileLocation(tree.Path())));
    FolderEntryIterator<file> files;
    EXPECT_EQ(fake::Text(NameOfObject(Of(), files.First(Of(), root))), "a");
    std::filesystem::remove(tree.Path("b"));
    EXPECT_THROW(files.Next(Of(), root), NoSuchObject);
    FolderEntryIterator<folder> folders;
    folder const d = folders.First(Of(), root);
    EXPECT_EQ(fake::Text(NameOfObject(Of(), d)), "d");
    EXPECT_TRUE(IsDirectory(d));
    EXPECT_THROW(folders.Next(Of(), root), NoSuchObject);
}

} // namespace
