#pragma once

#include "Handles.h"

/// What the service's process is before it serves anybody. The worker's surroundings are its own affair.

/// umask 077, no core dumps, nobody looks into this process's memory, and what jobs leave behind falls to it.
/// @return false, logged, if any of that can't be had or this process isn't root's.
[[nodiscard]] bool prepareServiceProcess();

/// Waits until no other helper runs, nor anything of its jobs, for a few seconds at most.
/// @return the lock, to be kept open for as long as this helper runs; none, logged, if there is none.
[[nodiscard]] FileDescriptor lockHelper();

/// Removes what helpers that were killed have left behind. With the lock only.
/// @return false, logged, if the folder of jobs can't be had. What can't be removed does not matter.
[[nodiscard]] bool removeFormerLeavings();
