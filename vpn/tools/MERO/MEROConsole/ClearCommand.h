#pragma once

#include "tools/MERO/MEROConsole/ClearOptions.h"

/// Deletes the logs that the configuration allows to be deleted, and blocks until that is done. What will be
/// done, the question and what came of it stand on standard error, the progress on standard output.
/// @return the exit status; with kExitUsage there was nobody to ask, and nothing was done.
[[nodiscard]] int clearLogs(const ClearOptions& options);
