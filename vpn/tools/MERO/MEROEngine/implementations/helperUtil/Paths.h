#pragma once

#include <cstdint>
#include <string>

/// Configured paths, and the folders that the programs start from. Nothing here checks that a path exists.
namespace helperUtil {

/// Replaces each "$NAME/" by the variable's value and "/". A variable without a value is logged and
/// ends the work, with its "$" still in the text; so does a text that grows past 64 KiB or takes
/// more than 64 replacements.
[[nodiscard]] std::string translatePath(const std::string& path);
/// A variable's value, or empty. A leading "$" of the name is removed, in the caller's string too.
[[nodiscard]] std::string getEnvironmentVariable(std::string& name);
/// Not available on this platform: empties `userName`. @return MEROENGINE_ERROR_NOT_IMPLEMENTED.
[[nodiscard]] uint32_t GetSessionUsername(std::string& userName);
/// The value of USER.
[[nodiscard]] std::string getCurrentUserName();
/// Folder of the running program with a trailing "/"; the installation folder if it can't be read.
[[nodiscard]] std::string getExecutableDirectory();
/// xml/config/ below `baseDirectory`, or below the folder of the running program if that is empty.
[[nodiscard]] std::string getConfigDirectory(const std::string& baseDirectory);
/// The user's desktop folder with a trailing "/", still to be translated.
[[nodiscard]] std::string getDesktopDirectory();
/// The desktop folder that the user's user-dirs.dirs names, or empty.
[[nodiscard]] std::string getXdgDesktopDirectory();
/// The current folder, or empty.
[[nodiscard]] std::string getCurrentDirectory();
/// Puts the current folder in place of a leading "./" and in front of a path without "/"; changes the
/// argument too.
std::string makeAbsolutePath(std::string& path);

} // namespace helperUtil
