#include "Common/IPC/event.h"
#include "Common/Utility/ReturnCodes.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/InChild.h"
#include "tests/support/Processes.h"
#include "tests/support/SystemCallFilter.h"
#include "tests/unit/common/ipc/Interrupter.h"
#include "tests/unit/common/ipc/PrivateUsers.h"
#include "tests/unit/common/ipc/ProcessTest.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using WaitForProcess = ProcessTest;
using TerminateProcess = ProcessTest;
using PollProcess = ProcessTest;
using IsProcessRunning = ProcessTest;
using ProcessPath = ProcessTest;
using ThreadPriority = ProcessTest;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr uint32_t kWithoutEnd = 0xFFFFFFFF;
/// Above any number that the kernel gives to a process.
constexpr int kNoProcess = 0x3FFFFFFF;
/// For children that don't end; the others have far less to do than the usual limit gives them.
constexpr milliseconds kShortLimit{200};
constexpr int kLowestPriority = 19;

/// Waits for the state without reaping the child.
void awaitState(pid_t child, char state) {
    EXPECT_TRUE(eventually([=] { return processState(child) == state; }))
        << "in state " << processState(child);
}

/// Waits until a child has ended, and leaves it to be reaped.
pid_t asZombie(pid_t child) {
    awaitState(child, 'Z');
    return child;
}

TEST_F(WaitForProcess, GivesTheExitCode) {
    for (const uint32_t code : {0U, 3U, 255U}) {
        for (const uint32_t limitMs : {60000U, kWithoutEnd}) {
            const pid_t child = startChild({"exit", std::to_string(code)});
            uint32_t exitCode = 99;
            EXPECT_EQ(CProcessApi().WaitForProcess(child, &exitCode, nullptr, nullptr, limitMs), 0U);
            EXPECT_EQ(exitCode, code);
        }
    }
}

TEST_F(WaitForProcess, TimesOutOnAChildThatRuns) {
    const CapturedLog log;
    const pid_t child = startChild({"wait", path("ready")});
    uint32_t exitCode = 99;
    const auto start = Clock::now();
    EXPECT_EQ(CProcessApi().WaitForProcess(child, &exitCode, nullptr, nullptr, 1000),
              PROCESS_API_ERROR_WAIT_TIMEOUT);
    EXPECT_GE(Clock::now() - start, milliseconds(1000));
    EXPECT_EQ(exitCode, 1U);
    EXPECT_EQ(CProcessApi::pollProcess(child), 0U); // it is left alone
    EXPECT_EQ(CProcessApi::terminateProcess(child), 0U);
    EXPECT_TRUE(log.lines().empty()) << log.dump();
}

TEST_F(WaitForProcess, TimesOutAtOnceWithoutALook) {
    const pid_t child = asZombie(startChild({"exit", "3"}));
    uint32_t exitCode = 99;
    EXPECT_EQ(CProcessApi().WaitForProcess(child, &exitCode, nullptr, nullptr, 0),
              PROCESS_API_ERROR_WAIT_TIMEOUT);
    EXPECT_EQ(exitCode, 1U);
    EXPECT_EQ(exitCodeOf(child), 3U);
}

TEST_F(WaitForProcess, TakesAnEndBySignalForATimeOut) {
    for (const int signalNumber : {SIGKILL, SIGTERM, SIGABRT}) {
        for (const uint32_t limitMs : {60000U, kWithoutEnd}) {
            const pid_t child = startChild({"die", std::to_string(signalNumber)});
            uint32_t exitCode = 99;
            EXPECT_EQ(CProcessApi().WaitForProcess(child, &exitCode, nullptr, nullptr, limitMs),
                      PROCESS_API_ERROR_WAIT_TIMEOUT);
            EXPECT_EQ(exitCode, 1U);
            EXPECT_FALSE(hasChildren());
        }
    }
}

TEST_F(WaitForProcess, WaitsWithoutEndForALateChild) {
    const pid_t child = startChild({"exit-after", "200", "4"});
    uint32_t exitCode = 99;
    EXPECT_EQ(CProcessApi().WaitForProcess(child, &exitCode, nullptr, nullptr, kWithoutEnd), 0U);
    EXPECT_EQ(exitCode, 4U);
}

TEST_F(WaitForProcess, FailsForAProcessThatIsNoChild) {
    const CapturedLog log;
    uint32_t exitCode = 99;
    EXPECT_EQ(CProcessApi().WaitForProcess(kNoProcess, &exitCode, nullptr, nullptr, 1000),
              PROCESS_API_ERROR_UNKNOWN);
    EXPECT_EQ(exitCode, 1U);
    EXPECT_TRUE(log.contains('E', "waitpid failed: No child processes")) << log.dump();
}

