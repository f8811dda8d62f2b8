#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/BundlePublisher.h"

#include "Common/Utility/memory/Handles.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/InChild.h"
#include "tests/support/PrivateMounts.h"
#include "tests/support/Processes.h"
#include "tests/support/Sandbox.h"
#include "tests/support/SystemCallFilter.h"
#include "tests/unit/helper/StuckFileSystem.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <grp.h>
#include <set>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr uid_t kCaller = 65534;
constexpr gid_t kTeam = 54321;
constexpr off_t kEndlessBytes = off_t{4} * 1024 * 1024 * 1024;

UserIdentity caller() {
    return {.user = kCaller, .group = kCaller, .groups = {kCaller}, .name = "caller", .home = "/"};
}

std::set<std::string> namesIn(const std::string& folder) {
    std::set<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        names.insert(entry.path().filename());
    }
    return names;
}

struct stat statusOf(const std::string& path) {
    struct stat found {};
    EXPECT_EQ(::lstat(path.c_str(), &found), 0) << path;
    return found;
}

bool isLink(const std::string& path) {
    return fs::is_symlink(fs::symlink_status(path));
}

/// The first child of a process that is still there; 0 if there is none.
pid_t anyChild(const std::string& process = "self") {
    for (const fs::directory_entry& task : fs::directory_iterator("/proc/" + process + "/task")) {
        std::ifstream children(task.path() / "children");
        pid_t child = 0;
        if (children >> child) {
            return child;
        }
    }
    return 0;
}

/// True once the process writes to a file in a folder, which has no name there yet.
bool hasFileIn(pid_t process, const std::string& folder) {
    std::error_code error;
    for (const fs::directory_entry& entry :
         fs::directory_iterator("/proc/" + std::to_string(process) + "/fd", error)) {
        if (fs::read_symlink(entry.path(), error).string().starts_with(folder + "/")) {
            return true;
        }
    }
    return false;
}

/// Stops the publishing child as soon as it writes to a file in `folder`, and lets `act` do something to it.
class Intruder {
public:
    Intruder(std::string folder, std::function<void(pid_t)> act)
        : m_thread([folder = std::move(folder), act = std::move(act), this] {
              pid_t child = 0;
              m_stopped = eventually([&folder, &child] {
                  child = anyChild();
                  return child > 0 && hasFileIn(child, folder);
              });
              m_stopped = m_stopped && child > 0 && ::kill(child, SIGSTOP) == 0 &&
                          eventually([child] { return processState(child) == 'T'; });
              if (m_stopped) {
                  act(child);
              }
          }) {}
    /// @return whether it has come in time.
    bool finish() {
        m_thread.join();
        return m_stopped;
    }

private:
    bool m_stopped = false;
    std::thread m_thread;
};

class BundlePublisher : public Sandbox {
protected:
    void SetUp() override {
        if (!runsAsRoot()) {
            GTEST_SKIP() << "only root can become another user";
        }
        ASSERT_EQ(::chmod(path().c_str(), 0711), 0);
        makeFolder("theirs");
        ASSERT_EQ(::chown(path("theirs").c_str(), kCaller, kCaller), 0);
        makeFolder("roots");
        ASSERT_EQ(::chmod(path("roots").c_str(), 0755), 0);
        useArchive("bytes of the archive");
    }

    void useArchive(std::string_view bytes) {
        const std::string archive = writeFile("private/archive.zip", bytes);
        ASSERT_EQ(::chmod(path("private").c_str(), 0700), 0);
        m_archive.reset(::open(archive.c_str(), O_RDONLY | O_CLOEXEC));
    }

    /// An archive whose copy takes long enough for something to come in between.
    void useEndlessArchive() {
        useArchive("");
        ASSERT_EQ(::truncate(path("private/archive.zip").c_str(), kEndlessBytes), 0);
    }

    void shortenArchive() const { EXPECT_EQ(::truncate(path("private/archive.zip").c_str(), 5), 0); }

    /// A file of the caller's.
    std::string writeTheirs(std::string_view name, std::string_view content) const {
        std::string file = writeFile("theirs/" + std::string(name), content);
        EXPECT_EQ(::chown(file.c_str(), kCaller, kCaller), 0);
        return file;
    }

