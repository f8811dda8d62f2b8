#pragma once

#include <string_view>

/// Names of an archive's entries, which are bytes, and marked where they are UTF-8 beyond ASCII.

/// True for well-formed UTF-8: nothing overlong, no surrogates, nothing above U+10FFFF.
[[nodiscard]] bool isUtf8Name(std::string_view name);
/// True for a name of ASCII alone.
[[nodiscard]] bool isAsciiName(std::string_view name);

/// Takes the mark from names that are not UTF-8. Some releases of the library set it by a look of their own,
/// which takes encoded surrogates for UTF-8, and strict readers then refuse the whole archive.
/// @param file  a finished archive, open for reading and writing. An entry behind the first 4
/// GiB keeps its mark.
/// @return false, logged, if the archive can't be read or written.
[[nodiscard]] bool unmarkForeignNames(int file);
