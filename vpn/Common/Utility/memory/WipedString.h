#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Byte string for secrets: its storage is overwritten with zeros before it is let go, by clearing, growing,
/// moving, assigning or destroying. It grows in steps of at least 256 bytes through a temporary that is wiped
/// in turn. Not shared between threads.
class WipedString {
public:
    WipedString() = default;
    explicit WipedString(std::string_view text);
    WipedString(const WipedString& other);
    WipedString(WipedString&& other) noexcept;
    WipedString& operator=(const WipedString& other);
    WipedString& operator=(WipedString&& other) noexcept;
    WipedString& operator=(std::string_view text);
    ~WipedString();

    void append(std::string_view text);
    void push_back(char c) { append(std::string_view(&c, 1)); }
    /// Removes white space by isspace at both ends.
    void trim();
    /// Overwrites the content with zeros and empties the string.
    void clear() noexcept;

    [[nodiscard]] const char* c_str() const noexcept { return m_text.c_str(); }
    [[nodiscard]] std::string_view view() const noexcept { return m_text; }
    [[nodiscard]] operator std::string_view() const noexcept { return m_text; }
    /// The bytes as a plain string object, for calls that need one; valid until the next change.
    [[nodiscard]] const std::string& str() const noexcept { return m_text; }
    [[nodiscard]] std::size_t size() const noexcept { return m_text.size(); }
    [[nodiscard]] bool empty() const noexcept { return m_text.empty(); }

private:
    std::string m_text;
};

/// Overwrites a string's whole storage with zeros, in a way the compiler can't leave out, and empties it.
void wipe(std::string& text) noexcept;
