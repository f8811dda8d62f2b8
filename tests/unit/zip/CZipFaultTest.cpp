#include "Common/Utility/log/Log.h"
#include "Common/Utility/log/Logger.h"
#include "Common/Utility/ReturnCodes.h"
#include "Common/Zip/CZip.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Sandbox.h"
#include "tests/unit/zip/ArchiveTools.h"

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

/// The library loses the front of an entry's directory record when the entry can't be begun for want of room:
/// some kilobytes at most, once an archive. The leak sanitizer asks for this function by its name.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the name is the sanitizer's
extern "C" const char* __lsan_default_suppressions() {
    return "leak:zipOpenNewFileInZip4_64";
}

namespace {

constexpr const char* kPassword = "correct horse 42";
/// What the library says when a write fails, as a return code.
constexpr uint32_t kWriteFailed = static_cast<uint32_t>(-1);

std::set<std::string> namesIn(const std::string& folder) {
    std::set<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        names.insert(entry.path().filename());
    }
    return names;
}

/// Lets no file grow beyond a size, as a full disk would, for as long as the object lives. SIGXFSZ is
/// ignored, so that the failure shows as EFBIG.
class FileSizeLimit {
public:
    explicit FileSizeLimit(uint64_t sizeBytes) : m_formerHandler(std::signal(SIGXFSZ, SIG_IGN)) {
        EXPECT_EQ(::getrlimit(RLIMIT_FSIZE, &m_former), 0);
        const rlimit limit{sizeBytes, m_former.rlim_max};
        EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit() {
        EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &m_former), 0);
        static_cast<void>(std::signal(SIGXFSZ, m_formerHandler));
    }

private:
    rlimit m_former{};
    void (*m_formerHandler)(int);
};

class CZipFault : public Sandbox {
protected:
    uint32_t pack(const std::string& password) {
        return m_zip.Zip(path("bundle"), path("bundle.zip"), password, true);
    }
    /// One call that failed to write the archive must stand in the log.
    [[nodiscard]] bool namesAFailedCall() const {
        for (const char* call : {"zipOpenNewFileInZip3_64", "zipOpenNewFileInZip4_64", "zipWriteInFileInZip",
                                 "zipCloseFileInZip", "zipCloseFileInZipRaw64", "zipClose"}) {
            if (m_log.containsCode('E', "createZipFile", call, kWriteFailed)) {
                return true;
            }
        }
        return false;
    }

    CapturedLog m_log;
    CZip m_zip;
};

class CZipFaultByPassword : public CZipFault, public ::testing::WithParamInterface<const char*> {};

INSTANTIATE_TEST_SUITE_P(Passwords, CZipFaultByPassword, ::testing::Values("", kPassword),
                         [](const auto& test) { return *test.param == '\0' ? "Without" : "With"; });

TEST_F(CZipFault, AnArchiveThatCannotBeMadeIsABadParameter) {
    writeFile("bundle/a.log", "text");
    EXPECT_EQ(m_zip.Zip(path("bundle"), path("nowhere/bundle.zip"), {}, true), GLOBAL_ERROR_BAD_PARAMETER);
    EXPECT_TRUE(m_log.containsCode('E', "createZipFile", "zipOpen64", 0xFE000002)) << m_log.dump();
    EXPECT_TRUE(m_log.containsCode('E', "Zip", "CZip::createZipFile", 0xFE000002)) << m_log.dump();
}

TEST_P(CZipFaultByPassword, AFullDiskFailsForDataThatIsWrittenAtOnce) {
    writeFile("bundle/a.log", noise(200000));
    const FileSizeLimit fileSizeLimit(10000);
    EXPECT_EQ(pack(GetParam()), kWriteFailed);
    EXPECT_TRUE(m_log.containsCode('E', "flush", "pwrite", EFBIG)) << m_log.dump();
    EXPECT_TRUE(m_log.containsCode('E', "createZipFile", "zipWriteInFileInZip", kWriteFailed))
        << m_log.dump();
    EXPECT_TRUE(m_log.containsCode('E', "Zip", "CZip::createZipFile", kWriteFailed));
    EXPECT_FALSE(m_log.contains('*', kPassword));
}

