#pragma once

#include <string>

/// The text that a configuration file marks for translation: what stands between the first _tr(" and the
/// first ") of `text`. A text without both marks, or with marks that cross, comes back as it stands.
[[nodiscard]] std::string extractTrText(const std::string& text);
