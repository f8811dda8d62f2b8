#include "Common/Utility/process/StopRequest.h"
#include "Common/Utility/ReturnCodes.h"
#include "Common/Zip/CZip.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/InChild.h"
#include "tests/support/Sandbox.h"
#include "tests/support/SystemCallFilter.h"
#include "tests/unit/zip/ArchiveTools.h"

#include <cerrno>
#include <csignal>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <set>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using Pwrite = ssize_t (*)(int, const void*, size_t, off64_t);
/// Bytes from this place on are lost on their way to the disk.
off64_t g_lostFrom = -1;

} // namespace

/// Stands in front of the system's call, because a disk that forgets can't be had otherwise.
extern "C" ssize_t pwrite64(int fd, const void* buf, size_t n, off64_t offset) {
    static const auto real = reinterpret_cast<Pwrite>(::dlsym(RTLD_NEXT, "pwrite64"));
    return g_lostFrom >= 0 && offset >= g_lostFrom ? static_cast<ssize_t>(n) : real(fd, buf, n, offset);
}

namespace {

using ::testing::UnorderedElementsAre;

constexpr uint32_t kWriteFailed = static_cast<uint32_t>(-1);

class ArchivePlace : public Sandbox {
public:
    ~ArchivePlace() override { g_lostFrom = -1; }

protected:
    ArchivePlace() { writeFile("bundle/a.log", noise(50000)); }

    uint32_t pack(const std::string& target = "bundle.zip") {
        return CZip().Zip(path("bundle"), path(target), {}, true);
    }
    std::set<std::string> names() const {
        std::set<std::string> found;
        for (const fs::directory_entry& entry : fs::directory_iterator(path())) {
            found.insert(entry.path().filename());
        }
        return found;
    }
    void expectGood(const std::string& archive = "bundle.zip") const {
        expectOpensEverywhere(path(archive), "", {{"a.log", noise(50000)}});
        struct stat status {};
        ASSERT_EQ(::lstat(path(archive).c_str(), &status), 0);
        EXPECT_TRUE(S_ISREG(status.st_mode));
        EXPECT_EQ(status.st_mode & 07777U, 0600U);
    }

