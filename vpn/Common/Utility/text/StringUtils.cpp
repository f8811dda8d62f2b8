#include "Common/Utility/text/StringUtils.h"

#include "Common/Utility/text/BoundedString.h"
#include "Common/Utility/text/WhiteSpace.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdarg>

namespace {

/// The entity of a character that XML keeps for itself; empty for any other.
std::string_view entityOf(char c) {
    switch (c) {
    case '&':
        return "&amp;";
    case '\'':
        return "&apos;";
    case '"':
        return "&quot;";
    case '>':
        return "&gt;";
    case '<':
        return "&lt;";
    default:
        return {};
    }
}

} // namespace

bool CStringUtils::wildcardMatch(std::string_view text, std::string_view pattern) {
    std::size_t textAt = 0;
    std::size_t patternAt = 0;
    // Where to go on when the last star has to take one byte more.
    std::size_t afterStar = std::string_view::npos;
    std::size_t starTakesTo = 0;
    while (textAt < text.size()) {
        if (patternAt < pattern.size() && pattern[patternAt] == '*') {
            afterStar = ++patternAt;
            starTakesTo = textAt;
        } else if (patternAt < pattern.size() && pattern[patternAt] == text[textAt]) {
            ++patternAt;
            ++textAt;
        } else if (afterStar != std::string_view::npos) {
            patternAt = afterStar;
            textAt = ++starTakesTo;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', patternAt) == std::string_view::npos;
}

void CStringUtils::trimTrailingLineEnd(std::string& text) {
    text.erase(text.find_last_not_of("\r\n") + 1);
}

void CStringUtils::trim(std::string& text) {
    text = std::string(trimmed(text));
}

std::string CStringUtils::toLower(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return lower;
}

std::string CStringUtils::formatString(const char* format, ...) {
    std::array<char, 1024> buffer{};
    va_list arguments;
    va_start(arguments, format);
    static_cast<void>(formatBoundedV(buffer.data(), buffer.size(), format, arguments));
    va_end(arguments);
    return buffer.data();
}

std::string CStringUtils::replaceAll(std::string_view text, std::string_view from, std::string_view to) {
    if (from.empty()) {
        return std::string(text);
    }
    std::string result;
    std::size_t start = 0;
    for (std::size_t hit = text.find(from); hit != std::string_view::npos; hit = text.find(from, start)) {
        result.append(text, start, hit - start).append(to);
        start = hit + from.size();
    }
    return result.append(text, start);
}

std::list<std::string> CStringUtils::tokenize(std::string_view text, char separator) {
    std::list<std::string> pieces;
    if (text.empty()) {
        return pieces;
    }
    std::size_t start = 0;
    for (std::size_t end = text.find(separator); end != std::string_view::npos;
         end = text.find(separator, start)) {
        pieces.emplace_back(text.substr(start, end - start));
        start = end + 1;
    }
    pieces.emplace_back(text.substr(start));
    return pieces;
}

bool CStringUtils::hasParentComponent(std::string_view path) {
    const std::list<std::string> components = tokenize(path, '/');
    return std::find(components.begin(), components.end(), "..") != components.end();
}

std::string CStringUtils::escapeXml(std::string_view text) {
    std::string escaped;
    escaped.reserve(text.size());
    for (const char c : text) {
        const std::string_view entity = entityOf(c);
        if (entity.empty()) {
            escaped += c;
        } else {
            escaped += entity;
        }
    }
    return escaped;
}
