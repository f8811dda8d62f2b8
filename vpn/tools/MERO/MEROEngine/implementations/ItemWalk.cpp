#include "tools/MERO/MEROEngine/implementations/ItemWalk.h"

#include "tools/MERO/MEROEngine/implementations/parser/AttributeText.h"
#include "tools/MERO/MEROEngine/implementations/parser/PlatformSection.h"

#include <algorithm>
#include <iterator>
#include <optional>

namespace {

std::list<MEROComponent*> childrenNamed(const MEROComponent& parent, const char* name) {
    std::list<MEROComponent*> found;
    for (MEROComponent* child : parent.getChildren()) {
        if (child->getName() == name) {
            found.push_back(child);
        }
    }
    return found;
}

/// An element with its id, which is looked up once and not at each comparison.
struct KeyedElement {
    MEROComponent* element;
    std::optional<std::string> id;
};

KeyedElement withId(MEROComponent* element) {
    const MEROAttribute* id = element->FindAttribute("id");
    return {element, id == nullptr ? std::nullopt : std::optional(id->getValue())};
}

/// Components without an id are neither less nor greater than any other. Among ids they make the order
/// depend on how a list is merged, so only the list's own sort may be used with this.
bool hasLowerId(const KeyedElement& left, const KeyedElement& right) {
    return left.id && right.id && *left.id < *right.id;
}

} // namespace

std::list<MEROComponent*> ItemWalk::groupsOf(const MEROXmlObject& config) const {
    if (config.GetRoot() == nullptr) {
        return {};
    }
    if (!m_rules.groupsByTree) {
        return childrenNamed(*config.GetRoot(), "fileGroup");
    }
    std::list<MEROComponent*> groups = config.GetRoot()->getChildren();
    groups.remove_if(
        [](const MEROComponent* child) { return child->FindAttribute("treeRootName") == nullptr; });
    return groups;
}

std::vector<WalkedItem> ItemWalk::itemsOf(const MEROComponent& group) const {
    std::list<MEROComponent*> files = fileElements(group);
    if (!m_rules.inFileOrder) {
        sortById(files);
    }
    std::vector<WalkedItem> items;
    items.reserve(files.size());
    for (MEROComponent* file : files) {
        items.push_back({.element = file, .id = attributeOf(*file, "id"), .isDefault = isDefault(*file)});
    }
    return items;
}

bool ItemWalk::isDefault(const MEROComponent& item) const {
    const MEROComponent* mark = childThatCounts(item, "default");
    return mark != nullptr && mark->getValue() == "true";
}

ItemInstructions ItemWalk::instructionsOf(const MEROComponent& item) {
    MEROComponent* own = childThatCounts(item, "mero");
    if (own != nullptr || !m_rules.instructionsPassOn) {
        m_reader = own;
    }
    MEROComponent* section = m_reader == nullptr ? nullptr : findPlatformSection(*m_reader);
    if (section != nullptr) {
        m_reader = section;
    }
    return {.areGiven = own != nullptr, .section = section};
}

std::list<MEROComponent*> ItemWalk::fileElements(const MEROComponent& parent) {
    return childrenNamed(parent, "file");
}

void ItemWalk::sortById(std::list<MEROComponent*>& files) {
    std::list<KeyedElement> keyed;
    std::ranges::transform(files, std::back_inserter(keyed), withId);
    keyed.sort(hasLowerId);
    std::ranges::transform(keyed, files.begin(), &KeyedElement::element);
}

MEROComponent* ItemWalk::childThatCounts(const MEROComponent& item, const char* name) const {
    if (!m_rules.lastCounts) {
        return item.FindChild(name);
    }
    const std::list<MEROComponent*> children = childrenNamed(item, name);
    return children.empty() ? nullptr : children.back();
}
