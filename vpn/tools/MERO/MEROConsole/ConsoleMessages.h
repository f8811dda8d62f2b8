#pragma once

#include <string>

/// Exit status of the program.
inline constexpr int kExitDone = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;
/// The bundle was made, but lacks files that it should hold.
inline constexpr int kExitIncomplete = 3;

/// Prints "merocli: ", a message and a line end on standard error.
void printError(const std::string& message);
/// The same, and where the options are told.
/// @param command  the command whose options they are; empty for the program's own.
void printUsageError(const std::string& message, const std::string& command);

/// Prints on standard output. A full disk, a closed descriptor or a pipe that nobody reads any more is told
/// on standard error.
/// @return the exit status: kExitDone, or kExitFailed if not all of the text was written.
[[nodiscard]] int printOutput(const std::string& text);
