#pragma once

#include <string>
#include <vector>

/// What the programs that this process starts find instead of its own environment and current folder: for a
/// process that knows somebody's environment, but runs programs with other rights than that user's.
struct ChildEnvironment {
    /// "NAME=value" each; all that a program gets.
    std::vector<std::string> variables;
    /// The current folder, absolute.
    std::string folder;
    /// Folders that programs don't see into, see ChildView.h: absolute, without links in their paths.
    std::vector<std::string> hidden{};
};

/// Sets what programs get that are started from here on; without it they get what this process has. While the
/// process has one thread.
void setChildEnvironment(ChildEnvironment environment);

/// The environment for programs, ended by null, to be neither changed nor kept. Async-signal-safe.
[[nodiscard]] char** childVariables() noexcept;

/// ChildEnvironment::hidden; empty where no environment was set.
[[nodiscard]] const std::vector<std::string>& hiddenFromChildren() noexcept;

/// Goes to the current folder of programs. Called in the child between fork and exec; async-signal-safe.
/// @return false if it can't be entered.
[[nodiscard]] bool enterChildFolder() noexcept;
