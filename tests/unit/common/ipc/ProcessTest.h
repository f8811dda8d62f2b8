#pragma once

#include "Common/IPC/ProcessAPI_unix.h"
#include "tests/support/Sandbox.h"

#include <cstdint>
#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

/// What the child program reports of itself.
class Report {
public:
    Report() = default;
    explicit Report(const std::string& text);

    /// A fact by its name; "?" if the report has none.
    [[nodiscard]] std::string operator[](const std::string& name) const;
    [[nodiscard]] int number(const std::string& name) const { return std::stoi((*this)[name]); }
    /// The variables, in the environment's order.
    [[nodiscard]] const std::vector<std::string>& environment() const { return m_environment; }
    [[nodiscard]] bool hasVariable(const std::string& entry) const;

private:
    std::map<std::string, std::string> m_facts;
    std::vector<std::string> m_environment;
};

/// Gives every test a private folder and sees that it leaves no child behind. The child program's behaviours
/// stand at the top of child_behaviours.cpp.
class ProcessTest : public Sandbox {
protected:
    void TearDown() override;

    /// The child program's path.
    [[nodiscard]] static std::string childProgram();
    /// Launches the command as it is. @return the code of Launch.
    [[nodiscard]] static uint32_t launch(ProcessLaunchInfo& info, std::vector<std::string> command);
    /// Starts the child program with arguments. @return its process id.
    [[nodiscard]] static pid_t startChild(std::vector<std::string> arguments, ProcessLaunchInfo info = {});
    /// Starts the child program and returns when it has written the file. @return its process id.
    [[nodiscard]] pid_t startChildUntil(const std::string& file, std::vector<std::string> arguments,
                                        const ProcessLaunchInfo& info = {}) const;
    /// Waits until the child has ended by itself, and reaps it.
    [[nodiscard]] static uint32_t exitCodeOf(pid_t child);
    /// Starts the child program to report on itself, and waits for the report.
    [[nodiscard]] Report reportOf(ProcessLaunchInfo info,
                                  const std::vector<std::string>& moreArguments = {}) const;
    /// Waits for a report in this file of the private folder.
    [[nodiscard]] Report reportIn(const std::string& file) const;
};

/// Kills a process that is no child of ours, and waits until it has gone.
void endStranger(pid_t process);

/// A command line of the child program for a shell.
[[nodiscard]] std::string childCommand(const std::string& arguments);

/// Gives up the rights of root, if there are any, for a user whom nothing else runs as. For a process of the
/// test's own.
void becomeLonelyUser();
/// From here on this process can't start another; for a process of the test's own.
void forbidProcesses();
/// From here on this process can't open a descriptor; for a process of the test's own.
void forbidDescriptors();
