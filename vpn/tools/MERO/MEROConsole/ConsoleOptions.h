#pragma once

#include "tools/MERO/MEROConsole/ClearOptions.h"
#include "tools/MERO/MEROConsole/CollectOptions.h"
#include "tools/MERO/MEROConsole/ListOptions.h"
#include "tools/MERO/MEROConsole/PolicyOptions.h"

#include <variant>

/// What came of reading the command line: what a command was asked for, or the exit status with which the
/// program is to end.
using ParsedCommandLine = std::variant<int, ClearOptions, CollectOptions, ListOptions, PolicyOptions>;

/// Reads the command line. Prints help and version on standard output, and what is wrong with an argument on
/// standard error.
[[nodiscard]] ParsedCommandLine parseCommandLine(int argc, const char* const* argv);
