#include "tools/MERO/MEROEngine/implementations/NotedClearing.h"

#include "tools/MERO/MEROEngine/implementations/helperUtil/Paths.h"

#include <utility>

std::list<ClearStep> NotedClearing::steps() {
    std::list<MEROCollectedFile> none;
    Perform(none);
    return std::move(m_steps);
}

uint32_t NotedClearing::performFileAction(MEROXmlObject& subtree, std::list<MEROCollectedFile>& /*found*/) {
    FileActionAttrs attrs;
    const uint32_t code = parseFileActionAttributes(subtree, attrs);
    if (code == 0 && attrs.clearLog) {
        m_steps.push_back({.files = attrs.path, .translatedFiles = attrs.translatedPath, .command = {}});
    }
    return code;
}

uint32_t NotedClearing::performDirectoryAction(MEROXmlObject& /*subtree*/,
                                               std::list<MEROCollectedFile>& /*found*/) {
    return 0; // folders are never cleared
}

uint32_t NotedClearing::performExternalAction(MEROXmlObject& subtree, std::list<MEROCollectedFile>& /*found*/,
                                              std::list<std::string>& /*tempFiles*/) {
    ExternalActionAttrs attrs;
    const uint32_t code = parseExternalActionAttributes(subtree, false, attrs);
    if (code == 0 && attrs.clearLog) {
        const std::string folder = helperUtil::translatePath(attrs.path);
        m_steps.push_back(
            {.files = {},
             .translatedFiles = {},
             .command = folder.empty() ? attrs.clearArguments : folder + "/" + attrs.clearArguments});
    }
    return code;
}
