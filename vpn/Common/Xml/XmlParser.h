#pragma once

#include "Common/Xml/XmlMgr.h"

#include <cstdint>
#include <string>

/// Front of the parser for the common code; made on the stack for one parse.
class XmlParser {
public:
    /// @param manager  not owned.
    explicit XmlParser(XmlMgr* manager);
    virtual ~XmlParser() = default;
    XmlParser(const XmlParser&) = delete;
    XmlParser& operator=(const XmlParser&) = delete;

    /// Parses a document in memory.
    /// @return 0, or GLOBAL_ERROR_UNEXPECTED (logged when the manager is null); so for all three.
    [[nodiscard]] uint32_t parse(const std::string& text);
    /// Mode 0 takes `input` as the document, 1 as a path.
    [[nodiscard]] uint32_t parse(const std::string& input, unsigned mode);
    [[nodiscard]] uint32_t parseFile(const std::string& path);

private:
    [[nodiscard]] uint32_t invokeParser(const std::string& input, unsigned mode);

    XmlMgr* m_pManager;
};
