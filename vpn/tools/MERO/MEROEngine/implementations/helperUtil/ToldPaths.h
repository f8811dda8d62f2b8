#pragma once

#include <string>

/// Paths as the user knows them, where a run looks at another folder in a known one's place.
namespace helperUtil {

/// Has a folder told as the one in whose place it stands; there is one at most in a process. Before a run,
/// not while one is under way.
/// @param folder  whole path, without a trailing "/"; empty for none.
void tellFolderAs(const std::string& folder, const std::string& known);
/// The text with the folder's path replaced wherever it stands. Any thread.
[[nodiscard]] std::string toldText(const std::string& text);

} // namespace helperUtil