TEST_F(WaitForProcess, FailsSilentlyWithoutALimit) {
    const CapturedLog log;
    uint32_t exitCode = 99;
    EXPECT_EQ(CProcessApi().WaitForProcess(kNoProcess, &exitCode, nullptr, nullptr, kWithoutEnd),
              PROCESS_API_ERROR_UNKNOWN);
    EXPECT_EQ(exitCode, 1U);
    EXPECT_TRUE(log.lines().empty()) << log.dump();
}

TEST_F(WaitForProcess, ReapsNobodyForANumberThatIsNoProcess) {
    const pid_t child = asZombie(startChild({"exit", "5"}));
    for (const int number : {0, -1, -::getpgrp()}) {
        for (const uint32_t limitMs : {1000U, kWithoutEnd}) {
            uint32_t exitCode = 99;
            EXPECT_EQ(CProcessApi().WaitForProcess(number, &exitCode, nullptr, nullptr, limitMs),
                      PROCESS_API_ERROR_UNKNOWN);
        }
    }
    EXPECT_EQ(exitCodeOf(child), 5U);
}

TEST_F(WaitForProcess, GoesOnAfterInterruptions) {
    inChild([] {
        const Interrupter interrupter(::pthread_self());
        for (const uint32_t limitMs : {60000U, kWithoutEnd}) {
            const pid_t child = startChild({"exit-after", "200", "6"});
            uint32_t exitCode = 99;
            EXPECT_EQ(CProcessApi().WaitForProcess(child, &exitCode, nullptr, nullptr, limitMs), 0U);
            EXPECT_EQ(exitCode, 6U);
        }
    });
}

TEST_F(WaitForProcess, SeesTheEndBesideAnEvent) {
    uint32_t code = 1;
    CCEvent event(code);
    ASSERT_EQ(code, 0U);
    for (const uint32_t limitMs : {60000U, kWithoutEnd}) {
        const pid_t child = startChild({"exit-after", "100", "7"});
        uint32_t exitCode = 99;
        EXPECT_EQ(CProcessApi().WaitForProcess(child, &exitCode, &event, nullptr, limitMs), 0U);
        EXPECT_EQ(exitCode, 7U);
    }
}

TEST_F(WaitForProcess, TimesOutBesideAnEvent) {
    uint32_t code = 1;
    CCEvent event(code);
    ASSERT_EQ(code, 0U);
    const pid_t child = startChild({"wait", path("ready")});
    uint32_t exitCode = 99;
    const auto start = Clock::now();
    EXPECT_EQ(CProcessApi().WaitForProcess(child, &exitCode, &event, nullptr, 200),
              PROCESS_API_ERROR_WAIT_TIMEOUT);
    EXPECT_GE(Clock::now() - start, milliseconds(200));
    EXPECT_EQ(CProcessApi::terminateProcess(child), 0U);
}

TEST_F(WaitForProcess, IsInterruptedByTheEventWhichItTakes) {
    uint32_t code = 1;
    CCEvent event(code);
    ASSERT_EQ(code, 0U);
    const pid_t child = startChild({"wait", path("ready")});
    ASSERT_EQ(event.SetEvent(true), 0U);
    uint32_t exitCode = 99;
    EXPECT_EQ(CProcessApi().WaitForProcess(child, &exitCode, &event, nullptr, kWithoutEnd),
              PROCESS_API_ERROR_WAIT_INTERRUPTED);
    EXPECT_EQ(exitCode, 1U);
    EXPECT_EQ(event.WaitEvent(0, nullptr, false), EVENT_ERROR_WAIT_TIMEOUT);
    EXPECT_EQ(CProcessApi::terminateProcess(child), 0U);
}

TEST_F(WaitForProcess, PrefersTheEndToTheEvent) {
    uint32_t code = 1;
    CCEvent event(code);
    ASSERT_EQ(event.SetEvent(true), 0U);
    const pid_t child = asZombie(startChild({"exit", "8"}));
    uint32_t exitCode = 99;
    EXPECT_EQ(CProcessApi().WaitForProcess(child, &exitCode, &event, nullptr, 60000), 0U);
    EXPECT_EQ(exitCode, 8U);
}

