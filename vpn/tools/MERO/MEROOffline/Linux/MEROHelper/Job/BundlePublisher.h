#pragma once

#include "Common/IPC/UserIdentity.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/SpaceLimits.h"

#include <optional>
#include <string>

/// How a bundle is published, where that differs from the usual.
struct PublishSettings {
    /// The user's folder may be on a file system that answers late or never.
    int limitMs = 10 * 60 * 1000;
    /// For a child to be gone after it was killed, and for the one that clears away what a killed one left.
    int clearAwayLimitMs = 5000;
    /// Name of the file beside the target that the bytes are written to first; empty draws one at random.
    std::string temporaryName;
    /// What the copy may take; not looked at without.
    std::optional<SpaceLimits> space = std::nullopt;
};

/// What came of it.
enum class Publishing {
    Done,
    Failed,
    /// There is not as much room at the target as has to be left to others.
    WithoutSpace,
    /// The archive and its copy take more than a job may.
    TooLarge
};

/// Copies a finished archive to a path that a user has named, with that user's rights alone: a child process
/// becomes the user for good and does what the user could have done. So the file can land only where the
/// user may write. It belongs to the user and is for the user alone (0600, whatever the umask). It takes the
/// place of a file or a link of that name in one step; a folder of that name is left alone. A copy that fails
/// leaves no file behind, as far as the user's rights reach.
/// Any thread; waits for the child, which it has reaped when it returns, unless the file system of the target
/// holds on to it even after it was killed: then it is reaped when it ends. The child ends with that thread
/// and takes the copy with it, or at its limit if the file system doesn't let it earlier.
/// @param archive     readable descriptor of the archive; the caller's. It is read from its start, and where
/// it stands plays no part.
/// @param targetPath  absolute path.
/// @return anything but Done with one line in the log that names the failed call.
[[nodiscard]] Publishing publishBundle(const UserIdentity& caller, int archive, const std::string& targetPath,
                                       const PublishSettings& settings = {});
