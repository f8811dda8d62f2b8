#include "ConsoleFront.h"

#include "ConsoleOptions.h"
#include "Handles.h"
#include "MEROEngine.h"
#include "PasswordSource.h"
#include "Paths.h"
#include "Progress.h"
#include "ReturnCodes.h"
#include "sysutils.h"
#include "WipedString.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// What a user can do about a failed job.
std::string adviceFor(uint32_t code, const CollectOptions& options) {
    switch (code) {
    case MEROENGINE_ERROR_INVALID_XML:
    case MEROENGINE_ERROR_NULL_POINTER:
        return "the request file '" + options.requestPath +
               "' is missing or isn't a request; correct it, or leave --request out to collect the usual "
               "items";
    case MEROENGINE_ERROR_INTERNAL:
        return "no configuration file in '" + helperUtil::getConfigDirectory(options.installDirectory) +
               "' could be used; name the folder that holds xml/config/ with --install-dir";
    case MEROENGINE_ERROR_WRITE_FAILURE:
        return "'" + bundlePathFor(options.targetPath) +
               "' could not be written; look at the space left there and in /tmp, or name another --target";
    case MEROENGINE_ERROR_ACCESS_DENIED:
        return "the working folder in /tmp could not be made; look at the rights and the space left there";
    default:
        return "the log tells more: journalctl -t zrn_merocli";
    }
}

int collectBundle(const CollectOptions& options) {
    WipedString password;
    if (options.passwordFile) {
        std::string reason;
        if (!readPassword(*options.passwordFile, password, reason)) {
            printUsageError("--password-file: " + reason);
            return kExitUsage;
        }
    }
    g_consoleMode = true;
    const auto engine = std::make_shared<MEROEngine>(options.requestPath, options.installDirectory,
                                                     options.targetPath, password.view(), kModeCollect,
                                                     options.includeLegacyTree, options.collectSystemLogs);
    const uint32_t code = engine->run();
    if (code != 0) {
        const char* name = getReturnCodeDescription(code);
        printError("no bundle was made: " + adviceFor(code, options) + " [" + (name ? name : "unknown") +
                   "]");
        return kExitFailed;
    }
    static_cast<void>(std::fprintf(stderr, "Bundle: %s\n", bundlePathFor(options.targetPath).c_str()));
    return kExitDone;
}

} // namespace

void prepareProcess() {
    static_cast<void>(umask(S_IRWXG | S_IRWXO));
    for (const int number : {SIGPIPE, SIGXFSZ}) {
        static_cast<void>(install_sighdlr(number, SIG_IGN, nullptr)); // logs its failure
    }
    // open takes the lowest free number, so the loop must go upwards.
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (fcntl(fd, F_GETFD) < 0 && errno == EBADF) {
            FileDescriptor nothing(open("/dev/null", O_RDWR));
            static_cast<void>(nothing.release()); // stays open for the life of the process
        }
    }
}

int runConsole(int argc, const char* const* argv) {
    try {
        const ParsedCommandLine parsed = parseCommandLine(argc, argv);
        return parsed.collect ? collectBundle(*parsed.collect) : parsed.exitStatus;
    } catch (const std::exception& error) {
        printError(std::string("stopped by an error that can't be handled: ") + error.what());
        return kExitFailed;
    }
}

void printError(const std::string& message) {
    static_cast<void>(std::fprintf(stderr, "merocli: %s\n", message.c_str()));
}

void printUsageError(const std::string& message) {
    printError(message);
    static_cast<void>(std::fputs("Run 'merocli collect --help' for the options.\n", stderr));
}
