#include "Common/Zip/DeflateAhead.h"
#include "Common/Utility/process/StopRequest.h"
#include "Common/Utility/ReturnCodes.h"
#include "Common/Utility/threads/ThreadGroup.h"
#include "Common/Zip/CZip.h"
#include "Common/Zip/FilePacker.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/InChild.h"
#include "tests/support/NoNewThreads.h"
#include "tests/support/Sandbox.h"
#include "tests/support/Sanitizers.h"
#include "tests/support/SystemCallFilter.h"
#include "tests/unit/zip/ArchiveTools.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <optional>
#include <random>
#include <sched.h>
#include <sys/resource.h>

namespace fs = std::filesystem;

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kPassword = "correct horse 42";
constexpr uint32_t kThreads = 4;
constexpr size_t kLarge = PieceDeflater::kLargestWhole;
constexpr size_t kPart = PieceDeflater::kPartBytes;

/// Lines as logs have them, different for each seed.
std::string logLines(size_t size, unsigned seed) {
    std::mt19937 random(seed); // NOLINT(bugprone-random-generator-seed): the same in each run
    std::string text;
    while (text.size() < size) {
        text += "2026-01-02 03:04:" + std::to_string(random() % 60) + " host agent[" +
                std::to_string(random() % 1000) + "]: session " + std::to_string(random()) + " answered\n";
    }
    text.resize(size);
    return text;
}

/// Packs files with a number of threads, whatever the machine has; 0 for the plain loop.
class DeflateAheadTest : public Sandbox {
protected:
    uint32_t pack(const std::vector<std::string>& files, const std::string& password, uint32_t threads) {
        m_report = {};
        const FileDescriptor file(
            ::open(path("a.zip").c_str(), O_CREAT | O_TRUNC | O_RDWR | O_CLOEXEC, 0600));
        ZipArchive archive;
        EXPECT_TRUE(archive.open(file.get()));
        const std::string spillFolder = path();
        FilePacker packer(archive, password, spillFolder, m_report);
        std::optional<DeflateAhead> ahead;
        const NameList paths(files);
        if (threads > 0) {
            ahead.emplace(paths, "", spillFolder, threads);
        }
        uint32_t code = 0;
        for (size_t i = 0; i < files.size() && code == 0; ++i) {
            const std::string name = std::to_string(i);
            code = ahead ? packer.packNext(*ahead, files[i], name) : packer.pack(files[i], name);
        }
        EXPECT_EQ(archive.close(), 0);
        return code;
    }
    std::vector<std::string> reported() const {
        std::vector<std::string> lines;
        for (const PackReport::Item& item : m_report.items()) {
            lines.push_back(item.name + ": " + item.reason);
        }
        return lines;
    }
    /// Files of all sizes up to that of one piece, and of both kinds of content.
    std::vector<std::string> makeFiles(int count) {
        std::mt19937 random(7); // NOLINT(bugprone-random-generator-seed): the same in each run
        std::vector<std::string> files;
        for (int i = 0; i < count; ++i) {
            const size_t size = i % 10 == 0 ? 0 : random() % (size_t{1} << (random() % 22));
            const std::string name = "files/" + std::to_string(i);
            files.push_back(
                writeFile(name, i % 4 == 0 ? noise(size) : logLines(size, static_cast<unsigned>(random()))));
        }
        return files;
    }

    PackReport m_report;
};

TEST_F(DeflateAheadTest, MakesTheArchiveOfThePlainLoopByteForByte) {
    const std::vector<std::string> files = makeFiles(50);
    ASSERT_EQ(pack(files, {}, 0), 0U);
    const std::string plain = readFile("a.zip");
    for (const uint32_t threads : {1U, 2U, kThreads, 16U}) {
        ASSERT_EQ(pack(files, {}, threads), 0U);
        EXPECT_TRUE(readFile("a.zip") == plain) << threads << " threads";
    }
}

TEST_F(DeflateAheadTest, MakesTheArchiveOfThePlainLoopOfTheLargestContentInOnePiece) {
    const std::vector<std::string> files{writeFile("noise", noise(kLarge)),
                                         writeFile("log", logLines(kLarge, 1))};
    ASSERT_EQ(pack(files, {}, 0), 0U);
    const std::string plain = readFile("a.zip");
    ASSERT_EQ(pack(files, {}, kThreads), 0U);
    EXPECT_TRUE(readFile("a.zip") == plain);
}