TEST_F(WaitForProcess, FailsIfTheEventCannotBeWaitedFor) {
    inChild([this] {
        const pid_t child = startChild({"wait", path("ready")});
        forbidDescriptors();
        uint32_t code = 0;
        CCEvent event(code);
        ASSERT_EQ(code, EVENT_ERROR_CREATE_FAILED);
        uint32_t exitCode = 99;
        EXPECT_EQ(CProcessApi().WaitForProcess(child, &exitCode, &event, nullptr, 60000),
                  PROCESS_API_ERROR_UNKNOWN);
        EXPECT_EQ(exitCode, 1U);
        EXPECT_EQ(CProcessApi::terminateProcess(child), 0U);
    });
}

TEST_F(TerminateProcess, EndsAndReapsAChild) {
    const pid_t child = startChildUntil("ready", {"wait", path("ready")});
    EXPECT_EQ(CProcessApi::terminateProcess(child), 0U);
    EXPECT_EQ(processState(child), '\0');
    EXPECT_EQ(CProcessApi::terminateProcess(child), PROCESS_API_ERROR_UNKNOWN);
}

TEST_F(TerminateProcess, ReapsAChildThatHasEnded) {
    const pid_t child = asZombie(startChild({"exit", "0"}));
    EXPECT_EQ(CProcessApi::terminateProcess(child), 0U);
    EXPECT_EQ(processState(child), '\0');
}

TEST_F(TerminateProcess, WaitsFiveSecondsIfNothingElseIsAskedFor) {
    EXPECT_EQ(CProcessApi::kEndLimit, seconds(5));
    EXPECT_EQ(CProcessApi::kStoppedEndLimit, seconds(1));
}

TEST_F(TerminateProcess, KillsAChildThatIgnoresItBehindTheLimit) {
    const pid_t child = startChildUntil("ready", {"ignore-sigterm", path("ready")});
    const auto start = Clock::now();
    EXPECT_EQ(CProcessApi::terminateProcess(child, kShortLimit), 0U);
    EXPECT_GE(Clock::now() - start, kShortLimit);
    EXPECT_EQ(processState(child), '\0');
}

TEST_F(TerminateProcess, WakesAStoppedChildSoThatItMayEndItself) {
    const pid_t child = startChildUntil("ready", {"note-sigterm", path("ready"), path("note")});
    awaitState(child, 'T');
    EXPECT_EQ(CProcessApi::terminateProcess(child), 0U);
    EXPECT_EQ(readFile("note"), "noted");
    EXPECT_EQ(processState(child), '\0');
}

TEST_F(TerminateProcess, KillsAStoppedChildThatIgnoresIt) {
    const pid_t child = startChildUntil("ready", {"ignore-sigterm", path("ready")});
    ASSERT_EQ(::kill(child, SIGSTOP), 0);
    awaitState(child, 'T');
    EXPECT_EQ(CProcessApi::terminateProcess(child, kShortLimit), 0U);
    EXPECT_EQ(processState(child), '\0');
}

TEST_F(TerminateProcess, EndsTheWholeGroupThatTheChildLeads) {
    ProcessLaunchInfo info;
    info.m_bEndWithCaller = true;
    const pid_t child = startChild({"family", path("member")}, info);
    const pid_t member = pidIn(path("member"));
    ASSERT_GT(member, 0);
    const auto start = Clock::now();
    EXPECT_EQ(CProcessApi::terminateProcess(child), 0U);
    EXPECT_LT(Clock::now() - start, CProcessApi::kEndLimit); // the member's refusal holds nobody up
    EXPECT_EQ(processState(child), '\0');
    EXPECT_TRUE(eventually([member] { return hasEnded(member); }));
}

TEST_F(TerminateProcess, EndsWhatAnEndedLeaderHasLeftBehind) {
    ProcessLaunchInfo info;
    info.m_bEndWithCaller = true;
    const pid_t child = startChild({"family", path("member")}, info);
    const pid_t member = pidIn(path("member"));
    ASSERT_EQ(::kill(child, SIGKILL), 0);
    awaitState(child, 'Z');
    EXPECT_FALSE(hasEnded(member));
    EXPECT_EQ(CProcessApi::terminateProcess(child), 0U);
    EXPECT_TRUE(eventually([member] { return hasEnded(member); }));
}

TEST_F(TerminateProcess, LeavesOthersAloneIfTheChildLeadsNoGroup) {
    const pid_t child = startChild({"family", path("member")});
    const pid_t member = pidIn(path("member"));
    EXPECT_EQ(CProcessApi::terminateProcess(child), 0U);
    EXPECT_FALSE(hasEnded(member));
    endStranger(member);
}

