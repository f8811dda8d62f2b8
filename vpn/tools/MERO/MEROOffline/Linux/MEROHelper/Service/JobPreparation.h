#pragma once

#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/AcceptedJob.h"

#include <chrono>
#include <optional>
#include <sys/types.h>

/// Where this program is installed: the folder of its own file.
/// @return absolute path; empty, logged, if the system does not tell.
[[nodiscard]] std::string installationFolder();

/// Does what a job needs before anybody is asked for an authorisation: looks the caller up, makes sure that
/// what root will obey is root's, makes the job's folder, and with the caller's own rights copies the request
/// and looks at the target. May take as long as copyRequest and checkTarget do. Any thread.
/// @param readerLimit  for each of the two.
/// @return nothing, logged, if any of it fails.
[[nodiscard]] std::optional<AcceptedJob> prepareJob(JobArguments arguments, uid_t caller,
                                                    std::chrono::milliseconds readerLimit);
