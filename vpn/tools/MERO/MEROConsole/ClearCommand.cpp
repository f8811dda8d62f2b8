#include "tools/MERO/MEROConsole/ClearCommand.h"

#include "Common/Utility/ReturnCodes.h"
#include "tools/MERO/MEROConsole/ConfigurationNotes.h"
#include "tools/MERO/MEROConsole/ConsoleMessages.h"
#include "tools/MERO/MEROConsole/FilesToClear.h"
#include "tools/MERO/MEROConsole/Utf8Text.h"
#include "tools/MERO/MEROEngine/implementations/ClearPreview.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Paths.h"
#include "tools/MERO/MEROEngine/implementations/MEROEngine.h"
#include "tools/MERO/MEROEngine/implementations/Progress.h"
#include "tools/MERO/MEROOffline/Common/TrText.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <iostream>
#include <memory>
#include <string>
#include <unistd.h>

namespace {

constexpr const char* kCommand = "clear";

void tell(const std::string& text) {
    static_cast<void>(std::fputs(text.c_str(), stderr));
}

/// "no file", "1 file", "2 files".
std::string counted(std::size_t count, const std::string& noun) {
    if (count == 0) {
        return "no " + noun;
    }
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

/// What clearing is about to do.
struct Plan {
    FilesToClear files;
    std::size_t commands = 0;
    std::string text;
};

void addStep(const ClearStep& step, Plan& plan) {
    if (step.files.empty()) {
        ++plan.commands;
        plan.text += "    run " + (step.command.empty() ? "(no command)" : onOneLine(step.command)) + "\n";
        return;
    }
    const std::size_t matches = plan.files.add(step.translatedFiles);
    plan.text += "    delete " + onOneLine(step.files) + " (" + counted(matches, "file") + ")\n";
}

/// What an item is called: its description, its label if it has none.
std::string nameOf(const ClearableItem& item) {
    const std::string description = extractTrText(item.description);
    return onOneLine(description.empty() ? extractTrText(item.label) : description);
}

Plan planFor(const ClearPreview& preview) {
    Plan plan;
    for (const ClearableItem& item : preview.items) {
        plan.text += "  " + (item.id.empty() ? "(no id)" : onOneLine(item.id)) + ": " + nameOf(item) + "\n";
        for (const ClearStep& step : item.steps) {
            addStep(step, plan);
        }
    }
    return plan;
}

/// Asks at the terminal. The end of the input is a no.
bool isConfirmed() {
    tell("Clear these logs? [y/N] ");
    std::string answer;
    if (!std::getline(std::cin, answer)) {
        tell("\n");
    }
    std::transform(answer.begin(), answer.end(), answer.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return answer == "y" || answer == "yes";
}

/// Tells what came of the run. @return the exit status.
int reportOutcome(const Plan& plan) {
    const std::vector<std::string> remaining = plan.files.remaining();
    tell("Cleared: " + counted(plan.files.count() - remaining.size(), "file") + " deleted, " +
         counted(plan.commands, "command") + " run.\n");
    for (const std::string& path : remaining) {
        printError("'" + onOneLine(path) + "' could not be deleted");
    }
    if (remaining.empty()) {
        return kExitDone;
    }
    printError(
        "look at the rights of the folders, or run the command as root; the log tells why: journalctl -t "
        "zrn_merocli");
    return kExitFailed;
}

int runClear(const ClearOptions& options, const Plan& plan) {
    g_consoleMode = true;
    const auto engine = std::make_shared<MEROEngine>(
        EngineOptions{.installPath = options.installDirectory, .mode = kModeClearLogs});
    const uint32_t code = engine->run();
    if (code != 0) {
        const char* name = getReturnCodeDescription(code);
        printError(
            "not all logs were cleared: '" + helperUtil::getConfigDirectory(options.installDirectory) +
            "' has no good configuration file any more, or the run was ended by an error; the log tells "
            "more: journalctl -t zrn_merocli [" +
            (name == nullptr ? "unknown" : name) + "]");
        static_cast<void>(reportOutcome(plan)); // failed already
        return kExitFailed;
    }
    return reportOutcome(plan);
}

} // namespace

int clearLogs(const ClearOptions& options) {
    const ClearPreview preview = previewClearRun(options.installDirectory);
    printFailedFiles(preview.failedFiles);
    if (!preview.hasConfiguration) {
        printError("nothing was deleted: " + nothingOffered(options.installDirectory));
        return kExitFailed;
    }
    const Plan plan = planFor(preview);
    if (plan.text.empty()) {
        tell("Nothing to clear: no item of the configuration names a log that may be deleted.\n");
        return kExitDone;
    }
    tell("To be cleared:\n" + plan.text);
    if (plan.files.count() == 0 && plan.commands == 0) {
        tell("Nothing to clear: none of these files is there.\n");
        return kExitDone;
    }
    if (!options.withoutQuestion) {
        if (isatty(STDIN_FILENO) == 0) {
            printUsageError(
                "nothing was deleted: standard input is no terminal at which to ask; add --yes to "
                "delete without a question",
                kCommand);
            return kExitUsage;
        }
        if (!isConfirmed()) {
            tell("Nothing was deleted.\n");
            return kExitDone;
        }
    }
    return runClear(options, plan);
}
