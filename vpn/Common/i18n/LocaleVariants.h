#pragma once

#include <array>
#include <cstddef>

/// Room for a list of locale variants; a longer list is cut.
using LocaleVariantBuffer = std::array<char, 8192>;

/// The names under which the catalogue of a locale is looked for, best first, with ":" between them.
/// @param name        of the form language, "_" territory, "." codeset, "@" modifier, of which only the
///                    language is needed. Of another form, or with 8192 characters and more, it is the list.
/// @param variants    the storage of the result.
/// @return `name` or the list in `variants`. The language and territory alone are not in it; their form with
/// "-" and in lower case, as in "de-de", is. "de_DE.UTF-8" gives "de_DE.UTF-8:de_DE.UTF-8:de-de:de".
[[nodiscard]] const char* listLocaleVariants(const char* name, LocaleVariantBuffer& variants);
