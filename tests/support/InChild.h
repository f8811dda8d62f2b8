#pragma once

#include "tests/support/Sandbox.h"

#include <csignal>
#include <cstdio>
#include <functional>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

/// Runs a body in a process of its own, which it may end as it likes; one that comes to its end exits with 0.
/// @return the status of waitpid.
inline int statusInChild(const std::function<void()>& body) {
    const pid_t child = ::fork();
    if (child == 0) {
        body();
        ::_exit(0);
    }
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return status;
}

/// Runs checks in a process of their own, for what changes a whole process. Expectations that fail there are
/// printed and fail the test here.
inline void inChild(const std::function<void()>& checks) {
    std::fflush(nullptr);
    const int status = statusInChild([&checks] {
        checks();
        std::fflush(nullptr);
        ::_exit(::testing::Test::HasFailure() ? 1 : 0);
    });
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "child's status " << status;
}

/// Runs checks as a user whom permission bits hold back. The current folder is open to that user.
inline void asOrdinaryUser(const std::function<void()>& checks) {
    constexpr uid_t kNobody = 65534;
    ASSERT_EQ(::chmod(".", 0777), 0);
    inChild([&checks] {
        if (runsAsRoot()) {
            ASSERT_EQ(::seteuid(kNobody), 0);
        }
        checks();
    });
}

/// Runs checks that can't write more than `bytes` into a file, as on a full disk.
inline void withFileSizeLimit(rlim_t bytes, const std::function<void()>& checks) {
    inChild([&checks, bytes] {
        ASSERT_NE(std::signal(SIGXFSZ, SIG_IGN), SIG_ERR);
        const rlimit limit{bytes, bytes};
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
        checks();
    });
}
