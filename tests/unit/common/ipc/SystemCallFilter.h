#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

/// From here on a system call does nothing in this process and those that it starts: it fails with an errno,
/// or seems to succeed where that is 0. For a process of the test's own, since there is no way back.
/// @param number  SYS_ and the name of the call that the kernel sees.
inline void replaceSystemCall(long number, int error) {
    std::array<sock_filter, 4> filter = {
        sock_filter{BPF_LD | BPF_W | BPF_ABS, 0, 0, offsetof(seccomp_data, nr)},
        sock_filter{BPF_JMP | BPF_JEQ | BPF_K, 0, 1, static_cast<uint32_t>(number)},
        sock_filter{BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ERRNO | static_cast<uint32_t>(error)},
        sock_filter{BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW}};
    const sock_fprog program{filter.size(), filter.data()};
    ASSERT_EQ(::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0);
    ASSERT_EQ(::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program), 0);
}
