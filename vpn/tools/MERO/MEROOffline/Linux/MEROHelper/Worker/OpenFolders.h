#pragma once

#include "Common/Utility/memory/Handles.h"

#include <optional>
#include <string>
#include <sys/types.h>

/// Open folders and where they stand. Failures are logged.

/// Opens a folder for no more than to name it. Links in the path are followed.
/// @return no descriptor if it can't be had; not logged if there is nothing of that name.
[[nodiscard]] FileDescriptor openFolder(const std::string& path);

/// A path to exactly what a descriptor stands for, for calls that take none.
[[nodiscard]] std::string pathOfDescriptor(const FileDescriptor& descriptor);

/// The path of an open folder without links in it, as it is today.
/// @return nothing if that can't be told.
[[nodiscard]] std::optional<std::string> plainPathOf(const FileDescriptor& folder);

/// Opens what is found today under the path of an open folder: the same folder, but of the mount that has
/// been put in its place meanwhile.
/// @return no descriptor if that is another folder.
[[nodiscard]] FileDescriptor openAgain(const FileDescriptor& folder);

[[nodiscard]] bool belongsTo(const FileDescriptor& folder, uid_t user);

/// Whether links on the folder's mount are not followed.
[[nodiscard]] bool isClosedMount(const FileDescriptor& folder);

/// Whether a folder is `above` itself or somewhere below it; true as well if that can't be found out.
[[nodiscard]] bool isSameOrBelow(const FileDescriptor& folder, const FileDescriptor& above);

/// Whether nobody but root can put something else in a folder's place: those above it belong to root and are
/// writable by nobody else, up to one in which a link has no effect.
[[nodiscard]] bool onlyRootRenames(const FileDescriptor& folder);
