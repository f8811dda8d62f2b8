#pragma once

#include <cstddef>

/// Entries that one removal looks at before it gives up.
inline constexpr std::size_t kRemovalEntryLimit = 1'000'000;

/// Removes an entry and, if it is a folder, all that is in it, where others may work at the same time. A link
/// is removed itself and never followed, nothing is reached through another mount or device than that of
/// `parent`, and a folder that is moved away meanwhile doesn't lead to where it went. Goes on after a
/// failure; each is logged once. Folders of this process's user that keep their owner out are opened first.
/// Keeps a few dozen descriptors open at most, however deep the folders are. Any thread.
/// @param parent      descriptor of the folder that holds the entry, which O_PATH is
/// enough for; the caller's.
/// @param name        one name, no path.
/// @param entryLimit  after this many entries it gives up, so that nobody can keep it busy by making more.
/// @return whether the entry is gone with all that was in it, or has never been there. What appears meanwhile
/// may stay, which gives false.
[[nodiscard]] bool removeFolder(int parent, const char* name, std::size_t entryLimit = kRemovalEntryLimit);
