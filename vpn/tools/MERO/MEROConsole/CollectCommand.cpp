#include "tools/MERO/MEROConsole/CollectCommand.h"

#include "Common/Utility/memory/WipedString.h"
#include "Common/Utility/process/Descendants.h"
#include "Common/Utility/process/StopRequest.h"
#include "Common/Utility/ReturnCodes.h"
#include "tools/MERO/MEROConsole/ConfigurationNotes.h"
#include "tools/MERO/MEROConsole/ConsoleMessages.h"
#include "tools/MERO/MEROConsole/ItemSelection.h"
#include "tools/MERO/MEROConsole/OwnRequest.h"
#include "tools/MERO/MEROConsole/PasswordSource.h"
#include "tools/MERO/MEROConsole/ProgressLine.h"
#include "tools/MERO/MEROConsole/Utf8Text.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Names.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Paths.h"
#include "tools/MERO/MEROEngine/implementations/MEROEngine.h"
#include "tools/MERO/MEROEngine/implementations/Progress.h"
#include "tools/MERO/MEROEngine/implementations/TidyRun.h"
#include "tools/MERO/MEROOffline/Common/StopGuard.h"
#include "tools/MERO/MEROOffline/Common/StopSignals.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr const char* kCommand = "collect";

std::string adviceOnRequest(const CollectOptions& options, const std::string& requestPath) {
    if (!options.onlyIds.empty()) {
        return "the list of the items could not be written to '" + requestPath +
               "'; look at the space left in /tmp";
    }
    return "the request file '" + requestPath +
           "' is missing or isn't a request; correct it, or leave --request out to collect the usual items";
}

/// What a user can do about a failed job.
std::string adviceFor(uint32_t code, const CollectOptions& options, const std::string& requestPath) {
    switch (code) {
    case MEROENGINE_ERROR_INVALID_XML:
    case MEROENGINE_ERROR_NULL_POINTER:
        return adviceOnRequest(options, requestPath);
    case MEROENGINE_ERROR_INTERNAL:
        // Failed files are counted against good ones, so that one of each ends a job too.
        return "'" + helperUtil::getConfigDirectory(options.installDirectory) +
               "' holds no good configuration file, or as many bad ones as good ones; correct them, or "
               "name the folder that holds xml/config/ with --install-dir";
    case MEROENGINE_ERROR_WRITE_FAILURE:
        return "'" + helperUtil::withZipExtension(options.targetPath) +
               "' could not be written; look at the space left there and in /tmp, or name another --target";
    case MEROENGINE_ERROR_ACCESS_DENIED:
        return "the working folder in /tmp could not be made; look at the rights and the space left there";
    default:
        return "the log tells more: journalctl -t zrn_merocli";
    }
}

/// Runs the engine.
/// @param requestPath  empty for the items marked default.
int runJob(const CollectOptions& options, const std::string& requestPath, const WipedString& password) {
    g_consoleMode = !options.isQuiet;
    const auto engine =
        std::make_shared<MEROEngine>(EngineOptions{.requestPath = requestPath,
                                                   .installPath = options.installDirectory,
                                                   .targetPath = options.targetPath,
                                                   .password = password.view(),
                                                   .includeLegacyTree = options.includeLegacyTree,
                                                   .collectSystemLogs = options.collectSystemLogs});
    std::string keptFolder;
    uint32_t code = 0;
    {
        const ProgressLine line(options.showProgress);
        code = runTidily(*engine, options.keepWorkingFolder ? FolderAfterRun::Kept : FolderAfterRun::Removed,
                         &keptFolder);
    }
    if (!keptFolder.empty()) {
        if (options.keepWorkingFolder) {
            static_cast<void>(std::fprintf(stderr, "Working folder: %s\n", keptFolder.c_str()));
        } else {
            printError("the working folder '" + keptFolder + "' can't be removed");
        }
    }
    if (code == MEROENGINE_ERROR_ACTION_CANCELED_BY_USER) {
        printError("no bundle was made: the job was interrupted");
        return kExitFailed;
    }
    const std::string bundle = helperUtil::withZipExtension(options.targetPath);
    if (code == MEROENGINE_ERROR_BUNDLE_INCOMPLETE) {
        static_cast<void>(
            std::fprintf(stderr, "Bundle: %s (incomplete: %s)\n", bundle.c_str(), engine->lack().c_str()));
        return kExitIncomplete;
    }
    if (code != 0) {
        const char* name = getReturnCodeDescription(code);
        printError("no bundle was made: " + adviceFor(code, options, requestPath) + " [" +
                   (name == nullptr ? "unknown" : name) + "]");
        return kExitFailed;
    }
    if (!options.isQuiet) {
        static_cast<void>(std::fprintf(stderr, "Bundle: %s\n", bundle.c_str()));
    }
    return kExitDone;
}

