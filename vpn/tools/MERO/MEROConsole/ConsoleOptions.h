#pragma once

#include <optional>
#include <string>

/// What `merocli collect` was asked for. Paths are absolute, except an empty one, which was not given.
struct CollectOptions {
    /// Folder that holds xml/config/; empty for the one of the executable.
    std::string installDirectory;
    /// Request file; empty collects the items marked default.
    std::string requestPath;
    /// The zip file to write, as the user named it or with the dated default name in the current folder.
    std::string targetPath;
    /// File that holds the password, "-" for standard input; nothing for a bundle without encryption.
    std::optional<std::string> passwordFile;
    bool collectSystemLogs = true;
    bool includeLegacyTree = false;
};

/// What came of reading the command line.
struct ParsedCommandLine {
    /// Set if a collection is to be run; else `exitStatus` is the end of the program.
    std::optional<CollectOptions> collect;
    int exitStatus = 0;
};

/// Reads the command line. Prints help and version on standard output, and what is wrong with an argument on
/// standard error.
[[nodiscard]] ParsedCommandLine parseCommandLine(int argc, const char* const* argv);

/// The path under which the engine writes a bundle for `targetPath`: it ends in ".zip".
[[nodiscard]] std::string bundlePathFor(const std::string& targetPath);
