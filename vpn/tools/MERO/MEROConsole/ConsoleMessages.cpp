#include "tools/MERO/MEROConsole/ConsoleMessages.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

void printError(const std::string& message) {
    static_cast<void>(std::fprintf(stderr, "merocli: %s\n", message.c_str()));
}

void printUsageError(const std::string& message, const std::string& command) {
    printError(message);
    if (command.empty()) {
        static_cast<void>(std::fputs("Run 'merocli --help' for the commands.\n", stderr));
    } else {
        static_cast<void>(
            std::fprintf(stderr, "Run 'merocli %s --help' for the options.\n", command.c_str()));
    }
}

int printOutput(const std::string& text) {
    const bool written = std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
    if (!written) {
        const int error = errno;
        printError(std::string("can't write to standard output: ") + std::strerror(error));
        return kExitFailed;
    }
    return kExitDone;
}
