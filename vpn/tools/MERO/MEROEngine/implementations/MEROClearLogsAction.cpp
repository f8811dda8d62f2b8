#include "MEROClearLogsAction.h"

#include "Log.h"
#include "ReturnCodes.h"

MEROClearLogsAction::MEROClearLogsAction(const MEROActionInfo& info, MEROComponent* reader, bool /*adminRun*/)
    : MEROAction(info, reader, false) {}

uint32_t MEROClearLogsAction::performFileAction(MEROXmlObject& /*subtree*/,
                                                std::list<MEROCollectedFile>& /*found*/) {
    ZRN_LOG('E', "Clearing logs is not available; no file of item \"%s\" was deleted.", m_info.id.c_str());
    return MEROENGINE_ERROR_NOT_IMPLEMENTED;
}

uint32_t MEROClearLogsAction::performDirectoryAction(MEROXmlObject& /*subtree*/,
                                                     std::list<MEROCollectedFile>& /*found*/) {
    return 0;
}

uint32_t MEROClearLogsAction::performExternalAction(MEROXmlObject& /*subtree*/,
                                                    std::list<MEROCollectedFile>& /*found*/,
                                                    std::list<std::string>& /*tempFiles*/) {
    ZRN_LOG('E', "Clearing logs is not available; no clear command of item \"%s\" was run.",
            m_info.id.c_str());
    return MEROENGINE_ERROR_NOT_IMPLEMENTED;
}
