#pragma once

#include "Common/Utility/memory/Handles.h"

#include <cstdint>
#include <map>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>
#include <tuple>
#include <vector>

/// Descriptor work that the file functions share. Nothing here logs: each function hands its errno to the
/// caller, which knows under whose name the line belongs.
namespace helperUtil {

/// How a copy from descriptor to descriptor went.
struct CopyOutcome {
    /// The call that failed, "read" or "write", or "copyBytes" after a stop request, or null.
    const char* failedCall = nullptr;
    /// Its errno.
    int error = 0;
    /// Bytes that were written.
    uint64_t bytes = 0;
};

/// Copies from the current place of `input` to its end, or `limit` bytes: within the kernel where that does
/// it, which may share the blocks of the two files, else in blocks of 128 KiB. A stop request is looked at at
/// least every megabyte.
[[nodiscard]] CopyOutcome copyBytes(int input, int output, uint64_t limit = UINT64_MAX);
/// Closes a written file. Some file systems tell only here that the disk is full.
/// @return 0 or an errno.
[[nodiscard]] int closeWritten(FileDescriptor& file);

/// Tells a folder from every other one, whatever path leads to it.
struct FolderId {
    dev_t device = 0;
    ino_t inode = 0;
    [[nodiscard]] bool operator==(const FolderId&) const = default;
    /// Some order, for containers.
    [[nodiscard]] bool operator<(const FolderId& other) const {
        return std::tie(device, inode) < std::tie(other.device, other.inode);
    }
};

/// The identity of an open folder or file; zeros, with errno set, if it can't be told.
[[nodiscard]] FolderId folderIdOf(int descriptor);

/// Counts how often one listing or copy comes to each folder. Where folders hold several links to the next
/// one, the ways to the last are more than could ever be gone.
class FolderVisits {
public:
    /// So many visits are as much as any tree needs that was made for use.
    static constexpr uint32_t kMost = 16;

    /// @return which visit this one is, from 1.
    [[nodiscard]] uint32_t count(const FolderId& folder) { return ++m_visits[folder]; }

private:
    std::map<FolderId, uint32_t> m_visits;
};

/// The summary's words for a folder that is not entered once more.
inline constexpr const char* kMetTooOften = " was met more than 16 times and is not entered again";
static_assert(FolderVisits::kMost == 16);
/// The summary's words for a folder or entry that can't be looked into or at.
/// @param errorText  the C library's.
[[nodiscard]] std::string notListedReason(const std::string& errorText);

/// Reads the next entry of a folder.
/// @param errorOut  gets the errno when reading failed, else 0.
/// @return the entry, valid until the next call, or null at the end.
[[nodiscard]] const dirent* nextEntry(DIR* folder, int& errorOut);
/// True for "." and "..".
[[nodiscard]] bool isDotEntry(const char* name);

} // namespace helperUtil
