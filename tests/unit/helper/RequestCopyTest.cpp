#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/RequestCopy.h"

#include "Common/Utility/memory/Handles.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/InChild.h"
#include "tests/support/LeaseHolder.h"
#include "tests/support/PrivateMounts.h"
#include "tests/unit/helper/ReadGate.h"
#include "tests/unit/helper/StuckFileSystem.h"
#include "tests/unit/helper/UsersSandbox.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/ReaderPlace.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using Clock = std::chrono::steady_clock;

constexpr uid_t kOtherUser = 4712;
constexpr gid_t kExtraGroup = 4711;
constexpr std::size_t kMebibyte = std::size_t{1024} * 1024;
/// For readers that never answer.
constexpr std::chrono::milliseconds kShortLimit{1000};

UserIdentity root() {
    return {.user = 0, .group = 0, .groups = {0}, .name = "root", .home = "/"};
}

/// Texts of errors as the log has them.
std::string because(const std::string& what, int error) {
    return std::string(what).append(", errno ").append(std::to_string(error)).append(" ");
}

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The files of requests are an ordinary user's.
class RequestCopy : public UsersSandbox {
protected:
    void SetUp() override {
        UsersSandbox::SetUp();
        if (IsSkipped() || HasFatalFailure()) {
            return;
        }
        m_target.reset(::open(path("target").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
        ASSERT_TRUE(m_target);
    }

    [[nodiscard]] std::string usersFile(const std::string& relative, const std::string& content) const {
        std::string file = writeFile(relative, content);
        EXPECT_EQ(::chown(file.c_str(), kUser, kUserGroup), 0);
        EXPECT_EQ(::chmod(file.c_str(), 0600), 0);
        return file;
    }

    [[nodiscard]] std::string lockedFolder(const std::string& relative, gid_t group = 0,
                                           mode_t mode = 0700) const {
        std::string folder = makeFolder(relative);
        EXPECT_EQ(::chown(folder.c_str(), 0, group), 0);
        EXPECT_EQ(::chmod(folder.c_str(), mode), 0);
        return folder;
    }

    [[nodiscard]] int target() const { return m_target.get(); }
    [[nodiscard]] std::string copied() const { return contentOf(path("target")); }

    void expectCopied(const std::string& request, const std::string& content,
                      const UserIdentity& caller = ordinaryUser()) const {
        const CapturedLog log;
        EXPECT_TRUE(copyRequest(caller, request, target())) << log.dump();
        EXPECT_EQ(copied().size(), content.size());
        EXPECT_TRUE(copied() == content);
        EXPECT_TRUE(log.lines().empty()) << log.dump();
        EXPECT_FALSE(hasChildren());
    }

    void expectRefused(const std::string& request, const std::string& reason,
                       const UserIdentity& caller = ordinaryUser(),
                       std::chrono::milliseconds limit = kReaderLimit) const {
        const CapturedLog log;
        EXPECT_FALSE(copyRequest(caller, request, target(), limit));
        EXPECT_EQ(log.lines().size(), 1U) << log.dump();
        EXPECT_TRUE(log.contains('W', reason)) << reason << "\n" << log.dump();
        EXPECT_EQ(copied(), "");
        EXPECT_FALSE(hasChildren());
    }

private:
    FileDescriptor m_target;
};

/// With a reader that is held back between open and read.
class RequestCopyRace : public RequestCopy {
protected:
    void SetUp() override {
        RequestCopy::SetUp();
        if (!IsSkipped() && !ReadGate::isAllowed()) {
            GTEST_SKIP() << "holding back another process needs the right to administer the system";
        }
    }
};

TEST_F(RequestCopy, WaitsFiveSecondsIfNothingElseIsAskedFor) {
    EXPECT_EQ(kReaderLimit, std::chrono::seconds(5));
}

TEST_F(RequestCopy, CopiesTheBytes) {
    const std::string content("<request/>\0\xFF\r\n", 14);
    expectCopied(usersFile("request.xml", content), content);
}

TEST_F(RequestCopy, CopiesAnEmptyFile) {
    expectCopied(usersFile("request.xml", ""), "");
}

TEST_F(RequestCopy, WritesWhereTheTargetStandsAndLeavesItOpen) {
    const std::string request = usersFile("request.xml", "abc");
    ASSERT_EQ(::write(target(), "start ", 6), 6);
    EXPECT_TRUE(copyRequest(ordinaryUser(), request, target()));
    EXPECT_TRUE(copyRequest(ordinaryUser(), request, target()));
    EXPECT_EQ(copied(), "start abcabc");
}

TEST_F(RequestCopy, TakesOneMebibyte) {
    const std::string content(kMebibyte, 'x');
    expectCopied(usersFile("request.xml", content), content);
}

TEST_F(RequestCopy, RefusesOneByteMore) {
    expectRefused(usersFile("request.xml", std::string(kMebibyte + 1, 'x')), ": too large");
}

TEST_F(RequestCopy, RefusesAHugeSparseFileWithoutReadingIt) {
    const std::string request = usersFile("request.xml", "x");
    fs::resize_file(request, std::uintmax_t{1} << 40U);
    expectRefused(request, ": too large");
}

TEST_F(RequestCopy, RefusesALinkToTheCallersOwnFile) {
    const std::string request = usersFile("request.xml", "x");
    fs::create_symlink(request, path("link"));
    ASSERT_EQ(::lchown(path("link").c_str(), kUser, kUserGroup), 0);
    expectRefused(path("link"), because("open failed", ELOOP));
}

TEST_F(RequestCopy, RefusesALinkToRootsFile) {
    fs::create_symlink(writeFile("secret", "x"), path("link"));
    expectRefused(path("link"), because("open failed", ELOOP));
}

TEST_F(RequestCopy, FollowsALinkedFolder) {
    static_cast<void>(usersFile("folder/request.xml", "abc"));
    ASSERT_EQ(::chmod(path("folder").c_str(), 0755), 0);
    fs::create_directory_symlink(path("folder"), path("link"));
    expectCopied(path("link/request.xml"), "abc");
}

TEST_F(RequestCopy, ALinkedFolderGivesNoRights) {
    const std::string folder = lockedFolder("folder");
    static_cast<void>(usersFile("folder/request.xml", "abc"));
    fs::create_directory_symlink(folder, path("link"));
    expectRefused(path("link/request.xml"), because("open failed", EACCES));
}

TEST_F(RequestCopy, RefusesAPipeWithoutWaiting) {
    ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
    ASSERT_EQ(::chown(path("pipe").c_str(), kUser, kUserGroup), 0);
    expectRefused(path("pipe"), "no regular file");
}

TEST_F(RequestCopy, WaitsForWhoHoldsALease) {
    const std::string request = usersFile("request.xml", "abc");
    const LeaseHolder holder(request);
    if (!holder.isHeld()) {
        GTEST_SKIP() << "this file system knows no leases";
    }
    const CapturedLog log;
    EXPECT_TRUE(copyRequest(ordinaryUser(), request, target())) << log.dump();
    EXPECT_EQ(copied(), "abc");
}

TEST_F(RequestCopy, WaitsNoLongerForALeaseThanForAnythingElse) {
    const std::string request = usersFile("request.xml", "abc");
    const LeaseHolder holder(request, false);
    if (!holder.isHeld()) {
        GTEST_SKIP() << "this file system knows no leases";
    }
    const CapturedLog log;
    EXPECT_FALSE(copyRequest(ordinaryUser(), request, target(), kShortLimit));
    EXPECT_TRUE(log.contains('W', because("the reader gave no answer", ETIMEDOUT))) << log.dump();
    EXPECT_FALSE(log.contains('W', "doesn't end yet")) << log.dump();
}

TEST_F(RequestCopy, RefusesADevice) {
    expectRefused("/dev/null", "no regular file");
    expectRefused("/dev/zero", "no regular file", root());
}

TEST_F(RequestCopy, RefusesASocket) {
    const FileDescriptor listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(static_cast<char*>(address.sun_path), "socket");
    ASSERT_EQ(::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::chown("socket", kUser, kUserGroup), 0);
    expectRefused(path("socket"), "no regular file");
}

TEST_F(RequestCopy, RefusesAFolder) {
    const std::string folder = makeFolder("folder");
    ASSERT_EQ(::chown(folder.c_str(), kUser, kUserGroup), 0);
    expectRefused(folder, "no regular file");
    expectRefused("/", "no regular file");
}

TEST_F(RequestCopy, RefusesSomebodyElsesFileThatTheCallerCanRead) {
    const std::string file = writeFile("public", "x");
    ASSERT_EQ(::chmod(file.c_str(), 0644), 0);
    expectRefused(file, "somebody else's file");
}

TEST_F(RequestCopy, RefusesRootsFileThatTheCallerCantRead) {
    const std::string file = writeFile("secret", "x");
    ASSERT_EQ(::chmod(file.c_str(), 0600), 0);
    expectRefused(file, because("open failed", EACCES));
}

TEST_F(RequestCopy, RefusesTheCallersFileThatHisRightsDontOpen) {
    const std::string file = usersFile("request.xml", "x");
    ASSERT_EQ(::chmod(file.c_str(), 0044), 0);
    expectRefused(file, because("open failed", EACCES));
}

TEST_F(RequestCopy, RefusesTheCallersFileBehindAClosedFolder) {
    static_cast<void>(lockedFolder("folder"));
    expectRefused(usersFile("folder/request.xml", "x"), because("open failed", EACCES));
}

TEST_F(RequestCopy, RefusesAMissingFile) {
    expectRefused(path("missing"), because("open failed", ENOENT));
    expectRefused(path("missing/request.xml"), because("open failed", ENOENT));
}

TEST_F(RequestCopy, HidesWhatIsBehindAClosedFolder) {
    const std::string folder = lockedFolder("folder");
    static_cast<void>(writeFile("folder/there", "x"));
    expectRefused(folder + "/there", because("open failed", EACCES));
    expectRefused(folder + "/missing", because("open failed", EACCES));
}

TEST_F(RequestCopy, RefusesWhatIsNoAbsolutePath) {
    static_cast<void>(usersFile("request.xml", "x"));
    expectRefused("request.xml", "not an absolute path");
    expectRefused("", "not an absolute path");
    expectRefused(std::string(path("request.xml")).append("\0x", 2), "not an absolute path");
}

TEST_F(RequestCopy, TakesTheLongestPathAndNoLonger) {
    static_cast<void>(usersFile("request.xml", "abc"));
    std::string request(path());
    while (request.size() + std::strlen("/request.xml") < 4095) {
        request.append(request.size() % 2 == 0 && request.size() < 4000 ? "//" : "/");
    }
    request.append("/request.xml");
    ASSERT_EQ(request.size(), 4095U);
    expectCopied(request, "abc");
    ASSERT_EQ(::ftruncate(target(), 0), 0);
    request.insert(0, "/");
    ASSERT_EQ(request.size(), 4096U);
    expectRefused(request, because("open failed", ENAMETOOLONG));
}

TEST_F(RequestCopy, LogsTheStartOfThePath) {
    const std::string folder = "/missing" + std::string(192, 'x');
    expectRefused(folder + "/request.xml", "\"" + folder + "\" of user 65534");
}

TEST_F(RequestCopy, TheCallersGroupsDecide) {
    static_cast<void>(lockedFolder("folder", kExtraGroup, 0710));
    const std::string request = usersFile("folder/request.xml", "abc");
    expectRefused(request, because("open failed", EACCES));
    expectCopied(request, "abc", ordinaryUser({kUserGroup, kExtraGroup}));
}

TEST_F(RequestCopy, OurGroupsAreGone) {
    static_cast<void>(lockedFolder("folder", 0, 0710));
    static_cast<void>(lockedFolder("other", kExtraGroup, 0710));
    const std::string request = usersFile("folder/request.xml", "abc");
    const std::string other = usersFile("other/request.xml", "abc");
    inChild([&] {
        const gid_t extra = kExtraGroup;
        ASSERT_EQ(::setgroups(1, &extra), 0);
        expectRefused(request, because("open failed", EACCES));
        expectRefused(other, because("open failed", EACCES));
    });
}

TEST_F(RequestCopy, RootsRequestIsReadAsRoot) {
    static_cast<void>(lockedFolder("folder"));
    expectCopied(writeFile("folder/request.xml", "abc"), "abc", root());
}

TEST_F(RequestCopy, RootTakesNobodyElsesFileEither) {
    expectRefused(usersFile("request.xml", "x"), "somebody else's file", root());
    fs::create_symlink(writeFile("own", "x"), path("link"));
    expectRefused(path("link"), because("open failed", ELOOP), root());
}

TEST_F(RequestCopy, OurDescriptorsOpenNoClosedFolder) {
    const std::string folder = lockedFolder("folder");
    static_cast<void>(usersFile("folder/request.xml", "abc"));
    const FileDescriptor opened(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    ASSERT_TRUE(opened);
    const std::string request =
        std::string("/proc/self/fd/").append(std::to_string(opened.get())).append("/request.xml");
    expectRefused(request, because("open failed", ENOENT));
}

TEST_F(RequestCopy, OurCurrentFolderOpensNoClosedFolder) {
    static_cast<void>(lockedFolder("folder"));
    static_cast<void>(usersFile("folder/request.xml", "abc"));
    fs::current_path(path("folder"));
    expectRefused("/proc/self/cwd/request.xml", because("open failed", ENOENT));
    fs::current_path(path());
}

TEST_F(RequestCopy, TheReadersOwnPapersAreRootsToTheCaller) {
    for (const char* request :
         {"/proc/self/environ", "/proc/self/maps", "/proc/self/mem", "/proc/self/status"}) {
        expectRefused(request, "refused", ordinaryUser());
    }
}

TEST_F(RequestCopy, AFullDeviceIsARefusal) {
    const std::string request = usersFile("request.xml", "abc");
    const FileDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    const CapturedLog log;
    EXPECT_FALSE(copyRequest(ordinaryUser(), request, full.get()));
    EXPECT_TRUE(log.contains('W', because("write failed", ENOSPC))) << log.dump();
}

TEST_F(RequestCopy, AFileSystemThatFillsUpIsARefusal) {
    if (!allowsMounts()) {
        GTEST_SKIP() << "mounting needs the right to administer the system";
    }
    const std::string request = usersFile("request.xml", std::string(kMebibyte, 'x'));
    const std::string folder = makeFolder("small");
    inChild([&] {
        ASSERT_TRUE(makeMountsPrivate()) << "errno " << errno;
        ASSERT_EQ(::mount("small", folder.c_str(), "tmpfs", 0, "size=64k"), 0) << "errno " << errno;
        const FileDescriptor file(::open("small/target", O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
        const CapturedLog log;
        EXPECT_FALSE(copyRequest(ordinaryUser(), request, file.get()));
        EXPECT_TRUE(log.contains('W', because("write failed", ENOSPC))) << log.dump();
    });
}

TEST_F(RequestCopy, ATargetThatIsNotOpenForWritingIsARefusal) {
    const std::string request = usersFile("request.xml", "abc");
    const FileDescriptor file(::open(request.c_str(), O_RDONLY | O_CLOEXEC));
    const CapturedLog log;
    EXPECT_FALSE(copyRequest(ordinaryUser(), request, file.get()));
    EXPECT_TRUE(log.contains('W', because("write failed", EBADF))) << log.dump();
}

TEST_F(RequestCopy, NoFreeDescriptorIsARefusal) {
    const std::string request = usersFile("request.xml", "abc");
    const CapturedLog log;
    rlimit former{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &former), 0);
    const rlimit none{0, former.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    const bool success = copyRequest(ordinaryUser(), request, target());
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &former), 0);
    EXPECT_FALSE(success);
    EXPECT_TRUE(log.contains('W', because("the reader's start failed", EMFILE))) << log.dump();
}

TEST_F(RequestCopy, WorksWithoutStandardDescriptors) {
    const std::string request = usersFile("request.xml", "abc");
    inChild([&] {
        FileDescriptor input(STDIN_FILENO);
        FileDescriptor output(STDOUT_FILENO);
        input.reset();
        output.reset();
        EXPECT_TRUE(copyRequest(ordinaryUser(), request, target()));
    });
    EXPECT_EQ(copied(), "abc");
}

TEST_F(RequestCopy, ManyRunsLeaveNoDescriptorAndNoChild) {
    const std::string request = usersFile("request.xml", std::string(kMebibyte, 'x'));
    const std::string large = usersFile("large.xml", std::string(kMebibyte + 1, 'x'));
    const FileDescriptor sink(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    const std::size_t before = openDescriptors();
    for (int run = 0; run < 50; ++run) {
        EXPECT_TRUE(copyRequest(ordinaryUser(), request, sink.get()));
        EXPECT_FALSE(copyRequest(ordinaryUser(), large, sink.get()));
        EXPECT_FALSE(copyRequest(ordinaryUser(), path("missing"), sink.get()));
        EXPECT_FALSE(copyRequest(ordinaryUser(), "relative", sink.get()));
    }
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_FALSE(hasChildren());
}

TEST_F(RequestCopy, ThreadsCopyBesideEachOther) {
    constexpr std::size_t kThreads = kMostReadersOfUser;
    const std::string request = usersFile("request.xml", std::string(kMebibyte, 'x'));
    std::vector<std::thread> threads;
    for (std::size_t number = 0; number < kThreads; ++number) {
        threads.emplace_back([&, file = path(std::to_string(number))] {
            const FileDescriptor own(::open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
            EXPECT_TRUE(copyRequest(ordinaryUser(), request, own.get()));
            EXPECT_FALSE(copyRequest(ordinaryUser(), path("missing"), own.get()));
            EXPECT_EQ(contentOf(file).size(), kMebibyte);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_FALSE(hasChildren());
}

TEST_F(RequestCopyRace, TheReaderIsTheCallerForGoodAndHoldsNothingOfOurs) {
    const std::string request = usersFile("request.xml", "abc");
    const FileDescriptor ours(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    const ReadGate gate(request, [](pid_t reader) {
        const std::string process = std::string("/proc/").append(std::to_string(reader));
        const std::string status = contentOf(process + "/status");
        EXPECT_THAT(status, HasSubstr("Uid:\t65534\t65534\t65534\t65534\n"));
        EXPECT_THAT(status, HasSubstr("Gid:\t65534\t65534\t65534\t65534\n"));
        EXPECT_THAT(status, HasSubstr("Groups:\t65534 \n"));
        EXPECT_THAT(status, HasSubstr("CapPrm:\t0000000000000000\n"));
        // The three standard ones and the file.
        const fs::directory_iterator descriptors(process + "/fd");
        EXPECT_EQ(std::distance(begin(descriptors), end(descriptors)), 4);
        EXPECT_EQ(fs::read_symlink(process + "/fd/2"), "/dev/null");
        EXPECT_EQ(fs::read_symlink(process + "/cwd"), "/");
        // What the caller's other processes may not look into is root's.
        struct stat papers {};
        EXPECT_EQ(::stat((process + "/environ").c_str(), &papers), 0);
        EXPECT_EQ(papers.st_uid, 0U);
    });
    expectCopied(request, "abc");
}

TEST_F(RequestCopyRace, AFileSwappedAfterTheOpenIsReadAsItWas) {
    const std::string request = usersFile("request.xml", "first");
    const std::string other = writeFile("secret", "root's secret");
    const ReadGate gate(request, [&](pid_t) { fs::rename(other, request); });
    expectCopied(request, "first");
    EXPECT_EQ(contentOf(request), "root's secret");
}

TEST_F(RequestCopyRace, ALinkPutInPlaceAfterTheOpenIsNotLookedAt) {
    const std::string request = usersFile("request.xml", "first");
    const std::string other = writeFile("secret", "root's secret");
    const ReadGate gate(request, [&](pid_t) {
        fs::remove(request);
        fs::create_symlink(other, request);
    });
    expectCopied(request, "first");
}

TEST_F(RequestCopyRace, AFileThatGrowsTooLargeWhileItIsReadIsRefused) {
    const std::string request = usersFile("request.xml", "abc");
    const ReadGate gate(request, [&](pid_t) { fs::resize_file(request, kMebibyte + 1); });
    expectRefused(request, "grown too large");
}

TEST_F(RequestCopyRace, AFileThatGrowsToTheLimitIsCopied) {
    const std::string request = usersFile("request.xml", "");
    const ReadGate gate(request, [&](pid_t) { fs::resize_file(request, kMebibyte); });
    expectCopied(request, std::string(kMebibyte, '\0'));
}

TEST_F(RequestCopyRace, AFileThatShrinksIsCopiedAsItIs) {
    const std::string request = usersFile("request.xml", "abcdef");
    const ReadGate gate(request, [&](pid_t) { fs::resize_file(request, 2); });
    expectCopied(request, "ab");
}

TEST_F(RequestCopyRace, AReaderThatTheCallerKillsIsARefusal) {
    const std::string request = usersFile("request.xml", "abc");
    const ReadGate gate(request, [](pid_t reader) { EXPECT_EQ(::kill(reader, SIGKILL), 0); });
    const Clock::time_point start = Clock::now();
    expectRefused(request, because("the reader gave no answer", EPIPE));
    EXPECT_LT(Clock::now() - start, kReaderLimit);
}

TEST_F(RequestCopyRace, AReaderThatTheCallerStopsIsARefusalAfterTheTimeLimit) {
    const std::string request = usersFile("request.xml", "abc");
    const ReadGate gate(request, [](pid_t reader) { EXPECT_EQ(::kill(reader, SIGSTOP), 0); });
    const Clock::time_point start = Clock::now();
    expectRefused(request, because("the reader gave no answer", ETIMEDOUT), ordinaryUser(), kShortLimit);
    EXPECT_GE(Clock::now() - start, kShortLimit);
}

TEST_F(RequestCopyRace, AReaderThatTheCallerStopsHoldsNobodyUpForLong) {
    const std::string request = usersFile("request.xml", "abc");
    const ReadGate gate(request, [](pid_t reader) { EXPECT_EQ(::kill(reader, SIGSTOP), 0); });
    const Clock::time_point start = Clock::now();
    expectRefused(request, because("the reader gave no answer", ETIMEDOUT), ordinaryUser(), kShortLimit);
    EXPECT_LT(Clock::now() - start, kReaderLimit);
}

TEST_F(RequestCopyRace, TheReaderEndsWithItsParent) {
    const std::string request = usersFile("request.xml", "abc");
    const pid_t parent = ::fork();
    ASSERT_NE(parent, -1);
    if (parent == 0) {
        // Not before the file is watched.
        static_cast<void>(::raise(SIGSTOP));
        static_cast<void>(copyRequest(ordinaryUser(), request, target()));
        ::_exit(0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(parent, &status, WUNTRACED), parent);
    {
        const ReadGate gate(request, [&](pid_t reader) {
            EXPECT_EQ(::kill(parent, SIGKILL), 0);
            EXPECT_TRUE(eventually([&] { return hasEnded(reader); }));
        });
        EXPECT_EQ(::kill(parent, SIGCONT), 0);
        EXPECT_EQ(::waitpid(parent, &status, 0), parent);
    }
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(copied(), "");
}

TEST_F(RequestCopyRace, AFileSystemThatNeverAnswersHoldsNobodyUp) {
    withStuckFolder(makeFolder("stuck"), [this](StuckFileSystem& stuck, const std::string& request) {
        std::thread server([&stuck] { EXPECT_TRUE(stuck.takeQuestion()); });
        const CapturedLog log;
        const std::size_t before = openDescriptors();
        EXPECT_FALSE(copyRequest(ordinaryUser(), request, target(), kShortLimit));
        server.join();
        EXPECT_TRUE(log.contains('W', because("the reader gave no answer", ETIMEDOUT))) << log.dump();
        EXPECT_TRUE(log.contains('W', "doesn't end yet")) << log.dump();
        EXPECT_EQ(openDescriptors(), before);
        EXPECT_TRUE(hasChildren());
        stuck.abandon();
        EXPECT_TRUE(eventually([] { return !hasChildren(); }));
    });
}

TEST_F(RequestCopyRace, AFileSystemThatNeverAnswersCostsItsUserTheReadersAndNobodyElse) {
    withStuckFolder(makeFolder("stuck"), [this](StuckFileSystem& stuck, const std::string& request) {
        const std::string others = usersFile("request.xml", "abc");
        EXPECT_EQ(::chown(others.c_str(), kOtherUser, kUserGroup), 0);
        const CapturedLog log;
        std::vector<std::thread> threads;
        for (std::size_t reader = 0; reader < kMostReadersOfUser; ++reader) {
            threads.emplace_back(
                [&] { EXPECT_FALSE(copyRequest(ordinaryUser(), request, target(), kShortLimit)); });
            EXPECT_TRUE(stuck.takeQuestion());
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        const Clock::time_point start = Clock::now();
        EXPECT_FALSE(copyRequest(ordinaryUser(), request, target()));
        EXPECT_LT(Clock::now() - start, kReaderLimit);
        EXPECT_TRUE(log.contains('W', "refused: readers of the user's")) << log.dump();
        UserIdentity other = ordinaryUser();
        other.user = kOtherUser;
        EXPECT_TRUE(copyRequest(other, others, target())) << log.dump();
        stuck.abandon();
        EXPECT_TRUE(eventually([] { return !hasChildren(); }));
        const std::string own = usersFile("own.xml", "abc");
        EXPECT_TRUE(eventually([&] { return copyRequest(ordinaryUser(), own, target()); })) << log.dump();
    });
}

} // namespace
