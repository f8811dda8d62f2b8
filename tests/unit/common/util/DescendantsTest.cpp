#include "Common/Utility/process/Descendants.h"

#include "tests/support/CapturedLog.h"
#include "tests/support/InChild.h"
#include "tests/support/Pipe.h"
#include "tests/support/Processes.h"
#include "tests/support/Sandbox.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

/// Where a test fails to end a process, it ends by itself.
constexpr unsigned kLongestStaySeconds = 60;

using namespace std::chrono_literals;

/// Ignores what asks for an end, writes its process id and waits.
[[noreturn]] void stay(const std::string& pidFile) {
    for (const int ending : {SIGTERM, SIGHUP, SIGINT}) {
        std::signal(ending, SIG_IGN);
    }
    std::ofstream(pidFile) << ::getpid() << "\n";
    ::alarm(kLongestStaySeconds);
    while (true) {
        ::pause();
    }
}

/// @return the process id of a child that does this.
pid_t forkTo(const std::function<void()>& act) {
    const pid_t child = ::fork();
    EXPECT_NE(child, -1);
    if (child == 0) {
        act();
        ::_exit(0);
    }
    return child;
}

class Descendants : public Sandbox {
protected:
    /// Starts a process that belongs to nobody: its parents have ended, and its session is its own.
    [[nodiscard]] pid_t startDaemon() const {
        const pid_t parent = forkTo([this] {
            forkTo([this] {
                ::setsid();
                forkTo([this] { stay(path("daemon")); });
            });
        });
        EXPECT_EQ(::waitpid(parent, nullptr, 0), parent);
        return pidIn(path("daemon"));
    }
};

TEST_F(Descendants, AChildIsEndedAndReaped) {
    inChild([this] {
        forkTo([this] { stay(path("pid")); });
        const pid_t child = pidIn(path("pid"));
        EXPECT_TRUE(endDescendants(10s));
        EXPECT_FALSE(hasChildren());
        EXPECT_TRUE(hasEnded(child));
    });
}

TEST_F(Descendants, OneThatHasLeftTheFamilyIsEnded) {
    inChild([this] {
        ASSERT_TRUE(adoptDescendants());
        const pid_t daemon = startDaemon();
        EXPECT_TRUE(endDescendants(10s));
        EXPECT_FALSE(hasChildren());
        EXPECT_EQ(processState(daemon), '\0');
    });
}

TEST_F(Descendants, ThoseOfALivingChildAreEnded) {
    inChild([this] {
        ASSERT_TRUE(adoptDescendants());
        forkTo([this] {
            static_cast<void>(startDaemon());
            stay(path("child"));
        });
        ASSERT_NE(pidIn(path("child")), 0);
        const pid_t daemon = pidIn(path("daemon"));
        EXPECT_TRUE(endDescendants(10s));
        EXPECT_EQ(processState(daemon), '\0');
    });
}

TEST_F(Descendants, OneThatForksWithoutEndIsEnded) {
    inChild([] {
        ASSERT_TRUE(adoptDescendants());
        Pipe pipe;
        forkTo([&pipe] {
            // Each of them lives for a moment only. Should the test fail, they end by themselves.
            const auto deadline = std::chrono::steady_clock::now() + 20s;
            static_cast<void>(pipe.put("x"));
            while (std::chrono::steady_clock::now() < deadline) {
                if (::fork() != 0) {
                    ::_exit(0);
                }
            }
        });
        char byte = 0;
        ASSERT_EQ(::read(pipe.reader.get(), &byte, 1), 1);
        EXPECT_TRUE(endDescendants(10s));
        EXPECT_FALSE(hasChildren());
        // Nobody has the writing end any more.
        ASSERT_EQ(::fcntl(pipe.reader.get(), F_SETFL, O_NONBLOCK), 0);
        EXPECT_EQ(pipe.drain(), "");
        EXPECT_EQ(::read(pipe.reader.get(), &byte, 1), 0);
    });
}

