#pragma once

#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

/// From here on, what this process mounts is seen by it and its children alone, and goes with them.
[[nodiscard]] inline bool makeMountsPrivate() {
    return ::unshare(CLONE_NEWNS) == 0 && ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

/// Tries in a process of its own whether this environment allows mounts.
[[nodiscard]] inline bool allowsMounts() {
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(makeMountsPrivate() ? 0 : 1);
    }
    int status = -1;
    return ::waitpid(child, &status, 0) == child && status == 0;
}
