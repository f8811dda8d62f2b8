#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The content of a message catalogue in the `.mo` form of GNU gettext, of revision 0 and either byte order.
/// Its hash table isn't used: the originals are searched, and a catalogue whose originals aren't in ascending
/// byte order merely finds fewer of them. Whoever made the file is not trusted: nothing outside it is ever
/// read. An object belongs to one thread at a time.
class MoFile {
public:
    /// Checks a catalogue and notes where its strings are.
    /// @param file  the whole file, which must stay where it is as long as the result is used. What it holds
    ///              must not change in that time.
    /// @return nothing if it is no such catalogue, or if a table or a string does not lie within it.
    /// Throws std::bad_alloc.
    [[nodiscard]] static std::optional<MoFile> read(std::string_view file);

    /// The translation of a text: a C string in the file, up to its first NUL byte; null if there is none.
    /// Allocates nothing.
    [[nodiscard]] const char* find(const char* key) const noexcept;
    /// What the catalogue's header, the translation of the empty text, says behind "charset=", up to the line
    /// feed. Nothing if there is no header or if it does not say.
    [[nodiscard]] const std::optional<std::string>& charset() const noexcept { return m_charset; }

private:
    MoFile() = default;

    /// Length as the file gives it, and place. In order of the originals; both have the same size.
    std::vector<std::string_view> m_originals;
    std::vector<std::string_view> m_translations;
    std::optional<std::string> m_charset;
};
