#pragma once

#include <cctype>
#include <string_view>

/// White space by isspace: the locale tells what it is.
[[nodiscard]] inline bool isWhiteSpace(char c) {
    // The two that indentation is made of, which is most of what is trimmed, need no look-up.
    return c == ' ' || c == '\n' || std::isspace(static_cast<unsigned char>(c)) != 0;
}

/// The part of a text behind the white space that it starts with.
[[nodiscard]] inline std::string_view trimmedAtStart(std::string_view text) {
    while (!text.empty() && isWhiteSpace(text.front())) {
        text.remove_prefix(1);
    }
    return text;
}

/// The part of a text between the white space at its ends.
[[nodiscard]] inline std::string_view trimmed(std::string_view text) {
    text = trimmedAtStart(text);
    while (!text.empty() && isWhiteSpace(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}
