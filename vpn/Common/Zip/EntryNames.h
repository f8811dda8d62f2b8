#pragma once

#include "Common/Zip/NameList.h"

#include <optional>
#include <string>
#include <string_view>

/// The name of an entry, such that no unpacker is led out of the folder that it unpacks into, by "\" for a
/// separator or by a drive. Where a part of the name, between "/" and "\", is ".." or the first one is empty,
/// or where the name begins with a letter and a colon, each "\" and that colon become "_". All other names
/// stay byte for byte.
[[nodiscard]] std::string safeEntryName(std::string_view name);

/// The same for all names of an archive. A name that was changed into one that is there already gets further
/// "_" at its end.
/// @return nothing where none has to be changed.
[[nodiscard]] std::optional<NameList> safeEntryNames(const NameList& names);
