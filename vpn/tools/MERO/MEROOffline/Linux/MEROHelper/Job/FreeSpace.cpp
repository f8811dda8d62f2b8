#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/FreeSpace.h"

#include <algorithm>

namespace {

/// In two steps, as large numbers would not stand the product.
uint64_t partOf(uint64_t all, uint32_t percent) noexcept {
    return all / 100 * percent + all % 100 * percent / 100;
}

} // namespace

std::optional<FreeSpace> freeSpaceOf(const struct statvfs& system, const SpaceLimits& limits) noexcept {
    if (system.f_blocks == 0) {
        return std::nullopt;
    }
    const uint64_t allBytes = uint64_t{system.f_blocks} * system.f_frsize;
    const uint64_t keptFiles = partOf(system.f_files, limits.keptFreePercent);
    return FreeSpace{.bytes = uint64_t{system.f_bavail} * system.f_frsize,
                     .keptBytes = std::max(limits.keptFreeBytes, partOf(allBytes, limits.keptFreePercent)),
                     .hasRoomForFiles = system.f_files == 0 || system.f_favail >= keptFiles};
}
