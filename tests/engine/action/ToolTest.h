#pragma once

#include "tests/engine/action/ActionTest.h"
#include "tests/engine/pipeline/RecordingListener.h"
#include "tools/MERO/MEROEngine/implementations/MEROCollectLogsAction.h"

#include <functional>
#include <string>

/// An action whose way of running tools is open to tests.
class ToolRunner : public MEROCollectLogsAction {
public:
    explicit ToolRunner(const MEROActionInfo& info, MEROComponent* reader = nullptr, bool adminRun = false)
        : MEROCollectLogsAction(info, reader, adminRun) {}

    using MEROAction::callExtern;
    using MEROAction::m_pProcess;
    using MEROAction::m_processId;
};

/// Fixture for tools: they are scripts in `tools`, their current folder is the private one, and the folder of
/// the item is there. The percentage of the run is 46.
class ToolTest : public ActionTest {
protected:
    ToolTest();

    /// Makes a tool. @return its path.
    [[nodiscard]] std::string tool(const std::string& name, const std::string& script) const;
    /// Makes a tool that notes how many arguments it got, and each of them on a line, in `arguments`.
    [[nodiscard]] std::string argumentsTool(const std::string& name) const;
    /// What stands in front of the output of this command line.
    [[nodiscard]] static std::string banner(const std::string& commandLine);
    /// Runs a tool of this command line with its output going to `out.txt` of the item.
    [[nodiscard]] uint32_t capture(const std::string& commandLine, const std::string& folder = {});
    /// Runs a tool of this command line without.
    [[nodiscard]] uint32_t launch(const std::string& commandLine, const std::string& folder = {});
    /// What `out.txt` of the item holds.
    [[nodiscard]] std::string captured() const { return readFile("bundle/out.txt"); }
    /// The row of a tool that could not be started.
    [[nodiscard]] static OmittedFile failedRow(const std::string& name) {
        return row("N/A", "Failed to execute " + name);
    }
    /// Runs `body` with a standard input that never gets a byte and never ends.
    static void withSilentInput(const std::function<void()>& body);

    RecordingListener m_listener;
    ToolRunner m_runner;
};

/// Runs checks in a process of its own that can't start processes.
void withoutNewProcesses(const std::function<void()>& checks);
