#pragma once

#include "Common/i18n/MappedFile.h"
#include "Common/i18n/MoFile.h"

#include <array>
#include <optional>
#include <string_view>

/// Room for the name of a domain, a folder, a list of locales or a path, with its terminating zero.
inline constexpr std::size_t kNameBytes = 4096;
using NameBuffer = std::array<char, kNameBytes>;

/// A text domain: where its catalogues are, and the one that is loaded. A catalogue is loaded once and stays,
/// whatever locale is asked for later, until the folder is set anew or it is unloaded. Belongs to one thread
/// at a time.
class TextDomain {
public:
    /// Both of at most 4095 characters; longer ones are cut.
    TextDomain(const char* name, const char* folder);
    TextDomain(const TextDomain&) = delete;
    TextDomain& operator=(const TextDomain&) = delete;

    [[nodiscard]] const char* name() const noexcept { return m_name.data(); }
    /// Sets the folder; the next load loads again. Until then the former catalogue stays in memory.
    void setFolder(const char* folder);

    /// Makes sure that a catalogue is loaded, the first good
    /// one of "<folder>/<locale>/<category>/<domain>.mo".
    /// @param locales   names with ":" between them. Empty ones are passed over; "C" and
    ///                  "POSIX" end the search.
    /// @param category  such as "LC_MESSAGES". Nothing with a "/" in it is looked for.
    /// @return false if there is none. With a catalogue loaded, true as soon as any of the files exists.
    [[nodiscard]] bool load(std::string_view locales, std::string_view category) noexcept;
    [[nodiscard]] bool isLoaded() const noexcept { return m_isCurrent; }
    /// Lets the catalogue go, and with it all texts that it gave; name and folder stay.
    void unload() noexcept;

    /// The translation of a text, valid until the catalogue goes; null if there is none.
    [[nodiscard]] const char* find(const char* key) const noexcept {
        return m_isCurrent ? m_catalogue->content.find(key) : nullptr;
    }
    /// True with a catalogue in memory, be it of a former folder.
    [[nodiscard]] bool holdsCatalogue() const noexcept { return m_catalogue.has_value(); }
    /// The character set that the catalogue in memory names; "" without one.
    [[nodiscard]] const char* charset() const noexcept;

private:
    struct Catalogue {
        MappedFile file;
        /// Its strings lie in `file`.
        MoFile content;
    };

    [[nodiscard]] bool loadFrom(const char* path);
    [[nodiscard]] bool readFrom(const char* path);

    NameBuffer m_name{};
    NameBuffer m_folder{};
    std::optional<Catalogue> m_catalogue;
    /// m_catalogue is one of m_folder.
    bool m_isCurrent = false;
};
