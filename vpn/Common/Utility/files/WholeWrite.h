#pragma once

#include <cstddef>

/// Writes all of it to a descriptor, however many calls that takes. Any thread; async-signal-safe.
/// @return 0 or the errno of the write that failed. What had been written by then stays.
[[nodiscard]] int writeWhole(int descriptor, const void* bytes, std::size_t sizeBytes) noexcept;
