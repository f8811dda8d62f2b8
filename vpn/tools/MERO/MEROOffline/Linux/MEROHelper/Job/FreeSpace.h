#pragma once

#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/SpaceLimits.h"

#include <cstdint>
#include <optional>
#include <sys/statvfs.h>

/// How much room there is for others. Nothing in here takes memory or logs, so that a forked
/// child may use it.

/// Room in a file system.
struct FreeSpace {
    /// Bytes that are free for anybody.
    uint64_t bytes = 0;
    /// Bytes that have to stay free by the limits.
    uint64_t keptBytes = 0;
    /// Whether it can have more files: it keeps the same percentage of those that it can have.
    bool hasRoomForFiles = true;
};

/// @param system  what the file system tells.
/// @return nothing for one that tells no size.
[[nodiscard]] std::optional<FreeSpace> freeSpaceOf(const struct statvfs& system,
                                                   const SpaceLimits& limits) noexcept;