TEST_F(DeflateAheadTest, MakesTheSameEntriesWithAPassword) {
    const std::vector<std::string> files = makeFiles(30);
    Contents contents;
    for (size_t i = 0; i < files.size(); ++i) {
        contents[std::to_string(i)] = readFile(files[i]);
    }
    ASSERT_EQ(pack(files, kPassword, 0), 0U);
    const auto size = fs::file_size(path("a.zip"));
    ASSERT_EQ(pack(files, kPassword, kThreads), 0U);
    EXPECT_EQ(fs::file_size(path("a.zip")), size);
    expectOpensEverywhere(path("a.zip"), kPassword, contents);
}

TEST_F(DeflateAheadTest, MakesOneStreamOfALargeFile) {
    // On the edges of the parts, and with nothing behind the last whole one.
    for (const size_t size : {kLarge + 1, kLarge + kPart, 12 * kPart - 1}) {
        const std::string content = logLines(size, 3);
        const std::vector<std::string> files{writeFile("small", "text"), writeFile("large", content)};
        ASSERT_EQ(pack(files, {}, 0), 0U);
        const auto plainBytes = static_cast<double>(fs::file_size(path("a.zip")));
        for (const char* const password : {"", kPassword}) {
            ASSERT_EQ(pack(files, password, kThreads), 0U);
            EXPECT_TRUE(unzipped(path("a.zip"), "1", password) == content) << size << " bytes";
            EXPECT_LE(static_cast<double>(fs::file_size(path("a.zip"))), plainBytes * 1.002 + 100)
                << size << " bytes";
            EXPECT_THAT(m_report.items(), IsEmpty());
        }
        EXPECT_EQ(runTool({"7z", "t", "-p" + std::string(kPassword), path("a.zip")}).status, 0);
    }
    const std::string content = logLines(kLarge + 1, 3);
    ASSERT_EQ(pack({writeFile("large", content)}, {}, kThreads), 0U);
    expectOpensEverywhere(path("a.zip"), "", {{"0", content}});
}

TEST_F(DeflateAheadTest, GoesOnBehindAFileThatIsGivenUp) {
    const NameList files({writeFile("large", noise(3 * kLarge)), writeFile("after", "text")});
    DeflateAhead ahead(files, "", path(), 2);
    { const DeflatedFile untouched(ahead); }
    const auto next = ahead.take();
    ASSERT_TRUE(next && next->isGood);
    EXPECT_EQ(next->content.sum.sizeBytes, 4U);
}

TEST_F(DeflateAheadTest, EndsWithPiecesThatNobodyTakes) {
    const NameList files(makeFiles(100));
    const DeflateAhead ahead(files, "", path(), kThreads);
    EXPECT_TRUE(ahead.isWorking());
}

TEST_F(DeflateAheadTest, LeavesFilesThatCannotBeOpenedToTheLoop) {
    const std::vector<std::string> files{writeFile("a", "one"), path("missing"), makeFolder("folder"),
                                         writeFile("b", "two")};
    for (const char* const password : {"", kPassword}) {
        ASSERT_EQ(pack(files, password, kThreads), 0U);
        EXPECT_THAT(reported(), ElementsAre("1: could not be opened: No such file or directory",
                                            "2: could not be opened: Is a directory"));
        expectOpensEverywhere(path("a.zip"), password, {{"0", "one"}, {"1", ""}, {"2", ""}, {"3", "two"}});
    }
}

TEST_F(DeflateAheadTest, TakesMoreThanMemoryHoldsToAFile) {
    const NameList files(std::vector{writeFile("noise", noise(3 * SpillBuffer::kMemoryBytes))});
    DeflateAhead ahead(files, "", path(), 1);
    const auto piece = ahead.take();
    ASSERT_TRUE(piece && piece->isGood);
    EXPECT_GE(piece->content.data.sizeBytes(), 3 * SpillBuffer::kMemoryBytes);
    EXPECT_LE(piece->content.data.heldBytes(), SpillBuffer::kMemoryBytes);
}

TEST_F(DeflateAheadTest, LeavesFilesToTheLoopWhereNoneCanBeMade) {
    const std::string content = noise(3 * SpillBuffer::kMemoryBytes);
    const std::vector<std::string> files{writeFile("noise", content), writeFile("text", "text"),
                                         writeFile("large", noise(kLarge + 1))};
    inChild([&] {
        replaceSystemCallWith(SYS_openat, EOPNOTSUPP, 2, O_TMPFILE & ~O_DIRECTORY);
        for (const char* const password : {"", kPassword}) {
            ASSERT_EQ(pack(files, password, kThreads), 0U);
            EXPECT_THAT(m_report.items(), IsEmpty());
            EXPECT_TRUE(unzipped(path("a.zip"), "0", password) == content);
            EXPECT_TRUE(unzipped(path("a.zip"), "2", password) == noise(kLarge + 1));
        }
    });
}

