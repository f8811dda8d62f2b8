#pragma once

#include <string>

/// Whether what the engine obeys and runs is root's alone: the folders xml, xml/config and plugin of an
/// installation, with the files and folders in them and nothing else, belong to root, no other user or group
/// may write to them, and none is a link. A plugin folder may be missing. How safe the folders above are is
/// the program's own question: it lies there itself. Any thread. The reason for a no is logged.
/// @param installPath  absolute folder of the installation.
[[nodiscard]] bool belongsToRootAlone(const std::string& installPath);
