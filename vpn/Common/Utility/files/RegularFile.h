#pragma once

#include "Common/Utility/memory/Handles.h"

#include <sys/types.h>

/// Rights of a file that openRegularFile makes unless others are asked for: its owner's alone.
inline constexpr mode_t kPrivateFileMode = 0600;

/// Opens a regular file and never waits for a reader or writer: a pipe or a device is refused, as far as can
/// be told without even being touched. It waits for the holder of a lease on the file, to whom the kernel
/// gives some seconds (/proc/sys/fs/lease-break-time). Any thread. Takes no memory and makes plain system
/// calls only, so that a forked child may use it; so do the other two.
/// @param flags    as for open(2). O_NOFOLLOW refuses a link as the last part of the path.
/// @param fileOut  set on success only; close-on-exec and without a controlling terminal.
/// @param mode     rights, before the umask, of a file that is made.
/// @return 0; EISDIR for a folder; ELOOP for a link that is not followed; EINVAL for anything else that is
/// no regular file; otherwise the errno of the failed call.
[[nodiscard]] int openRegularFile(const char* path, int flags, FileDescriptor& fileOut,
                                  mode_t mode = kPrivateFileMode) noexcept;
/// The same for a path that starts from an open folder, if it is a relative one.
/// @param folder  open descriptor, or AT_FDCWD for the current folder.
[[nodiscard]] int openRegularFileAt(int folder, const char* path, int flags, FileDescriptor& fileOut,
                                    mode_t mode = kPrivateFileMode) noexcept;

/// The same for a file whose name others can guess: no link is followed, and a file of another user, or one
/// that can be reached under another name as well, is refused.
/// @return also EPERM for such a file.
[[nodiscard]] int openOwnRegularFile(const char* path, int flags, FileDescriptor& fileOut) noexcept;
