#pragma once

#include "Common/IPC/UserIdentity.h"
#include "Common/Utility/memory/WipedString.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/SpaceLimits.h"

#include <cstddef>
#include <optional>
#include <string>
#include <sys/types.h>

/// Most bytes of an order in a pipe: a user of all the groups that a user can have, and each
/// text at its longest.
inline constexpr std::size_t kLargestWorkOrderBytes = std::size_t{512} * 1024;

/// All that a worker is told about its job. It travels through a pipe, so that nothing of it is seen in an
/// argument list or an environment.
struct WorkOrder {
    /// Who asked for the job.
    UserIdentity caller;
    /// Copy of the caller's request in the job's folder. Empty: the usual items.
    std::string requestPath;
    /// Folder that holds xml/config/. Empty: the one of the program.
    std::string installPath;
    /// The bundle as the caller has named it: what the summary tells.
    std::string bundlePath;
    /// The job's own folder, absolute: the worker's current folder.
    std::string jobFolder;
    /// Where the archive is written, in the job's folder.
    std::string archivePath;
    /// Empty: none.
    WipedString password;
    SpaceLimits space;
    /// The service, without which there is no job.
    pid_t service = 0;
};

/// Writes the order whole, or nothing of it. It never waits for a reader: the pipe gets room for the order.
/// What held the bytes meanwhile is wiped. Any thread.
/// @param descriptor  writing end of an empty pipe whose reading end is open somewhere.
/// @return false, logged, for an order that is too large, what is no pipe, or a pipe that has no room.
[[nodiscard]] bool writeWorkOrder(int descriptor, const WorkOrder& order);

/// Reads an order up to the end of the pipe, for which it waits. What held the bytes meanwhile
/// is wiped. Any thread.
/// @return nothing, logged, for anything but one whole order, such as one with a NUL byte in a text.
[[nodiscard]] std::optional<WorkOrder> readWorkOrder(int descriptor);
