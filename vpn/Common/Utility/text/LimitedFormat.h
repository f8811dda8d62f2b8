#pragma once

#include <array>
#include <cstddef>
#include <string_view>

/// A format of printf for a line that would be too long: each plain "%s" but the last one takes a limited
/// number of bytes, so that the reason behind a long path is not what is cut off. Takes no memory.
class LimitedFormat {
public:
    /// @param bytes  what the line may have.
    LimitedFormat(std::string_view format, std::size_t bytes) noexcept;
    /// @return null for a format with less than two such texts (one with a place of its own, "%1$s", is
    /// none), and for one that is itself too long.
    [[nodiscard]] const char* get() const noexcept { return m_isGood ? m_format.data() : nullptr; }

private:
    void append(std::string_view text) noexcept;

    /// Its last byte stays the terminating zero.
    std::array<char, 512> m_format{};
    std::size_t m_length = 0;
    bool m_isGood = false;
};
