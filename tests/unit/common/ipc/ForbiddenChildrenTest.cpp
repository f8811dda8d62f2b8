#include "Common/Utility/process/ChildSetup.h"
#include "Common/Utility/process/CommandShell.h"
#include "tests/support/InChild.h"

#include <array>
#include <cerrno>
#include <gtest/gtest.h>
#include <list>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

void makeChildrenUntilRefused() {
    while (true) {
        const pid_t child = forkChild();
        if (child == 0) {
            ::_exit(0);
        }
        if (child < 0) {
            return;
        }
    }
}

void reapAll() {
    while (::waitpid(-1, nullptr, 0) > 0) {
    }
}

TEST(ForbiddenChildren, CantBeMade) {
    inChild([] {
        forbidChildren();
        errno = 0;
        EXPECT_EQ(forkChild(), -1);
        EXPECT_EQ(errno, EPERM);
        std::list<std::string> lines;
        EXPECT_NE(CCommandShell::Execute("echo line", lines), 0U);
        EXPECT_TRUE(lines.empty());
    });
}

TEST(ForbiddenChildren, AreNoMoreUnderWayEither) {
    inChild([] {
        std::array<std::thread, 4> threads;
        for (std::thread& thread : threads) {
            thread = std::thread(&makeChildrenUntilRefused);
        }
        while (::waitpid(-1, nullptr, 0) < 0) {
            // Until the first of them is there.
        }
        forbidChildren();
        reapAll();
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
        EXPECT_EQ(errno, ECHILD);
    });
}

} // namespace
