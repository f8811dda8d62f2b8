#pragma once

#include <array>
#include <cstdio>

/// The path in /proc by which this process reaches an open file, also one that has no name. Takes no memory.
class DescriptorPath {
public:
    explicit DescriptorPath(int file) noexcept {
        static_cast<void>(std::snprintf(m_path.data(), m_path.size(), "/proc/self/fd/%d", file));
    }
    [[nodiscard]] const char* get() const noexcept { return m_path.data(); }

private:
    std::array<char, 32> m_path{}; // a prefix of 14 and a number of at most 11
};
