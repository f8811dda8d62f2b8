#pragma once

#include <list>
#include <string>
#include <string_view>

/// String helpers of the common code. All are static and free of shared state.
class CStringUtils {
public:
    virtual ~CStringUtils() = default;

    /// For callers outside of this system: matches the whole text; `*` stands for any run of characters, the
    /// empty one included. The comparison is case-sensitive.
    [[nodiscard]] static bool wildcardMatch(std::string_view text, std::string_view pattern);
    /// Removes trailing line feeds and carriage returns.
    static void trimTrailingLineEnd(std::string& text);
    /// Removes white space by isspace at both ends.
    static void trim(std::string& text);
    /// A lower-case copy, byte by byte.
    [[nodiscard]] static std::string toLower(std::string_view text);
    /// printf into a string of at most 1023 bytes; longer results are cut. Empty for a null format.
    [[nodiscard]] [[gnu::format(printf, 1, 2)]] static std::string formatString(const char* format, ...);
    /// A copy with each `from` replaced; what was put in isn't searched again. An empty
    /// `from` gives the text.
    [[nodiscard]] static std::string replaceAll(std::string_view text, std::string_view from,
                                                std::string_view to);
    /// Splits at a single character. Pieces may be empty, the last one behind a trailing separator too; an
    /// empty text has none.
    [[nodiscard]] static std::list<std::string> tokenize(std::string_view text, char separator);
    /// Whether a path has a component "..".
    [[nodiscard]] static bool hasParentComponent(std::string_view path);
    /// For callers outside of this system: a copy with the five special characters of XML as entities.
    [[nodiscard]] static std::string escapeXml(std::string_view text);
};
