#include "tools/MERO/MEROEngine/implementations/helperUtil/Files.h"

#include "tests/support/LeaseHolder.h"
#include "tests/unit/files/FileTest.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>

using namespace helperUtil;

namespace {

using FileTruncateEnd = FileTest;
using FileTruncateFront = FileTest;

constexpr int32_t kSmallest = std::numeric_limits<int32_t>::min();

/// Both functions, for what they have in common.
struct Truncation {
    const char* name;
    uint32_t (*truncate)(int32_t, const char*);
};
constexpr Truncation kTruncations[] = {{"fileTruncateEnd", fileTruncateEnd},
                                       {"fileTruncateFront", fileTruncateFront}};

class FileTruncate : public FileTest, public ::testing::WithParamInterface<Truncation> {
protected:
    [[nodiscard]] static uint32_t truncate(int32_t keepBytes, const char* fileName) {
        return GetParam().truncate(keepBytes, fileName);
    }
    [[nodiscard]] static const char* name() { return GetParam().name; }
};

INSTANTIATE_TEST_SUITE_P(Both, FileTruncate, ::testing::ValuesIn(kTruncations),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST_F(FileTruncateEnd, KeepsTheFirstBytes) {
    writeFile("a.log", "0123456789");
    EXPECT_EQ(fileTruncateEnd(4, "a.log"), 0u);
    EXPECT_EQ(readFile("a.log"), "0123");
    EXPECT_EQ(lineCount(), 0u) << log.dump();
}

TEST_F(FileTruncateEnd, CutsInsideALineAndAMultiByteCharacter) {
    writeFile("a.log", "one\r\n\xe2\x82\xac rest");
    EXPECT_EQ(fileTruncateEnd(6, "a.log"), 0u);
    EXPECT_EQ(readFile("a.log"), "one\r\n\xe2");
}

TEST_F(FileTruncateEnd, AddsNothingWhenExactlyTheWholeFileIsKept) {
    writeFile("a.log", "0123456789");
    EXPECT_EQ(fileTruncateEnd(10, "a.log"), 0u);
    EXPECT_EQ(readFile("a.log"), "0123456789");
}

TEST_F(FileTruncateEnd, AppendsOneByteFFWhenMoreThanTheFileIsKept) {
    writeFile("a.log", "0123456789");
    EXPECT_EQ(fileTruncateEnd(11, "a.log"), 0u);
    EXPECT_EQ(readFile("a.log"), "0123456789\xFF");
    EXPECT_EQ(fileTruncateEnd(std::numeric_limits<int32_t>::max(), "a.log"), 0u);
    EXPECT_EQ(readFile("a.log"), "0123456789\xFF\xFF");
}

TEST_F(FileTruncateEnd, KeepsNothingForZeroOrLess) {
    for (const int32_t keepBytes : {0, -1, kSmallest}) {
        writeFile("a.log", "0123456789");
        EXPECT_EQ(fileTruncateEnd(keepBytes, "a.log"), 0u);
        EXPECT_EQ(readFile("a.log"), "") << keepBytes;
    }
}

TEST_F(FileTruncateEnd, TellsAnEmptyFileFromOneThatIsTooShort) {
    writeFile("a.log", "");
    EXPECT_EQ(fileTruncateEnd(0, "a.log"), 0u);
    EXPECT_EQ(readFile("a.log"), "");
    EXPECT_EQ(fileTruncateEnd(3, "a.log"), 0u);
    EXPECT_EQ(readFile("a.log"), "\xFF");
}

TEST_F(FileTruncateEnd, KeepsBytesAcrossBlocks) {
    std::string content;
    for (int i = 0; content.size() < 20000; ++i) {
        content += static_cast<char>(i * 7);
    }
    for (const int32_t keepBytes : {4095, 4096, 4097, 8192, 12345}) {
        writeFile("a.log", content);
        EXPECT_EQ(fileTruncateEnd(keepBytes, "a.log"), 0u);
        EXPECT_EQ(readFile("a.log"), content.substr(0, static_cast<size_t>(keepBytes))) << keepBytes;
    }
}

TEST_F(FileTruncateFront, AppendsOneByteFFToTheKeptTail) {
    writeFile("a.log", "0123456789");
    EXPECT_EQ(fileTruncateFront(4, "a.log"), 0u);
    EXPECT_EQ(readFile("a.log"), "6789\xFF");
    EXPECT_EQ(lineCount(), 0u) << log.dump();
}

TEST_F(FileTruncateFront, AppendsOneByteFFToTheWholeFileToo) {
    writeFile("a.log", "0123456789");
    EXPECT_EQ(fileTruncateFront(10, "a.log"), 0u);
    EXPECT_EQ(readFile("a.log"), "0123456789\xFF");
}

TEST_F(FileTruncateFront, LeavesAnEmptyFileWhenMoreThanTheFileIsKept) {
    for (const int32_t keepBytes : {11, std::numeric_limits<int32_t>::max()}) {
        writeFile("a.log", "0123456789");
        EXPECT_EQ(fileTruncateFront(keepBytes, "a.log"), 0u);
        EXPECT_EQ(readFile("a.log"), "") << keepBytes;
    }
}

TEST_F(FileTruncateFront, LeavesTheSingleByteFFForZero) {
    writeFile("a.log", "0123456789");
    EXPECT_EQ(fileTruncateFront(0, "a.log"), 0u);
    EXPECT_EQ(readFile("a.log"), "\xFF");
}

TEST_F(FileTruncateFront, MeetsTheEndAtOnceForNegativeCounts) {
    for (const int32_t keepBytes : {-1, -2'000'000'000, kSmallest}) {
        writeFile("a.log", "0123456789");
        EXPECT_EQ(fileTruncateFront(keepBytes, "a.log"), 0u);
        EXPECT_EQ(readFile("a.log"), "\xFF") << keepBytes;
    }
}

TEST_F(FileTruncateFront, TellsAnEmptyFileFromOneThatIsTooShort) {
    writeFile("a.log", "");
    EXPECT_EQ(fileTruncateFront(1, "a.log"), 0u);
    EXPECT_EQ(readFile("a.log"), "");
    EXPECT_EQ(fileTruncateFront(0, "a.log"), 0u);
    EXPECT_EQ(readFile("a.log"), "\xFF");
}

TEST_F(FileTruncateFront, KeepsBytesAcrossBlocks) {
    std::string content;
    for (int i = 0; content.size() < 20000; ++i) {
        content += static_cast<char>(i * 7);
    }
    for (const int32_t keepBytes : {4095, 4096, 4097, 8192, 12345}) {
        writeFile("a.log", content);
        EXPECT_EQ(fileTruncateFront(keepBytes, "a.log"), 0u);
        EXPECT_EQ(readFile("a.log"), content.substr(20000 - static_cast<size_t>(keepBytes)) + "\xFF")
            << keepBytes;
    }
}

TEST_F(FileTruncateFront, FindsTheTailOfAFileBeyondFourGigabytes) {
    writeFile("big", "");
    std::filesystem::resize_file(path("big"), 5'000'000'000);
    EXPECT_EQ(fileTruncateFront(3, "big"), 0u);
    EXPECT_EQ(readFile("big"), std::string("\0\0\0\xFF", 4));
}

TEST_P(FileTruncate, RefusesANullName) {
    EXPECT_EQ(truncate(4, nullptr), 0xFEB00002u);
    EXPECT_EQ(countMessages('E', name(), "pszFilename is NULL"), 1) << log.dump();
    EXPECT_FALSE(exists("temp_out.txt"));
}

TEST_P(FileTruncate, TellsThatTheFileCantBeOpened) {
    EXPECT_EQ(truncate(4, "none.log"), 0xFEB0000Du);
    EXPECT_EQ(countMessages('E', name(), "Failed to open \"none.log\""), 1) << log.dump();
    EXPECT_EQ(truncate(4, ""), 0xFEB0000Du);
    EXPECT_EQ(countMessages('E', name(), "Failed to open \"\""), 1) << log.dump();
    EXPECT_FALSE(exists("temp_out.txt"));
}

TEST_P(FileTruncate, OpensNothingButRegularFiles) {
    makeFolder("folder");
    ASSERT_EQ(::mkfifo("pipe", 0600), 0);
    for (const std::string special : {"folder", "pipe", "/dev/zero"}) {
        EXPECT_EQ(truncate(4, special.c_str()), 0xFEB0000Du);
        EXPECT_EQ(countMessages('E', name(), "Failed to open \"" + special + "\""), 1) << log.dump();
    }
    EXPECT_TRUE(exists("pipe"));
}

TEST_P(FileTruncate, TellsThatTheFileMayNotBeRead) {
    writeFile("a.log", "0123456789");
    ASSERT_EQ(::chmod("a.log", 0000), 0);
    openToAll();
    EXPECT_TRUE(holdsUnprivileged([&] {
        EXPECT_EQ(truncate(4, "a.log"), 0xFEB0000Du);
        EXPECT_EQ(countMessages('E', name(), "Failed to open \"a.log\""), 1) << log.dump();
    }));
}

TEST_P(FileTruncate, TellsThatTheScratchFileCantBeOpened) {
    writeFile("a.log", "0123456789");
    makeFolder("temp_out.txt");
    EXPECT_EQ(truncate(4, "a.log"), 0xFEB0000Du);
    EXPECT_EQ(countMessages('E', name(), "Failed to open \"temp_out.txt\""), 1) << log.dump();
    EXPECT_EQ(readFile("a.log"), "0123456789");
}

TEST_P(FileTruncate, FollowsNoLinkInPlaceOfTheScratchFile) {
    writeFile("a.log", "0123456789");
    writeFile("precious", "keep me");
    std::filesystem::create_symlink("precious", "temp_out.txt");
    EXPECT_EQ(truncate(4, "a.log"), 0xFEB0000Du);
    EXPECT_EQ(readFile("precious"), "keep me");
    EXPECT_EQ(readFile("a.log"), "0123456789");
}

TEST_P(FileTruncate, WaitsForNoReaderOfAPipeInPlaceOfTheScratchFile) {
    writeFile("a.log", "0123456789");
    ASSERT_EQ(::mkfifo("temp_out.txt", 0600), 0);
    EXPECT_EQ(truncate(4, "a.log"), 0xFEB0000Du);
    EXPECT_EQ(readFile("a.log"), "0123456789");
}

TEST_P(FileTruncate, WaitsForWhoHoldsALeaseOnAnOldScratchFile) {
    writeFile("a.log", "0123456789");
    const LeaseHolder holder(writeFile("temp_out.txt", "old"));
    if (!holder.isHeld()) {
        GTEST_SKIP() << "this file system knows no leases";
    }
    EXPECT_EQ(truncate(4, "a.log"), 0U) << log.dump();
    EXPECT_EQ(readFile("a.log").size(), readFile("temp_out.txt").size());
    EXPECT_NE(readFile("a.log"), "0123456789");
}

TEST_P(FileTruncate, RefusesItsOwnScratchFile) {
    writeFile("temp_out.txt", "0123456789");
    std::filesystem::create_symlink("temp_out.txt", "link");
    EXPECT_EQ(truncate(4, "temp_out.txt"), 0xFEB0000Du);
    EXPECT_EQ(truncate(4, path("temp_out.txt").c_str()), 0xFEB0000Du);
    EXPECT_EQ(truncate(4, "link"), 0xFEB0000Du);
    EXPECT_EQ(countMessages('E', name(), "Failed to open \"temp_out.txt\""), 3) << log.dump();
    EXPECT_EQ(readFile("temp_out.txt"), "0123456789");
}

TEST_P(FileTruncate, LeavesTheScratchFileInTheCurrentFolder) {
    const std::string file = writeFile("elsewhere/a.log", "0123456789");
    makeFolder("here");
    ASSERT_EQ(::chdir("here"), 0);
    EXPECT_EQ(truncate(4, file.c_str()), 0u);
    EXPECT_EQ(readFile("here/temp_out.txt"), readFile("elsewhere/a.log"));
    EXPECT_FALSE(exists("elsewhere/temp_out.txt"));
}

TEST_P(FileTruncate, OverwritesAnOldScratchFileToItsEnd) {
    writeFile("temp_out.txt", std::string(100, 'o'));
    writeFile("a.log", "0123456789");
    EXPECT_EQ(truncate(4, "a.log"), 0u);
    EXPECT_EQ(readFile("temp_out.txt"), readFile("a.log"));
    EXPECT_LE(readFile("a.log").size(), 5u);
}

TEST_P(FileTruncate, ReplacesALinkByTheCutFileAndKeepsItsTarget) {
    writeFile("target.log", "0123456789");
    std::filesystem::create_symlink("target.log", "link.log");
    EXPECT_EQ(truncate(4, "link.log"), 0u);
    EXPECT_TRUE(std::filesystem::is_regular_file(std::filesystem::symlink_status("link.log")));
    EXPECT_LE(readFile("link.log").size(), 5u);
    EXPECT_EQ(readFile("target.log"), "0123456789");
}

TEST_P(FileTruncate, OnlyLogsAFailedCopyBack) {
    writeFile("locked/a.log", "0123456789");
    ASSERT_EQ(::chmod(path("locked").c_str(), 0555), 0);
    ASSERT_EQ(::chmod(path("locked/a.log").c_str(), 0644), 0);
    openToAll();
    EXPECT_TRUE(holdsUnprivileged([&] {
        EXPECT_EQ(truncate(4, "locked/a.log"), 0u);
        EXPECT_TRUE(log.containsCode('E', "fileDelete", "unlink_file", EACCES)) << log.dump();
        EXPECT_TRUE(log.containsCode('E', "fileCopy", "helperUtil::fileDelete", 0xFEB00009)) << log.dump();
        EXPECT_TRUE(log.containsCode('E', name(), "helperUtil::fileCopy", 0xFEB00009)) << log.dump();
    }));
    EXPECT_EQ(readFile("locked/a.log"), "0123456789");
}

TEST_P(FileTruncate, LeavesTheFileAloneWhenTheScratchFileIsNotWhole) {
    const std::string content(20000, 'c');
    writeFile("a.log", content);
    EXPECT_TRUE(holdsInChild([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        {
            const LowLimit limit(RLIMIT_FSIZE, 10000);
            EXPECT_EQ(truncate(15000, "a.log"), 0u);
        }
        EXPECT_TRUE(log.containsCode('E', name(), "write", EFBIG)) << log.dump();
        EXPECT_TRUE(log.contains('E', "File: temp_out.txt\nError: File too large")) << log.dump();
        EXPECT_EQ(lineCount(), 1u);
    }));
    EXPECT_EQ(readFile("a.log"), content);
}

TEST_P(FileTruncate, LeavesTheFileAloneWhenTheLastByteDoesNotFit) {
    const std::string content(10000, 'c');
    writeFile("a.log", content);
    EXPECT_TRUE(holdsInChild([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        // The tail with its end byte, and the head of a file that is too short, need one byte more.
        const int32_t keepBytes = std::string(name()) == "fileTruncateEnd" ? 10001 : 10000;
        const LowLimit limit(RLIMIT_FSIZE, 10000);
        EXPECT_EQ(truncate(keepBytes, "a.log"), 0u);
        EXPECT_TRUE(log.containsCode('E', name(), "write", EFBIG));
    }));
    EXPECT_EQ(readFile("a.log"), content);
}

TEST_P(FileTruncate, TakesAnyBytesForAName) {
    for (const std::string& odd : nastyNames()) {
        writeFile(odd, "0123456789");
        EXPECT_EQ(truncate(4, odd.c_str()), 0u) << odd;
        EXPECT_LE(readFile(odd).size(), 5u) << odd;
    }
}

TEST_P(FileTruncate, ClosesItsFiles) {
    writeFile("a.log", "0123456789");
    const size_t before = openDescriptors();
    EXPECT_EQ(truncate(4, "a.log"), 0u);
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(FileTruncateEnd, LeavesTheFileAloneWhenItCantBeRead) {
    // The memory of the process is a regular file whose first bytes belong to nobody.
    EXPECT_EQ(fileTruncateEnd(4, "/proc/self/mem"), 0u);
    EXPECT_TRUE(log.containsCode('E', "fileTruncateEnd", "read", EIO)) << log.dump();
    EXPECT_EQ(lineCount(), 1u);
}

} // namespace
