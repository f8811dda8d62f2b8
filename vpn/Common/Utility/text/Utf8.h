#pragma once

#include <optional>
#include <string_view>

/// Takes the character at the front of a text off it. Async-signal-safe.
/// @return nothing, and the text stays as it is, at its end and for bytes that are no well-formed UTF-8:
/// something overlong, a surrogate or a value above U+10FFFF is none.
[[nodiscard]] std::optional<char32_t> takeCharacter(std::string_view& text) noexcept;
