#include "Common/Utility/process/StopRequest.h"
#include "tests/support/InChild.h"
#include "tests/unit/common/ipc/ProcessTest.h"

#include <chrono>
#include <gtest/gtest.h>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr int kChildren = 50;

/// What is waited for in steps is noticed soon behind the step. The limits are generous: they are for steps
/// ten times as long.
using ProcessTimes = ProcessTest;

TEST_F(ProcessTimes, EndOfAChildIsNoticedSoon) {
    constexpr uint32_t kLongMs = 60000;
    const auto start = Clock::now();
    for (int child = 0; child < kChildren; ++child) {
        uint32_t exitCode = 1;
        EXPECT_EQ(
            CProcessApi().WaitForProcess(startChild({"exit", "0"}), &exitCode, nullptr, nullptr, kLongMs),
            0U);
    }
    EXPECT_LT(Clock::now() - start, seconds(9));
}

TEST_F(ProcessTimes, EndOfATerminatedChildIsNoticedSoon) {
    Clock::duration taken{};
    for (int child = 0; child < 2 * kChildren; ++child) {
        const pid_t waiting = startChild({"wait", path("ready")});
        const auto start = Clock::now();
        EXPECT_EQ(CProcessApi::terminateProcess(waiting), 0U);
        taken += Clock::now() - start;
    }
    EXPECT_LT(taken, seconds(4));
}

TEST_F(ProcessTimes, ChildThatIgnoresItsEndIsKilledSoon) {
    const pid_t deaf = startChildUntil("ready", {"ignore-sigterm", path("ready")});
    const auto start = Clock::now();
    EXPECT_EQ(CProcessApi::terminateProcess(deaf, milliseconds(400)), 0U);
    EXPECT_LT(Clock::now() - start, seconds(3));
}

TEST_F(ProcessTimes, ChildThatIgnoresItsEndIsKilledSoonerAfterAStopRequest) {
    inChild([this] {
        const pid_t deaf = startChildUntil("ready", {"ignore-sigterm", path("ready")});
        requestStop();
        const auto start = Clock::now();
        EXPECT_EQ(CProcessApi::terminateProcess(deaf), 0U);
        EXPECT_LT(Clock::now() - start, seconds(4));
    });
}

} // namespace
