#pragma once

#include <chrono>

/// Makes this process the one that descendants fall to when their own parents have ended, so that none gets
/// away. The children that there are by now are spared by endDescendants: they are none of the tools'.
/// @return whether it did; logged if not.
bool adoptDescendants();

/// Ends all children but those spared, and what falls to this process when they end, and reaps them: by
/// SIGKILL, again and again until there are none. Any thread, while no other starts or reaps children.
/// @param limit  when it gives up, as for a process that waits for a file system that does not answer.
/// @return whether none is left; logged if not.
bool endDescendants(std::chrono::milliseconds limit);
