#pragma once

#include <string>

/// Receives what a parser meets, in document order, on the thread that parses. Holds no data.
class XmlMgr {
public:
    virtual ~XmlMgr() = default;
    /// An element opens.
    virtual void startElement(const std::string& name) = 0;
    /// An element closes.
    virtual void endElement(const std::string& name) = 0;
    /// A piece of the text of the element that is open; may come several times for one element.
    virtual void setElementValue(const std::string& value) = 0;
    /// An attribute of the element that opened last.
    virtual void addAttribute(const std::string& name, const std::string& value) = 0;
};
