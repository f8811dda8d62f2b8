#pragma once

#include "tools/MERO/MEROEngine/implementations/MEROActionInfo.h"

#include <cstdint>
#include <string>

/// Record of one file in the bundle.
struct MEROCollectedFile {
    std::string id;
    /// Path in the bundle folder.
    std::string path;
    std::string description;
    /// Bytes after the copy; -1.0 if unknown.
    double fileSize = -1.0;
    /// The scheme asked for.
    int32_t truncateType = kTruncateNone;
    double totalAllowedSize = 0.0;
    /// The scheme for cutting data where the scheme asked for leaves the end open.
    int32_t defaultTruncateType = kTruncateNone;
};
