#pragma once

#include "tools/MERO/MEROConsole/ListOptions.h"

/// Prints what can be collected on standard output. A configuration file that can't be read is named on
/// standard error, and the others are listed.
/// @return the exit status; kExitFailed if there is nothing to list or it can't be printed.
[[nodiscard]] int listItems(const ListOptions& options);
