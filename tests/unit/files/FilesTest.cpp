#include "tools/MERO/MEROEngine/implementations/helperUtil/Files.h"

#include "Common/Utility/ReturnCodes.h"
#include "tests/unit/files/FileTest.h"

#include <cerrno>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

using namespace helperUtil;

namespace {

using FileDelete = FileTest;
using MakeFolder = FileTest;
using FileDeleteAll = FileTest;
using FileDeleteDirectory = FileTest;
using FileSize = FileTest;

TEST_F(FileDelete, RemovesAFile) {
    EXPECT_EQ(fileDelete(writeFile("a", "x")), 0u);
    EXPECT_FALSE(exists("a"));
    EXPECT_EQ(lineCount(), 0u);
}

TEST_F(FileDelete, TakesAMissingFileForSuccess) {
    EXPECT_EQ(fileDelete(path("none")), 0u);
    EXPECT_EQ(fileDelete(path("no/such")), 0u);
    EXPECT_EQ(fileDelete(""), 0u);
    EXPECT_EQ(lineCount(), 0u);
}

TEST_F(FileDelete, RemovesALinkAndNotItsTarget) {
    writeFile("target", "x");
    std::filesystem::create_symlink("target", path("link"));
    EXPECT_EQ(fileDelete(path("link")), 0u);
    EXPECT_FALSE(exists("link"));
    EXPECT_TRUE(exists("target"));
}

TEST_F(FileDelete, RefusesAFolder) {
    EXPECT_EQ(fileDelete(makeFolder("folder")), 0xFEB00009u);
    EXPECT_TRUE(log.containsCode('E', "fileDelete", "unlink_file", EISDIR)) << log.dump();
    EXPECT_TRUE(exists("folder"));
}

TEST_F(FileDelete, TellsWhenTheRightsAreMissing) {
    writeFile("locked/a", "x");
    ASSERT_EQ(::chmod(path("locked").c_str(), 0555), 0);
    openToAll();
    EXPECT_TRUE(holdsUnprivileged([&] {
        EXPECT_EQ(fileDelete("locked/a"), MEROENGINE_ERROR_UNEXPECTED);
        EXPECT_TRUE(log.containsCode('E', "fileDelete", "unlink_file", EACCES)) << log.dump();
    }));
    EXPECT_TRUE(exists("locked/a"));
}

TEST_F(FileDelete, TakesAnyBytesForAName) {
    for (const std::string& name : nastyNames()) {
        EXPECT_EQ(fileDelete(writeFile(name, "x")), 0u) << name;
        EXPECT_FALSE(exists(name)) << name;
    }
}

TEST_F(MakeFolder, MakesItWithAllBitsLessTheUmask) {
    EXPECT_TRUE(holdsInChild([&] {
        ::umask(0);
        EXPECT_EQ(MakeDirectory("open"), 0u);
        ::umask(027);
        EXPECT_EQ(MakeDirectory("narrow"), 0u);
    }));
    struct stat status = {};
    ASSERT_EQ(::stat("open", &status), 0);
    EXPECT_EQ(status.st_mode, S_IFDIR | 0777u);
    ASSERT_EQ(::stat("narrow", &status), 0);
    EXPECT_EQ(status.st_mode, S_IFDIR | 0750u);
    EXPECT_EQ(lineCount(), 0u);
}

TEST_F(MakeFolder, TakesAnExistingFolderForSuccess) {
    EXPECT_EQ(MakeDirectory(makeFolder("there")), 0u);
    EXPECT_TRUE(log.containsCode('E', "MakeDirectory", "mkdir", EEXIST)) << log.dump();
}

TEST_F(MakeFolder, TakesAMissingParentForSuccess) {
    EXPECT_EQ(MakeDirectory(path("no/such")), 0u);
    EXPECT_TRUE(log.containsCode('E', "MakeDirectory", "mkdir", ENOENT)) << log.dump();
    EXPECT_FALSE(exists("no"));
}

TEST_F(MakeFolder, TellsWhenTheRightsAreMissing) {
    makeFolder("locked");
    ASSERT_EQ(::chmod(path("locked").c_str(), 0555), 0);
    openToAll();
    EXPECT_TRUE(holdsUnprivileged([&] {
        EXPECT_EQ(MakeDirectory("locked/new"), 0xFEB0000Eu);
        EXPECT_TRUE(log.containsCode('E', "MakeDirectory", "mkdir", EACCES)) << log.dump();
    }));
    EXPECT_EQ(lineCount(), 0u);
}

TEST_F(FileDeleteAll, RefusesAnEmptyName) {
    std::string folder;
    EXPECT_EQ(fileDeleteAll(folder), 0xFEB00002u);
    EXPECT_EQ(countMessages('I', "fileDeleteAll", "tstrDirectory is an empty string"), 1) << log.dump();
    EXPECT_EQ(folder, "");
}

TEST_F(FileDeleteAll, DeletesThePlainFilesDirectlyInTheFolder) {
    writeFile("f/a.log", "x");
    writeFile("f/.hidden", "x");
    writeFile("f/sub/b.log", "x");
    std::string folder = path("f");
    EXPECT_EQ(fileDeleteAll(folder), 0u);
    EXPECT_EQ(folder, path("f") + "/");
    EXPECT_FALSE(exists("f/a.log"));
    EXPECT_FALSE(exists("f/.hidden"));
    EXPECT_TRUE(exists("f/sub/b.log"));
    EXPECT_EQ(lineCount(), 0u);
}

TEST_F(FileDeleteAll, TellsThatAFolderHasNoFiles) {
    std::string folder = makeFolder("f");
    EXPECT_EQ(fileDeleteAll(folder), 0xFEB0000Cu);
    EXPECT_TRUE(log.containsCode('W', "fileDeleteAll", "helperUtil::fileFindAll", 0xFEB0000C)) << log.dump();
}

TEST_F(FileDeleteAll, TellsThatTheFolderIsMissingOrNone) {
    std::string missing = path("none");
    EXPECT_EQ(fileDeleteAll(missing), 0xFEB0000Cu);
    std::string file = writeFile("a", "x");
    EXPECT_EQ(fileDeleteAll(file), 0xFEB0000Du);
    EXPECT_TRUE(log.containsCode('W', "fileDeleteAll", "helperUtil::fileFindAll", 0xFEB0000D)) << log.dump();
    EXPECT_TRUE(exists("a"));
}

TEST_F(FileDeleteAll, GoesOnAfterAFailureAndRemembersIt) {
    writeFile("f/one", "x");
    writeFile("f/two", "x");
    ASSERT_EQ(::chmod(path("f").c_str(), 0555), 0);
    openToAll();
    EXPECT_TRUE(holdsUnprivileged([&] {
        std::string folder = "f/";
        EXPECT_EQ(fileDeleteAll(folder), 0xFEB00009u);
        EXPECT_TRUE(log.containsCode('E', "fileDelete", "unlink_file", EACCES)) << log.dump();
        EXPECT_TRUE(log.containsCode('E', "fileDeleteAll", "helperUtil::fileDelete", 0xFEB00009));
        EXPECT_EQ(log.count('E', "Invoked Function: helperUtil::fileDelete\n"), 2) << log.dump();
    }));
}

TEST_F(FileDeleteAll, TakesAnyBytesForAName) {
    for (const std::string& name : nastyNames()) {
        writeFile("f/" + name, "x");
    }
    std::string folder = path("f");
    EXPECT_EQ(fileDeleteAll(folder), 0u);
    EXPECT_TRUE(std::filesystem::is_empty(path("f")));
}

TEST_F(FileDeleteDirectory, RefusesAnEmptyName) {
    EXPECT_EQ(fileDeleteDirectory(""), 0xFEB00002u);
    EXPECT_EQ(countMessages('I', "fileDeleteDirectory", "rtstrDirectory is an empty string"), 1)
        << log.dump();
}

TEST_F(FileDeleteDirectory, TellsThatTheFolderIsMissing) {
    EXPECT_EQ(fileDeleteDirectory(path("none")), 0xFEB0000Eu);
    EXPECT_TRUE(log.containsCode('E', "fileDeleteDirectory", "access", ENOENT)) << log.dump();
}

TEST_F(FileDeleteDirectory, RefusesAPlainFile) {
    EXPECT_EQ(fileDeleteDirectory(writeFile("a", "x")), 0xFEB0000Eu);
    EXPECT_TRUE(log.containsCode('E', "fileDeleteDirectory", "access", ENOTDIR)) << log.dump();
    EXPECT_TRUE(exists("a"));
}

TEST_F(FileDeleteDirectory, RemovesTheFilesAndTheFolder) {
    writeFile("f/a", "x");
    writeFile("f/b", "x");
    EXPECT_EQ(fileDeleteDirectory(path("f")), 0u);
    EXPECT_FALSE(exists("f"));
    writeFile("f/a", "x");
    EXPECT_EQ(fileDeleteDirectory(path("f") + "/"), 0u);
    EXPECT_FALSE(exists("f"));
    EXPECT_EQ(lineCount(), 0u);
}

TEST_F(FileDeleteDirectory, RemovesAnEmptyFolder) {
    EXPECT_EQ(fileDeleteDirectory(makeFolder("f")), 0u);
    EXPECT_FALSE(exists("f"));
    EXPECT_TRUE(log.containsCode('W', "fileDeleteDirectory", "helperUtil::fileFindAll", 0xFEB0000C))
        << log.dump();
}

TEST_F(FileDeleteDirectory, KeepsAFolderThatHoldsOnlySubFolders) {
    makeFolder("f/sub");
    EXPECT_EQ(fileDeleteDirectory(path("f")), 0xFEB00009u);
    EXPECT_TRUE(log.containsCode('W', "fileDeleteDirectory", "helperUtil::fileFindAll", 0xFEB0000C));
    EXPECT_TRUE(log.containsCode('E', "fileDeleteDirectory", "rmdir", ENOTEMPTY)) << log.dump();
    EXPECT_TRUE(exists("f/sub"));
}

TEST_F(FileDeleteDirectory, DeletesTheFilesBesideSubFoldersAndFailsSilently) {
    writeFile("f/a", "x");
    writeFile("f/sub/b", "x");
    EXPECT_EQ(fileDeleteDirectory(path("f")), 0xFEB00009u);
    EXPECT_FALSE(exists("f/a"));
    EXPECT_TRUE(exists("f/sub/b"));
    EXPECT_EQ(lineCount(), 0u) << log.dump();
}

TEST_F(FileDeleteDirectory, HandsOnAnotherFailureOfTheListing) {
    makeFolder("f");
    ASSERT_EQ(::chmod(path("f").c_str(), 0000), 0);
    openToAll();
    EXPECT_TRUE(holdsUnprivileged([&] {
        EXPECT_EQ(fileDeleteDirectory("f"), 0xFEB0000Du);
        EXPECT_TRUE(log.containsCode('W', "fileDeleteDirectory", "helperUtil::fileFindAll", 0xFEB0000D))
            << log.dump();
    }));
    EXPECT_TRUE(exists("f"));
}

TEST_F(FileDeleteDirectory, BreaksOffAtTheFirstFileThatStays) {
    writeFile("f/one", "x");
    writeFile("f/two", "x");
    ASSERT_EQ(::chmod(path("f").c_str(), 0555), 0);
    openToAll();
    EXPECT_TRUE(holdsUnprivileged([&] {
        EXPECT_EQ(fileDeleteDirectory("f"), 0xFEB00009u);
        EXPECT_TRUE(log.containsCode('E', "fileDeleteDirectory", "helperUtil::fileDelete", 0xFEB00009));
        EXPECT_EQ(log.count('E', "Invoked Function: helperUtil::fileDelete\n"), 1) << log.dump();
        EXPECT_EQ(log.count('*', "Invoked Function: rmdir\n"), 0) << log.dump();
    }));
    EXPECT_TRUE(exists("f/one"));
    EXPECT_TRUE(exists("f/two"));
}

TEST_F(FileSize, GivesTheBytes) {
    EXPECT_EQ(getFileSize(writeFile("a", "12345")), 5.0);
    EXPECT_EQ(getFileSize(writeFile("empty", "")), 0.0);
}

TEST_F(FileSize, TranslatesThePath) {
    writeFile("a", "12345");
    EXPECT_EQ(getFileSize("$HOME/a"), 5.0);
}

TEST_F(FileSize, IsNegativeWhenUnknown) {
    EXPECT_EQ(getFileSize(path("none")), -1.0);
    EXPECT_EQ(getFileSize(""), -1.0);
    EXPECT_EQ(lineCount(), 0u);
}

TEST_F(FileSize, GoesBeyondThirtyTwoBits) {
    writeFile("big", "");
    std::filesystem::resize_file(path("big"), 5'000'000'000);
    EXPECT_EQ(getFileSize(path("big")), 5e9);
}

} // namespace
