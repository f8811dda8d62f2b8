#pragma once

/// Whether the address sanitizer is at work: it keeps memory that was let go, in an allocator of its own.
#ifdef __SANITIZE_ADDRESS__
inline constexpr bool kAddressSanitizer = true;
#else
inline constexpr bool kAddressSanitizer = false;
#endif

/// Whether the thread sanitizer is at work: it maps memory of its own for each thread.
#ifdef __SANITIZE_THREAD__
inline constexpr bool kThreadSanitizer = true;
#else
inline constexpr bool kThreadSanitizer = false;
#endif
