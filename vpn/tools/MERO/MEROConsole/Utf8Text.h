#pragma once

#include <cstddef>
#include <optional>
#include <string>

/// Texts by their characters.

/// @return nothing for a text that is not UTF-8.
[[nodiscard]] std::optional<std::u32string> charactersOf(const std::string& text);
/// The number of characters; bytes that are no UTF-8 don't count.
[[nodiscard]] std::size_t characterCount(const std::string& text);
/// A text for one line of a terminal: each control character, line ends among them, becomes a blank, and
/// bytes that are no UTF-8 are left out.
[[nodiscard]] std::string onOneLine(const std::string& text);
