#pragma once

/// What ended jobs have left behind, and its removal. Nothing of others is touched and no link is followed.

/// Removes the working folders of the engine in /tmp that belong to this process's user alone and that no run
/// holds any more. What is mounted there is left alone. Any thread.
/// @return whether none of them is left; logged if not.
bool removeWorkingFolders();

/// Removes all that is in a private folder of ours: what a helper that was killed has left.
/// Any thread.
/// @param folder  descriptor of the folder, which O_PATH is enough for; the caller's.
/// @return whether it is empty; logged if not.
bool emptyFolder(int folder);
