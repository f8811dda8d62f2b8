#pragma once

#include "tools/MERO/MEROConsole/CollectOptions.h"

/// Collects a bundle and blocks until it is written or the job has failed. Selects items first if their ids
/// are given, and reads the password then, from standard input if that was asked for.
/// SIGINT, SIGTERM and SIGHUP end the job with all that it has started and made, and then the process by the
/// same signal; a second one ends the process at once. Called once.
/// @return the exit status; with kExitUsage nothing was collected.
[[nodiscard]] int collectBundle(const CollectOptions& options);
