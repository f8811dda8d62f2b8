#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/WorkerProcess.h"

#include "tests/support/CapturedLog.h"
#include "tests/support/InChild.h"
#include "tests/support/PrivateMounts.h"
#include "tests/support/Processes.h"
#include "tests/support/Sandbox.h"
#include "tests/unit/helper/ActingWorker.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/ProgressRecord.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/sched.h>
#include <poll.h>
#include <sstream>
#include <string>
#include <sys/file.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

constexpr const char* kPassword = "the password of this test";
/// More than the end of a killed worker takes.
constexpr std::chrono::seconds kEndLimit{10};
constexpr const char* kFixedPath = "PATH=/usr/sbin:/usr/bin:/sbin:/bin";

class WorkerProcessTest : public Sandbox {
protected:
    [[nodiscard]] WorkOrder orderTo(const char* act) const {
        WorkOrder order;
        order.requestPath = act;
        order.jobFolder = path();
        order.password = std::string_view(kPassword);
        return order;
    }
    [[nodiscard]] std::unique_ptr<WorkerProcess> startTo(const char* act, int lock = -1) const {
        std::unique_ptr<WorkerProcess> worker = WorkerProcess::start(orderTo(act), lock, kEndLimit);
        EXPECT_NE(worker, nullptr);
        return worker;
    }

    /// Runs a worker that reports.
    void takeReport(int lock = -1) {
        const std::unique_ptr<WorkerProcess> worker = startTo(kReport, lock);
        ASSERT_NE(worker, nullptr);
        EXPECT_TRUE(worker->reap());
        m_report = readFile("report");
    }
    /// The report's lines that start with a word, without it.
    [[nodiscard]] std::vector<std::string> reported(const std::string& word) const {
        std::vector<std::string> found;
        std::istringstream lines(m_report);
        std::string line;
        while (std::getline(lines, line)) {
            if (line.starts_with(word + " ")) {
                found.push_back(line.substr(word.size() + 1));
            }
        }
        return found;
    }
    /// Without what they lead to.
    [[nodiscard]] std::string reportedDescriptors() const {
        std::vector<std::string> found = reported("descriptor");
        std::ranges::sort(found);
        std::string numbers;
        for (const std::string& descriptor : found) {
            numbers += descriptor.substr(0, descriptor.find(' ') + 1);
        }
        return numbers;
    }

    [[nodiscard]] std::string reportText() const { return m_report; }

    void expectEnvironment(const std::string& name, const std::string& value, bool passed) {
        setEnvironment(name, value);
        takeReport();
        const std::vector<std::string> variables = reported("variable");
        EXPECT_EQ(variables.size(), passed ? 2U : 1U) << name << "=" << value;
        EXPECT_EQ(variables.front(), kFixedPath);
        EXPECT_EQ(variables.back(), passed ? name + "=" + value : kFixedPath);
    }

private:
    std::string m_report;
};

