#pragma once

#include <string>

namespace CLI {
class App;
class Option;
} // namespace CLI

/// Options that name files and folders. The checks throw UsageError.

/// Adds --install-dir to a command.
/// @param value  gets the folder as it stands on the command line; must live as long as the command is used.
/// @return a view into the parser.
[[nodiscard]] CLI::Option* addInstallFolder(CLI::App& command, std::string& value);
/// Refuses an empty path, which would silently mean "not given": a script with an unset variable does not
/// want that.
void refuseEmptyPath(const CLI::Option& option, const std::string& value);
/// Puts the current folder in front of a relative path.
[[nodiscard]] std::string absolutePath(const std::string& optionName, const std::string& path);
/// The folder of --install-dir, absolute; empty if the option was not given. Refuses one that is not there.
[[nodiscard]] std::string installFolder(const CLI::Option& option, const std::string& value);
