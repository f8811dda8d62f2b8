#pragma once

#include <string>

/// What `merocli list` was asked for.
struct ListOptions {
    /// Folder that holds xml/config/, absolute; empty for the one of the executable.
    std::string installDirectory;
    /// JSON instead of the text for people.
    bool json = false;
};
