#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

/// What `merocli collect` was asked for. Paths are absolute, except an empty one, which was not given.
struct CollectOptions {
    /// Folder that holds xml/config/; empty for the one of the executable.
    std::string installDirectory;
    /// Request file; empty for none. Never together with `onlyIds`.
    std::string requestPath;
    /// Ids of the items to collect, none of them empty; none collects the request's, or
    /// the items marked default.
    std::vector<std::string> onlyIds;
    /// The user's comment, fit for a request; only together with `onlyIds`.
    std::string comment;
    /// The zip file to write, as the user named it or with the dated default name in the current folder.
    std::string targetPath;
    /// File that holds the password, "-" for standard input; nothing for a bundle without encryption.
    std::optional<std::string> passwordFile;
    bool collectSystemLogs = true;
    bool includeLegacyTree = false;
    /// Show what the job is at on standard error, where that is a terminal.
    bool showProgress = true;
    /// Print nothing but what went wrong.
    bool isQuiet = false;
    /// Leave the folder in which the bundle was built, and tell where it is.
    bool keepWorkingFolder = false;
    /// What a run that was interrupted may take to end its tools and to remove its files. No argument sets
    /// it.
    std::chrono::milliseconds interruptPatience = std::chrono::seconds(10);
};
