#include "MEROAttribute.h"

MEROAttribute::MEROAttribute(const char* name, const char* value)
    : m_name(name == nullptr ? "" : name), m_value(value == nullptr ? "" : value) {}

MEROAttribute& MEROAttribute::operator=(const MEROAttribute& other) {
    if (this != &other) {
        m_name = other.m_name.c_str();
        m_value = other.m_value.c_str();
    }
    return *this;
}

bool MEROAttribute::operator!=(const MEROAttribute& other) const {
    return m_name != other.m_name || m_value != other.m_value;
}
