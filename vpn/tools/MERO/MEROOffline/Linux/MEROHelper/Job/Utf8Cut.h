#pragma once

#include <cstddef>
#include <string_view>

/// The start of a text, of at most so many bytes, that cuts no character of UTF-8 in two.
[[nodiscard]] std::string_view cutUtf8(std::string_view text, std::size_t mostBytes);
