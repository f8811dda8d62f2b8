#pragma once

#include "Handles.h"

#include <cstdint>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>
#include <vector>

/// Descriptor work that the file functions share. Nothing here logs: each function hands its errno to the
/// caller, which knows under whose name the line belongs.
namespace helperUtil {

/// How a copy from descriptor to descriptor went.
struct CopyOutcome {
    /// The call that failed, "read" or "write", or null.
    const char* failedCall = nullptr;
    /// Its errno.
    int error = 0;
    /// Bytes that were written.
    uint64_t bytes = 0;
};

/// Copies from the current place of `input` to its end, or `limit` bytes, in blocks of 4096 bytes.
[[nodiscard]] CopyOutcome copyBytes(int input, int output, uint64_t limit = UINT64_MAX);
/// Writes all of the bytes. @return 0 or an errno.
[[nodiscard]] int writeBytes(int output, const char* data, size_t size);
/// Closes a written file. Some file systems tell only here that the disk is full.
/// @return 0 or an errno.
[[nodiscard]] int closeWritten(FileDescriptor& file);

/// Tells a folder from every other one, whatever path leads to it.
struct FolderId {
    dev_t device = 0;
    ino_t inode = 0;
    [[nodiscard]] bool operator==(const FolderId&) const = default;
};

/// The identity of an open folder or file; zeros if it can't be told.
[[nodiscard]] FolderId folderIdOf(int descriptor);

/// Reads the next entry of a folder.
/// @param errorOut  gets the errno when reading failed, else 0.
/// @return the entry, valid until the next call, or null at the end.
[[nodiscard]] const dirent* nextEntry(DIR* folder, int& errorOut);
/// True for "." and "..".
[[nodiscard]] bool isDotEntry(const char* name);

} // namespace helperUtil
