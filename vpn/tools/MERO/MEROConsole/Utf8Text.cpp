#include "tools/MERO/MEROConsole/Utf8Text.h"

#include <algorithm>
#include <boost/locale/encoding_utf.hpp>

namespace {

namespace conv = boost::locale::conv;

/// Control characters of ASCII and of Latin 1, and the two separators that Unicode adds.
bool isControl(char32_t c) {
    return c < 0x20 || (c >= 0x7F && c <= 0x9F) || c == 0x2028 || c == 0x2029;
}

std::u32string goodCharactersOf(const std::string& text) {
    return conv::utf_to_utf<char32_t>(text, conv::skip);
}

} // namespace

std::optional<std::u32string> charactersOf(const std::string& text) {
    try {
        return conv::utf_to_utf<char32_t>(text, conv::stop);
    } catch (const conv::conversion_error&) {
        return std::nullopt;
    }
}

std::size_t characterCount(const std::string& text) {
    return goodCharactersOf(text).size();
}

std::string onOneLine(const std::string& text) {
    std::u32string characters = goodCharactersOf(text);
    std::replace_if(characters.begin(), characters.end(), isControl, U' ');
    return conv::utf_to_utf<char>(characters);
}
