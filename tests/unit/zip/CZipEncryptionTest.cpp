#include "Common/Utility/ReturnCodes.h"
#include "Common/Zip/CZip.h"
#include "Common/Zip/SpillBuffer.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Sandbox.h"
#include "tests/unit/zip/ArchiveTools.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sys/syscall.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

/// What the double below does before it goes on; returns an errno to fail with, or 0.
std::function<int()> g_beforeRandom;
/// How many bytes the double gives at most; 0 for no limit.
size_t g_randomLimit = 0;

} // namespace

/// Stands in front of the system's call, because nothing else happens between the packer's reading of a file
/// and the writing of its entry that a test could hook into, and because the real call doesn't fail here.
extern "C" ssize_t getrandom(void* buffer, size_t size, unsigned flags) {
    if (const int error = g_beforeRandom ? g_beforeRandom() : 0; error != 0) {
        errno = error;
        return -1;
    }
    const size_t wanted = g_randomLimit == 0 ? size : std::min(size, g_randomLimit);
    return ::syscall(SYS_getrandom, buffer, wanted, flags);
}

namespace {

constexpr const char* kPassword = "correct horse 42";

class CZipEncryption : public Sandbox {
public:
    ~CZipEncryption() override {
        g_beforeRandom = nullptr;
        g_randomLimit = 0;
    }

protected:
    uint32_t pack(const std::string& password = kPassword) {
        return m_zip.Zip(path("bundle"), path("bundle.zip"), password, true);
    }
    /// Lets `change` happen once, after the first file to be encrypted was read.
    void afterTheReading(std::function<void()> change) {
        g_beforeRandom = [change = std::move(change), isDone = false]() mutable {
            if (!isDone) {
                isDone = true;
                change();
            }
            return 0;
        };
    }

