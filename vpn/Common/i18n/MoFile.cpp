#include "Common/i18n/MoFile.h"

#include <cstring>

namespace {

constexpr uint32_t kMagic = 0x950412DE;
constexpr uint32_t kMagicOfOtherByteOrder = 0xDE120495;
constexpr uint32_t kRevision = 0;
constexpr std::size_t kWordBytes = 4;
/// Length and offset of a string.
constexpr std::size_t kRowBytes = 2 * kWordBytes;

enum HeaderWord : std::size_t {
    kWordMagic,
    kWordRevision,
    kWordStringCount,
    kWordOriginals,
    kWordTranslations,
    kHeaderWords
};

/// The words of a file and the bounds of what they name. Sums are taken in 64 bits,
/// where they can't overflow.
class WordReader {
public:
    explicit WordReader(std::string_view file) : m_file(file), m_lastNul(file.rfind('\0')) {}

    /// False if the file is too short for a header, or does not begin with the magic of either byte order.
    [[nodiscard]] bool readMagic() {
        if (m_file.size() < kHeaderWords * kWordBytes) {
            return false;
        }
        const uint32_t magic = word(kWordMagic * kWordBytes);
        m_isSwapped = magic == kMagicOfOtherByteOrder;
        return m_isSwapped || magic == kMagic;
    }

    [[nodiscard]] uint32_t headerWord(HeaderWord number) const { return word(number * kWordBytes); }

    /// Fills in the strings of the table at `offset`. False if it or one of them is out of bounds.
    [[nodiscard]] bool readTable(uint32_t offset, uint32_t count, std::vector<std::string_view>& stringsOut) {
        const uint64_t tableBytes = uint64_t{count} * kRowBytes;
        if (offset >= m_file.size() || offset + tableBytes > m_file.size()) {
            return false;
        }
        stringsOut.reserve(count);
        for (std::size_t row = offset; row < offset + tableBytes; row += kRowBytes) {
            const uint32_t length = word(row);
            const uint32_t place = word(row + kWordBytes);
            if (!holdsString(place, length)) {
                return false;
            }
            stringsOut.push_back(m_file.substr(place, length));
        }
        return true;
    }

private:
    [[nodiscard]] uint32_t word(std::size_t place) const {
        uint32_t value = 0;
        std::memcpy(&value, m_file.data() + place, kWordBytes);
        return m_isSwapped ? __builtin_bswap32(value) : value;
    }

    /// Strings are read up to a NUL byte wherever the file has it, so that any place is good up
    /// to the last one.
    [[nodiscard]] bool holdsString(uint32_t place, uint32_t length) const {
        return uint64_t{place} + length + 1 <= m_file.size() && m_lastNul != std::string_view::npos &&
               place <= m_lastNul;
    }

    std::string_view m_file;
    std::size_t m_lastNul;
    bool m_isSwapped = false;
};

std::optional<std::string> charsetOf(std::string_view header) {
    static constexpr std::string_view kMark = "charset=";
    const std::size_t mark = header.find(kMark);
    if (mark == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view rest = header.substr(mark + kMark.size());
    return std::string(rest.substr(0, rest.find('\n')));
}

} // namespace

std::optional<MoFile> MoFile::read(std::string_view file) {
    WordReader reader(file);
    if (!reader.readMagic() || reader.headerWord(kWordRevision) != kRevision) {
        return std::nullopt;
    }
    const uint32_t count = reader.headerWord(kWordStringCount);
    std::optional<MoFile> result{MoFile()};
    if (!reader.readTable(reader.headerWord(kWordOriginals), count, result->m_originals) ||
        !reader.readTable(reader.headerWord(kWordTranslations), count, result->m_translations)) {
        return std::nullopt;
    }
    if (const char* const header = result->find("")) {
        result->m_charset = charsetOf(header);
    }
    return result;
}

const char* MoFile::find(const char* key) const noexcept {
    std::size_t lower = 0;
    std::size_t upper = m_originals.size();
    // No place in a catalogue, so that one without texts is not searched.
    std::size_t previous = upper;
    // Which entries of unsorted originals are found depends on the order in which they are tried.
    for (std::size_t middle = upper / 2; middle != previous; middle = (lower + upper) / 2) {
        const int order = std::strcmp(key, m_originals[middle].data());
        if (order == 0) {
            return m_translations[middle].data();
        }
        (order < 0 ? upper : lower) = middle;
        previous = middle;
    }
    return nullptr;
}
