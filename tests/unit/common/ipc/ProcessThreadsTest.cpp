#include "Common/IPC/event.h"
#include "Common/Utility/process/CommandShell.h"
#include "Common/Utility/ReturnCodes.h"
#include "tests/support/Processes.h"
#include "tests/unit/common/ipc/ProcessTest.h"

#include <atomic>
#include <barrier>
#include <chrono>
#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <list>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using ProcessThreads = ProcessTest;

constexpr int kThreads = 8;
constexpr int kRounds = 10;
constexpr uint32_t kWaitLimitMs = 60000;

void onAllThreads(const std::function<void(int)>& work) {
    std::barrier start(kThreads);
    std::vector<std::jthread> threads;
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&work, &start, i] {
            start.arrive_and_wait();
            work(i);
        });
    }
}

TEST_F(ProcessThreads, GetTheOutputOfTheirOwnShellsWhole) {
    std::atomic<int> failures = 0;
    onAllThreads([&](int self) {
        const std::string mark = std::to_string(self);
        const std::string command =
            "i=0; while [ $i -lt 2000 ]; do echo " + mark + "; i=$((i+1)); done; echo $PPID";
        for (int round = 0; round < kRounds; ++round) {
            std::list<std::string> lines;
            failures += CCommandShell(command.c_str()).Execute(lines) == 0 ? 0 : 1;
            failures += lines.size() == 2001 && lines.back() == std::to_string(::getpid()) ? 0 : 1;
            lines.pop_back();
            lines.remove(mark);
            failures += static_cast<int>(lines.size());
        }
    });
    EXPECT_EQ(failures, 0);
}

TEST_F(ProcessThreads, GetTheExitCodesOfTheirOwnChildren) {
    std::atomic<int> failures = 0;
    onAllThreads([&](int self) {
        CProcessApi api;
        const std::string script = "exit " + std::to_string(100 + self);
        for (int round = 0; round < kRounds; ++round) {
            ProcessLaunchInfo info;
            info.m_bEndWithCaller = round % 2 == 0;
            failures += api.Launch(info, "/bin/sh", "-c", script.c_str(), nullptr) == 0 ? 0 : 1;
            uint32_t exitCode = 0;
            failures +=
                api.WaitForProcess(info.m_processId, &exitCode, nullptr, nullptr, kWaitLimitMs) == 0 ? 0 : 1;
            failures += exitCode == 100U + static_cast<uint32_t>(self) ? 0 : 1;
        }
    });
    EXPECT_EQ(failures, 0);
}

TEST_F(ProcessThreads, EndTheirOwnChildrenOnly) {
    std::atomic<int> failures = 0;
    onAllThreads([&](int self) {
        CProcessApi api;
        for (int round = 0; round < kRounds; ++round) {
            ProcessLaunchInfo kept;
            ProcessLaunchInfo ended;
            kept.m_bEndWithCaller = self % 2 == 0;
            ended.m_bEndWithCaller = self % 2 == 0;
            failures += api.Launch(kept, "/bin/sleep", "1000", nullptr) == 0 ? 0 : 1;
            failures += api.Launch(ended, "/bin/sleep", "1000", nullptr) == 0 ? 0 : 1;
            failures += CProcessApi::terminateProcess(ended.m_processId) == 0 ? 0 : 1;
            failures += CProcessApi::pollProcess(kept.m_processId) == 0 ? 0 : 1;
            failures += CProcessApi::terminateProcess(kept.m_processId) == 0 ? 0 : 1;
        }
    });
    EXPECT_EQ(failures, 0);
}

TEST_F(ProcessThreads, InheritNothingOfEachOthersPipes) {
    std::atomic<int> failures = 0;
    const std::string command = "exec " + childCommand("report -");
    onAllThreads([&](int /*self*/) {
        for (int round = 0; round < kRounds; ++round) {
            std::string output;
            failures += CCommandShell(command.c_str()).Execute(output) == 0 ? 0 : 1;
            failures += Report(output)["descriptors"] == "0 1 2" ? 0 : 1;
        }
    });
    EXPECT_EQ(failures, 0);
}

TEST_F(ProcessThreads, KeepTheirSignalMasks) {
    std::atomic<int> failures = 0;
    onAllThreads([&](int self) {
        sigset_t mine;
        ::sigemptyset(&mine);
        ::sigaddset(&mine, SIGRTMIN + self);
        ::pthread_sigmask(SIG_SETMASK, &mine, nullptr);
        for (int round = 0; round < kRounds; ++round) {
            std::string output;
            failures += CCommandShell("echo out").Execute(output) == 0 ? 0 : 1;
            sigset_t now;
            ::pthread_sigmask(SIG_SETMASK, nullptr, &now);
            failures += ::sigismember(&now, SIGRTMIN + self) == 1 ? 0 : 1;
            failures += ::sigismember(&now, SIGTERM) == 0 ? 0 : 1;
        }
    });
    EXPECT_EQ(failures, 0);
}

TEST_F(ProcessThreads, InterruptAWaitByAnEvent) {
    uint32_t code = 1;
    CCEvent event(code);
    ASSERT_EQ(code, 0U);
    const pid_t child = startChildUntil("ready", {"wait", path("ready")});
    std::jthread signaller([&event] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100)); // mostly in the middle of the wait
        EXPECT_EQ(event.SetEvent(true), 0U);
    });
    uint32_t exitCode = 0;
    EXPECT_EQ(CProcessApi().WaitForProcess(child, &exitCode, &event, nullptr, kWaitLimitMs),
              PROCESS_API_ERROR_WAIT_INTERRUPTED);
    signaller.join();
    EXPECT_EQ(CProcessApi::terminateProcess(child), 0U);
}

TEST_F(ProcessThreads, EndAProgramThatAnotherWaitsFor) {
    const pid_t child = startChildUntil("ready", {"wait", path("ready")});
    std::atomic<uint32_t> waited = 0;
    std::jthread waiter([&] {
        uint32_t exitCode = 0;
        waited = CProcessApi().WaitForProcess(child, &exitCode, nullptr, nullptr, kWaitLimitMs);
    });
    EXPECT_EQ(CProcessApi::terminateProcess(child), 0U);
    waiter.join();
    // One of the two has reaped it, by the signal.
    EXPECT_TRUE(waited == PROCESS_API_ERROR_WAIT_TIMEOUT || waited == PROCESS_API_ERROR_UNKNOWN) << waited;
}

} // namespace
