#pragma once

#include "Common/IPC/UserIdentity.h"

#include <string>

/// What a worker may use up, as its tools may, and is told by its environment, set before anything of the job
/// is touched. For a process with one thread.

/// First to be ended where memory is short, no core dumps, nobody looks into this process's memory, the idle
/// class for the disk and nice 10, and no file may grow beyond nine tenths of what is free in the folders
/// that are written to.
/// @param workingParent  folder that the working folder is made in.
/// @param jobFolder      folder that the archive is written to.
/// @return false, logged, if core dumps or looks can't be kept off. Failures of the others are only logged.
[[nodiscard]] bool limitResources(const std::string& workingParent, const std::string& jobFolder);

/// Has tools inherit nothing that this process has open by now but the standard descriptors. Before
/// Linux 5.11 a child can't be kept from the rest in one call.
/// @return false, logged, if that can't be had.
[[nodiscard]] bool keepDescriptors();

/// Leaves nothing in the environment but HOME, USER and LOGNAME of the caller, the PATH of jobs, and LANG if
/// it is a locale's name. The engine translates paths by it; what tools get is ToolEnvironment.h's.
/// @param home  the caller's home, or a folder that stands for it.
/// @return false, logged, if it can't be set.
[[nodiscard]] bool clearEnvironment(const UserIdentity& caller, const std::string& home);
