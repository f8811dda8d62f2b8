#pragma once

#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlMgr.h"

#include <cstdint>
#include <string>

/// Front of the parser for the engine; made on the stack for one parse.
class MEROXmlParser {
public:
    /// @param manager  not owned.
    explicit MEROXmlParser(MEROXmlMgr* manager);
    virtual ~MEROXmlParser() = default;
    MEROXmlParser(const MEROXmlParser&) = delete;
    MEROXmlParser& operator=(const MEROXmlParser&) = delete;

    /// @return 0 or GLOBAL_ERROR_UNEXPECTED; so for all three.
    [[nodiscard]] uint32_t parse(const std::string& text);
    /// Mode 0 takes `input` as the document, any other as a path.
    [[nodiscard]] uint32_t parse(const std::string& input, unsigned mode);
    [[nodiscard]] uint32_t parseFile(const std::string& path);

private:
    MEROXmlMgr* m_pManager;
};
