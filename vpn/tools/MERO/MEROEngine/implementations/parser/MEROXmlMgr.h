#pragma once

#include "Common/Xml/XmlMgr.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlObject.h"

#include <memory>
#include <stack>
#include <string>

/// Builds the tree of one document. Nothing clears it between parses: one manager, one document.
class MEROXmlMgr : public XmlMgr {
public:
    MEROXmlMgr();

    void startElement(const std::string& name) override;
    void endElement(const std::string& name) override;
    void setElementValue(const std::string& value) override;
    void addAttribute(const std::string& name, const std::string& value) override;

    /// The tree read so far; stays the manager's.
    [[nodiscard]] MEROXmlObject* getXmlObject() const { return m_object.get(); }

private:
    /// The path of open elements, a view into m_object.
    std::stack<MEROComponent*> m_stack;
    std::unique_ptr<MEROXmlObject> m_object;
};
