#pragma once

#include "Common/IPC/UserIdentity.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/ReaderPlace.h"

#include <chrono>
#include <string>

/// What a caller's target is for a bundle.
enum class TargetState {
    /// A bundle may come to it, as far as its kind tells.
    Fine,
    /// A folder, a pipe, a device or a socket, or a link to one: no bundle will come to it, which is logged.
    Refused,
    /// There is no process to look at it, which is logged: those of the user's are still held up, or the
    /// system has none.
    Unseen
};

/// Looks with the caller's rights at what stands at a target, so that nobody learns what is where they can't
/// look. What can't be told, also because the file system gives no answer in time, is Fine: the publishing
/// looks again. Any thread; a user who has as many readers as ReaderPlace gives is Unseen.
/// @param path   absolute, without NUL bytes.
/// @param limit  this takes a little longer at most.
[[nodiscard]] TargetState checkTarget(const UserIdentity& caller, const std::string& path,
                                      std::chrono::milliseconds limit = kReaderLimit);
