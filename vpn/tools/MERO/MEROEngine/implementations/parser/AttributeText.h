#pragma once

#include "tools/MERO/MEROEngine/implementations/parser/MEROComponent.h"

#include <string>
#include <string_view>

/// The value of a component's first attribute of exactly this name; empty if there is none.
[[nodiscard]] inline std::string attributeOf(const MEROComponent& component, std::string_view name) {
    const MEROAttribute* attribute = component.FindAttribute(name);
    return attribute == nullptr ? std::string() : attribute->getValue();
}
