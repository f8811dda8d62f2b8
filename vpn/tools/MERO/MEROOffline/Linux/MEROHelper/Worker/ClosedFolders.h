#pragma once

#include "Common/IPC/UserIdentity.h"

#include <optional>
#include <string>
#include <vector>

/// Folders that everybody may write to.
[[nodiscard]] std::vector<std::string> sharedFolders();

/// Makes sure that what a caller has planted leads root nowhere: in a mount namespace of this process's own,
/// links in /tmp, /var/tmp, /dev/shm and the caller's home aren't followed, and what is or will be mounted
/// below these folders isn't seen. All else looks as before, also what is unmounted meanwhile. Where the
/// kernel can't do that (before Linux 5.10) or may not, the log says so. For a process with one thread.
/// @param jobFolder  absolute path of a folder that must stay in view.
/// @return the caller's home, by a path without links, if it is safe to be looked at. It isn't if it is
/// missing, somebody else's, in a folder where somebody but root could put a link in its place, or one that
/// holds more than a user's things, nor where the kernel can't help. It must not be used then; if it is the
/// caller's own it shows as empty where that can be had.
[[nodiscard]] std::optional<std::string> closeFolders(const UserIdentity& caller,
                                                      const std::string& jobFolder);