    [[nodiscard]] Publishing publish(const std::string& target, const PublishSettings& settings = {}) const {
        return publishBundle(caller(), m_archive.get(), target, settings);
    }

    void expectFailure(const std::string& target, const std::string& call, int error) const {
        const CapturedLog log;
        EXPECT_EQ(publish(target), Publishing::Failed);
        EXPECT_TRUE(log.containsCode('E', "logWriteFailure", call, static_cast<uint32_t>(error)))
            << log.dump();
        EXPECT_EQ(log.lines().size(), 1U) << log.dump();
    }

    /// Has a process of its own publish, kills it once its child is where it should be, and waits for that
    /// one's end.
    void endTheOneWhoPublishes(const std::string& target, const PublishSettings& settings,
                               const std::function<bool(pid_t)>& isThere) const {
        const pid_t parent = ::fork();
        ASSERT_NE(parent, -1);
        if (parent == 0) {
            static_cast<void>(publish(target, settings));
            ::_exit(0);
        }
        pid_t child = 0;
        EXPECT_TRUE(eventually([&] {
            child = anyChild(std::to_string(parent));
            return child > 0 && isThere(child);
        }));
        EXPECT_EQ(::kill(parent, SIGKILL), 0);
        EXPECT_EQ(::waitpid(parent, nullptr, 0), parent);
        EXPECT_TRUE(child > 0 && eventually([child] { return hasEnded(child); }));
    }

    void expectTheirs(const std::string& file, const std::string& bytes) const {
        const struct stat found = statusOf(file);
        EXPECT_TRUE(S_ISREG(found.st_mode));
        EXPECT_EQ(found.st_uid, kCaller);
        EXPECT_EQ(found.st_mode & 07777U, 0600U);
        EXPECT_TRUE(readFile(file) == bytes);
    }

    [[nodiscard]] int archive() const { return m_archive.get(); }

private:
    FileDescriptor m_archive;
};

TEST_F(BundlePublisher, WritesTheArchiveForTheCallerAlone) {
    for (const mode_t mask : {mode_t{0}, mode_t{0777}}) {
        const std::string target = path("theirs/" + std::to_string(mask) + ".zip");
        const mode_t former = ::umask(mask);
        const Publishing outcome = publish(target);
        ::umask(former);
        ASSERT_EQ(outcome, Publishing::Done);
        expectTheirs(target, "bytes of the archive");
        EXPECT_EQ(statusOf(target).st_gid, kCaller);
    }
    EXPECT_EQ(namesIn(path("theirs")).size(), 2U);
}

TEST_F(BundlePublisher, ReadsFromTheStartAndLeavesThePlaceOfTheDescriptor) {
    ASSERT_EQ(::lseek(archive(), 7, SEEK_SET), 7);
    ASSERT_EQ(publish(path("theirs/a.zip")), Publishing::Done);
    expectTheirs(path("theirs/a.zip"), "bytes of the archive");
    EXPECT_EQ(::lseek(archive(), 0, SEEK_CUR), 7);
}

TEST_F(BundlePublisher, CopiesAnEmptyArchive) {
    useArchive("");
    ASSERT_EQ(publish(path("theirs/a.zip")), Publishing::Done);
    expectTheirs(path("theirs/a.zip"), "");
}

TEST_F(BundlePublisher, CopiesALargeArchive) {
    std::string bytes(std::size_t{64} * 1024 * 1024 + 1, 'x');
    for (std::size_t i = 0; i < bytes.size(); i += 4093) {
        bytes[i] = static_cast<char>(i / 4093);
    }
    useArchive(bytes);
    ASSERT_EQ(publish(path("theirs/a.zip")), Publishing::Done);
    expectTheirs(path("theirs/a.zip"), bytes);
}

