#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlMgr.h"

MEROXmlMgr::MEROXmlMgr() : m_object(std::make_unique<MEROXmlObject>()) {}

void MEROXmlMgr::startElement(const std::string& name) {
    auto node = std::make_unique<MEROComponent>(name, std::string());
    MEROComponent* parent = m_stack.empty() ? nullptr : m_stack.top();
    m_object->addComponent(parent, node.get());
    m_stack.push(node.release()); // the tree's since the line before
}

void MEROXmlMgr::endElement(const std::string& /*name*/) {
    // The parser has compared the names already.
    if (!m_stack.empty()) {
        m_stack.pop();
    }
}

void MEROXmlMgr::setElementValue(const std::string& value) {
    if (!m_stack.empty() && !value.empty()) {
        // Texts of the tree end at a NUL, as they do for all who read them as C strings.
        m_stack.top()->appendValue(value.substr(0, value.find('\0')));
    }
}

void MEROXmlMgr::addAttribute(const std::string& name, const std::string& value) {
    if (!m_stack.empty()) {
        m_stack.top()->addAttribute(name, value);
    }
}