TEST_F(TerminateProcess, SparesItsOwnGroupEvenIfTheChildLeadsIt) {
    inChild([] {
        const pid_t leader = ::fork();
        if (leader == 0) {
            ::pause();
            ::_exit(0);
        }
        ASSERT_EQ(::setpgid(leader, leader), 0);
        ASSERT_EQ(::setpgid(0, leader), 0);
        EXPECT_EQ(CProcessApi::terminateProcess(leader), 0U);
        EXPECT_EQ(processState(leader), '\0');
    });
}

TEST_F(TerminateProcess, SignalsAProcessThatIsNoChildAndDoesNotWait) {
    ProcessLaunchInfo info;
    info.m_bDetach = true;
    static_cast<void>(startChild({"wait", path("stranger")}, info));
    const pid_t stranger = pidIn(path("stranger"));
    ASSERT_GT(stranger, 0);
    EXPECT_EQ(CProcessApi::terminateProcess(stranger), 0U);
    EXPECT_TRUE(eventually([stranger] { return hasEnded(stranger); }));
}

TEST_F(TerminateProcess, DoesNotWaitForAStrangerThatIgnoresIt) {
    ProcessLaunchInfo info;
    info.m_bDetach = true;
    static_cast<void>(startChild({"ignore-sigterm", path("stranger")}, info));
    const pid_t stranger = pidIn(path("stranger"));
    ASSERT_GT(stranger, 0);
    EXPECT_EQ(CProcessApi::terminateProcess(stranger), 0U);
    EXPECT_FALSE(hasEnded(stranger));
    endStranger(stranger);
}

TEST_F(TerminateProcess, FailsForAProcessThatIsNotThere) {
    EXPECT_EQ(CProcessApi::terminateProcess(kNoProcess), PROCESS_API_ERROR_UNKNOWN);
}

TEST_F(TerminateProcess, FailsForAProcessThatMayNotBeSignalled) {
    if (!runsAsRoot()) {
        GTEST_SKIP() << "only root can start a process that its parent may not signal later";
    }
    inChild([this] {
        const pid_t child = startChildUntil("ready", {"wait", path("ready")});
        ASSERT_EQ(::setresuid(kPrivateUser, kPrivateUser, 0), 0);
        EXPECT_EQ(CProcessApi::terminateProcess(child), PROCESS_API_ERROR_UNKNOWN);
        ASSERT_EQ(::setresuid(0, 0, 0), 0);
        EXPECT_EQ(CProcessApi::terminateProcess(child), 0U);
    });
}

TEST_F(TerminateProcess, GivesUpOnAChildThatSurvives) {
    if (!runsAsRoot()) {
        GTEST_SKIP() << "only root can start a process that its parent may not signal later";
    }
    inChild([this] {
        // The group has one whom the signals reach, so that they seem to be sent, and one whom they don't.
        ProcessLaunchInfo info;
        info.m_bEndWithCaller = true;
        const pid_t child = startChildUntil("ready", {"wait", path("ready")}, info);
        const pid_t member = ::fork();
        if (member == 0) {
            ::_exit(::setpgid(0, child) == 0 && ::setuid(kPrivateUser) == 0 ? ::pause() : 1);
        }
        ASSERT_TRUE(eventually([=] { return ::getpgid(member) == child; }));
        ASSERT_EQ(::setresuid(kPrivateUser, kPrivateUser, 0), 0);
        ASSERT_TRUE(eventually([=] { return ::kill(member, 0) == 0; }));
        const auto start = Clock::now();
        EXPECT_EQ(CProcessApi::terminateProcess(child, kShortLimit), PROCESS_API_ERROR_UNKNOWN);
        EXPECT_GE(Clock::now() - start, 2 * kShortLimit);
        ASSERT_EQ(::setresuid(0, 0, 0), 0);
        EXPECT_EQ(CProcessApi::pollProcess(child), 0U);
        EXPECT_EQ(CProcessApi::terminateProcess(child), 0U);
        EXPECT_EQ(CProcessApi::terminateProcess(member), 0U);
    });
}

TEST_F(TerminateProcess, SignalsNobodyForANumberThatIsNoProcess) {
    inChild([] {
        ASSERT_EQ(::setpgid(0, 0), 0);
        // Signals seem to be sent and are not: -1 means everybody.
        replaceSystemCall(SYS_kill, 0);
        for (const int number : {0, -1, -::getpid(), INT32_MIN}) {
            EXPECT_EQ(CProcessApi::terminateProcess(number), PROCESS_API_ERROR_UNKNOWN) << number;
        }
    });
}