TEST_F(BundlePublisher, LeavesTheOldBytesToWhoReadsTheReplacedFile) {
    const std::string target = writeTheirs("a.zip", "old");
    const FileDescriptor reader(::open(target.c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(publish(target), Publishing::Done);
    expectTheirs(target, "bytes of the archive");
    std::string old(8, '\0');
    EXPECT_EQ(::read(reader.get(), old.data(), old.size()), 3);
    EXPECT_EQ(old.substr(0, 3), "old");
}

TEST_F(BundlePublisher, LeavesTheOtherNameOfTheReplacedFileAlone) {
    const std::string target = writeTheirs("a.zip", "old");
    ASSERT_EQ(::link(target.c_str(), path("other").c_str()), 0);
    ASSERT_EQ(publish(target), Publishing::Done);
    expectTheirs(target, "bytes of the archive");
    EXPECT_EQ(readFile("other"), "old");
}

TEST_F(BundlePublisher, ReplacesALinkInsteadOfFollowingIt) {
    const std::string victim = writeFile("roots/victim", "root's");
    ASSERT_EQ(::chmod(victim.c_str(), 0666), 0);
    fs::create_symlink(victim, path("theirs/a.zip"));
    fs::create_symlink(path("theirs/missing"), path("theirs/b.zip"));
    for (const char* name : {"theirs/a.zip", "theirs/b.zip"}) {
        ASSERT_EQ(publish(path(name)), Publishing::Done);
        expectTheirs(path(name), "bytes of the archive");
    }
    EXPECT_EQ(readFile(victim), "root's");
    EXPECT_EQ(statusOf(victim).st_uid, 0U);
    EXPECT_FALSE(exists("theirs/missing"));
}

TEST_F(BundlePublisher, LeavesAPipeOfThatNameAloneWithoutWaitingForItsReader) {
    ASSERT_EQ(::mkfifo(path("theirs/a.zip").c_str(), 0666), 0);
    expectFailure(path("theirs/a.zip"), "fstatat", ENXIO);
    EXPECT_TRUE(fs::is_fifo(path("theirs/a.zip")));
}

TEST_F(BundlePublisher, LeavesAFolderOfThatNameAlone) {
    makeFolder("theirs/a.zip");
    expectFailure(path("theirs/a.zip"), "fstatat", EISDIR);
    EXPECT_TRUE(fs::is_directory(path("theirs/a.zip")));
    EXPECT_EQ(namesIn(path("theirs")), std::set<std::string>{"a.zip"});
}

TEST_F(BundlePublisher, FailsWhereTheCallerMayNotWrite) {
    expectFailure(path("roots/a.zip"), "openat", EACCES);
    EXPECT_TRUE(namesIn(path("roots")).empty());
}

TEST_F(BundlePublisher, FailsWhereTheCallerMayNotEnter) {
    ASSERT_EQ(::chmod(path("theirs").c_str(), 0777), 0);
    ASSERT_EQ(::chmod(path().c_str(), 0700), 0);
    expectFailure(path("theirs/a.zip"), "open", EACCES);
    EXPECT_TRUE(namesIn(path("theirs")).empty());
}

TEST_F(BundlePublisher, FailsBehindALinkToAFolderOfRoots) {
    fs::create_symlink(path("roots"), path("theirs/way"));
    expectFailure(path("theirs/way/a.zip"), "openat", EACCES);
    EXPECT_TRUE(namesIn(path("roots")).empty());
}

TEST_F(BundlePublisher, FollowsALinkToWhereTheCallerMayWrite) {
    fs::create_symlink(path("theirs"), path("roots/way"));
    ASSERT_EQ(publish(path("roots/way/a.zip")), Publishing::Done);
    expectTheirs(path("theirs/a.zip"), "bytes of the archive");
}

TEST_F(BundlePublisher, LeavesAFileOfAnotherUserInASharedFolderAlone) {
    const std::string target = writeFile("roots/a.zip", "root's");
    ASSERT_EQ(::chmod(path("roots").c_str(), 01777), 0);
    expectFailure(target, "renameat", EPERM);
    EXPECT_EQ(readFile(target), "root's");
    EXPECT_EQ(namesIn(path("roots")), std::set<std::string>{"a.zip"});
}

TEST_F(BundlePublisher, FailsWithoutTheTargetsFolder) {
    expectFailure(path("theirs/missing/a.zip"), "open", ENOENT);
    writeTheirs("file", "");
    expectFailure(path("theirs/file/a.zip"), "open", ENOTDIR);
}

TEST_F(BundlePublisher, HasTheGroupsOfTheCallerAndNoOthers) {
    ASSERT_EQ(::chown(path("roots").c_str(), 0, kTeam), 0);
    ASSERT_EQ(::chmod(path("roots").c_str(), 0770), 0);
    inChild([this] {
        ASSERT_EQ(::setgroups(1, &kTeam), 0);
        expectFailure(path("roots/a.zip"), "openat", EACCES);
    });
    UserIdentity member = caller();
    member.groups.push_back(kTeam);
    EXPECT_EQ(publishBundle(member, archive(), path("roots/a.zip")), Publishing::Done);
}

TEST_F(BundlePublisher, TakesTheGroupOfAFolderThatHandsItsOwnDown) {
    ASSERT_EQ(::chown(path("theirs").c_str(), kCaller, kTeam), 0);
    ASSERT_EQ(::chmod(path("theirs").c_str(), 02775), 0);
    ASSERT_EQ(publish(path("theirs/a.zip")), Publishing::Done);
    expectTheirs(path("theirs/a.zip"), "bytes of the archive");
    EXPECT_EQ(statusOf(path("theirs/a.zip")).st_gid, kTeam);
}

TEST_F(BundlePublisher, RefusesAPathThatNamesNoFile) {
    const std::string theirs = path("theirs");
    const std::string cut = theirs + "/a.zip" + std::string("\0.txt", 5);
    for (const std::string& target : {std::string(), std::string("a.zip"), std::string("/"), theirs + "/",
                                      theirs + "/.", theirs + "/..", cut}) {
        expectFailure(target, "publishBundle", EINVAL);
    }
    EXPECT_TRUE(namesIn(theirs).empty());
}

TEST_F(BundlePublisher, FailsForNamesThatAreTooLong) {
    std::string name = path("theirs/");
    name.append(300, 'x');
    expectFailure(name, "renameat", ENAMETOOLONG);
    std::string way = path("theirs/");
    for (int i = 0; i < 3000; ++i) {
        way += "./";
    }
    expectFailure(way.append("a.zip"), "open", ENAMETOOLONG);
    EXPECT_TRUE(namesIn(path("theirs")).empty());
}

TEST_F(BundlePublisher, FailsForAnArchiveThatCannotBeRead) {
    const CapturedLog log;
    const FileDescriptor writeOnly(::open(path("private/archive.zip").c_str(), O_WRONLY | O_CLOEXEC));
    EXPECT_EQ(publishBundle(caller(), writeOnly.get(), path("theirs/a.zip")), Publishing::Failed);
    EXPECT_TRUE(log.containsCode('E', "logWriteFailure", "pread", EBADF)) << log.dump();
    EXPECT_EQ(publishBundle(caller(), -1, path("theirs/a.zip")), Publishing::Failed);
    EXPECT_TRUE(log.containsCode('E', "logWriteFailure", "fcntl", EBADF)) << log.dump();
    EXPECT_TRUE(namesIn(path("theirs")).empty());
}

TEST_F(BundlePublisher, LeavesAPlantedTemporaryNameAlone) {
    const std::string victim = writeFile("roots/victim", "root's");
    ASSERT_EQ(::chmod(victim.c_str(), 0666), 0);
    fs::create_symlink(victim, path("theirs/.link"));
    fs::create_symlink(path("theirs/missing"), path("theirs/.dangling"));
    writeTheirs(".file", "planted");
    for (const char* name : {".link", ".dangling", ".file"}) {
        const CapturedLog log;
        EXPECT_EQ(publish(path("theirs/a.zip"), {.temporaryName = name}), Publishing::Failed);
        EXPECT_TRUE(log.containsCode('E', "logWriteFailure", "linkat", EEXIST)) << log.dump();
    }
    EXPECT_EQ(readFile(victim), "root's");
    EXPECT_EQ(readFile("theirs/.file"), "planted");
    EXPECT_TRUE(isLink(path("theirs/.link")));
    EXPECT_FALSE(exists("theirs/missing"));
    EXPECT_EQ(namesIn(path("theirs")), (std::set<std::string>{".link", ".dangling", ".file"}));
}

TEST_F(BundlePublisher, StaysInTheFolderThatIsSwappedForALinkMeanwhile) {
    useEndlessArchive();
    ASSERT_EQ(::chmod(path("roots").c_str(), 0777), 0);
    Intruder intruder(path("theirs"), [this](pid_t child) {
        EXPECT_TRUE(namesIn(path("theirs")).empty());
        fs::rename(path("theirs"), path("moved"));
        fs::create_symlink(path("roots"), path("theirs"));
        shortenArchive();
        ::kill(child, SIGCONT);
    });
    EXPECT_EQ(publish(path("theirs/a.zip")), Publishing::Done);
    ASSERT_TRUE(intruder.finish());
    EXPECT_TRUE(namesIn(path("roots")).empty());
    EXPECT_EQ(namesIn(path("moved")), std::set<std::string>{"a.zip"});
}

TEST_F(BundlePublisher, CopiesInAProcessWithoutRightsAndDescriptorsOfTheHelper) {
    useEndlessArchive();
    const FileDescriptor secret(::open(writeFile("private/secret", "").c_str(), O_RDWR));
    std::string status;
    std::vector<std::string> descriptors;
    uid_t ownerOfMemory = kCaller;
    Intruder intruder(path("theirs"), [&](pid_t child) {
        const std::string process = "/proc/" + std::to_string(child);
        status = readFile(process + "/status");
        ownerOfMemory = statusOf(process + "/mem").st_uid;
        for (const fs::directory_entry& entry : fs::directory_iterator(process + "/fd")) {
            descriptors.push_back(fs::read_symlink(entry.path()));
        }
        shortenArchive();
        ::kill(child, SIGCONT);
    });
    EXPECT_EQ(publish(path("theirs/a.zip")), Publishing::Done);
    ASSERT_TRUE(intruder.finish());
    EXPECT_NE(status.find("Uid:\t65534\t65534\t65534\t65534"), std::string::npos) << status;
    EXPECT_NE(status.find("Gid:\t65534\t65534\t65534\t65534"), std::string::npos) << status;
    EXPECT_NE(status.find("Groups:\t65534 \n"), std::string::npos) << status;
    EXPECT_NE(status.find("CapPrm:\t0000000000000000"), std::string::npos) << status;
    EXPECT_EQ(ownerOfMemory, 0U); // not the caller's to read
    // Standard input, output and error, the archive, the folder and the temporary file.
    EXPECT_EQ(descriptors.size(), 6U) << ::testing::PrintToString(descriptors);
}

TEST_F(BundlePublisher, LeavesNothingBehindWhenTheChildIsKilled) {
    useEndlessArchive();
    const CapturedLog log;
    Intruder intruder(path("theirs"), [](pid_t child) { ::kill(child, SIGKILL); });
    EXPECT_EQ(publish(path("theirs/a.zip")), Publishing::Failed);
    ASSERT_TRUE(intruder.finish());
    EXPECT_TRUE(log.containsCode('E', "logWriteFailure", "waitid", EINTR)) << log.dump();
    EXPECT_EQ(log.lines().size(), 1U) << log.dump();
    EXPECT_TRUE(namesIn(path("theirs")).empty());
    EXPECT_FALSE(hasChildren());
}

TEST_F(BundlePublisher, GivesUpAtItsLimit) {
    useEndlessArchive();
    const CapturedLog log;
    // Stopped for good, as by a user who wants to keep the helper waiting.
    Intruder intruder(path("theirs"), [](pid_t) {});
    EXPECT_EQ(publish(path("theirs/a.zip"), {.limitMs = 1000, .temporaryName = {}}), Publishing::Failed);
    ASSERT_TRUE(intruder.finish());
    EXPECT_TRUE(log.containsCode('E', "logWriteFailure", "waitid", ETIMEDOUT)) << log.dump();
    EXPECT_EQ(log.lines().size(), 1U) << log.dump();
    EXPECT_TRUE(namesIn(path("theirs")).empty());
    EXPECT_FALSE(hasChildren());
}

TEST_F(BundlePublisher, EndsTheCopyWithTheOneWhoHasStartedIt) {
    useEndlessArchive();
    endTheOneWhoPublishes(path("theirs/a.zip"), {},
                          [this](pid_t child) { return hasFileIn(child, path("theirs")); });
    EXPECT_TRUE(namesIn(path("theirs")).empty());
}

TEST_F(BundlePublisher, TakesACopyThatHasANameWithIt) {
    useEndlessArchive();
    inChild([this] {
        // As on a file system that knows no files without a name.
        replaceSystemCallWith(SYS_openat, EOPNOTSUPP, 2, O_TMPFILE & ~O_DIRECTORY);
        endTheOneWhoPublishes(path("theirs/a.zip"), {.temporaryName = ".copy"},
                              [this](pid_t) { return exists("theirs/.copy"); });
        EXPECT_TRUE(namesIn(path("theirs")).empty());
    });
}

TEST_F(BundlePublisher, EndsTheCopyAtItsLimitWhereAFileSystemHoldsOnToIt) {
    withStuckFolder(makeFolder("stuck"), [this](StuckFileSystem&, const std::string& file) {
        endTheOneWhoPublishes(file, {.limitMs = 1000, .temporaryName = {}},
                              [](pid_t child) { return processState(child) == 'S'; });
    });
}

TEST_F(BundlePublisher, IsHeldUpByAStuckFileSystemForItsLimitsOnly) {
    constexpr int kLimitMs = 200;
    withStuckFolder(makeFolder("stuck"), [this](StuckFileSystem& stuck, const std::string& file) {
        std::thread server([&stuck] { EXPECT_TRUE(stuck.takeQuestion()); });
        const CapturedLog log;
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(publish(file, {.limitMs = kLimitMs, .clearAwayLimitMs = kLimitMs, .temporaryName = {}}),
                  Publishing::Failed);
        // The copy, its end, the clearing away and the end of that.
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(10 * 3 * kLimitMs));
        server.join();
        EXPECT_TRUE(log.containsCode('E', "logWriteFailure", "waitid", ETIMEDOUT)) << log.dump();
        EXPECT_TRUE(log.contains('W', "of a caller's files doesn't end yet")) << log.dump();
        EXPECT_TRUE(hasChildren());
        stuck.abandon();
        EXPECT_TRUE(eventually([] { return !hasChildren(); }));
    });
}

TEST(PublishSettings, GiveAKilledCopyFiveSeconds) {
    EXPECT_EQ(PublishSettings().clearAwayLimitMs, 5000);
}

TEST_F(BundlePublisher, LeavesNothingBehindAtTheLimitOfAFilesSize) {
    useArchive(std::string(100'000, 'x'));
    writeTheirs("a.zip", "old");
    inChild([this] {
        const rlimit limit{50'000, 50'000};
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0); // the signal keeps its default, which ends a process
        expectFailure(path("theirs/a.zip"), "write", EFBIG);
    });
    EXPECT_EQ(namesIn(path("theirs")), std::set<std::string>{"a.zip"});
    EXPECT_EQ(readFile("theirs/a.zip"), "old");
}

TEST_F(BundlePublisher, LeavesNothingBehindOnAFullDisk) {
    useArchive(std::string(1'000'000, 'x'));
    if (!allowsMounts()) {
        GTEST_SKIP() << "this environment allows no mounts";
    }
    inChild([this] {
        ASSERT_TRUE(makeMountsPrivate());
        ASSERT_EQ(::mount("none", path("theirs").c_str(), "tmpfs", 0, "size=256k,mode=0777"), 0);
        expectFailure(path("theirs/a.zip"), "write", ENOSPC);
        EXPECT_TRUE(namesIn(path("theirs")).empty());
    });
}

TEST_F(BundlePublisher, LeavesNoDescriptorAndNoChild) {
    static_cast<void>(publish(path("theirs/a.zip")));
    const std::size_t before = openDescriptors();
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(publish(path("theirs/a.zip")), Publishing::Done);
        ASSERT_EQ(publish(path("roots/a.zip")), Publishing::Failed);
    }
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_FALSE(hasChildren());
}

} // namespace
