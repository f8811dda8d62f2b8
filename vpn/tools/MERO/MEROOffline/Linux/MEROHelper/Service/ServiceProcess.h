#pragma once

#include "Common/Utility/memory/Handles.h"

#include <chrono>

/// What the service's process is before it serves anybody. The worker's surroundings are its own affair.

/// prepareJobProcess, no core dumps, nobody looks into this process's memory, and what jobs leave behind
/// falls to it.
/// @return false, logged, if any of that can't be had or this process isn't root's.
[[nodiscard]] bool prepareServiceProcess();

/// Waits until no other helper runs, nor anything of its jobs.
/// @param lockOut  the lock, to be kept open for as long as this helper runs. None, logged, where the system
/// has no lock to give: the name on the bus keeps helpers apart even so, but not from what is left of one
/// that has lost it.
/// @param limit  for the wait.
/// @return false, logged, if another one still runs or there is no place for a lock.
[[nodiscard]] bool lockHelper(FileDescriptor& lockOut, std::chrono::milliseconds limit);

/// Makes the folder of jobs, or removes what helpers that were killed have left behind in it and in /tmp.
/// @param isAlone  this one has the lock; without it nothing is removed, as it may be in use.
/// @return false, logged, if the folder can't be had. What can't be removed does not matter.
[[nodiscard]] bool prepareJobsFolder(bool isAlone);
