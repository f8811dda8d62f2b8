#pragma once

#include <cstdint>
#include <list>
#include <ostream>
#include <string>

/// Runs a command line through the shell and keeps what it prints on standard output. Blocks until the shell
/// has ended; what the command leaves running in its process group is killed then, and what others have put
/// into the pipe by that moment is the last that is kept: nobody holds the caller up by keeping the pipe
/// open. The command's exit status plays no part, nor does its standard error, which goes to ours. It has no
/// standard input and no terminal, and gets the environment, the current folder and the view of the
/// file system that ChildEnvironment.h tells of. Any thread; one object serves one at a time.
class CCommandShell {
public:
    /// @param command  null is the empty command.
    explicit CCommandShell(const char* command);

    /// Each of these returns 0, GLOBAL_ERROR_NOT_INITIALIZED for an empty command, or
    /// GLOBAL_ERROR_UNEXPECTED, logged, when the shell could not be started or its output not be read or
    /// kept, or after a stop request; the output so far is kept then, and the command ended.

    /// @param output  gets the bytes in blocks as they come. Once it has failed the command runs on with its
    /// output dropped; its state is the caller's to look at. What it throws ends the command.
    [[nodiscard]] uint32_t Execute(std::ostream& output) const;
    /// @param output  is replaced by the bytes as they are, unless the command is empty.
    [[nodiscard]] uint32_t Execute(std::string& output) const;
    /// @param lines  gets a line appended for each line feed and for a rest behind the last; each is cut at
    /// its first carriage return.
    [[nodiscard]] uint32_t Execute(std::list<std::string>& lines) const;
    /// @return also GLOBAL_ERROR_BAD_PARAMETER for null.
    [[nodiscard]] static uint32_t Execute(const char* command, std::list<std::string>& lines);
    /// For callers outside of this system: logs how long the command took and what it printed.
    [[nodiscard]] uint32_t ExecuteAndLogResults() const;

private:
    std::string m_command;
};
