#pragma once

#include <chrono>
#include <sys/types.h>

/// Waits for the end of a child, which stays to be reaped. Any thread.
/// @return false if it still runs when the time is over.
[[nodiscard]] bool endsWithin(pid_t child, std::chrono::steady_clock::duration limit) noexcept;
