#pragma once

#include "tools/MERO/MEROEngine/implementations/parser/MEROComponent.h"

#include <cstddef>
#include <limits>
#include <list>
#include <string>

/// What is asked of a request's entries before anything is done for them.

/// Bounds of a request. One that its own user runs needs none.
struct RequestLimits {
    std::size_t mostEntries = std::numeric_limits<std::size_t>::max();
    /// Each entry of an id runs the item once.
    std::size_t mostOfOneId = std::numeric_limits<std::size_t>::max();
};

/// Why a request can't be used: it goes beyond the limits, or an entry that renames the summary or the
/// comments has a name with a component "..", as it stands or with its variables replaced. Any other name
/// lies below the folder of the bundle.
/// @return a text for the log; empty if there is no reason.
[[nodiscard]] std::string objectionToEntries(const std::list<MEROComponent*>& entries,
                                             const RequestLimits& limits);
