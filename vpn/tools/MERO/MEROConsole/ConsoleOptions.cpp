#include "ConsoleOptions.h"

#include "ConsoleFront.h"
#include "sysutils.h"

#include <cerrno>
#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <unistd.h>

namespace {

constexpr const char* kVersionText = "merocli " MERO_VERSION;

/// A wrong argument, told in one sentence that begins with its name.
struct UsageError {
    std::string text;
};

std::string makeAbsolute(const std::string& option, const std::string& path) {
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(path, error);
    if (error) {
        throw UsageError{option + ": the current folder can't be found (" + error.message() +
                         "); give an absolute path"};
    }
    return absolute.string();
}

/// An empty path would silently mean "not given", which a script with an unset variable does not want.
void refuseEmpty(const CLI::Option& option, const std::string& value) {
    if (option.count() > 0 && value.empty()) {
        throw UsageError{option.get_name() + ": the path is empty; name a file or folder, or leave it out"};
    }
}

/// Refuses, before anything is collected, a target that can't be written in the end.
void checkTarget(const std::string& bundlePath) {
    if (directoryExists(bundlePath.c_str())) {
        throw UsageError{"--target: '" + bundlePath + "' is a folder; name a file in it"};
    }
    const std::string folder = std::filesystem::path(bundlePath).parent_path().string();
    if (!directoryExists(folder.c_str())) {
        throw UsageError{"--target: there is no folder '" + folder + "'; make it or name another one"};
    }
    if (access(folder.c_str(), W_OK | X_OK) != 0) {
        const int error = errno;
        throw UsageError{"--target: can't write to the folder '" + folder + "' (" + std::strerror(error) +
                         "); name another one"};
    }
}

/// "dir/" and "." name folders, whatever is appended to them.
void checkTargetName(const std::string& target) {
    const std::string name = std::filesystem::path(target).filename().string();
    if (name.empty() || name == "." || name == "..") {
        throw UsageError{"--target: '" + target + "' names a folder; name a file in it"};
    }
}

/// The options as they stand on the command line, bound to the parser.
struct CommandLine {
    CommandLine() {
        app.set_version_flag("--version", kVersionText, "Print the version and exit");
        app.require_subcommand(0, 1); // none is told in words of our own, after arguments that nobody knows
        app.footer("Exit status: 0 the bundle was written, 1 the job failed, 2 the command line is wrong.");
        installDirectory =
            collect
                ->add_option("--install-dir", options.installDirectory,
                             "Folder with the configuration files in xml/config/ (default: the program's)")
                ->type_name("DIR");
        request = collect
                      ->add_option("--request", options.requestPath,
                                   "Request file that lists what to collect (default: the usual items)")
                      ->type_name("FILE");
        target = collect
                     ->add_option("--target", options.targetPath,
                                  "Zip file to write (default: MEROBundle_MMDD_HHMM.zip here)")
                     ->type_name("FILE");
        password = collect
                       ->add_option("--password-file", options.passwordFile,
                                    "File whose first line is the bundle's password; - reads standard input")
                       ->type_name("FILE");
        collect->add_flag("--no-system-logs", noSystemLogs, "Leave the logs of the system out");
        collect->add_flag("--include-legacy", options.includeLegacyTree,
                          "Collect the items of the former suite as well");
    }

    /// Checks and completes the options. Throws UsageError.
    CollectOptions finish() {
        if (!collect->parsed()) {
            throw UsageError{"a command is missing; to collect a bundle run 'merocli collect'"};
        }
        refuseEmpty(*installDirectory, options.installDirectory);
        refuseEmpty(*request, options.requestPath);
        refuseEmpty(*target, options.targetPath);
        refuseEmpty(*password, options.passwordFile.value_or(std::string()));
        options.collectSystemLogs = !noSystemLogs;
        if (installDirectory->count() > 0) {
            options.installDirectory = makeAbsolute("--install-dir", options.installDirectory);
            if (!directoryExists(options.installDirectory.c_str())) {
                throw UsageError{"--install-dir: there is no folder '" + options.installDirectory +
                                 "'; name the one that holds xml/config/"};
            }
        }
        if (request->count() > 0) {
            options.requestPath = makeAbsolute("--request", options.requestPath);
        }
        if (target->count() == 0) {
            options.targetPath = "MEROBundle" + getTimeString(1) + ".zip";
        }
        checkTargetName(options.targetPath);
        options.targetPath = makeAbsolute("--target", options.targetPath);
        checkTarget(bundlePathFor(options.targetPath));
        return options;
    }

    CLI::App app{"Gathers the logs and the state of the VPN client suite into one zip bundle.", "merocli"};
    CLI::App* collect = app.add_subcommand("collect", "Collect a bundle and write it to a zip file");
    CollectOptions options;
    bool noSystemLogs = false;
    CLI::Option* installDirectory = nullptr;
    CLI::Option* request = nullptr;
    CLI::Option* target = nullptr;
    CLI::Option* password = nullptr;
};

ParsedCommandLine refuse(const std::string& message) {
    printUsageError(message);
    return {std::nullopt, kExitUsage};
}

/// Prints what was asked for; a full disk or a closed pipe behind standard output is a failure here.
ParsedCommandLine print(const std::string& text) {
    const bool written = std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
    if (!written) {
        const int error = errno;
        printError(std::string("can't write to standard output: ") + std::strerror(error));
        return {std::nullopt, kExitFailed};
    }
    return {std::nullopt, kExitDone};
}

} // namespace

std::string bundlePathFor(const std::string& targetPath) {
    const std::size_t dot = targetPath.rfind('.');
    const std::string extension = dot == std::string::npos ? targetPath : targetPath.substr(dot + 1);
    return extension == "zip" ? targetPath : targetPath + ".zip";
}

ParsedCommandLine parseCommandLine(int argc, const char* const* argv) {
    CommandLine commandLine;
    try {
        commandLine.app.parse(argc, argv);
        return {commandLine.finish(), kExitDone};
    } catch (const CLI::CallForHelp&) {
        return print(commandLine.app.help());
    } catch (const CLI::CallForVersion&) {
        return print(std::string(kVersionText) + "\n");
    } catch (const CLI::ParseError& error) {
        return refuse(error.what());
    } catch (const UsageError& error) {
        return refuse(error.text);
    }
}