TEST_F(DeflateAheadTest, StaysWithinItsShareOfMemory) {
    if (kAddressSanitizer || kThreadSanitizer) {
        GTEST_SKIP() << "sanitizers keep memory that was let go, and more beside it";
    }
    std::vector<std::string> files;
    files.push_back(writeFile("large", noise(kLarge + 4 * kPart)));
    for (int i = 0; i < 12; ++i) {
        files.push_back(writeFile(std::to_string(i), noise(4 * kPart)));
    }
    inChild([&] {
        rusage before{};
        ASSERT_EQ(::getrusage(RUSAGE_SELF, &before), 0);
        ASSERT_EQ(pack(files, {}, 8), 0U);
        rusage after{};
        ASSERT_EQ(::getrusage(RUSAGE_SELF, &after), 0);
        EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 24 * 1024) << "kilobytes";
    });
}

class SideBySide : public Sandbox {
protected:
    CapturedLog m_log;
};

TEST_F(SideBySide, TellsHowFarItIs) {
    writeFile("bundle/a.log", "text");
    writeFile("bundle/sub/b.log", logLines(100000, 1));
    writeFile("bundle/large.log", logLines(kLarge + 1, 2));
    for (const char* const password : {"", kPassword}) {
        PackProgress progress;
        PackReport report;
        ASSERT_EQ(CZip().Zip(path("bundle"), path("bundle.zip"), password, true, report, &progress), 0U);
        EXPECT_EQ(progress.files, 3U);
        EXPECT_EQ(progress.filesDone, 3U);
        EXPECT_EQ(progress.bytes, 4 + 100000 + kLarge + 1);
        EXPECT_GE(progress.bytesDone, progress.bytes);
        EXPECT_LE(progress.bytesDone, progress.bytes + progress.bytes / 25) << "with what parts look back at";
    }
}

TEST_F(SideBySide, GoesOnWithoutThreads) {
    writeFile("bundle/a.log", "text");
    const NoNewThreads none;
    ASSERT_EQ(CZip().Zip(path("bundle"), path("bundle.zip"), {}, true), 0U);
    EXPECT_EQ(m_log.containsCode('W', "createZipFile", "pthread_create", EAGAIN), usableCores() > 1)
        << m_log.dump();
    expectOpensEverywhere(path("bundle.zip"), "", {{"a.log", "text"}});
}

TEST_F(SideBySide, TakesAllCoresThatThisProcessMayUse) {
    EXPECT_EQ(usableCores(), std::stoul(runTool({"nproc"}).output));
}

TEST_F(SideBySide, MakesTheSameOnOneCore) {
    for (int i = 0; i < 30; ++i) {
        writeFile("bundle/" + std::to_string(i), logLines(static_cast<size_t>(i) * 7000, 1));
    }
    ASSERT_EQ(CZip().Zip(path("bundle"), path("bundle.zip"), {}, true), 0U);
    inChild([&] {
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(static_cast<size_t>(::sched_getcpu()), &one);
        ASSERT_EQ(::sched_setaffinity(0, sizeof one, &one), 0);
        ASSERT_EQ(usableCores(), 1U);
        ASSERT_EQ(CZip().Zip(path("bundle"), path("one.zip"), {}, true), 0U);
    });
    EXPECT_TRUE(readFile("one.zip") == readFile("bundle.zip"));
}

TEST_F(SideBySide, KeepsNoFileBehindAnEnd) {
    writeFile("bundle/a.noise", noise(kLarge));
    writeFile("bundle/b.noise", noise(2 * kLarge));
    ASSERT_EQ(CZip().Zip(path("bundle"), path("bundle.zip"), kPassword, true), 0U);
    EXPECT_EQ(std::ranges::distance(fs::directory_iterator(path("bundle"))), 2);
    const std::string former = readFile("bundle.zip");
    inChild([&] {
        requestStop();
        EXPECT_EQ(CZip().Zip(path("bundle"), path("bundle.zip"), kPassword, true),
                  MEROENGINE_ERROR_ACTION_CANCELED_BY_USER);
    });
    EXPECT_TRUE(readFile("bundle.zip") == former);
}

} // namespace
