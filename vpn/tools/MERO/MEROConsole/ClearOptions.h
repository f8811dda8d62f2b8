#pragma once

#include <string>

/// What `merocli clear` was asked for.
struct ClearOptions {
    /// Folder that holds xml/config/, absolute; empty for the one of the executable.
    std::string installDirectory;
    /// Nobody is asked first.
    bool withoutQuestion = false;
};
