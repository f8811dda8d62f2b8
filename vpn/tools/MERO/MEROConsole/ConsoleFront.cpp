#include "tools/MERO/MEROConsole/ConsoleFront.h"

#include "Common/Utility/memory/Handles.h"
#include "Common/Utility/process/JobProcess.h"
#include "tools/MERO/MEROConsole/ClearCommand.h"
#include "tools/MERO/MEROConsole/CollectCommand.h"
#include "tools/MERO/MEROConsole/ConsoleMessages.h"
#include "tools/MERO/MEROConsole/ConsoleOptions.h"
#include "tools/MERO/MEROConsole/ListCommand.h"
#include "tools/MERO/MEROConsole/PolicyCommand.h"

#include <cerrno>
#include <exception>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <variant>

namespace {

/// Runs the command that was given.
struct CommandRunner {
    int operator()(const CollectOptions& options) const { return collectBundle(options); }
    int operator()(const ClearOptions& options) const { return clearLogs(options); }
    int operator()(const ListOptions& options) const { return listItems(options); }
    int operator()(const PolicyOptions& options) const { return runPolicy(options); }
    int operator()(int exitStatus) const { return exitStatus; }
};

} // namespace

void prepareProcess() {
    prepareJobProcess();
    // open takes the lowest free number, so the loop must go upwards.
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (fcntl(fd, F_GETFD) < 0 && errno == EBADF) {
            // What was asked for on standard output must not vanish without a word.
            FileDescriptor nothing(open("/dev/null", fd == STDOUT_FILENO ? O_RDONLY : O_RDWR));
            static_cast<void>(nothing.release()); // stays open for the life of the process
        }
    }
}

int runConsole(int argc, const char* const* argv) {
    try {
        return std::visit(CommandRunner{}, parseCommandLine(argc, argv));
    } catch (const std::exception& error) {
        printError(std::string("stopped by an error that can't be handled: ") + error.what());
        return kExitFailed;
    }
}
