#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <span>
#include <sys/prctl.h>
#include <sys/syscall.h>

/// What a system call does instead, in this process and those that it starts: it fails with an errno, or
/// seems to succeed where that is 0. For a process of the test's own, since there is no way back.

/// Has the kernel run a filter before each call.
inline void installCallFilter(std::span<sock_filter> filter) {
    const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
    ASSERT_EQ(::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0);
    ASSERT_EQ(::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program), 0);
}

/// @param number  SYS_ and the name of the call that the kernel sees.
inline void replaceSystemCall(long number, int error) {
    std::array<sock_filter, 4> filter = {
        sock_filter{BPF_LD | BPF_W | BPF_ABS, 0, 0, offsetof(seccomp_data, nr)},
        sock_filter{BPF_JMP | BPF_JEQ | BPF_K, 0, 1, static_cast<uint32_t>(number)},
        sock_filter{BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ERRNO | static_cast<uint32_t>(error)},
        sock_filter{BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW}};
    installCallFilter(filter);
}

/// Replaces only those calls that have one of some bits set in an argument.
/// @param argument  its index, from 0.
inline void replaceSystemCallWith(long number, int error, std::size_t argument, uint32_t bits) {
    // The lower half of the argument, on a machine of either byte order.
    const std::size_t lowHalf = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? 0 : sizeof(uint32_t);
    const std::size_t place = offsetof(seccomp_data, args) + argument * sizeof(uint64_t) + lowHalf;
    std::array<sock_filter, 6> filter = {
        sock_filter{BPF_LD | BPF_W | BPF_ABS, 0, 0, offsetof(seccomp_data, nr)},
        sock_filter{BPF_JMP | BPF_JEQ | BPF_K, 0, 3, static_cast<uint32_t>(number)},
        sock_filter{BPF_LD | BPF_W | BPF_ABS, 0, 0, static_cast<uint32_t>(place)},
        sock_filter{BPF_JMP | BPF_JSET | BPF_K, 0, 1, bits},
        sock_filter{BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ERRNO | static_cast<uint32_t>(error)},
        sock_filter{BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW}};
    installCallFilter(filter);
}
