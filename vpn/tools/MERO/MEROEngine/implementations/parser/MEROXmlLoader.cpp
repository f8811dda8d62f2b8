#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlLoader.h"

#include "Common/Utility/log/Log.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROMgr.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlParser.h"

#include <exception>

MEROXmlLoader::MEROXmlLoader() : m_mgr(std::make_unique<MEROXmlMgr>()) {}

MEROXmlLoader::~MEROXmlLoader() = default;

std::list<MEROXmlObject*>* MEROXmlLoader::load(const std::string& source, int mode,
                                               std::list<MEROXmlObject*>& trees) {
    m_loaded = false;
    try {
        if (mode == kLoadText || mode == kLoadFile) {
            m_loaded = loadDocument(source, mode, trees);
        } else if (mode == kLoadFolder) {
            m_loaded = loadFolder(source, trees);
        }
    } catch (const std::exception& exception) {
        ZRN_LOG('E', "Loading was given up: %s", exception.what());
    }
    return m_loaded ? &trees : nullptr;
}

bool MEROXmlLoader::loadDocument(const std::string& source, int mode, std::list<MEROXmlObject*>& trees) {
    MEROXmlParser parser(m_mgr.get());
    const uint32_t code = mode == kLoadFile ? parser.parseFile(source) : parser.parse(source);
    if (code != 0) {
        return false; // the parser has logged why
    }
    trees.push_back(m_mgr->getXmlObject());
    return true;
}

bool MEROXmlLoader::loadFolder(const std::string& folder, std::list<MEROXmlObject*>& trees) {
    const MEROMgr manager(trees, folder);
    m_failedFiles = manager.getFailedFiles();
    return !trees.empty();
}
