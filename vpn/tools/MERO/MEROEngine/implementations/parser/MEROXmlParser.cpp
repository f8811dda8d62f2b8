#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlParser.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/memory/WipedString.h"
#include "Common/Utility/ReturnCodes.h"
#include "Common/Xml/ZMTSaxParser.h"

#include <exception>

MEROXmlParser::MEROXmlParser(MEROXmlMgr* manager) : m_pManager(manager) {}

uint32_t MEROXmlParser::parse(const std::string& text) {
    return parse(text, kParseText);
}

uint32_t MEROXmlParser::parse(const std::string& input, unsigned mode) {
    try {
        const WipedString copy(input);
        return ZMTSaxParser(m_pManager).startParser(copy.str(), mode == kParseText ? kParseText : kParseFile);
    } catch (const std::exception& exception) {
        ZRN_LOG('E', "The document can't be copied: %s", exception.what());
        return GLOBAL_ERROR_UNEXPECTED;
    }
}

uint32_t MEROXmlParser::parseFile(const std::string& path) {
    return parse(path, kParseFile);
}
