#pragma once

#include "Common/Utility/memory/Handles.h"

#include <string>

/// Opens the file for what a tool prints, behind what it holds, or makes it. No link at its place is
/// followed: a file outside of the bundle stands in a folder that others can write to. With root's rights
/// only a file is taken that this run has made, is root's, and has no other name. Any thread.
/// @param itemFolder  the item's folder in the bundle, where all files are the run's own; may be empty.
/// @param fileOut     set on success only.
/// @return 0 or an errno: EEXIST for a file that is not the run's.
[[nodiscard]] int openToolOutput(const std::string& path, const std::string& itemFolder,
                                 FileDescriptor& fileOut);
