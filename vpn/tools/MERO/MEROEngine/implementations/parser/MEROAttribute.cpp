#include "tools/MERO/MEROEngine/implementations/parser/MEROAttribute.h"

namespace {

[[nodiscard]] std::string upToNul(const std::string& text) {
    return text.substr(0, text.find('\0'));
}

} // namespace

MEROAttribute::MEROAttribute(const char* name, const char* value)
    : m_name(name == nullptr ? "" : name), m_value(value == nullptr ? "" : value) {}

MEROAttribute& MEROAttribute::operator=(const MEROAttribute& other) {
    if (this != &other) {
        m_name = upToNul(other.m_name);
        m_value = upToNul(other.m_value);
    }
    return *this;
}

bool MEROAttribute::operator!=(const MEROAttribute& other) const {
    return m_name != other.m_name || m_value != other.m_value;
}
