#include "Common/Utility/process/StopRequest.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <gtest/gtest.h>
#include <poll.h>
#include <thread>
#include <vector>

// Each test has a process of its own, so that the wish of one is not seen by the next.

namespace {

bool isReadable(int descriptor) {
    pollfd watched{descriptor, POLLIN, 0};
    return ::poll(&watched, 1, 0) == 1 && watched.revents == POLLIN;
}

} // namespace

TEST(StopRequest, IsNotThereBeforeItIsMade) {
    EXPECT_FALSE(isStopRequested());
    EXPECT_FALSE(isReadable(stopDescriptor()));
}

TEST(StopRequest, WakesThoseWhoWaitOnTheDescriptor) {
    const int descriptor = stopDescriptor();
    requestStop();
    EXPECT_TRUE(isStopRequested());
    EXPECT_TRUE(isReadable(descriptor));
}

TEST(StopRequest, IsSeenByThoseWhoComeLater) {
    requestStop();
    requestStop();
    EXPECT_TRUE(isStopRequested());
    EXPECT_TRUE(isReadable(stopDescriptor()));
}

TEST(StopRequest, ComesFromASignalHandlerAndLeavesErrnoAlone) {
    const int descriptor = stopDescriptor();
    ASSERT_NE(std::signal(SIGUSR1, [](int) { requestStop(); }), SIG_ERR);
    errno = ENOENT;
    ASSERT_EQ(std::raise(SIGUSR1), 0);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_TRUE(isReadable(descriptor));
}

TEST(StopRequest, HasOneDescriptorForAllThreads) {
    std::array<int, 8> seen{};
    {
        std::vector<std::jthread> threads;
        for (int& descriptor : seen) {
            threads.emplace_back([&descriptor] { descriptor = stopDescriptor(); });
        }
        threads.emplace_back(requestStop);
    }
    for (const int descriptor : seen) {
        EXPECT_EQ(descriptor, seen.front());
    }
    EXPECT_TRUE(isReadable(seen.front()));
}
