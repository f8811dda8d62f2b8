#include "tools/MERO/MEROEngine/implementations/parser/MEROComponent.h"

#include "tools/MERO/MEROEngine/implementations/parser/NodeStorage.h"

#include <algorithm>
#include <memory>
#include <new>
#include <utility>

namespace {

/// A sanitizer sees more when each node is an allocation of its own.
#ifdef MERO_SINGLE_NODES
constexpr bool kNodesInBlocks = false;
#else
constexpr bool kNodesInBlocks = true;
#endif

static_assert(sizeof(MEROComponent) <= NodeStorage::kLargestPieceBytes);

/// Appends `item` to a list of owned pointers; stays the caller's if that throws.
template <typename T> void adopt(std::list<T*>& list, std::unique_ptr<T> item) {
    list.push_back(item.get());
    static_cast<void>(item.release()); // now the list's
}

} // namespace

MEROComponent::MEROComponent(const std::string& name, const std::string& value)
    : m_name(name), m_value(value), m_count(1) {}

// Delegates, so that a copy that fails halfway is destroyed with what it holds by then.
MEROComponent::MEROComponent(const MEROComponent& other) : MEROComponent() {
    m_isLeaf = other.m_isLeaf;
    m_name = other.m_name;
    m_value = other.m_value;
    m_parent = other.m_parent;
    m_count = other.m_count;
    for (const MEROComponent* child : other.m_children) {
        adopt(m_children, std::make_unique<MEROComponent>(*child));
    }
    for (const MEROAttribute* attribute : other.m_attributes) {
        adopt(m_attributes, std::make_unique<MEROAttribute>(*attribute));
    }
}

MEROComponent& MEROComponent::operator=(const MEROComponent& other) {
    if (this != &other) {
        MEROComponent copy(other);
        std::swap(m_isLeaf, copy.m_isLeaf);
        m_name.swap(copy.m_name);
        m_value.swap(copy.m_value);
        std::swap(m_parent, copy.m_parent);
        std::swap(m_count, copy.m_count);
        m_children.swap(copy.m_children);
        m_attributes.swap(copy.m_attributes);
    }
    return *this;
}

MEROComponent::~MEROComponent() {
    for (const MEROAttribute* attribute : m_attributes) {
        delete attribute;
    }
    for (const MEROComponent* child : m_children) {
        delete child;
    }
    m_parent = nullptr;
}

void* MEROComponent::operator new(std::size_t sizeBytes) {
    return kNodesInBlocks ? NodeStorage::take(sizeBytes) : ::operator new(sizeBytes);
}

void MEROComponent::operator delete(void* node) noexcept {
    if (kNodesInBlocks) {
        NodeStorage::giveBack(node);
    } else {
        ::operator delete(node);
    }
}

void MEROComponent::appendValue(std::string_view piece) {
    m_value.append(piece);
}

void MEROComponent::addChild(const std::string& name, const std::string& value) {
    auto child = std::make_unique<MEROComponent>(name, value);
    if (addChild(child.get())) {
        static_cast<void>(child.release()); // now this node's
    }
}

bool MEROComponent::addChild(MEROComponent* child) {
    if (child == nullptr || child->m_count == 0) {
        return false;
    }
    m_children.push_back(child);
    child->m_parent = this;
    m_isLeaf = false;
    for (MEROComponent* node = this; node != nullptr; node = node->m_parent) {
        node->m_count += child->m_count;
    }
    return true;
}

void MEROComponent::removeChild(MEROComponent* child) {
    const auto place = std::find(m_children.begin(), m_children.end(), child);
    if (place == m_children.end()) {
        return;
    }
    for (MEROComponent* node = this; node != nullptr; node = node->m_parent) {
        node->m_count -= child->m_count;
    }
    m_children.erase(place);
    delete child;
}

void MEROComponent::removeChild(std::string_view name) {
    removeChild(FindChild(name));
}

void MEROComponent::addAttribute(const std::string& name, const std::string& value) {
    adopt(m_attributes, std::make_unique<MEROAttribute>(name.c_str(), value.c_str()));
}

void MEROComponent::addAttribute(MEROAttribute* attribute) {
    if (attribute != nullptr) {
        m_attributes.push_back(attribute);
    }
}

void MEROComponent::removeAttribute(MEROAttribute* attribute) {
    const auto place = std::find(m_attributes.begin(), m_attributes.end(), attribute);
    if (place != m_attributes.end()) {
        m_attributes.erase(place);
        delete attribute;
    }
}

void MEROComponent::removeAttribute(std::string_view name) {
    removeAttribute(FindAttribute(name));
}

MEROAttribute* MEROComponent::FindAttribute(std::string_view name) const {
    const auto place = std::find_if(m_attributes.begin(), m_attributes.end(),
                                    [&](const MEROAttribute* entry) { return entry->hasName(name); });
    return place == m_attributes.end() ? nullptr : *place;
}

MEROComponent* MEROComponent::FindChild(std::string_view name) const {
    for (MEROComponent* child : m_children) {
        if (child->m_name == name) {
            return child;
        }
        if (MEROComponent* found = child->FindChild(name); found != nullptr) {
            return found;
        }
    }
    return nullptr;
}

MEROComponent* MEROComponent::findOwnChild(std::string_view name) const {
    const auto place = std::find_if(m_children.begin(), m_children.end(),
                                    [&](const MEROComponent* child) { return child->m_name == name; });
    return place == m_children.end() ? nullptr : *place;
}