TEST_F(PollProcess, TellsARunningChildAnEndedOneAndOneThatWasReaped) {
    const pid_t child = startChildUntil("ready", {"wait", path("ready")});
    EXPECT_EQ(CProcessApi::pollProcess(child), 0U);
    ASSERT_EQ(::kill(child, SIGKILL), 0);
    awaitState(child, 'Z');
    EXPECT_EQ(CProcessApi::pollProcess(child), PROCESS_API_ERROR_NOTRUNNING);
    EXPECT_EQ(CProcessApi::pollProcess(child), PROCESS_API_ERROR_UNKNOWN);
}

TEST_F(PollProcess, TakesAStoppedChildForARunningOne) {
    const pid_t child = startChildUntil("ready", {"wait", path("ready")});
    ASSERT_EQ(::kill(child, SIGSTOP), 0);
    awaitState(child, 'T');
    EXPECT_EQ(CProcessApi::pollProcess(child), 0U);
    EXPECT_EQ(CProcessApi::terminateProcess(child), 0U);
}

TEST_F(PollProcess, ReapsNobodyForANumberThatIsNoProcess) {
    const pid_t child = asZombie(startChild({"exit", "0"}));
    for (const int number : {0, -1, -::getpgrp(), kNoProcess}) {
        EXPECT_EQ(CProcessApi::pollProcess(number), PROCESS_API_ERROR_UNKNOWN) << number;
    }
    EXPECT_EQ(CProcessApi::pollProcess(child), PROCESS_API_ERROR_NOTRUNNING);
}

TEST_F(IsProcessRunning, IsTrueForOneThatRunsOrSleeps) {
    EXPECT_TRUE(CProcessApi::isProcessRunning(CProcessApi::getCurrentProcessId()));
    const pid_t child = startChildUntil("ready", {"wait", path("ready")});
    awaitState(child, 'S');
    EXPECT_TRUE(CProcessApi::isProcessRunning(child));
    EXPECT_EQ(CProcessApi::terminateProcess(child), 0U);
}

TEST_F(IsProcessRunning, IsFalseForAZombie) {
    const pid_t child = asZombie(startChild({"exit", "0"}));
    EXPECT_FALSE(CProcessApi::isProcessRunning(child));
    EXPECT_EQ(exitCodeOf(child), 0U);
}

TEST_F(IsProcessRunning, IsFalseForAStoppedOne) {
    const pid_t child = startChildUntil("ready", {"wait", path("ready")});
    ASSERT_EQ(::kill(child, SIGSTOP), 0);
    awaitState(child, 'T');
    EXPECT_FALSE(CProcessApi::isProcessRunning(child));
    EXPECT_EQ(CProcessApi::terminateProcess(child), 0U);
}

TEST_F(IsProcessRunning, IsFalseForNone) {
    for (const int number : {kNoProcess, -1}) {
        EXPECT_FALSE(CProcessApi::isProcessRunning(number)) << number;
    }
}

TEST_F(IsProcessRunning, TakesTheNameToEndAtItsFirstBracket) {
    inChild([] {
        ASSERT_EQ(::prctl(PR_SET_NAME, "a (b) c"), 0);
        EXPECT_FALSE(CProcessApi::isProcessRunning(::getpid()));
        ASSERT_EQ(::prctl(PR_SET_NAME, "a) Z"), 0);
        EXPECT_FALSE(CProcessApi::isProcessRunning(::getpid()));
        ASSERT_EQ(::prctl(PR_SET_NAME, "a) S"), 0);
        EXPECT_TRUE(CProcessApi::isProcessRunning(::getpid()));
    });
}

TEST_F(ProcessPath, IsTheProgramsFile) {
    std::array<char, 4096> buffer{};
    ASSERT_EQ(CProcessApi::getProcessPath(::getpid(), buffer.data(), buffer.size()), 0U);
    EXPECT_EQ(buffer.data(), fs::read_symlink("/proc/self/exe").string());
}

TEST_F(ProcessPath, IsCutToWhatFits) {
    const std::string whole = fs::read_symlink("/proc/self/exe").string();
    std::array<char, 8> buffer{};
    buffer.fill('#');
    ASSERT_EQ(CProcessApi::getProcessPath(::getpid(), buffer.data(), 5), 0U);
    EXPECT_EQ(std::string(buffer.data()), whole.substr(0, 4));
    EXPECT_EQ(buffer[5], '#');
}

