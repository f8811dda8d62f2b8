#pragma once

/// Whether the address sanitizer is at work: it keeps memory that was let go, in an allocator of its own.
#ifdef __SANITIZE_ADDRESS__
inline constexpr bool kAddressSanitizer = true;
#else
inline constexpr bool kAddressSanitizer = false;
#endif
