#pragma once

#include <cstdint>

/// What a job may take of the file systems that it writes to, its working folder's and its own folder's.
struct SpaceLimits {
    /// Bytes of all files of the job together.
    uint64_t mostBytes = uint64_t{10} * 1024 * 1024 * 1024;
    /// What stays free for others in each of the file systems: the larger of these two.
    uint64_t keptFreeBytes = uint64_t{200} * 1024 * 1024;
    uint32_t keptFreePercent = 5;
};