TEST_F(ProcessPath, NeedsRoomForAByteAndItsEnd) {
    std::array<char, 8> buffer{};
    for (const int size : {1, 0, -1, INT32_MIN}) {
        EXPECT_EQ(CProcessApi::getProcessPath(::getpid(), buffer.data(), size), PROCESS_API_ERROR_UNEXPECTED);
    }
    EXPECT_EQ(CProcessApi::getProcessPath(::getpid(), nullptr, 8), PROCESS_API_ERROR_UNEXPECTED);
}

TEST_F(ProcessPath, IsNotFoundForNoProcessAndForAZombie) {
    std::array<char, 64> buffer{};
    EXPECT_EQ(CProcessApi::getProcessPath(kNoProcess, buffer.data(), buffer.size()),
              PROCESS_API_ERROR_PROCESS_NOT_FOUND);
    const pid_t child = asZombie(startChild({"exit", "0"}));
    EXPECT_EQ(CProcessApi::getProcessPath(child, buffer.data(), buffer.size()),
              PROCESS_API_ERROR_PROCESS_NOT_FOUND);
    EXPECT_EQ(exitCodeOf(child), 0U);
}

TEST_F(ProcessPath, IsUnexpectedlyUnreadableForAnothersProcess) {
    asOrdinaryUser([] {
        // Its secrets are guarded from others of the same user too.
        ASSERT_EQ(::prctl(PR_SET_DUMPABLE, 0), 0);
        const pid_t guarded = ::getpid();
        inChild([guarded] {
            if (runsAsRoot()) {
                ASSERT_EQ(::seteuid(kPrivateUser), 0);
            }
            std::array<char, 64> buffer{};
            EXPECT_EQ(CProcessApi::getProcessPath(guarded, buffer.data(), buffer.size()),
                      PROCESS_API_ERROR_UNEXPECTED);
        });
    });
}

TEST_F(ThreadPriority, IsSetAndGivesTheFormerOne) {
    inChild([] {
        const int former = ::getpriority(PRIO_PROCESS, 0);
        int priority = kLowestPriority;
        EXPECT_EQ(CProcessApi::SetThreadPriority(&priority), 0U);
        EXPECT_EQ(priority, former);
        EXPECT_EQ(::getpriority(PRIO_PROCESS, 0), kLowestPriority);
    });
}

TEST_F(ThreadPriority, CannotBeRaisedWithoutRights) {
    asOrdinaryUser([] {
        const CapturedLog log;
        const rlimit none{0, 0};
        ASSERT_EQ(::setrlimit(RLIMIT_NICE, &none), 0);
        ASSERT_EQ(::setpriority(PRIO_PROCESS, 0, kLowestPriority), 0);
        int priority = 1;
        EXPECT_EQ(CProcessApi::SetThreadPriority(&priority), PROCESS_API_ERROR_SET_THREAD_PRIORITY_FAILED);
        EXPECT_EQ(priority, 1);
        EXPECT_TRUE(log.containsCode('W', "SetThreadPriority", "setpriority", EACCES)) << log.dump();
    });
}

TEST_F(ThreadPriority, FailsIfTheFormerOneCannotBeRead) {
    inChild([] {
        const CapturedLog log;
        replaceSystemCall(SYS_getpriority, EPERM);
        int priority = 1;
        EXPECT_EQ(CProcessApi::SetThreadPriority(&priority), PROCESS_API_ERROR_GET_THREAD_PRIORITY_FAILED);
        EXPECT_EQ(priority, 1);
        EXPECT_TRUE(log.containsCode('W', "SetThreadPriority", "getpriority", EPERM)) << log.dump();
    });
}

TEST_F(ThreadPriority, TakesMinusOneForAFailure) {
    if (!runsAsRoot()) {
        GTEST_SKIP() << "only root may have the nice value -1";
    }
    inChild([] {
        const CapturedLog log;
        ASSERT_EQ(::setpriority(PRIO_PROCESS, 0, -1), 0);
        int priority = 0;
        EXPECT_EQ(CProcessApi::SetThreadPriority(&priority), PROCESS_API_ERROR_GET_THREAD_PRIORITY_FAILED);
        EXPECT_EQ(::getpriority(PRIO_PROCESS, 0), -1);
        EXPECT_EQ(log.count('W', "Invoked Function: getpriority\n"), 1) << log.dump();
    });
}

} // namespace
