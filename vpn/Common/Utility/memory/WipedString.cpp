#include "Common/Utility/memory/WipedString.h"

#include "Common/Utility/text/WhiteSpace.h"

#include <cstring>
#include <utility>

namespace {

constexpr std::size_t kGrowthStep = 256;

} // namespace

void wipe(std::string& text) noexcept {
    // Never allocates: the string only takes what it already holds into use.
    text.resize(text.capacity());
    ::explicit_bzero(text.data(), text.size());
    text.clear();
}

WipedString::WipedString(std::string_view text) : m_text(text) {}

WipedString::WipedString(const WipedString& other) : m_text(other.m_text) {}

WipedString::WipedString(WipedString&& other) noexcept : m_text(std::move(other.m_text)) {
    // A short text was copied and still stands inside the other object.
    wipe(other.m_text);
}

WipedString& WipedString::operator=(const WipedString& other) {
    if (this != &other) {
        *this = WipedString(other);
    }
    return *this;
}

WipedString& WipedString::operator=(WipedString&& other) noexcept {
    if (this != &other) {
        // First ours, since the other string may take our storage over.
        wipe(m_text);
        m_text = std::move(other.m_text);
        wipe(other.m_text);
    }
    return *this;
}

WipedString& WipedString::operator=(std::string_view text) {
    // Through a copy, as `text` may be a part of this string.
    return *this = WipedString(text);
}

WipedString::~WipedString() {
    wipe(m_text);
}

void WipedString::append(std::string_view text) {
    if (text.size() <= m_text.capacity() - m_text.size()) {
        m_text.append(text);
        return;
    }
    // Built aside, as `text` may be a part of this string; the move wipes the old storage before it is freed.
    WipedString grown;
    grown.m_text.reserve(m_text.size() + text.size() + kGrowthStep);
    grown.m_text.append(m_text).append(text);
    *this = std::move(grown);
}

void WipedString::trim() {
    *this = trimmed(m_text);
}

void WipedString::clear() noexcept {
    wipe(m_text);
}
