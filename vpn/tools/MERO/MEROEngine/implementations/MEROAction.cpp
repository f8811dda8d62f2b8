#include "tools/MERO/MEROEngine/implementations/MEROAction.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/process/StopRequest.h"
#include "Common/Utility/ReturnCodes.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Files.h"
#include "tools/MERO/MEROEngine/implementations/ToolRun.h"

#include <string_view>

namespace {

constexpr std::string_view kFileCopy = "file_copy_action";
constexpr std::string_view kDirectoryCopy = "directory_copy_action";
constexpr std::string_view kExternal = "use_extern_action";

/// The operation of a kind of instruction as the log names it, or null for a name that is no such kind.
const char* operationOf(std::string_view kind) {
    if (kind == kFileCopy) {
        return "MEROAction::performFileAction";
    }
    if (kind == kDirectoryCopy) {
        return "MEROAction::performDirectoryAction";
    }
    return kind == kExternal ? "MEROAction::performExternalAction" : nullptr;
}

} // namespace

MEROAction::MEROAction(const MEROActionInfo& info, MEROComponent* reader, bool adminRun)
    : m_reader(reader), m_info(info), m_adminRun(adminRun) {}

MEROAction::~MEROAction() {
    ToolRun(m_info, m_pProcess, m_processId).end();
}

void MEROAction::Perform(std::list<MEROCollectedFile>& collected) {
    if (m_reader == nullptr) {
        ZRN_LOG('E', "m_reader is NULL");
        return;
    }
    for (const MEROComponent* kind : m_reader->getChildren()) {
        std::list<std::string> tempFiles;
        performInstructions(*kind, collected, tempFiles);
        for (const std::string& tempFile : tempFiles) {
            // Logged there; a tool's output that stays behind takes nothing away from the bundle.
            static_cast<void>(helperUtil::fileDelete(tempFile));
        }
    }
}

void MEROAction::performInstructions(const MEROComponent& kind, std::list<MEROCollectedFile>& collected,
                                     std::list<std::string>& tempFiles) {
    const std::string& kindName = kind.getName();
    const char* operation = operationOf(kindName);
    if (operation == nullptr) {
        return;
    }
    for (const MEROComponent* instruction : kind.getChildren()) {
        if (isStopRequested()) {
            return;
        }
        MEROXmlObject subtree(instruction);
        std::list<MEROCollectedFile> found;
        uint32_t code = 0;
        if (kindName == kFileCopy) {
            code = performFileAction(subtree, found);
        } else if (kindName == kDirectoryCopy) {
            code = performDirectoryAction(subtree, found);
        } else {
            code = performExternalAction(subtree, found, tempFiles);
        }
        if (code == 0) {
            collected.splice(collected.end(), found);
        } else if (code != MEROENGINE_ERROR_FILE_NOT_FOUND) {
            // A file that is not there is ordinary and stands in the summary.
            ZRN_LOG_CODE_FOR("Perform", 'E', operation, code, nullptr);
        }
    }
}

uint32_t MEROAction::callExtern(const std::string& path, const std::string& commandLine, bool captureStdout,
                                const std::string& outputFile) {
    return ToolRun(m_info, m_pProcess, m_processId).run(path, commandLine, captureStdout, outputFile);
}
