#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

/// A regular file in memory, read-only and shared with everybody else who has it mapped. Movable.
///
/// Who cuts the file short while it is mapped takes the pages behind its new end away, and the next look at
/// them ends the process. That is left so: only root can write where catalogues are installed, package
/// managers put a new file in the place of the old one, which stays whole for those who have it mapped, and a
/// handler of the signal would have to be the whole process's.
class MappedFile {
public:
    /// @param maximumBytes  a larger file is refused.
    /// @return nothing for what is missing, empty, too large or no regular file, and when a call fails. No
    /// line is logged, because a missing catalogue is the usual case.
    [[nodiscard]] static std::optional<MappedFile> open(const char* path, std::size_t maximumBytes);

    MappedFile(MappedFile&& other) noexcept;
    MappedFile& operator=(MappedFile&& other) noexcept;
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;
    ~MappedFile();

    /// The content, at the same place for as long as the file is mapped.
    [[nodiscard]] std::string_view bytes() const noexcept { return m_bytes; }

private:
    explicit MappedFile(std::string_view bytes) noexcept : m_bytes(bytes) {}

    std::string_view m_bytes;
};
