#include "Common/Utility/text/Utf8.h"

#include <boost/locale/utf.hpp>

std::optional<char32_t> takeCharacter(std::string_view& text) noexcept {
    namespace utf = boost::locale::utf;
    const char* position = text.data();
    const char* const end = position + text.size();
    const utf::code_point character = utf::utf_traits<char>::decode(position, end);
    if (!utf::is_valid_codepoint(character)) {
        return std::nullopt;
    }
    text = std::string_view(position, static_cast<std::size_t>(end - position));
    return character;
}
