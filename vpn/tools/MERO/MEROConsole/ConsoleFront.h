#pragma once

#include <string>

/// Exit status of the program.
inline constexpr int kExitDone = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;

/// Sets the process up for a job: files that it makes are the user's alone; a closed pipe or a size limit
/// shows as an error of the write and does not end the program; descriptors 0 to 2 are open, so that no file
/// of the job takes their place. Called first in main.
void prepareProcess();

/// The console front: reads the command line, runs what it asks for and blocks until that has ended. The
/// progress goes to standard output in the engine's console form and nothing else does; where the bundle is,
/// and what went wrong, stands on standard error.
/// @return the exit status.
[[nodiscard]] int runConsole(int argc, const char* const* argv);

/// Prints "merocli: ", a message and a line end on standard error.
void printError(const std::string& message);
/// The same, and where the options are told.
void printUsageError(const std::string& message);
