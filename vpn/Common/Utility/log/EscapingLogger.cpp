#include "Common/Utility/log/EscapingLogger.h"

#include <boost/locale/utf.hpp>
#include <utility>

namespace {

namespace utf = boost::locale::utf;

/// Of a character's number, or of what stands for none.
bool isShownAsItIs(utf::code_point character) {
    constexpr utf::code_point kLastOfC1 = 0x9F;
    return utf::is_valid_codepoint(character) &&
           (character == '\n' || (character >= 0x20 && character < 0x7F) || character > kLastOfC1);
}

void appendEscaped(std::string& text, char c) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    const auto byte = static_cast<unsigned char>(c);
    text.append("\\x").append(1, kDigits[byte / 16]).append(1, kDigits[byte % 16]);
}

} // namespace

std::string escapeForLog(std::string_view text) {
    std::string escaped;
    escaped.reserve(text.size());
    for (auto position = text.begin(); position != text.end();) {
        const auto start = position;
        const utf::code_point character = utf::utf_traits<char>::decode(position, text.end());
        if (isShownAsItIs(character)) {
            escaped.append(start, position);
            continue;
        }
        // Where a bad sequence ends is anybody's guess, so that only its first byte goes now.
        position = utf::is_valid_codepoint(character) ? position : start + 1;
        for (auto byte = start; byte != position; ++byte) {
            appendEscaped(escaped, *byte);
        }
    }
    return escaped;
}

CEscapingLogger::CEscapingLogger(std::unique_ptr<ILogger> logger) : m_pLogger(std::move(logger)) {}

uint32_t CEscapingLogger::write(uint32_t priority, const char* text, const char* messageName,
                                uint32_t messageId, int32_t severity) {
    if (text == nullptr) {
        return m_pLogger->write(priority, text, messageName, messageId, severity);
    }
    return m_pLogger->write(priority, escapeForLog(text).c_str(), messageName, messageId, severity);
}
