#pragma once

#include "Common/Utility/memory/Handles.h"

#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What is done with an open folder where others may work at the same time. Each failure is logged.

/// What tells one folder from all others.
struct FolderIdentity {
    uint64_t mount = 0; ///< 0 with kernels that don't tell
    uint64_t inode = 0;
    uint32_t deviceMajor = 0;
    uint32_t deviceMinor = 0;

    bool operator==(const FolderIdentity&) const = default;
    /// Whether both lie on the same mount of the same device.
    [[nodiscard]] bool isBeside(const FolderIdentity& other) const {
        return mount == other.mount && deviceMajor == other.deviceMajor && deviceMinor == other.deviceMinor;
    }
};

/// For openat: opens a folder's place and no link. It asks nothing of the file system behind a mount point,
/// which may be a user's program.
inline constexpr int kFolderPlaceFlags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

/// @param folder  O_PATH is enough for it, here and below.
/// @return nothing if the system doesn't tell.
[[nodiscard]] std::optional<FolderIdentity> identify(int folder);

/// Whether a folder belongs to this process's user and is open to nobody else.
/// @return 0, EPERM if not, or the errno of the call that failed; not logged.
[[nodiscard]] int checkPrivate(int folder);

/// Opens a folder once more, to be read from its start.
[[nodiscard]] FileDescriptor openForReading(int folder);

/// @return a stream of the entries; null after a failure.
[[nodiscard]] DirHandle openStream(int folder);

/// Whether it is "." or "..".
[[nodiscard]] bool isDotName(std::string_view name);

/// The names in a folder but for "." and "..".
/// @param limit  a folder that has more entries is a failure.
[[nodiscard]] std::optional<std::vector<std::string>> entryNames(int folder, std::size_t limit);
