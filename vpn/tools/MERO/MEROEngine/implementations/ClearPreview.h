#pragma once

#include "tools/MERO/MEROEngine/implementations/ClearStep.h"

#include <list>
#include <string>

/// An item on which the engine acts when it clears logs.
struct ClearableItem {
    std::string id;
    /// As they stand in the configuration; empty where there is none.
    std::string description;
    std::string label;
    /// Never empty; in the order in which they are done.
    std::list<ClearStep> steps;
};

/// What a clear run would act on. Used by one thread.
struct ClearPreview {
    /// Whether a good configuration file was found.
    bool hasConfiguration = false;
    /// Full paths of the files that could not be read.
    std::list<std::string> failedFiles;
    /// In the order in which the engine takes them.
    std::list<ClearableItem> items;
};

/// Goes through the configuration files as a clear run does, and takes notes instead of deleting.
/// @param installDirectory  folder that holds xml/config/; empty for the one of the executable.
[[nodiscard]] ClearPreview previewClearRun(const std::string& installDirectory);
