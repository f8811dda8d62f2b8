#include "tools/MERO/MEROEngine/implementations/ToolRun.h"

#include "Common/Utility/files/DescriptorStream.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/process/CommandShell.h"
#include "Common/Utility/process/StopRequest.h"
#include "Common/Utility/ReturnCodes.h"
#include "tools/MERO/MEROEngine/implementations/EngineMessages.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Names.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/SummaryEntries.h"
#include "tools/MERO/MEROEngine/implementations/Progress.h"
#include "tools/MERO/MEROEngine/implementations/StepText.h"
#include "tools/MERO/MEROEngine/implementations/ToolOutput.h"

#include <cstring>
#include <ctime>

namespace {

/// Processor time of this process, in units of clock(): 1200 seconds.
constexpr std::clock_t kExternTimeoutClockTicks = 1'200'000'000;
constexpr uint32_t kWaitSliceMs = 1000;
constexpr std::size_t kBannerAsterisks = 75;

/// The tool's name for messages: its command line up to the first blank.
std::string nameOf(const std::string& commandLine) {
    const std::string name = helperUtil::stringBeforeFirst(commandLine, " ");
    return name.empty() ? commandLine : name;
}

/// Opens the file for what a tool prints.
/// @return a closed descriptor after a failure, which is logged.
FileDescriptor openOutput(const std::string& path, const std::string& itemFolder) {
    FileDescriptor file;
    const int error = openToolOutput(path, itemFolder, file);
    if (error != 0) {
        logReturnCode("callExtern", __FILE__, __LINE__, 'E', "open", static_cast<uint32_t>(error),
                      std::strerror(error), "File: %s", path.c_str());
    }
    return file;
}

/// Tells several tools with one output file apart.
void writeBanner(std::ostream& output, const std::string& commandLine) {
    const std::string asterisks(kBannerAsterisks, '*');
    std::string banner = "\n\r";
    banner.append(asterisks).append("\n");
    banner.append("\"").append(commandLine).append("\" output:\n");
    banner.append(asterisks).append("\n\r\n");
    output << banner;
}

void reportTool(const std::string& status) {
    const std::lock_guard<std::mutex> guard(g_progressLock);
    reportProgress(computeProgress(g_configsDone), status, MEROOFFLINE_ERROR_PROCESSING);
}

} // namespace

uint32_t ToolRun::run(const std::string& path, const std::string& commandLine, bool captureStdout,
                      const std::string& outputFile) {
    end();
    if (isStopRequested()) {
        return MEROENGINE_ERROR_ACTION_CANCELED_BY_USER;
    }
    m_process = std::make_unique<CProcessApi>();
    const bool captured = captureStdout && !outputFile.empty();
    uint32_t code = 0;
    if (captured) {
        const bool below = !path.empty() && !commandLine.starts_with('/');
        code = capture(below ? path + "/" + commandLine : commandLine, commandLine, outputFile);
    } else {
        code = launch(path, commandLine, outputFile);
    }
    if (code != 0 && isStopRequested()) {
        return MEROENGINE_ERROR_ACTION_CANCELED_BY_USER;
    }
    if (code != 0) {
        helperUtil::recordOmitted(m_info, "N/A", "Failed to execute " + nameOf(commandLine));
        return code;
    }
    return captured ? 0 : wait(nameOf(commandLine));
}

void ToolRun::end() {
    if (m_process != nullptr && m_processId > 0) {
        // It fails for a tool that has just gone, and that is all the same.
        static_cast<void>(CProcessApi::terminateProcess(m_processId));
    }
    m_processId = 0;
    m_process.reset();
}

// The tool runs even if its output can't be kept: it may be run for what it does.
uint32_t ToolRun::capture(const std::string& fullCommand, const std::string& commandLine,
                          const std::string& outputFile) const {
    DescriptorStream output(openOutput(outputFile, m_info.directory));
    writeBanner(output, commandLine);
    const uint32_t code = CCommandShell(fullCommand.c_str()).Execute(output);
    if (code != 0) {
        ZRN_LOG_CODE_FOR("callExtern", 'E', "CCommandShell::Execute", code, nullptr);
        return code;
    }
    if (!output) {
        helperUtil::recordOmitted(m_info, helperUtil::stringAfterLast(outputFile, "/"),
                                  "The output of " + nameOf(commandLine) + " could not be kept whole");
    }
    return 0;
}

uint32_t ToolRun::launch(const std::string& path, const std::string& commandLine,
                         const std::string& outputFile) {
    std::string program = commandLine;
    std::string parameters;
    if (const std::size_t blank = commandLine.find(' '); blank != std::string::npos) {
        program = commandLine.substr(0, blank);
        parameters = commandLine.substr(blank + 1);
    }
    ProcessLaunchInfo info;
    info.m_pszPath = path.c_str();
    info.m_bEndWithCaller = true;
    info.m_bDiscardOutput = true;
    info.m_pszOutputFile = outputFile.c_str();
    const uint32_t code = m_process->Launch(info, program.c_str(), parameters.c_str(), nullptr);
    if (code != 0) {
        ZRN_LOG_CODE_FOR("callExtern", 'E', "CProcessApi::Launch", code, nullptr);
        return code;
    }
    m_processId = info.m_processId;
    return 0;
}

uint32_t ToolRun::wait(const std::string& toolName) {
    std::string status = stepText(kProcessing, m_info.description);
    const std::clock_t start = std::clock();
    uint32_t result = 0;
    while (CProcessApi::pollProcess(m_processId) == 0) {
        uint32_t exitCode = 0;
        result = m_process->WaitForProcess(m_processId, &exitCode, nullptr, nullptr, kWaitSliceMs);
        if (result == PROCESS_API_ERROR_WAIT_INTERRUPTED) {
            ZRN_LOG_CODE_FOR("callExtern", 'E', "CProcessApi::WaitForProcess", result, nullptr);
            end();
            return MEROENGINE_ERROR_ACTION_CANCELED_BY_USER;
        }
        reportTool(status);
        const std::clock_t elapsed = std::clock() - start;
        if (elapsed >= kExternTimeoutClockTicks) {
            ZRN_LOG_FOR("callExtern", 'E', "Executable %s timed out after %d seconds of activity.",
                        toolName.c_str(), static_cast<int>(elapsed / CLOCKS_PER_SEC));
            end();
            return MEROENGINE_ERROR_EXTERN_ACTION_TIMEOUT;
        }
        status = stepText(kStillRunning, toolName);
    }
    // Reaped, so that the number may be another process's from here on.
    m_processId = 0;
    return result;
}
