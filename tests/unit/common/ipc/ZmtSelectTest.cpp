#include "Common/Utility/time/zmt_select.h"

#include "Common/Utility/time/TimeVal.h"
#include "tests/unit/common/ipc/Descriptors.h"
#include "tests/unit/common/ipc/Interrupter.h"
#include "tests/unit/common/ipc/LoggedTest.h"
#include "tests/unit/common/ipc/SystemCallHooks.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <gmock/gmock.h>
#include <limits>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace {

using std::chrono::microseconds;
using ::testing::Each;
using ::testing::ElementsAre;

constexpr timeval kMinute = {60, 0};

/// A set of one descriptor.
fd_set setOf(int fd) {
    fd_set set;
    FD_ZERO(&set);
    FD_SET(fd, &set);
    return set;
}

microseconds lengthOf(const timeval& time) {
    return std::chrono::seconds(time.tv_sec) + microseconds(time.tv_usec);
}

/// By the clock that zmt_select goes by.
microseconds wallClock() {
    TimeVal now;
    now.setNow();
    return std::chrono::seconds(now.tv_sec) + microseconds(now.tv_usec);
}

class ZmtSelect : public LoggedTest {
protected:
    /// Waits until the test's pipe can be read.
    int waitForPipe(const timeval* timeout) {
        m_set = setOf(m_pipe.readEnd.get());
        return zmt_select(m_pipe.readEnd.get() + 1, &m_set, nullptr, nullptr, timeout);
    }
    [[nodiscard]] bool isPipeIn() const { return FD_ISSET(m_pipe.readEnd.get(), &m_set); }
    /// Lets select go its way and counts how often it is interrupted; keeps what it was asked to wait.
    void watchSelect() {
        m_hooks.onSelect = [this](const SelectCall& call) -> std::optional<int> {
            m_asked.push_back(lengthOf(*call.timeout));
            const int result = callSelect(call);
            m_interruptions += result == -1 && errno == EINTR ? 1 : 0;
            return result;
        };
    }
    /// Interrupts the first calls of select, and lets the others go their way.
    void interruptSelect(int times) {
        m_hooks.onSelect = [this, times](const SelectCall& call) -> std::optional<int> {
            m_asked.push_back(lengthOf(*call.timeout));
            return m_interruptions++ < times ? std::optional(failWith(EINTR)) : std::nullopt;
        };
    }

    SystemCallHooks m_hooks;
    TestPipe m_pipe;
    fd_set m_set{};
    std::vector<microseconds> m_asked;
    std::atomic<int> m_interruptions = 0;
};

TEST_F(ZmtSelect, GivesHowManyAreReady) {
    m_pipe.fill();
    EXPECT_EQ(waitForPipe(&kMinute), 1);
    EXPECT_TRUE(isPipeIn());
    fd_set readable = setOf(m_pipe.readEnd.get());
    fd_set writable = setOf(m_pipe.writeEnd.get());
    const int end = std::max(m_pipe.readEnd.get(), m_pipe.writeEnd.get()) + 1;
    EXPECT_EQ(zmt_select(end, &readable, &writable, nullptr, &kMinute), 2);
    EXPECT_TRUE(FD_ISSET(m_pipe.readEnd.get(), &readable));
    EXPECT_TRUE(FD_ISSET(m_pipe.writeEnd.get(), &writable));
    expectSilence();
}

TEST_F(ZmtSelect, GivesSelectAllSets) {
    std::array<fd_set, 3> sets{};
    m_hooks.onSelect = [&sets](const SelectCall& call) {
        EXPECT_EQ(call.descriptorsEnd, 7);
        EXPECT_EQ(call.readFds, sets.data());
        EXPECT_EQ(call.writeFds, &sets[1]);
        EXPECT_EQ(call.exceptFds, &sets[2]);
        return std::optional(5);
    };
    EXPECT_EQ(zmt_select(7, sets.data(), &sets[1], &sets[2], &kMinute), 5);
    EXPECT_EQ(zmt_select(7, sets.data(), &sets[1], &sets[2], nullptr), 5);
}

