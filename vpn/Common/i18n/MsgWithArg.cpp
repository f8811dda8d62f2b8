#include "Common/i18n/MsgWithArg.h"

#include "Common/i18n/MsgCatalog.h"

#include <algorithm>
#include <array>
#include <boost/locale/utf.hpp>
#include <charconv>
#include <cstdint>
#include <string>
#include <system_error>
#include <utility>

namespace {

namespace utf = boost::locale::utf;

constexpr std::size_t kMaximumArguments = 10;
constexpr std::size_t kMaximumBytes = 2047;

/// What stands between the "%" and the letter of a conversion.
struct Placeholder {
    /// From 1 on; 0 is no argument.
    std::size_t position = 0;
    std::size_t widthBytes = 0;
};

/// Takes the number at the front of `text` off it. Nothing or too large a number is 0.
std::size_t takeNumber(std::string_view& text) {
    std::size_t number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    text.remove_prefix(static_cast<std::size_t>(result.ptr - text.data()));
    return number;
}

/// @param description  digits and "$".
/// @param taken        how many arguments those without a position of their own have taken.
Placeholder readPlaceholder(std::string_view description, std::size_t& taken) {
    Placeholder placeholder;
    const std::size_t mark = description.find('$');
    if (mark == std::string_view::npos) {
        placeholder.position = ++taken;
    } else {
        placeholder.position = takeNumber(description);
        description.remove_prefix(1);
    }
    placeholder.widthBytes = takeNumber(description);
    return placeholder;
}

/// Builds the message. printf could take a message's word for how many arguments there are and read what is
/// none, so it is not asked.
class BoundedMessage {
public:
    void append(std::string_view text) { m_text.append(text.substr(0, kMaximumBytes - m_text.size())); }
    void append(const Placeholder& placeholder, const std::vector<WipedString>& arguments) {
        const std::size_t shown = std::min(arguments.size(), kMaximumArguments);
        const std::string_view argument = placeholder.position == 0 || placeholder.position > shown
                                              ? std::string_view()
                                              : arguments[placeholder.position - 1].view();
        if (argument.size() < placeholder.widthBytes) {
            append(std::string(std::min(placeholder.widthBytes - argument.size(), kMaximumBytes), ' '));
        }
        append(argument);
    }
    [[nodiscard]] WipedString& text() { return m_text; }

private:
    WipedString m_text;
};

WipedString insertArguments(std::string_view message, const std::vector<WipedString>& arguments) {
    BoundedMessage result;
    std::size_t taken = 0;
    while (!message.empty()) {
        const std::size_t start = std::min(message.find('%'), message.size());
        result.append(message.substr(0, start));
        message.remove_prefix(start);
        const std::size_t letter = message.find_first_not_of("$0123456789", 1);
        if (letter == std::string_view::npos) {
            result.append(message); // no conversion, for it has no letter
            break;
        }
        result.append(readPlaceholder(message.substr(1, letter - 1), taken), arguments);
        message.remove_prefix(letter + 1);
    }
    return std::move(result.text());
}

/// The character of a reference whose number stands at the front of `text`, which ends behind its ";" then;
/// 0 if it is no such reference, or one to what is no character.
char32_t takeReference(std::string_view& text) {
    const bool isHexadecimal = text.starts_with('x');
    const char* const digits = text.data() + (isHexadecimal ? 1 : 0);
    const char* const end = text.data() + text.size();
    uint32_t character = 0;
    const auto [rest, failure] = std::from_chars(digits, end, character, isHexadecimal ? 16 : 10);
    if (failure != std::errc() || rest == end || *rest != ';' || !utf::is_valid_codepoint(character)) {
        return 0;
    }
    if (character != 0) {
        text.remove_prefix(static_cast<std::size_t>(rest + 1 - text.data()));
    }
    return character;
}

void decodeReferences(std::string_view text, WipedString& textOut) {
    static constexpr std::string_view kMark = "&#";
    while (!text.empty()) {
        const std::size_t mark = std::min(text.find(kMark), text.size());
        const std::size_t behind = std::min(mark + kMark.size(), text.size());
        textOut.append(text.substr(0, mark));
        const std::string_view asItStands = text.substr(mark, behind - mark);
        text.remove_prefix(behind);
        const char32_t character = takeReference(text);
        if (character == 0) {
            textOut.append(asItStands);
            continue;
        }
        std::array<char, utf::utf_traits<char>::max_width> bytes{};
        const char* const end = utf::utf_traits<char>::encode(character, bytes.data());
        textOut.append(std::string_view(bytes.data(), end));
    }
}

} // namespace

void MsgWithArg::getFormattedMessage(WipedString& textOut, bool translate) const {
    WipedString message = m_message;
    textOut.clear();
    if (translate) {
        std::string translated;
        MsgCatalog::getMessage(m_message.c_str(), translated);
        message = translated;
        wipe(translated);
    }
    if (!m_arguments.empty()) {
        message = insertArguments(message, m_arguments);
    }
    decodeReferences(message, textOut);
}
