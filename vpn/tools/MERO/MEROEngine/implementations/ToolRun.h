#pragma once

#include "Common/IPC/ProcessAPI_unix.h"
#include "tools/MERO/MEROEngine/implementations/MEROActionInfo.h"

#include <cstdint>
#include <memory>
#include <string>

/// Runs one tool for an item, on the thread of its action. The tool itself is the action's, which ends it at
/// the latest: a listener that throws while it is told of the tool leaves it running.
class ToolRun {
public:
    /// @param info       the item; a view that outlives this object, as are the others.
    /// @param process    set when a tool is about to be started.
    /// @param processId  of the tool that may still run, 0 for none.
    ToolRun(const MEROActionInfo& info, std::unique_ptr<CProcessApi>& process, int32_t& processId)
        : m_info(info), m_process(process), m_processId(processId) {}

    /// All that MEROAction::callExtern promises.
    [[nodiscard]] uint32_t run(const std::string& path, const std::string& commandLine, bool captureStdout,
                               const std::string& outputFile);
    /// Ends the tool if there is one, and waits for its end.
    void end();

private:
    [[nodiscard]] uint32_t capture(const std::string& fullCommand, const std::string& commandLine,
                                   const std::string& outputFile) const;
    [[nodiscard]] uint32_t launch(const std::string& path, const std::string& commandLine,
                                  const std::string& outputFile);
    [[nodiscard]] uint32_t wait(const std::string& toolName);

    const MEROActionInfo& m_info;
    std::unique_ptr<CProcessApi>& m_process;
    int32_t& m_processId;
};