TEST_F(ZmtSelect, GivesNothingWhenTheTimeHasGone) {
    constexpr timeval kTime = {0, 50'000};
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(waitForPipe(&kTime), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - start, lengthOf(kTime));
    EXPECT_FALSE(isPipeIn());
    expectSilence();
}

TEST_F(ZmtSelect, LeavesItsTimeAsItIs) {
    timeval time = {0, 20'000};
    EXPECT_EQ(waitForPipe(&time), 0);
    EXPECT_EQ(lengthOf(time), microseconds(20'000));
    time = kMinute;
    m_pipe.fill();
    EXPECT_EQ(waitForPipe(&time), 1);
    EXPECT_EQ(lengthOf(time), lengthOf(kMinute));
    interruptSelect(3);
    EXPECT_EQ(waitForPipe(&time), 1);
    EXPECT_EQ(lengthOf(time), lengthOf(kMinute));
}

TEST_F(ZmtSelect, PollsWithoutTime) {
    constexpr timeval kNone = {0, 0};
    EXPECT_EQ(waitForPipe(&kNone), 0);
    m_pipe.fill();
    EXPECT_EQ(waitForPipe(&kNone), 1);
    expectSilence();
}

TEST_F(ZmtSelect, PollsWithANullTime) {
    watchSelect();
    EXPECT_EQ(waitForPipe(nullptr), 0);
    EXPECT_FALSE(isPipeIn());
    m_pipe.fill();
    EXPECT_EQ(waitForPipe(nullptr), 1);
    EXPECT_TRUE(isPipeIn());
    EXPECT_THAT(m_asked, ElementsAre(microseconds(0), microseconds(0)));
    expectSilence();
}

TEST_F(ZmtSelect, PollsAgainWhenInterrupted) {
    constexpr int kTimes = 200;
    interruptSelect(kTimes);
    m_pipe.fill();
    EXPECT_EQ(waitForPipe(nullptr), 1);
    EXPECT_EQ(m_asked.size(), kTimes + 1U);
    EXPECT_THAT(m_asked, Each(microseconds(0)));
    expectSilence();
}

TEST_F(ZmtSelect, IsNotProlongedBySignals) {
    constexpr timeval kTime = {0, 500'000};
    watchSelect();
    const microseconds start = wallClock();
    {
        // Each of its signals comes long before the time has gone, so a wait that began anew would not end.
        const Interrupter interrupter(::pthread_self());
        EXPECT_EQ(waitForPipe(&kTime), 0);
    }
    EXPECT_GE(wallClock() - start, lengthOf(kTime));
    EXPECT_GE(m_interruptions, 1);
    EXPECT_EQ(m_asked.front(), lengthOf(kTime));
    for (std::size_t round = 1; round < m_asked.size(); ++round) {
        EXPECT_LT(m_asked[round], m_asked[round - 1]) << round;
    }
    expectSilence();
}

TEST_F(ZmtSelect, IsNotEndedBySignals) {
    watchSelect();
    const Interrupter interrupter(::pthread_self());
    const std::jthread writer([this] {
        while (m_interruptions < 5) {
            std::this_thread::yield();
        }
        m_pipe.fill();
    });
    EXPECT_EQ(waitForPipe(&kMinute), 1);
    EXPECT_TRUE(isPipeIn());
    EXPECT_GE(m_interruptions, 5);
    expectSilence();
}

TEST_F(ZmtSelect, EndsWhenASignalComesAfterTheTime) {
    constexpr timeval kTime = {0, 1000};
    int calls = 0;
    m_hooks.onSelect = [&calls](const SelectCall& call) {
        ++calls;
        const microseconds end = wallClock() + lengthOf(*call.timeout);
        while (wallClock() <= end) {
            std::this_thread::yield();
        }
        return std::optional(failWith(EINTR));
    };
    EXPECT_EQ(waitForPipe(&kTime), 0);
    EXPECT_EQ(calls, 1);
    // They are what select has left, which after a signal is what it was given.
    EXPECT_TRUE(isPipeIn());
    expectSilence();
}

TEST_F(ZmtSelect, GoesOnForTheTimeThatIsLeft) {
    // Select may take what has gone off the time it is given; here it does not.
    constexpr microseconds kGone(20'000);
    m_hooks.onSelect = [this, kGone](const SelectCall& call) {
        m_asked.push_back(lengthOf(*call.timeout));
        if (m_asked.size() == 2) {
            return std::optional(1);
        }
        const microseconds end = wallClock() + kGone;
        while (wallClock() < end) {
            std::this_thread::yield();
        }
        return std::optional(failWith(EINTR));
    };
    const microseconds start = wallClock();
    EXPECT_EQ(waitForPipe(&kMinute), 1);
    ASSERT_EQ(m_asked.size(), 2U);
    EXPECT_LE(m_asked[1], lengthOf(kMinute) - kGone);
    EXPECT_GE(m_asked[1], lengthOf(kMinute) - (wallClock() - start));
}

TEST_F(ZmtSelect, TakesTheLongestTime) {
    constexpr timeval kLongest = {std::numeric_limits<time_t>::max(), 999'999};
    std::vector<int64_t> askedSeconds;
    m_hooks.onSelect = [&askedSeconds](const SelectCall& call) {
        askedSeconds.push_back(call.timeout->tv_sec);
        return std::optional(askedSeconds.size() == 1 ? failWith(EINTR) : 1);
    };
    EXPECT_EQ(waitForPipe(&kLongest), 1);
    ASSERT_EQ(askedSeconds.size(), 2U);
    EXPECT_EQ(askedSeconds[0], kLongest.tv_sec);
    EXPECT_GT(askedSeconds[1], kLongest.tv_sec / 2);
}

TEST_F(ZmtSelect, LogsAFailure) {
    const int closed = closedDescriptor();
    for (const timeval* const timeout : {&kMinute, static_cast<const timeval*>(nullptr)}) {
        m_set = setOf(closed);
        errno = 0;
        EXPECT_EQ(zmt_select(closed + 1, &m_set, nullptr, nullptr, timeout), -1);
        EXPECT_EQ(errno, EBADF);
    }
    expectMessage("zmt_select", "zmt_select failed with errno: 9", 2);
    expectLines(2);
}

TEST_F(ZmtSelect, LogsAFailureAfterAnInterruption) {
    m_hooks.onSelect = [this](const SelectCall& /*call*/) {
        return std::optional(failWith(m_interruptions++ == 0 ? EINTR : ENOMEM));
    };
    EXPECT_EQ(waitForPipe(&kMinute), -1);
    EXPECT_EQ(errno, ENOMEM);
    expectMessage("zmt_select", "zmt_select failed with errno: 12");
    expectLines(1);
}

TEST_F(ZmtSelect, RefusesANegativeTime) {
    constexpr timeval kNegative = {-1, 0};
    EXPECT_EQ(waitForPipe(&kNegative), -1);
    EXPECT_EQ(errno, EINVAL);
    expectMessage("zmt_select", "zmt_select failed with errno: 22");
    expectLines(1);
}

/// Changes errno, as a real logger may.
class ErrnoChanger : public ILogger {
public:
    uint32_t write(uint32_t /*priority*/, const char* /*text*/, const char* /*messageName*/,
                   uint32_t /*messageId*/, int32_t /*severity*/) override {
        errno = ENOSPC;
        return 0;
    }
};

TEST(ZmtSelectErrno, IsThatOfSelectAndNotOfTheLog) {
    const CLogClient log(nullptr, "test", std::make_unique<ErrnoChanger>());
    const int closed = closedDescriptor();
    fd_set set = setOf(closed);
    EXPECT_EQ(zmt_select(closed + 1, &set, nullptr, nullptr, &kMinute), -1);
    EXPECT_EQ(errno, EBADF);
}

} // namespace
