#include "Common/Xml/XmlParser.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/memory/WipedString.h"
#include "Common/Utility/ReturnCodes.h"
#include "Common/Xml/ZMTSaxParser.h"

#include <exception>

XmlParser::XmlParser(XmlMgr* manager) : m_pManager(manager) {}

uint32_t XmlParser::parse(const std::string& text) {
    return invokeParser(text, kParseText);
}

uint32_t XmlParser::parse(const std::string& input, unsigned mode) {
    return invokeParser(input, mode);
}

uint32_t XmlParser::parseFile(const std::string& path) {
    return invokeParser(path, kParseFile);
}

uint32_t XmlParser::invokeParser(const std::string& input, unsigned mode) {
    if (m_pManager == nullptr) {
        ZRN_LOG('E', "XML Manager not provided");
        return GLOBAL_ERROR_UNEXPECTED;
    }
    try {
        const WipedString copy(input);
        return ZMTSaxParser(m_pManager).startParser(copy.str(), mode);
    } catch (const std::exception& exception) {
        ZRN_LOG('E', "The document can't be copied: %s", exception.what());
        return GLOBAL_ERROR_UNEXPECTED;
    }
}
