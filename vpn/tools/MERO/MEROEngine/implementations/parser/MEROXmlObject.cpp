#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlObject.h"

#include <memory>
#include <utility>

namespace {

void appendByName(MEROComponent& node, std::string_view name, std::list<MEROComponent*>& found) {
    if (node.getName() == name) {
        found.push_back(&node);
    }
    for (MEROComponent* child : node.getChildren()) {
        appendByName(*child, name, found);
    }
}

} // namespace

MEROXmlObject::MEROXmlObject(const std::string& name, const std::string& value)
    : m_root(std::make_unique<MEROComponent>(name, value).release()), m_count(1) {}

MEROXmlObject::MEROXmlObject(const MEROComponent* root) {
    if (root != nullptr) {
        m_root = std::make_unique<MEROComponent>(*root).release();
        m_count = root->getCount();
    }
}

MEROXmlObject::MEROXmlObject(const MEROXmlObject& other) : MEROXmlObject(other.m_root) {
    m_count = other.m_count;
}

MEROXmlObject& MEROXmlObject::operator=(const MEROXmlObject& other) {
    if (this != &other) {
        MEROXmlObject copy(other);
        std::swap(m_root, copy.m_root);
        std::swap(m_count, copy.m_count);
    }
    return *this;
}

MEROXmlObject::~MEROXmlObject() {
    delete m_root;
    m_root = nullptr;
}

void MEROXmlObject::SetRoot(MEROComponent* root) {
    if (root != m_root) {
        delete m_root;
        m_root = root;
    }
    m_count = root == nullptr ? 0 : root->getCount();
}

void MEROXmlObject::setRootNameValue(const std::string& name, const std::string& value) {
    if (m_root == nullptr) {
        SetRoot(std::make_unique<MEROComponent>(name, value).release());
        return;
    }
    m_root->setName(name);
    m_root->setValue(value);
}

void MEROXmlObject::addComponent(MEROComponent* parent, MEROComponent* child) {
    if (child == nullptr) {
        return;
    }
    if (parent == nullptr) {
        SetRoot(child);
    } else if (parent->addChild(child)) {
        m_count += child->getCount();
    }
}

void MEROXmlObject::addComponent(MEROComponent* parent, const std::string& name, const std::string& value) {
    if (parent == nullptr) {
        setRootNameValue(name, value);
        return;
    }
    parent->addChild(name, value);
    ++m_count;
}

void MEROXmlObject::removeComponent(MEROComponent* parent, MEROComponent* child) {
    if (parent == nullptr || child == nullptr) {
        return;
    }
    const uint32_t before = parent->getCount();
    parent->removeChild(child);
    m_count -= before - parent->getCount();
}

void MEROXmlObject::removeComponent(MEROComponent* parent, std::string_view name) {
    if (parent != nullptr) {
        removeComponent(parent, parent->FindChild(name));
    }
}

MEROComponent* MEROXmlObject::FindChild(const MEROComponent* start, std::string_view name) const {
    return start == nullptr ? nullptr : start->FindChild(name);
}

MEROComponent* MEROXmlObject::FindChild(std::string_view elementName, std::string_view childName) const {
    std::list<MEROComponent*> elements;
    findAllByName(elementName, elements);
    for (const MEROComponent* element : elements) {
        if (MEROComponent* child = element->FindChild(childName); child != nullptr) {
            return child;
        }
    }
    return nullptr;
}

void MEROXmlObject::findAllByName(std::string_view name, std::list<MEROComponent*>& found) const {
    if (m_root != nullptr) {
        appendByName(*m_root, name, found);
    }
}

void MEROXmlObject::addAttribute(MEROComponent* component, const std::string& name,
                                 const std::string& value) {
    if (component != nullptr) {
        component->addAttribute(name, value);
    }
}

void MEROXmlObject::addAttribute(MEROComponent* component, MEROAttribute* attribute) {
    if (component != nullptr) {
        component->addAttribute(attribute);
    }
}

void MEROXmlObject::removeAttribute(MEROComponent* component, MEROAttribute* attribute) {
    if (component != nullptr) {
        component->removeAttribute(attribute);
    }
}

void MEROXmlObject::removeAttribute(MEROComponent* component, std::string_view name) {
    if (component != nullptr) {
        component->removeAttribute(name);
    }
}

MEROAttribute* MEROXmlObject::FindAttribute(const MEROComponent* component, std::string_view name) const {
    return component == nullptr ? nullptr : component->FindAttribute(name);
}
