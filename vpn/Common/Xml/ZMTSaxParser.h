#pragma once

#include "Common/Xml/XmlMgr.h"

#include <cstdint>
#include <string>

inline constexpr unsigned kParseText = 0;
inline constexpr unsigned kParseFile = 1;

/// Feeds one document to an XmlMgr through libxml2's SAX parser. No entity of the document is expanded or
/// fetched. Names, values and pieces of text arrive trimmed at both ends. Used by one thread.
class ZMTSaxParser {
public:
    /// @param manager  not owned; null makes each callback log and drop what it got.
    explicit ZMTSaxParser(XmlMgr* manager);
    virtual ~ZMTSaxParser() = default;
    ZMTSaxParser(const ZMTSaxParser&) = delete;
    ZMTSaxParser& operator=(const ZMTSaxParser&) = delete;

    /// @param input  the document itself for mode 0, a file path for mode 1.
    /// @return 0, or GLOBAL_ERROR_UNEXPECTED for every failure; its cause is in the log, except for empty or
    /// blank input.
    [[nodiscard]] uint32_t startParser(const std::string& input, unsigned mode);

private:
    XmlMgr* m_pManager;
};
