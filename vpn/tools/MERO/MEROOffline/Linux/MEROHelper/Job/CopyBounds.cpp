#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/CopyBounds.h"

#include <algorithm>
#include <optional>
#include <sys/stat.h>
#include <sys/statvfs.h>

namespace {

/// What others can write meanwhile, too, is far less than what is kept free.
constexpr uint64_t kLookBytes = uint64_t{4} * 1024 * 1024;
/// Of stat's st_blocks, whatever the file system's own are.
constexpr uint64_t kBlockBytes = 512;

} // namespace

CopyBounds::Breach CopyBounds::begin() noexcept {
    struct stat status {};
    if (::fstat(m_source, &status) != 0) {
        return Breach::None;
    }
    m_rest = static_cast<uint64_t>(status.st_size);
    if (static_cast<uint64_t>(status.st_blocks) * kBlockBytes + m_rest > m_limits.mostBytes) {
        return Breach::Size;
    }
    return look();
}

CopyBounds::Breach CopyBounds::add(uint64_t bytes) noexcept {
    m_rest -= std::min(m_rest, bytes);
    m_unseen += bytes;
    return m_unseen < kLookBytes ? Breach::None : look();
}

CopyBounds::Breach CopyBounds::look() noexcept {
    m_unseen = 0;
    struct statvfs system {};
    const std::optional<FreeSpace> space =
        ::fstatvfs(m_target, &system) == 0 ? freeSpaceOf(system, m_limits) : std::nullopt;
    if (!space) {
        return Breach::None;
    }
    const bool isEnough = space->hasRoomForFiles && space->bytes >= space->keptBytes &&
                          space->bytes - space->keptBytes >= m_rest;
    return isEnough ? Breach::None : Breach::Space;
}
