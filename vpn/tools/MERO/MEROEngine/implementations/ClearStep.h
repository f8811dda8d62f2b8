#pragma once

#include <string>

/// One thing that clearing an item does: it deletes files or runs a command.
struct ClearStep {
    /// The files as the configuration names them, wildcards and variables included; empty for a command.
    std::string files;
    /// The same with the variables replaced.
    std::string translatedFiles;
    /// The command with its folder, for a step without files.
    std::string command;
};