TEST_F(Descendants, AStoppedChildIsEnded) {
    inChild([this] {
        forkTo([this] { stay(path("pid")); });
        const pid_t child = pidIn(path("pid"));
        ASSERT_EQ(::kill(child, SIGSTOP), 0);
        EXPECT_TRUE(endDescendants(10s));
        EXPECT_EQ(processState(child), '\0');
    });
}

TEST_F(Descendants, ThoseThatHaveEndedAreReaped) {
    inChild([] {
        for (int i = 0; i < 50; ++i) {
            forkTo([] {});
        }
        EXPECT_TRUE(endDescendants(10s));
        EXPECT_FALSE(hasChildren());
    });
}

TEST_F(Descendants, NoneAreNoFailure) {
    const CapturedLog log;
    EXPECT_TRUE(endDescendants(0s));
    EXPECT_TRUE(log.lines().empty()) << log.dump();
}

TEST_F(Descendants, ChildrenOfOtherThreadsAreEnded) {
    inChild([this] {
        Pipe pipe;
        std::thread starter([&pipe, this] {
            forkTo([this] { stay(path("pid")); });
            char byte = 0;
            EXPECT_EQ(::read(pipe.reader.get(), &byte, 1), 1); // the child stays this thread's until it ends
        });
        const pid_t child = pidIn(path("pid"));
        EXPECT_TRUE(endDescendants(10s));
        EXPECT_EQ(processState(child), '\0');
        EXPECT_TRUE(pipe.put("x"));
        starter.join();
    });
}

TEST_F(Descendants, OthersAreLeftAlone) {
    inChild([this] {
        const pid_t other = forkTo([this] { stay(path("other")); });
        ASSERT_EQ(pidIn(path("other")), other);
        inChild([this] {
            ASSERT_TRUE(adoptDescendants());
            static_cast<void>(startDaemon());
            EXPECT_TRUE(endDescendants(10s));
        });
        EXPECT_FALSE(hasEnded(other));
        EXPECT_TRUE(endDescendants(10s));
    });
}

TEST_F(Descendants, ThoseThatCannotEndAreGivenUpAtTheLimit) {
    // A process that is traced is not gone before its tracer has looked at its end.
    inChild([this] {
        const pid_t parent = forkTo([this] {
            forkTo([this] { stay(path("pid")); });
            EXPECT_TRUE(eventually([this] { return exists("traced"); }));
            const auto start = std::chrono::steady_clock::now();
            {
                const CapturedLog log;
                EXPECT_FALSE(endDescendants(200ms));
                EXPECT_TRUE(log.contains('E', "don't end")) << log.dump();
            }
            EXPECT_GE(std::chrono::steady_clock::now() - start, 200ms);
            EXPECT_TRUE(hasChildren());
            writeFile("given up", "");
            EXPECT_TRUE(endDescendants(30s));
            ::_exit(HasFailure() ? 1 : 0);
        });
        const pid_t child = pidIn(path("pid"));
        ASSERT_EQ(::ptrace(PTRACE_SEIZE, child, nullptr, nullptr), 0);
        writeFile("traced", "");
        EXPECT_TRUE(eventually([this] { return exists("given up"); }));
        int status = -1;
        EXPECT_EQ(::waitpid(child, &status, __WALL), child);
        EXPECT_EQ(::waitpid(parent, &status, 0), parent);
        EXPECT_EQ(status, 0);
    });
}

TEST_F(Descendants, WhereTheSystemDoesNotTellAreNotTakenForEnded) {
    if (!runsAsRoot()) {
        GTEST_SKIP() << "hiding the system's lists needs root's rights";
    }
    inChild([this] {
        forkTo([this] { stay(path("pid")); });
        const pid_t child = pidIn(path("pid"));
        ASSERT_EQ(::chroot(path().c_str()), 0);
        const CapturedLog log;
        EXPECT_FALSE(endDescendants(10s));
        EXPECT_TRUE(log.contains('E', "doesn't tell")) << log.dump();
        EXPECT_EQ(::kill(child, SIGKILL), 0);
        EXPECT_EQ(::waitpid(child, nullptr, 0), child);
        EXPECT_TRUE(endDescendants(10s));
    });
}

} // namespace
