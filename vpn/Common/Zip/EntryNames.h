#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The name of an entry, such that no unpacker is led out of the folder that it unpacks into, by "\" for a
/// separator or by a drive. Where a part of the name, between "/" and "\", is ".." or the first one is empty,
/// or where the name begins with a letter and a colon, each "\" and that colon become "_". All other names
/// stay byte for byte.
[[nodiscard]] std::string safeEntryName(std::string_view name);

/// The same for all names of an archive. A name that was changed into one that is there already gets further
/// "_" at its end.
[[nodiscard]] std::vector<std::string> safeEntryNames(std::vector<std::string> names);