    CapturedLog m_log;
};

TEST_F(ArchivePlace, GetsAFileForItsOwnerAloneWhateverTheMask) {
    for (const mode_t mask : {mode_t{0}, mode_t{0777}}) {
        const mode_t former = ::umask(mask);
        const uint32_t code = pack();
        ::umask(former);
        EXPECT_EQ(code, 0U);
        expectGood();
    }
    EXPECT_THAT(names(), UnorderedElementsAre("bundle", "bundle.zip"));
}

TEST_F(ArchivePlace, LosesTheFormerFileOnlyToAWholeArchive) {
    ASSERT_EQ(::chmod(writeFile("bundle.zip", "former").c_str(), 0644), 0);
    inChild([this] {
        replaceSystemCall(SYS_fsync, EIO);
        EXPECT_EQ(pack(), kWriteFailed);
        EXPECT_TRUE(m_log.containsCode('E', "createZipFile", "fsync", EIO)) << m_log.dump();
    });
    EXPECT_EQ(readFile("bundle.zip"), "former");
    EXPECT_THAT(names(), UnorderedElementsAre("bundle", "bundle.zip"));
    ASSERT_EQ(pack(), 0U);
    expectGood();
}

TEST_F(ArchivePlace, LeavesTheFormerBytesToWhoReadsThem) {
    fs::create_hard_link(writeFile("bundle.zip", "former"), path("kept"));
    ASSERT_EQ(pack(), 0U);
    expectGood();
    EXPECT_EQ(readFile("kept"), "former");
}

TEST_F(ArchivePlace, LosesALinkAndNotWhatItLeadsTo) {
    fs::create_symlink(writeFile("victim", "kept"), path("bundle.zip"));
    fs::create_symlink(path("missing"), path("dangling.zip"));
    ASSERT_EQ(pack(), 0U);
    expectGood();
    ASSERT_EQ(pack("dangling.zip"), 0U);
    expectGood("dangling.zip");
    EXPECT_EQ(readFile("victim"), "kept");
    EXPECT_FALSE(exists("missing"));
}

TEST_F(ArchivePlace, KeepsAPipeASocketADeviceAndAFolder) {
    ASSERT_EQ(::mkfifo(path("pipe.zip").c_str(), 0600), 0);
    fs::create_symlink(path("pipe.zip"), path("link.zip"));
    fs::create_symlink("/dev/full", path("device.zip"));
    makeFolder("folder.zip");
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = "socket.zip"};
    ASSERT_EQ(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ::close(socket);
    const std::set<std::string> before = names();
    for (const char* target : {"pipe.zip", "link.zip", "device.zip", "socket.zip"}) {
        EXPECT_EQ(pack(target), GLOBAL_ERROR_BAD_PARAMETER) << target;
    }
    EXPECT_TRUE(m_log.containsCode('E', "createZipFile", "open", ENXIO)) << m_log.dump();
    EXPECT_EQ(pack("folder.zip"), GLOBAL_ERROR_BAD_PARAMETER);
    EXPECT_TRUE(m_log.containsCode('E', "createZipFile", "open", EISDIR)) << m_log.dump();
    EXPECT_TRUE(m_log.containsCode('E', "createZipFile", "zipOpen64", 0xFE000002)) << m_log.dump();
    EXPECT_EQ(names(), before);
    EXPECT_TRUE(fs::is_fifo(path("pipe.zip")));
    EXPECT_TRUE(fs::is_symlink(path("device.zip")));
}

TEST_F(ArchivePlace, GetsTheArchiveThroughAHiddenNameWhereFilesNeedOne) {
    inChild([this] {
        replaceSystemCallWith(SYS_openat, EOPNOTSUPP, 2, O_TMPFILE & ~O_DIRECTORY);
        EXPECT_EQ(pack(), 0U) << m_log.dump();
    });
    expectGood();
    EXPECT_THAT(names(), UnorderedElementsAre("bundle", "bundle.zip"));
}

TEST_F(ArchivePlace, StaysEmptyWhenAnyStepOfTheWayThereFails) {
    for (const long call : {SYS_linkat, SYS_renameat, SYS_fchmod, SYS_fsync}) {
        inChild([this, call] {
            replaceSystemCall(call, EIO);
            EXPECT_EQ(pack(), kWriteFailed) << call;
        });
        EXPECT_THAT(names(), UnorderedElementsAre("bundle")) << call;
    }
}

TEST_F(ArchivePlace, StaysEmptyWhenAFileOfAHiddenNameCannotBeWritten) {
    inChild([this] {
        replaceSystemCallWith(SYS_openat, EOPNOTSUPP, 2, O_TMPFILE & ~O_DIRECTORY);
        replaceSystemCall(SYS_pwrite64, ENOSPC);
        EXPECT_EQ(pack(), kWriteFailed);
    });
    EXPECT_THAT(names(), UnorderedElementsAre("bundle"));
}

TEST_F(ArchivePlace, DoesNotDependOnSeeking) {
    inChild([this] {
        replaceSystemCall(SYS_lseek, EIO);
        EXPECT_EQ(pack(), 0U) << m_log.dump();
    });
    expectGood();
}

TEST_F(ArchivePlace, StaysAsItWasWhenAStopIsRequested) {
    writeFile("bundle.zip", "former");
    for (const char* const password : {"", "secret"}) {
        inChild([this, password] {
            requestStop();
            EXPECT_EQ(CZip().Zip(path("bundle"), path("bundle.zip"), password, true),
                      MEROENGINE_ERROR_ACTION_CANCELED_BY_USER);
            EXPECT_EQ(CZip().createZipFile({path("bundle/a.log")}, path("bundle.zip"), {"a.log"}, password),
                      MEROENGINE_ERROR_ACTION_CANCELED_BY_USER);
            EXPECT_EQ(CZip().createZipFile({}, path("bundle.zip"), {}, password),
                      MEROENGINE_ERROR_ACTION_CANCELED_BY_USER);
        });
    }
    EXPECT_EQ(readFile("bundle.zip"), "former");
    EXPECT_THAT(names(), UnorderedElementsAre("bundle", "bundle.zip"));
}

TEST_F(ArchivePlace, StaysEmptyWhenAStopIsRequestedInTheMidstOfAFile) {
    const std::string endless = writeFile("endless.log", "");
    ASSERT_EQ(::truncate(endless.c_str(), off_t{1} << 40), 0);
    for (const char* const password : {"", "secret"}) {
        inChild([&, password] {
            ASSERT_NE(std::signal(SIGALRM, [](int) { requestStop(); }), SIG_ERR);
            const itimerval soon{{0, 0}, {0, 200000}};
            ASSERT_EQ(::setitimer(ITIMER_REAL, &soon, nullptr), 0);
            EXPECT_EQ(CZip().createZipFile({endless}, path("bundle.zip"), {"a.log"}, password),
                      MEROENGINE_ERROR_ACTION_CANCELED_BY_USER);
        });
    }
    EXPECT_THAT(names(), UnorderedElementsAre("bundle", "endless.log"));
}

TEST_F(ArchivePlace, GetsNoArchiveThatCannotBeReadBack) {
    writeFile("bundle.zip", "former");
    for (const off64_t place : {off64_t{0}, off64_t{16384}, off64_t{49152}}) {
        g_lostFrom = place;
        EXPECT_EQ(pack(), GLOBAL_ERROR_UNEXPECTED) << place;
        EXPECT_EQ(readFile("bundle.zip"), "former");
    }
    EXPECT_TRUE(m_log.contains('E', "The archive that was written can't be opened.")) << m_log.dump();
    EXPECT_TRUE(m_log.containsCode('E', "Zip", "CZip::createZipFile", GLOBAL_ERROR_UNEXPECTED));
    EXPECT_THAT(names(), UnorderedElementsAre("bundle", "bundle.zip"));
}

TEST_F(ArchivePlace, GetsNoEmptyArchiveThatCannotBeReadBack) {
    g_lostFrom = 0;
    EXPECT_EQ(CZip().createZipFile({}, path("bundle.zip"), {}, {}), GLOBAL_ERROR_UNEXPECTED);
    EXPECT_FALSE(exists("bundle.zip"));
}

} // namespace
