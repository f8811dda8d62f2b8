#include "Common/Utility/log/EscapingLogger.h"

#include "Common/Utility/text/Utf8.h"

#include <optional>
#include <utility>

namespace {

bool isShownAsItIs(char32_t character) {
    constexpr char32_t kLastOfC1 = 0x9F;
    return character == U'\n' || (character >= 0x20 && character < 0x7F) || character > kLastOfC1;
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
    while (!text.empty()) {
        std::string_view rest = text;
        const std::optional<char32_t> character = takeCharacter(rest);
        if (!character) {
            rest.remove_prefix(1); // where a bad sequence ends is anybody's guess
        }
        const std::string_view bytes = text.substr(0, text.size() - rest.size());
        if (character && isShownAsItIs(*character)) {
            escaped.append(bytes);
        } else {
            for (const char byte : bytes) {
                appendEscaped(escaped, byte);
            }
        }
        text = rest;
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