/// The records that come, up to the end of the worker's pipe.
std::vector<ProgressRecord> progressOf(const WorkerProcess& worker) {
    ProgressReader reader;
    std::vector<ProgressRecord> records;
    std::array<char, 4096> bytes{};
    ssize_t length = -1;
    while (length != 0) {
        pollfd watched{worker.progress(), POLLIN, 0};
        EXPECT_EQ(::poll(&watched, 1, 30'000), 1);
        length = ::read(worker.progress(), bytes.data(), bytes.size());
        if (length < 0) {
            ADD_FAILURE() << "errno " << errno;
            break;
        }
        reader.append({bytes.data(), static_cast<std::size_t>(length)});
        while (std::optional<ProgressRecord> record = reader.next()) {
            records.push_back(*record);
        }
    }
    return records;
}

/// Starts a child under a process id of choice, which waits in a group of its own.
/// @return false if that is not to be had.
bool forkUnderNumber(pid_t number) {
    clone_args arguments{};
    arguments.exit_signal = SIGCHLD;
    arguments.set_tid = reinterpret_cast<uint64_t>(&number);
    arguments.set_tid_size = 1;
    const long child = ::syscall(SYS_clone3, &arguments, sizeof arguments);
    if (child == 0) {
        ::setpgid(0, 0);
        while (true) {
            ::pause();
        }
    }
    return child == number && (::setpgid(number, number) == 0 || ::getpgid(number) == number);
}

TEST_F(WorkerProcessTest, IsThisProgramWithOneArgument) {
    takeReport();
    EXPECT_THAT(reported("argument"), ElementsAre("merohelper", "--worker"));
    EXPECT_THAT(reported("program"), ElementsAre(fs::read_symlink("/proc/self/exe").string()));
}

TEST_F(WorkerProcessTest, GetsTheOrder) {
    takeReport();
    EXPECT_THAT(reported("password"), ElementsAre(kPassword));
}

TEST_F(WorkerProcessTest, GetsTheOrderOfAUserOfAllGroups) {
    WorkOrder order = orderTo(kReport);
    order.caller.groups.resize(65536);
    const std::unique_ptr<WorkerProcess> worker = WorkerProcess::start(order, -1, kEndLimit);
    ASSERT_NE(worker, nullptr);
    EXPECT_TRUE(worker->reap());
    EXPECT_THAT(readFile("report"), HasSubstr("groups 65536\n"));
}

TEST_F(WorkerProcessTest, ShowsThePasswordToNobody) {
    const std::unique_ptr<WorkerProcess> worker = startTo(kStay);
    const std::string process = "/proc/" + std::to_string(pidIn(path("ready")));
    for (const char* place : {"/cmdline", "/environ", "/comm"}) {
        EXPECT_THAT(readFile(process + place), Not(IsEmpty())) << place;
        EXPECT_THAT(readFile(process + place), Not(HasSubstr(kPassword))) << place;
    }
}

TEST_F(WorkerProcessTest, GetsNoVariablesButAFixedPath) {
    for (const char* name : {"LD_LIBRARY_PATH", "HOME", "USER", "IFS", "TMPDIR", "LC_ALL", "LANGUAGE",
                             "DBUS_SYSTEM_BUS_ADDRESS", "GCONV_PATH", "BASH_ENV"}) {
        setEnvironment(name, path());
    }
    setEnvironment("LANG", std::nullopt);
    setEnvironment("ZRN_LOGGING_OUTPUT", std::nullopt);
    setEnvironment("PATH", path() + ":/usr/local/bin");
    takeReport();
    EXPECT_THAT(reported("variable"), ElementsAre(kFixedPath));
}

TEST_F(WorkerProcessTest, GetsOurLanguageIfItIsOne) {
    setEnvironment("ZRN_LOGGING_OUTPUT", std::nullopt);
    for (const std::string& language : {std::string("C"), std::string("de_DE.UTF-8@euro"),
                                        std::string("zh-Hant_TW"), std::string(64, 'x')}) {
        expectEnvironment("LANG", language, true);
    }
    for (const std::string& language :
         {std::string(), std::string("../x"), std::string("/tmp/x"), std::string("."), std::string(".."),
          std::string("de DE"), std::string("de\n"), std::string("$(id)"), std::string("d\xC3\xA9"),
          std::string(65, 'x')}) {
        expectEnvironment("LANG", language, false);
    }
}

TEST_F(WorkerProcessTest, GetsTheChoiceOfTheLogIfItIsStandardOutput) {
    setEnvironment("LANG", std::nullopt);
    expectEnvironment("ZRN_LOGGING_OUTPUT", "STDOUT", true);
    for (const char* value : {"", "stdout", "STDOUT ", "STDOUTX", "/tmp/x"}) {
        expectEnvironment("ZRN_LOGGING_OUTPUT", value, false);
    }
}

TEST_F(WorkerProcessTest, HasNoDescriptorsButThoseMeantForIt) {
    const FileDescriptor lock(::open(writeFile("lock", "").c_str(), O_RDWR | O_CLOEXEC));
    const FileDescriptor left(::open("/dev/zero", O_RDONLY)); // a library may forget to mark one
    const FileDescriptor high(::fcntl(left.get(), F_DUPFD, 700));
    ASSERT_TRUE(high);
    takeReport(lock.get());
    EXPECT_EQ(reportedDescriptors(), "0 1 2 3 4 5 ");
    for (const std::string& descriptor : reported("descriptor")) {
        const std::string target = descriptor.substr(2);
        switch (descriptor.front()) {
        case '0':
            EXPECT_EQ(target, "/dev/null");
            break;
        case '1':
        case '2':
            EXPECT_EQ(target, fs::read_symlink(std::string("/proc/self/fd/") + descriptor.front()));
            break;
        case '5':
            EXPECT_EQ(target, path("lock"));
            break;
        default:
            EXPECT_THAT(target, StartsWith("pipe:"));
        }
    }
}

TEST_F(WorkerProcessTest, HasNoLockWithoutOne) {
    inChild([this] {
        const FileDescriptor left(::open("/dev/zero", O_RDONLY | O_CLOEXEC));
        ASSERT_EQ(::dup2(left.get(), kLockDescriptor), kLockDescriptor);
        takeReport();
        EXPECT_EQ(reportedDescriptors(), "0 1 2 3 4 ");
    });
}

TEST_F(WorkerProcessTest, HoldsTheLockToItsEnd) {
    const std::string file = writeFile("lock", "");
    FileDescriptor lock(::open(file.c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_EQ(::flock(lock.get(), LOCK_EX | LOCK_NB), 0);
    std::unique_ptr<WorkerProcess> worker = startTo(kStay, lock.get());
    lock.reset();
    const FileDescriptor other(::open(file.c_str(), O_RDWR | O_CLOEXEC));
    EXPECT_EQ(::flock(other.get(), LOCK_EX | LOCK_NB), -1);
    worker.reset();
    EXPECT_EQ(::flock(other.get(), LOCK_EX | LOCK_NB), 0);
}

TEST_F(WorkerProcessTest, PutsDescriptorsIntoPlaceWhateverStandsThere) {
    const std::string file = writeFile("lock", "");
    // The first number that is free decides where the pipes come to lie, and the lock may stand in their
    // place.
    for (int firstFree = 0; firstFree < 8; ++firstFree) {
        for (int lockNumber = 3; lockNumber < 8; ++lockNumber) {
            inChild([&] {
                ASSERT_EQ(::close_range(3, ~0U, 0), 0);
                for (int number = 3; number < firstFree; ++number) {
                    ASSERT_EQ(::open("/dev/zero", O_RDONLY | O_CLOEXEC), number);
                }
                const FileDescriptor opened(::open(file.c_str(), O_RDWR | O_CLOEXEC));
                ASSERT_EQ(::dup3(opened.get(), lockNumber == opened.get() ? 9 : lockNumber, O_CLOEXEC) < 0,
                          false);
                for (int number = firstFree; number < 3; ++number) {
                    ASSERT_EQ(::close(number), 0);
                }
                takeReport(lockNumber);
                EXPECT_EQ(reportedDescriptors(), "0 1 2 3 4 5 ");
                EXPECT_THAT(reportText(), HasSubstr("descriptor 0 /dev/null\n"));
                EXPECT_THAT(reportText(), HasSubstr("descriptor 3 pipe:"));
                EXPECT_THAT(reportText(), HasSubstr("descriptor 4 pipe:"));
                EXPECT_THAT(reportText(), HasSubstr("descriptor 5 " + file + "\n"));
                EXPECT_THAT(reportText(), HasSubstr(std::string("password ") + kPassword));
            });
        }
    }
}

TEST_F(WorkerProcessTest, HasStandardOutputThatLeadsNowhereWhereOursIsClosed) {
    inChild([this] {
        ASSERT_EQ(::close(STDOUT_FILENO), 0);
        ASSERT_EQ(::fcntl(STDERR_FILENO, F_SETFD, FD_CLOEXEC), 0);
        takeReport();
        EXPECT_THAT(reportText(), HasSubstr("descriptor 1 /dev/null\n"));
        EXPECT_THAT(reportText(), HasSubstr("descriptor 2 /dev/null\n"));
    });
}

TEST_F(WorkerProcessTest, LeadsASessionAndAGroup) {
    takeReport();
    EXPECT_THAT(reported("session"), ElementsAre("1"));
    EXPECT_THAT(reported("group"), ElementsAre("1"));
}

TEST_F(WorkerProcessTest, IgnoresAndBlocksNoSignal) {
    inChild([this] {
        for (int signalNumber = 1; signalNumber <= SIGRTMAX; ++signalNumber) {
            std::signal(signalNumber, SIG_IGN);
        }
        std::signal(SIGCHLD, SIG_DFL); // ignoring it would leave nothing to reap
        sigset_t all;
        ::sigfillset(&all);
        ASSERT_EQ(::sigprocmask(SIG_SETMASK, &all, nullptr), 0);
        takeReport();
        EXPECT_THAT(reportText(), HasSubstr("SigBlk: 0000000000000000\n"));
        const std::vector<std::string> ignored = reported("SigIgn:");
        ASSERT_EQ(ignored.size(), 1U);
        // The C library keeps these two to itself.
        EXPECT_EQ(std::stoull(ignored[0], nullptr, 16) & ~0x180000000ULL, 0U) << ignored[0];
    });
}

TEST_F(WorkerProcessTest, ProgressComesUntilItsEnd) {
    const std::unique_ptr<WorkerProcess> worker = startTo(kReport);
    const std::vector<ProgressRecord> records = progressOf(*worker);
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].message, "half");
    EXPECT_EQ(records[0].progress, 50U);
}

TEST_F(WorkerProcessTest, ProgressDoesNotBlock) {
    const std::unique_ptr<WorkerProcess> worker = startTo(kStay);
    char byte = 0;
    EXPECT_EQ(::read(worker->progress(), &byte, 1), -1);
    EXPECT_EQ(errno, EAGAIN);
}

TEST_F(WorkerProcessTest, TellsHowItHasLeftOnce) {
    const std::unique_ptr<WorkerProcess> good = startTo(kReport);
    EXPECT_TRUE(good->reap());
    EXPECT_FALSE(good->reap());
    EXPECT_FALSE(startTo(kLeaveBadly)->reap());
    const std::unique_ptr<WorkerProcess> killed = startTo(kStay);
    killed->kill();
    EXPECT_FALSE(killed->reap());
    EXPECT_FALSE(hasChildren());
}

TEST_F(WorkerProcessTest, KillEndsItsGroup) {
    const std::unique_ptr<WorkerProcess> worker = startTo(kStayInTwo);
    const pid_t child = pidIn(path("ready"));
    EXPECT_NE(child, worker->pid());
    worker->kill();
    EXPECT_FALSE(worker->reap());
    EXPECT_TRUE(eventually([child] { return hasEnded(child); }));
}

TEST_F(WorkerProcessTest, EndsWithItsObject) {
    pid_t child = 0;
    {
        const std::unique_ptr<WorkerProcess> worker = startTo(kStayInTwo);
        child = pidIn(path("ready"));
    }
    EXPECT_FALSE(hasChildren());
    EXPECT_TRUE(eventually([child] { return hasEnded(child); }));
}

TEST_F(WorkerProcessTest, NothingOfItsGroupOutlivesItsReaping) {
    const std::unique_ptr<WorkerProcess> worker = startTo(kLeaveAChild);
    EXPECT_TRUE(worker->reap());
    const pid_t child = pidIn(path("ready"));
    EXPECT_NE(child, worker->pid());
    EXPECT_TRUE(eventually([child] { return hasEnded(child); }));
}

TEST_F(WorkerProcessTest, KillsNobodyWhoGotItsNumberLater) {
    if (!runsAsRoot() || !allowsMounts()) {
        GTEST_SKIP() << "choosing a process id needs the right to administer the system";
    }
    inChild([this] {
        std::unique_ptr<WorkerProcess> worker = startTo(kReport);
        const pid_t number = worker->pid();
        EXPECT_TRUE(worker->reap());
        ASSERT_TRUE(forkUnderNumber(number)) << "errno " << errno;
        worker->kill();
        EXPECT_FALSE(worker->reap());
        worker.reset();
        // It ends by what comes first.
        EXPECT_EQ(::kill(number, SIGUSR1), 0);
        int status = 0;
        EXPECT_EQ(::waitpid(number, &status, 0), number);
        EXPECT_EQ(WTERMSIG(status), SIGUSR1);
    });
}

TEST_F(WorkerProcessTest, OneThatOthersHaveReapedIsLeftAlone) {
    const CapturedLog log;
    std::unique_ptr<WorkerProcess> worker = startTo(kReport);
    ASSERT_EQ(::waitpid(worker->pid(), nullptr, 0), worker->pid());
    worker->kill();
    EXPECT_FALSE(worker->reap());
    worker.reset();
    EXPECT_TRUE(log.lines().empty()) << log.dump();
}

TEST_F(WorkerProcessTest, OneThatCannotEndIsLeft) {
    // A process that is traced is not gone before its tracer has looked at its end.
    inChild([this] {
        const pid_t owner = ::fork();
        if (owner == 0) {
            const CapturedLog log;
            std::unique_ptr<WorkerProcess> worker =
                WorkerProcess::start(orderTo(kStay), -1, std::chrono::milliseconds(300));
            EXPECT_TRUE(eventually([this] { return exists("traced"); }));
            worker.reset();
            EXPECT_TRUE(log.contains('W', "doesn't end yet")) << log.dump();
            ::_exit(HasFailure() ? 1 : 0);
        }
        const pid_t worker = pidIn(path("ready"));
        ASSERT_EQ(::ptrace(PTRACE_SEIZE, worker, nullptr, nullptr), 0);
        writeFile("traced", "");
        int status = -1;
        EXPECT_EQ(::waitpid(owner, &status, 0), owner);
        EXPECT_EQ(status, 0);
        EXPECT_EQ(::waitpid(worker, &status, __WALL), worker);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
    });
}

TEST_F(WorkerProcessTest, NothingRunsIfTheOrderCannotBeWritten) {
    WorkOrder order = orderTo(kReport);
    order.bundlePath.assign(kLargestWorkOrderBytes, 'x');
    const std::size_t before = openDescriptors();
    const CapturedLog log;
    EXPECT_EQ(WorkerProcess::start(order, -1, kEndLimit), nullptr);
    EXPECT_TRUE(log.contains('E', "too large")) << log.dump();
    EXPECT_FALSE(hasChildren());
    EXPECT_FALSE(exists("report"));
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(WorkerProcessTest, NothingRunsWithoutDescriptors) {
    inChild([this] {
        rlimit limit{openDescriptors() - 1, 1024};
        int failures = 0;
        std::unique_ptr<WorkerProcess> worker;
        while (worker == nullptr && limit.rlim_cur < 100) {
            ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
            const CapturedLog log;
            worker = WorkerProcess::start(orderTo(kReport), -1, kEndLimit);
            if (worker == nullptr) {
                EXPECT_GT(log.count('E', ""), 0);
                EXPECT_FALSE(hasChildren());
                ++failures;
            }
            ++limit.rlim_cur;
        }
        EXPECT_NE(worker, nullptr);
        EXPECT_GE(failures, 4);
    });
}

TEST_F(WorkerProcessTest, NothingRunsWithABadLock) {
    const CapturedLog log;
    EXPECT_EQ(WorkerProcess::start(orderTo(kReport), 1000, kEndLimit), nullptr);
    EXPECT_TRUE(log.containsCode('E', "fails", "fcntl", EBADF)) << log.dump();
    EXPECT_FALSE(hasChildren());
}

TEST_F(WorkerProcessTest, AProgramThatCannotBeStartedIsLogged) {
    if (!runsAsRoot()) {
        GTEST_SKIP() << "hiding the program needs root's rights";
    }
    inChild([this] {
        ASSERT_EQ(::chroot(path().c_str()), 0);
        ASSERT_EQ(::mkdir("/dev", 0755), 0);
        ASSERT_TRUE(FileDescriptor(::open("/dev/null", O_RDWR | O_CREAT | O_CLOEXEC, 0600)));
        const CapturedLog log;
        EXPECT_EQ(WorkerProcess::start(orderTo(kReport), -1, kEndLimit), nullptr);
        EXPECT_TRUE(log.containsCode('E', "fails", "posix_spawn", ENOENT)) << log.dump();
        EXPECT_FALSE(hasChildren());
    });
}

TEST_F(WorkerProcessTest, LeavesNoDescriptor) {
    const std::size_t before = openDescriptors();
    for (int i = 0; i < 20; ++i) {
        EXPECT_TRUE(startTo(kReport)->reap());
    }
    EXPECT_EQ(openDescriptors(), before);
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 2 && std::string_view(argv[1]) == kWorkerArgument) {
        return actAsWorker(argc, argv);
    }
    ::testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
