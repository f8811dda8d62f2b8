#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/Utf8Cut.h"

#include <algorithm>

namespace {

/// A character has at most three bytes behind its first; more of them are no text.
constexpr std::size_t kMostBytesInside = 3;

bool isInsideCharacter(char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

} // namespace

std::string_view cutUtf8(std::string_view text, std::size_t mostBytes) {
    if (text.size() <= mostBytes) {
        return text;
    }
    std::size_t end = mostBytes;
    const std::size_t lowest = mostBytes - std::min(mostBytes, kMostBytesInside);
    while (end > lowest && isInsideCharacter(text[end])) {
        --end;
    }
    return text.substr(0, end);
}
