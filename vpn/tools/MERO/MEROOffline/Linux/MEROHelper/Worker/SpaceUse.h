#pragma once

#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/FreeSpace.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/SpaceLimits.h"

#include <cstdint>
#include <optional>
#include <string>

/// How much room there is, and how much of it files take.

/// Room in the file system of a folder.
/// @return nothing for a file system that tells no size, and, logged, where the system doesn't tell.
[[nodiscard]] std::optional<FreeSpace> freeSpaceOf(const std::string& folder, const SpaceLimits& limits);

/// Bytes that the files below a folder take on the disk. No link is followed. It may change meanwhile: what
/// has gone counts nothing.
[[nodiscard]] uint64_t bytesBelow(const std::string& folder);
