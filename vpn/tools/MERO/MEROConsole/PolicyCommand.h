#pragma once

#include "tools/MERO/MEROConsole/PolicyOptions.h"

/// Prints the settings in force on standard output, or writes the policy file. What is wrong with the file or
/// with an argument stands on standard error.
/// @return the exit status.
[[nodiscard]] int runPolicy(const PolicyOptions& options);
