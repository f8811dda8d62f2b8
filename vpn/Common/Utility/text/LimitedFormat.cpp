#include "Common/Utility/text/LimitedFormat.h"

#include <algorithm>
#include <charconv>

namespace {

/// For the last text and for numbers.
constexpr std::size_t kKeptBytes = 512;

/// The length of the conversion, or of the plain text, that a format begins with.
std::size_t pieceLength(std::string_view format) noexcept {
    if (format.front() != '%') {
        return std::min(format.find('%'), format.size());
    }
    return format.starts_with("%s") || format.starts_with("%%") ? 2 : 1;
}

std::size_t countTexts(std::string_view format) noexcept {
    std::size_t count = 0;
    while (!format.empty()) {
        count += format.starts_with("%s") ? 1 : 0;
        format.remove_prefix(pieceLength(format));
    }
    return count;
}

} // namespace

LimitedFormat::LimitedFormat(std::string_view format, std::size_t bytes) noexcept {
    const std::size_t texts = countTexts(format);
    const std::size_t room = kKeptBytes + format.size();
    if (texts < 2 || room >= bytes) {
        return;
    }
    std::array<char, 16> limited{'%', '.'};
    char* const end = std::to_chars(limited.begin() + 2, limited.end() - 1, (bytes - room) / (texts - 1)).ptr;
    *end = 's';
    const std::string_view conversion(limited.data(), static_cast<std::size_t>(end + 1 - limited.data()));
    std::size_t seen = 0;
    m_isGood = true;
    while (!format.empty()) {
        const bool isLimited = format.starts_with("%s") && ++seen < texts;
        const std::size_t length = pieceLength(format);
        append(isLimited ? conversion : format.substr(0, length));
        format.remove_prefix(length);
    }
}

void LimitedFormat::append(std::string_view text) noexcept {
    m_isGood = m_isGood && m_length + text.size() < m_format.size();
    if (m_isGood) {
        std::copy(text.begin(), text.end(), m_format.begin() + static_cast<std::ptrdiff_t>(m_length));
        m_length += text.size();
    }
}