TEST_P(CZipFaultByPassword, AFullDiskFailsForAnEntryThatIsWrittenWhenItEnds) {
    writeFile("bundle/a.log", noise(40000));
    const FileSizeLimit fileSizeLimit(10000);
    EXPECT_EQ(pack(GetParam()), kWriteFailed);
    const char* const call = *GetParam() == '\0' ? "zipCloseFileInZip" : "zipCloseFileInZipRaw64";
    EXPECT_TRUE(m_log.containsCode('E', "createZipFile", call, kWriteFailed)) << m_log.dump();
}

TEST_F(CZipFault, AFullDiskFailsForAnArchiveWithoutEntries) {
    const FileSizeLimit fileSizeLimit(10);
    EXPECT_EQ(m_zip.createZipFile({}, path("bundle.zip"), {}, {}), kWriteFailed);
    EXPECT_TRUE(m_log.containsCode('E', "createZipFile", "zipClose", kWriteFailed)) << m_log.dump();
}

TEST_P(CZipFaultByPassword, NoPlaceToBreakOffPassesForSuccess) {
    writeFile("bundle/noise.bin", noise(150000));
    writeFile("bundle/empty.log", "");
    for (int i = 0; i < 40; ++i) {
        writeFile("bundle/sub/" + std::to_string(i) + ".log", "line " + std::to_string(i));
    }
    ASSERT_EQ(pack(GetParam()), 0U);
    const uint64_t whole = fs::file_size(path("bundle.zip"));
    fs::remove(path("bundle.zip"));
    for (uint64_t limit = 0; limit < whole; limit += limit + 3000 < whole && limit > 200 ? 2111 : 37) {
        const int before = m_log.count('E', "");
        {
            const FileSizeLimit fileSizeLimit(limit);
            ASSERT_EQ(pack(GetParam()), kWriteFailed) << "at " << limit << " of " << whole;
        }
        ASSERT_GT(m_log.count('E', ""), before) << "at " << limit;
        ASSERT_THAT(namesIn(path()), ::testing::UnorderedElementsAre("bundle")) << "at " << limit;
    }
    EXPECT_TRUE(namesAFailedCall());
    const FileSizeLimit fileSizeLimit(whole);
    EXPECT_EQ(pack(GetParam()), 0U);
    EXPECT_EQ(readArchive(path("bundle.zip"), GetParam()).size(), 42U);
}

TEST_P(CZipFaultByPassword, ADirectoryThatDoesNotFitIsAFailureOfClosing) {
    writeFile("bundle/a.log", "text");
    ASSERT_EQ(pack(GetParam()), 0U);
    const std::string whole = readFile("bundle.zip");
    const FileSizeLimit fileSizeLimit(whole.size() - 1);
    EXPECT_EQ(pack(GetParam()), kWriteFailed);
    EXPECT_TRUE(m_log.containsCode('E', "createZipFile", "zipClose", kWriteFailed)) << m_log.dump();
    EXPECT_TRUE(readFile("bundle.zip") == whole) << "the former archive stays as it was";
    EXPECT_THAT(namesIn(path()), ::testing::UnorderedElementsAre("bundle", "bundle.zip"));
}

TEST_P(CZipFaultByPassword, AFullFileSystemLeavesNoArchive) {
    makeFolder("small");
    if (::mount("none", path("small").c_str(), "tmpfs", 0, "size=65536") != 0) {
        GTEST_SKIP() << "a file system of a small size can't be mounted here: errno " << errno;
    }
    writeFile("bundle/a.log", noise(100000));
    const uint32_t code = m_zip.Zip(path("bundle"), path("small/bundle.zip"), GetParam(), true);
    const bool isLeft = exists("small/bundle.zip");
    EXPECT_EQ(::umount(path("small").c_str()), 0);
    EXPECT_EQ(code, kWriteFailed);
    EXPECT_FALSE(isLeft);
    EXPECT_TRUE(namesAFailedCall()) << m_log.dump();
}

/// Gives the disk its room back as soon as the first failure is logged, which is just too late for the
/// archive.
class LateSpace : public Sandbox {
protected:
    uint32_t packWithin(uint64_t limitBytes, const std::string& content, const std::string& entryName,
                        const std::string& password) {
        const std::string file = writeFile("a.log", content);
        std::optional<FileSizeLimit> limit(limitBytes);
        const CLogClient log(nullptr, "test", std::make_unique<Liberator>(limit));
        return CZip().createZipFile({file}, path("bundle.zip"), {entryName}, password);
    }

private:
    class Liberator : public ILogger {
    public:
        explicit Liberator(std::optional<FileSizeLimit>& limit) : m_limit(limit) {}
        uint32_t write(uint32_t /*priority*/, const char* /*text*/, const char* /*messageName*/,
                       uint32_t /*messageId*/, int32_t severity) override {
            if (severity == 'E') {
                m_limit.reset();
            }
            return 0;
        }

