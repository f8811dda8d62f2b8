#pragma once

#include <cstdarg>
#include <cstdint>

/// C strings in buffers of a given size. Whatever writes keeps a terminating zero inside the size, and cuts
/// without a mark what doesn't fit.

/// Length of `text`, looking at no more than `maximum` bytes; 0 for null or a zero maximum.
[[nodiscard]] uint32_t boundedLength(const char* text, uint32_t maximum);

/// Copies `source` into `destination` of `sizeBytes` bytes, the terminating zero included. A null destination
/// or a zero size only measures. The two must not overlap.
/// @return the length of `source`, so that a result of `sizeBytes` or more says that it was cut; 0 for null.
uint32_t boundedCopy(char* destination, uint32_t sizeBytes, const char* source);

/// Appends `source` to the string in `destination`, a buffer of `sizeBytes` bytes in all. A null destination
/// or a zero size only measures. A destination without a terminating zero is left as it is.
/// @return the length that the whole wants, so that a result of `sizeBytes` or more says that it was cut.
uint32_t boundedAppend(char* destination, uint32_t sizeBytes, const char* source);

/// For callers outside of this system: the first byte of `text`, within its first `maximum` bytes, that is
/// one of those in `characters`; null if there is none, or for a null argument.
[[nodiscard]] const char* boundedFindAny(const char* text, const char* characters, uint32_t maximum);

/// vsnprintf that always terminates the buffer.
/// @return the result of vsnprintf, the length that the whole wants; `sizeBytes` if that is negative, or if
/// there is no buffer, no size or no format, and then nothing is done.
[[gnu::format(printf, 3, 0)]] int formatBoundedV(char* buffer, uint32_t sizeBytes, const char* format,
                                                 va_list arguments);
/// The same with the arguments themselves.
[[gnu::format(printf, 3, 4)]] int formatBounded(char* buffer, uint32_t sizeBytes, const char* format, ...);
