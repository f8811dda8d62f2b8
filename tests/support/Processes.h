#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <sys/types.h>

/// Programs that tests start, and what is left of them.

/// Writes an executable shell script with its parent folders.
/// @return the path.
std::string writeTool(const std::string& path, const std::string& script);

/// Looks at a condition again and again until it holds. @return false if it still doesn't after 30 seconds.
[[nodiscard]] bool eventually(const std::function<bool()>& condition);

/// The process id in a file that a tool writes, waiting for its line to be complete; 0 if none comes.
[[nodiscard]] pid_t pidIn(const std::string& path);

/// State letter of a process, as in its status; 0 if there is none.
[[nodiscard]] char processState(pid_t pid);
/// True for a process that has ended, whether or not somebody has reaped it.
[[nodiscard]] bool hasEnded(pid_t pid);
/// True if this process has a child, running or not reaped.
[[nodiscard]] bool hasChildren();

/// How many descriptors this process has open.
[[nodiscard]] std::size_t openDescriptors();
/// The most memory that this process has held at a time.
[[nodiscard]] std::size_t peakMemoryBytes();
