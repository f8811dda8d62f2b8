#pragma once

#include <functional>

/// Runs something that may take its time on another thread, and tells the main loop when it has ended.
/// @param work  on the other thread. What it throws is logged and ends it.
/// @param done  on the main thread afterwards, in any case. Neither is destroyed on the other thread.
void runInBackground(std::function<void()> work, std::function<void()> done);
