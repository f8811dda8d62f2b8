#pragma once

#include "Common/Utility/memory/WipedString.h"

#include <cstdint>
#include <list>
#include <string>
#include <utility>

/// The attributes of an element, as names and values in the order in which they are written.
using XmlAttributes = std::list<std::pair<std::string, std::string>>;

/// Builds a document by calls in the style of a SAX stream. Used by one thread.
///
/// The order is startDocument, any well-nested sequence of startElement, characters and endElement,
/// endDocument, writeDocument. Neither order nor nesting is checked.
class SaxWriterIfc {
public:
    virtual ~SaxWriterIfc() = default;

    /// Opens the document and its root element.
    /// @param attributes  those of the root; may be null. Values are written as they stand.
    /// @return 0; so for all but the last.
    virtual uint32_t startDocument(const XmlAttributes* attributes) = 0;
    /// @param attributes  may be null. Values are written as they stand.
    virtual uint32_t startElement(const std::string& name, const XmlAttributes* attributes) = 0;
    /// Text of the element that is open; it is protected where it needs to be.
    virtual uint32_t characters(const std::string& text) = 0;
    virtual uint32_t endElement(const std::string& name) = 0;
    /// Closes the root element.
    virtual uint32_t endDocument() = 0;
    /// Writes the document to its place. @return 0 or a return code.
    [[nodiscard]] virtual uint32_t writeDocument() = 0;
    /// For callers outside of this system: the document so far; a view that lives as long as the writer.
    [[nodiscard]] virtual const WipedString* getDocumentBuffer() const = 0;
};
