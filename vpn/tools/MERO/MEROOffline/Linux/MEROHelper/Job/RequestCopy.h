#pragma once

#include "Common/IPC/UserIdentity.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/ReaderPlace.h"

#include <chrono>
#include <cstddef>
#include <string>

/// Most bytes that a request file may have.
inline constexpr std::size_t kLargestRequestBytes = std::size_t{1024} * 1024;

/// Copies a caller's request file. It is opened by a process that has become the caller for good, and that
/// opened file is the one which is checked and read: a regular file, the caller's own, no link, no larger
/// than kLargestRequestBytes. Links in the folders of the path are followed with the caller's rights. Any
/// thread; a user who has as many readers as ReaderPlace gives is refused.
/// @param caller  whose rights decide; root's if root asks.
/// @param path    absolute, without NUL bytes.
/// @param target  descriptor of ours, which gets the bytes where it stands and stays open. After a failure
///                some of them may have been written.
/// @param limit   this takes a little longer at most, whatever the caller does to that process.
/// @return false if there is no copy, whatever the reason, as the caller must not learn what is where it
/// can't look. The log has the reason.
[[nodiscard]] bool copyRequest(const UserIdentity& caller, const std::string& path, int target,
                               std::chrono::milliseconds limit = kReaderLimit);
