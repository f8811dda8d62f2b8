#pragma once

#include "ItemSelection.h"

#include <string>

/// Names on standard error the configuration files that could not be read.
void printFailedFiles(const ItemSelection& items);
/// What to say of a configuration without an item, with the folder and what to do.
[[nodiscard]] std::string nothingOffered(const std::string& installDirectory);
