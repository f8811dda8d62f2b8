#pragma once

#include <list>
#include <string>

/// Names on standard error the configuration files that could not be read. A path with a slash at its end is
/// that of their folder, of which an unknown part could not be listed.
void printFailedFiles(const std::list<std::string>& paths);
/// What to say of a configuration without an item, with the folder and what to do.
[[nodiscard]] std::string nothingOffered(const std::string& installDirectory);
