#pragma once

#include "Common/Utility/memory/WipedString.h"

#include <string_view>
#include <vector>

/// For callers outside of this system: a message and its arguments, all texts. Placeholders are "%s", taken
/// in order, or "%1$s" to "%10$s". All of it is wiped when it goes. Belongs to one thread at a time.
class MsgWithArg {
public:
    MsgWithArg() = default;
    explicit MsgWithArg(std::string_view message) : m_message(message) {}
    virtual ~MsgWithArg() = default;
    MsgWithArg(const MsgWithArg&) = default;
    MsgWithArg& operator=(const MsgWithArg&) = default;
    MsgWithArg(MsgWithArg&&) noexcept = default;
    MsgWithArg& operator=(MsgWithArg&&) noexcept = default;

    void setMessage(std::string_view message) { m_message = message; }
    /// Those beyond the tenth are not shown.
    void addArgument(std::string_view text) { m_arguments.emplace_back(text); }
    [[nodiscard]] bool isEmpty() const { return m_message.empty(); }
    [[nodiscard]] const WipedString& getMessageKey() const { return m_message; }

    /// The message with its arguments put in, and with numeric character references such as "&#38;" replaced
    /// by the UTF-8 form of their characters, those of the arguments too. References to what is no character
    /// stay, and what a reference gave is not looked at again.
    ///
    /// Every conversion counts as one of text, whatever letter it has: "%d" is "%s" here, and so is
    /// "%%". A missing argument is empty. With arguments the text is cut at 2047 bytes; without, it is
    /// taken as it stands.
    /// @param translate  look the message up in MsgCatalog.
    void getFormattedMessage(WipedString& textOut, bool translate) const;

private:
    WipedString m_message;
    std::vector<WipedString> m_arguments;
};