    private:
        std::optional<FileSizeLimit>& m_limit;
    };
};

TEST_F(LateSpace, DoesNotHealAnEntryThatLacksData) {
    for (const char* password : {"", kPassword}) {
        EXPECT_EQ(packWithin(1000, noise(200000), "a.log", password), kWriteFailed);
        EXPECT_FALSE(exists("bundle.zip"));
    }
}

TEST_F(LateSpace, DoesNotHealAnEntryThatCouldNotBeEnded) {
    for (const char* password : {"", kPassword}) {
        EXPECT_EQ(packWithin(20, noise(40000), "a.log", password), kWriteFailed);
        EXPECT_FALSE(exists("bundle.zip"));
    }
}

TEST_F(LateSpace, DoesNotHealADirectoryThatCouldNotBeWritten) {
    for (const char* password : {"", kPassword}) {
        EXPECT_EQ(packWithin(20, "text", "a.log", password), kWriteFailed);
        EXPECT_FALSE(exists("bundle.zip"));
    }
}

TEST_F(LateSpace, DoesNotHealAnEntryWhoseFrontIsMissing) {
    // A name longer than the buffer goes to the disk at once.
    for (const char* password : {"", kPassword}) {
        EXPECT_EQ(packWithin(20, "text", std::string(20000, 'n'), password), kWriteFailed);
        EXPECT_FALSE(exists("bundle.zip"));
    }
}

/// The bytes that reached the disk from an archive of one sparse file, which breaks off long before the
/// gigabytes of zeros are through: deflating them all takes longer than a test may. They are read when the
/// first failure is logged, since the file goes after that.
class CZipLargeFile : public Sandbox {
protected:
    std::string startOfArchive(uint64_t sizeBytes) {
        const std::string file = writeFile("sparse", "");
        EXPECT_EQ(::truncate(file.c_str(), static_cast<off_t>(sizeBytes)), 0);
        std::string start;
        const FileSizeLimit fileSizeLimit(64);
        const CLogClient log(nullptr, "test", std::make_unique<Reader>(path(), start));
        EXPECT_EQ(CZip().createZipFile({file}, path("bundle.zip"), {"sparse"}, {}), kWriteFailed);
        return start;
    }

private:
    class Reader : public ILogger {
    public:
        Reader(std::string folder, std::string& startOut)
            : m_folder(std::move(folder)), m_startOut(startOut) {}
        uint32_t write(uint32_t /*priority*/, const char* /*text*/, const char* /*messageName*/,
                       uint32_t /*messageId*/, int32_t /*severity*/) override {
            for (const fs::directory_entry& entry : fs::directory_iterator("/proc/self/fd")) {
                std::error_code error;
                const std::string file = fs::read_symlink(entry.path(), error);
                if (file.starts_with(m_folder + "/") && file != m_folder + "/sparse") {
                    std::ostringstream content;
                    content << std::ifstream(entry.path()).rdbuf();
                    m_startOut = content.str();
                }
            }
            return 0;
        }

    private:
        std::string m_folder;
        std::string& m_startOut;
    };
};

TEST_F(CZipLargeFile, FrontOfAnEntryHasRoomForLargeSizes) {
    const std::string start = startOfArchive(4294967295);
    ASSERT_EQ(start.size(), 64U);
    EXPECT_EQ(start.substr(0, 4), "PK\x03\x04");
    EXPECT_EQ(start[4], 45) << "version needed";
    EXPECT_EQ(start.substr(18, 8), std::string(8, '\xFF')) << "sizes stand in the extra field";
    EXPECT_EQ(start.substr(28, 2), std::string("\x14\x00", 2)) << "length of the extra field";
    EXPECT_EQ(start.substr(36, 4), std::string("\x01\x00\x10\x00", 4)) << "kind and length of its only block";
}

TEST_F(CZipLargeFile, OneByteLessHasNoSuchRoom) {
    const std::string start = startOfArchive(4294967294);
    ASSERT_EQ(start.size(), 64U);
    EXPECT_EQ(start[4], 20);
    EXPECT_EQ(start.substr(28, 2), std::string(2, '\0'));
}

} // namespace
