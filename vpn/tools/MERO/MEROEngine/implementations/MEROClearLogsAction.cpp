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
    std::string folder = helperUtil::folderPartOf(attrs.translatedPath);
    std::list<std::string> patterns{helperUtil::stringAfterLast(attrs.translatedPath, "/")};
    std::list<helperUtil::FoundFile> matches;
    if (helperUtil::fileFindAll(folder, patterns, false, matches) != 0) {
        return 0;
    }
    for (const helperUtil::FoundFile& match : matches) {
        static_cast<void>(helperUtil::fileDelete(folder + match.name)); // logs its failures
    }
    return 0;
}
