#pragma once

#include "Common/Zip/SourceFile.h"

#include <atomic>
#include <cstdint>

/// How far the packing of an archive is. The packer's threads write it, and any thread reads it.
struct PackProgress {
    /// Of all that is to be packed; 0 until that is known.
    std::atomic<uint64_t> files = 0;
    std::atomic<uint64_t> bytes = 0;
    /// Appended so far.
    std::atomic<uint64_t> filesDone = 0;
    /// Read so far, of files on their way too. Somewhat more where one has to be read twice.
    std::atomic<uint64_t> bytesDone = 0;
};

/// A reader that counts what it reads, and is at its end once a stop is requested.
/// @param progress  may be null.
[[nodiscard]] BlockReader watched(BlockReader read, PackProgress* progress);
