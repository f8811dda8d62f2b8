#pragma once

#include <string>
#include <string_view>

/// Name and value of one attribute; owned by the component that holds it.
class MEROAttribute {
public:
    MEROAttribute() = default;
    /// Null stands for the empty text.
    MEROAttribute(const char* name, const char* value);
    MEROAttribute(const MEROAttribute& other) = default;
    /// Copies through the C strings, so that a NUL byte ends the value.
    MEROAttribute& operator=(const MEROAttribute& other);
    virtual ~MEROAttribute() = default;

    [[nodiscard]] std::string getName() const { return m_name; }
    [[nodiscard]] std::string getValue() const { return m_value; }
    /// True if this is exactly the name; spares the copy of getName.
    [[nodiscard]] bool hasName(std::string_view name) const { return m_name == name; }
    void setValue(const std::string& value) { m_value = value; }
    [[nodiscard]] bool operator!=(const MEROAttribute& other) const;

private:
    std::string m_name;
    std::string m_value;
};
