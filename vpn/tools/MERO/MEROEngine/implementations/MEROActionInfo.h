#pragma once

#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlObject.h"

#include <cstdint>
#include <functional>
#include <list>
#include <string>

struct MEROCollectedFile;

/// Truncation schemes of a collected file.
inline constexpr int32_t kTruncateWholeFile = 0;
inline constexpr int32_t kTruncateData = 1;
inline constexpr int32_t kTruncateEnd = 2;
inline constexpr int32_t kTruncateFront = 3;
inline constexpr int32_t kTruncateNone = 4;

/// Attributes of the item that an action works for; copied into each action.
struct MEROActionInfo {
    std::string id;
    std::string name;
    /// Folder in which the action places its files.
    std::string directory;
    std::string description;
    int32_t truncateType = kTruncateNone;
    double totalAllowedSize = 0.0;
    /// The collector's summary tree, for failures; a view, null in a clear-logs run.
    MEROXmlObject* summary = nullptr;
    /// Called with the records of an instruction each time that there is one more, or one more row of omitted
    /// files; may take records over, and rows out of the summary. Empty where they are kept to the end.
    std::function<void(std::list<MEROCollectedFile>& found)> handOn;
};