/// Runs the engine on a request for the selected items.
int runSelected(const CollectOptions& options, ItemSelection& items, const WipedString& password) {
    items.setComments(options.comment);
    OwnRequest request;
    const int error = request.write(items);
    if (error != 0) {
        printError(
            std::string("no bundle was made: no folder for the list of the items could be made in /tmp (") +
            std::strerror(error) + "); look at the rights and the space left there");
        return kExitFailed;
    }
    return runJob(options, request.path(), password);
}

/// Tells of the ids that no item has.
void printUnknown(const std::vector<std::string>& ids) {
    for (const std::string& id : ids) {
        printError("--only: no item has the id '" + onOneLine(id) +
                   "'; 'merocli list' shows those that there are");
    }
}

/// Selects the items of --only, and tells what keeps them from being collected.
/// @return the exit status; kExitDone if there is something to collect.
int selectItems(const CollectOptions& options, ItemSelection& items) {
    items.scan(options.installDirectory);
    const std::vector<std::string> unknown = items.select(options.onlyIds);
    printFailedFiles(items.failedFiles());
    if (items.roots().empty()) {
        printUsageError("--only: " + nothingOffered(options.installDirectory), kCommand);
        return kExitUsage;
    }
    printUnknown(unknown);
    const std::vector<std::string> selected = items.selectedIds();
    if (selected.empty()) {
        printUsageError("--only: no item is left to collect", kCommand);
        return kExitUsage;
    }
    for (const std::string& id : selected) {
        if (const std::string fault = faultOfId(id); !fault.empty()) {
            printError("no bundle was made: the item '" + onOneLine(id) + "' can't be named alone, as " +
                       fault + "; leave it out of --only, or have the id changed in the configuration file");
            return kExitFailed;
        }
    }
    return kExitDone;
}

/// Reads the password if one was asked for. @return false after telling what is wrong.
bool takePassword(const CollectOptions& options, WipedString& passwordOut) {
    if (!options.passwordFile) {
        return true;
    }
    std::string reason;
    if (!readPassword(*options.passwordFile, passwordOut, reason)) {
        if (isStopRequested()) {
            return false; // whoever interrupts a question needs no word about it
        }
        printUsageError("--password-file: " + reason, kCommand);
        return false;
    }
    return true;
}

int collect(const CollectOptions& options) {
    const bool isSelection = !options.onlyIds.empty();
    ItemSelection items;
    if (isSelection) {
        const int status = selectItems(options, items);
        if (status != kExitDone) {
            return status;
        }
    }
    // Ahead of the request: whoever interrupts the prompt leaves nothing behind.
    WipedString password;
    if (!takePassword(options, password)) {
        return kExitUsage;
    }
    return isSelection ? runSelected(options, items, password)
                       : runJob(options, options.requestPath, password);
}

} // namespace

int collectBundle(const CollectOptions& options) {
    stopOnSignals();
    // So that a tool's processes can be ended with it. Without that the run goes on all the same.
    adoptDescendants();
    int status = kExitFailed;
    {
        const StopGuard guard({.patience = options.interruptPatience, .onStop = {}, .endProcess = [] {
                                   dieBySignal(stopSignal());
                               }});
        status = collect(options);
    }
    // A signal that comes as late as now finds nothing to end, and the bundle in its place.
    if (const int signalNumber = stopSignal(); signalNumber != 0) {
        static_cast<void>(std::fflush(stdout));
        dieBySignal(signalNumber);
    }
    return status;
}
