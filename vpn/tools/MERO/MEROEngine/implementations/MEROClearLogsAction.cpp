#include "tools/MERO/MEROEngine/implementations/MEROClearLogsAction.h"

#include "tools/MERO/MEROEngine/implementations/helperUtil/Files.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Names.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Paths.h"

MEROClearLogsAction::MEROClearLogsAction(const MEROActionInfo& info, MEROComponent* reader, bool /*adminRun*/)
    : MEROAction(info, reader, false) {}

uint32_t MEROClearLogsAction::performFileAction(MEROXmlObject& subtree,
                                                std::list<MEROCollectedFile>& /*found*/) {
    FileActionAttrs attrs;
    const uint32_t code = parseFileActionAttributes(subtree, attrs);
    if (code != 0) {
        return code;
    }
    return attrs.clearLog ? clearFileLogs(attrs) : 0;
}

uint32_t MEROClearLogsAction::performDirectoryAction(MEROXmlObject& /*subtree*/,
                                                     std::list<MEROCollectedFile>& /*found*/) {
    return 0;
}

uint32_t MEROClearLogsAction::performExternalAction(MEROXmlObject& subtree,
                                                    std::list<MEROCollectedFile>& /*found*/,
                                                    std::list<std::string>& /*tempFiles*/) {
    ExternalActionAttrs attrs;
    const uint32_t code = parseExternalActionAttributes(subtree, false, attrs);
    if (code == 0 && attrs.clearLog) {
        // A clear command that fails has been logged, and leaves the others to run.
        static_cast<void>(callExtern(helperUtil::translatePath(attrs.path), attrs.clearArguments,
                                     attrs.captureStdout, std::string()));
    }
    return code;
}

uint32_t MEROClearLogsAction::clearFileLogs(const FileActionAttrs& attrs) {
    const auto deleteFile = [](const helperUtil::FoundFile& file) {
        static_cast<void>(helperUtil::fileDelete(file.directory + file.name)); // logs its failures
    };
    // Where nothing matches there is nothing to clear.
    static_cast<void>(helperUtil::walkFiles(helperUtil::folderPartOf(attrs.translatedPath),
                                            {helperUtil::stringAfterLast(attrs.translatedPath, "/")}, false,
                                            {}, deleteFile, helperUtil::OmissionSink()));
    return 0;
}
