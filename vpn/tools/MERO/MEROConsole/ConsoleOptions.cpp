#include "tools/MERO/MEROConsole/ConsoleOptions.h"

#include "tools/MERO/MEROConsole/ClearArguments.h"
#include "tools/MERO/MEROConsole/CollectArguments.h"
#include "tools/MERO/MEROConsole/ConsoleMessages.h"
#include "tools/MERO/MEROConsole/ListArguments.h"
#include "tools/MERO/MEROConsole/PolicyArguments.h"
#include "tools/MERO/MEROConsole/UsageError.h"

#include <CLI/CLI.hpp>
#include <string>

namespace {

constexpr const char* kVersionText = "merocli " MERO_VERSION;

/// Newer releases of CLI11 would break the lines of our texts anew, tables included.
template <typename Formatter> void keepTextsAsTheyStand(Formatter& formatter) {
    if constexpr (requires { formatter.enable_footer_formatting(false); }) {
        formatter.enable_footer_formatting(false);
        formatter.enable_description_formatting(false);
    }
}

/// The command line, bound to its parser.
struct CommandLine {
    CommandLine() {
        // The commands share it.
        keepTextsAsTheyStand(*app.get_formatter());
        app.set_version_flag("--version", kVersionText, "Print the version and exit");
        app.require_subcommand(0, 1); // none is told in words of our own, after arguments that nobody knows
        app.footer(
            "Run 'merocli COMMAND --help' for the options of a command.\n"
            "Exit status: 0 done, 1 failed, 2 the command line is wrong, 3 the bundle was written but lacks "
            "files.");
    }

    /// Checks and completes the options. Throws UsageError.
    [[nodiscard]] ParsedCommandLine finish() const {
        if (collect.given()) {
            return collect.finish();
        }
        if (list.given()) {
            return list.finish();
        }
        if (clear.given()) {
            return clear.finish();
        }
        if (policy.given()) {
            return policy.finish();
        }
        throw UsageError{
            "a command is missing; to collect a bundle run 'merocli collect', to see what can be "
            "collected 'merocli list'"};
    }

    /// Name of the command that was given, or empty.
    [[nodiscard]] std::string command() const {
        if (collect.given()) {
            return "collect";
        }
        if (list.given()) {
            return "list";
        }
        if (policy.given()) {
            return policy.command();
        }
        return clear.given() ? "clear" : "";
    }

    CLI::App app{"Gathers the logs and the state of the VPN client suite into one zip bundle.", "merocli"};
    CollectArguments collect{app};
    ListArguments list{app};
    ClearArguments clear{app};
    PolicyArguments policy{app};
};

ParsedCommandLine refuse(const CommandLine& commandLine, const std::string& message) {
    printUsageError(message, commandLine.command());
    return kExitUsage;
}

} // namespace

ParsedCommandLine parseCommandLine(int argc, const char* const* argv) {
    CommandLine commandLine;
    try {
        commandLine.app.parse(argc, argv);
        return commandLine.finish();
    } catch (const CLI::CallForHelp&) {
        return printOutput(commandLine.app.help());
    } catch (const CLI::CallForVersion&) {
        return printOutput(std::string(kVersionText) + "\n");
    } catch (const CLI::ParseError& error) {
        return refuse(commandLine, error.what());
    } catch (const UsageError& error) {
        return refuse(commandLine, error.text);
    }
}