    CapturedLog m_log;
    CZip m_zip;
};

TEST_F(CZipEncryption, EntriesOpenWithThePassword) {
    const Contents expected{{"text.log", "one line\n"},
                            {"sub/noise.bin", noise(300000)},
                            {"one", "1"},
                            {"zeros", std::string(200000, '\0')},
                            {"block", noise(16384)},
                            {"block and one", noise(16385)}};
    for (const auto& [name, content] : expected) {
        writeFile("bundle/" + name, content);
    }
    ASSERT_EQ(pack(), 0U) << m_log.dump();
    expectOpensEverywhere(path("bundle.zip"), kPassword, expected);
    for (const auto& [name, entry] : readArchive(path("bundle.zip"), kPassword)) {
        EXPECT_EQ(entry.flags, 3U) << name << ": encrypted, maximum compression";
        EXPECT_EQ(entry.method, 8U) << name;
        EXPECT_EQ(entry.versionNeeded, 20U) << name;
        EXPECT_EQ(entry.externalAttributes, 0U) << name;
    }
    EXPECT_TRUE(m_log.lines().empty()) << m_log.dump();
}

TEST_F(CZipEncryption, EntriesStayShutWithoutThePassword) {
    writeFile("bundle/a.log", noise(5000));
    ASSERT_EQ(pack(), 0U);
    expectOpensNowhere(path("bundle.zip"), "correct horse 43");
    EXPECT_NE(readArchive(path("bundle.zip")).at("a.log").error, "");
    EXPECT_EQ(readFile("bundle.zip").find(noise(5000).substr(0, 16)), std::string::npos);
}

TEST_F(CZipEncryption, UnpacksToTheSameBytes) {
    writeFile("bundle/a.log", noise(70000));
    writeFile("bundle/sub/empty.log", "");
    ASSERT_EQ(pack(), 0U);
    const ToolRun unzip =
        runTool({"unzip", "-q", "-P", kPassword, "-d", path("by unzip"), path("bundle.zip")});
    EXPECT_EQ(unzip.status, 0) << unzip.output;
    const ToolRun sevenZip =
        runTool({"7z", "x", std::string("-p") + kPassword, "-o" + path("by 7z"), path("bundle.zip")});
    EXPECT_EQ(sevenZip.status, 0) << sevenZip.output;
    for (const std::string folder : {"by unzip", "by 7z"}) {
        EXPECT_TRUE(readFile(folder + "/a.log") == readFile("bundle/a.log")) << folder;
        EXPECT_EQ(readFile(folder + "/sub/empty.log"), "") << folder;
    }
}

TEST_F(CZipEncryption, AnEmptyFileNeedsNoPassword) {
    writeFile("bundle/empty.log", "");
    writeFile("bundle/full.log", "text");
    ASSERT_EQ(pack(), 0U);
    expectOpensEverywhere(path("bundle.zip"), kPassword, {{"empty.log", ""}, {"full.log", "text"}});
    const ReadEntries entries = readArchive(path("bundle.zip"));
    EXPECT_EQ(entries.at("empty.log").error, "");
    EXPECT_FALSE(entries.at("empty.log").isEncrypted());
    EXPECT_NE(entries.at("full.log").error, "");
    EXPECT_TRUE(entries.at("full.log").isEncrypted());
}

TEST_F(CZipEncryption, ContentWithASumOfZeroIsNotEncrypted) {
    const std::string content = "\x9D\x0A\xD9\x6D";
    writeFile("bundle/zero.bin", content);
    ASSERT_EQ(m_zip.getCrc(path("bundle/zero.bin")), 0UL);
    ASSERT_EQ(pack(), 0U);
    const ReadEntry entry = readArchive(path("bundle.zip")).at("zero.bin");
    EXPECT_FALSE(entry.isEncrypted());
    EXPECT_EQ(entry.content, content);
}

TEST_F(CZipEncryption, AFileThatCannotBeOpenedHasAnEntryWithoutPassword) {
    ASSERT_EQ(m_zip.createZipFile({path("gone")}, path("bundle.zip"), {"gone"}, kPassword), 0U);
    EXPECT_FALSE(readArchive(path("bundle.zip")).at("gone").isEncrypted());
    EXPECT_TRUE(m_log.contains('E', "Could not open " + path("gone")));
}

TEST_F(CZipEncryption, NamesAreMarkedAsWithoutPassword) {
    const Contents expected{{"Gr\xC3\xBC\xC3\x9F"
                             "e.log",
                             "1"},
                            {"latin\xFC.log", "2"},
                            {"plain.log", "3"},
                            {std::string(255, 'n'), "4"},
                            {"line\nfeed\"'", "5"}};
    for (const auto& [name, content] : expected) {
        writeFile("bundle/" + name, content);
    }
    ASSERT_EQ(pack(), 0U);
    expectOpensEverywhere(path("bundle.zip"), kPassword, expected);
    for (const auto& [name, entry] : readArchive(path("bundle.zip"), kPassword)) {
        EXPECT_EQ(entry.isUtf8(), name.starts_with("Gr")) << name;
        EXPECT_TRUE(entry.isEncrypted()) << name;
    }
}

TEST_F(CZipEncryption, TakesPasswordsOfManyKinds) {
    writeFile("bundle/a.log", noise(1000));
    for (const std::string& password :
         {std::string("x"), std::string("-P"), std::string("with \"quotes' & $HOME"), std::string(64, 'p'),
          std::string("tab\tand \\")}) {
        ASSERT_EQ(pack(password), 0U) << password;
        expectOpensEverywhere(path("bundle.zip"), password, {{"a.log", noise(1000)}});
    }
}

TEST_F(CZipEncryption, TakesThePasswordsBytesAsTheyAre) {
    const std::string password = "Gr\xC3\xBC\xC3\x9F"
                                 "e";
    writeFile("bundle/a.log", "text");
    ASSERT_EQ(pack(password), 0U);
    EXPECT_EQ(readArchive(path("bundle.zip"), password).at("a.log").content, "text");
    const ToolRun unzip = runTool({"unzip", "-tq", "-P", password, path("bundle.zip")});
    EXPECT_EQ(unzip.status, 0) << unzip.output;
}

TEST_F(CZipEncryption, TheSameFileLooksDifferentEachTime) {
    writeFile("bundle/a.log", "text");
    ASSERT_EQ(pack(), 0U);
    const std::string first = readFile("bundle.zip");
    ASSERT_EQ(pack(), 0U);
    EXPECT_EQ(readFile("bundle.zip").size(), first.size());
    EXPECT_NE(readFile("bundle.zip"), first);
}

TEST_F(CZipEncryption, ReadsRandomBytesInPieces) {
    g_randomLimit = 3;
    int interruptions = 0;
    g_beforeRandom = [&] { return ++interruptions % 2 == 0 ? 0 : EINTR; };
    writeFile("bundle/a.log", "text");
    ASSERT_EQ(pack(), 0U);
    EXPECT_EQ(interruptions, 8);
    expectOpensEverywhere(path("bundle.zip"), kPassword, {{"a.log", "text"}});
}

TEST_F(CZipEncryption, WithoutRandomBytesThereIsNoArchive) {
    g_beforeRandom = [] { return ENOSYS; };
    writeFile("bundle/a.log", "text");
    EXPECT_EQ(pack(), GLOBAL_ERROR_UNEXPECTED);
    EXPECT_TRUE(m_log.containsCode('E', "createZipFile", "getrandom", ENOSYS)) << m_log.dump();
    EXPECT_TRUE(m_log.containsCode('E', "Zip", "CZip::createZipFile", GLOBAL_ERROR_UNEXPECTED));
    EXPECT_FALSE(m_log.contains('*', kPassword));
    EXPECT_FALSE(exists("bundle.zip"));
}

TEST_F(CZipEncryption, AFileThatGrowsBehindItsReadingIsPackedAsItWas) {
    const std::string file = writeFile("bundle/growing.log", noise(50000));
    afterTheReading([&] { std::ofstream(file, std::ios::app) << "one more line\n"; });
    ASSERT_EQ(pack(), 0U);
    EXPECT_EQ(fs::file_size(file), 50014U);
    expectOpensEverywhere(path("bundle.zip"), kPassword, {{"growing.log", noise(50000)}});
}

/// Where there is no room for what waits for its sum, a file is read a second time.
class CZipSecondReading : public CZipEncryption {
protected:
    static std::string muchNoise() { return noise(SpillBuffer::kMemoryBytes + 50000); }
};

TEST_F(CZipSecondReading, PacksAFileThatGrowsAsItWasSummed) {
    const std::string file = writeFile("growing.log", muchNoise());
    afterTheReading([&] { std::ofstream(file, std::ios::app) << "one more line\n"; });
    ASSERT_EQ(m_zip.createZipFile({file}, path("bundle.zip"), {"growing.log"}, kPassword), 0U);
    expectOpensEverywhere(path("bundle.zip"), kPassword,
                          {{"growing.log", muchNoise()},
                           {"not-packed.txt", "What could not be packed into this archive, or not whole:\n\n"
                                              "growing.log: was changed while it was packed\n"}});
}

TEST_F(CZipEncryption, AFileThatIsReplacedIsPackedAsItWas) {
    const std::string file = writeFile("bundle/rotated.log", "old lines\n");
    afterTheReading([&] {
        fs::rename(file, path("rotated.log.1"));
        writeFile("bundle/rotated.log", "new\n");
    });
    ASSERT_EQ(pack(), 0U);
    expectOpensEverywhere(path("bundle.zip"), kPassword, {{"rotated.log", "old lines\n"}});
}

TEST_F(CZipEncryption, AFileThatVanishesAfterItWasSummedIsStillPacked) {
    const std::string file = writeFile("bundle/gone.log", "lines\n");
    afterTheReading([&] { fs::remove(file); });
    ASSERT_EQ(pack(), 0U);
    expectOpensEverywhere(path("bundle.zip"), kPassword, {{"gone.log", "lines\n"}});
}

TEST_F(CZipSecondReading, ReportsAFileThatIsRewrittenAndItsEntryShowsTheDamage) {
    const std::string file = writeFile("bundle/rewritten.log", muchNoise());
    writeFile("bundle/sub/other.log", "text");
    afterTheReading([&] {
        fs::resize_file(file, 0);
        std::ofstream(file) << "shorter";
    });
    ASSERT_EQ(m_zip.createZipFile({file, path("bundle/sub/other.log")}, path("bundle.zip"),
                                  {"rewritten", "other"}, kPassword),
              0U);
    EXPECT_TRUE(
        m_log.contains('E', "\"" + file + "\" was changed while it was packed; its entry is damaged."))
        << m_log.dump();
    const ReadEntries entries = readArchive(path("bundle.zip"), kPassword);
    EXPECT_NE(entries.at("rewritten").error.find("Bad CRC-32"), std::string::npos)
        << entries.at("rewritten").error;
    EXPECT_EQ(entries.at("other").content, "text");
    EXPECT_EQ(entries.at("not-packed.txt").content,
              "What could not be packed into this archive, or not whole:\n\n"
              "rewritten: was changed while it was packed\n");
    // The password is right and is taken as such, so that what was read can still be got at.
    const ToolRun unzip = runTool({"unzip", "-P", kPassword, "-d", path("out"), path("bundle.zip")});
    EXPECT_NE(unzip.status, 0);
    EXPECT_NE(unzip.output.find("bad CRC"), std::string::npos) << unzip.output;
    EXPECT_EQ(readFile("out/rewritten"), "shorter");
    EXPECT_EQ(readFile("out/other"), "text");
}

} // namespace
