#pragma once

#include "tools/MERO/MEROOffline/Common/ModuleTree.h"

#include <list>
#include <string>

/// The selection tree in print, without the marks of translation. Both forms end in a line feed.

/// For people: a line per root, module and item, indented by two blanks per level. An item's line has
/// "[x]" if it is part of a default bundle, else "[ ]", the id, padded so that the labels of a module
/// stand below each other, the label, and "(any platform)" if the item isn't tied to a platform.
/// Control characters are blanks.
[[nodiscard]] std::string textListing(const std::list<RootItem>& roots);
/// For programs: a JSON object in UTF-8, with the texts as they are.
[[nodiscard]] std::string jsonListing(const std::list<RootItem>& roots);
