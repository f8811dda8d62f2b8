#include "tools/MERO/MEROOffline/Linux/MEROHelper/Worker/Worker.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/memory/Handles.h"
#include "Common/Utility/process/JobProcess.h"
#include "Common/Utility/process/StopRequest.h"
#include "Common/Utility/ReturnCodes.h"
#include "tools/MERO/MEROEngine/implementations/EngineMessages.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/ToldPaths.h"
#include "tools/MERO/MEROEngine/implementations/MEROEngine.h"
#include "tools/MERO/MEROEngine/implementations/TidyRun.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/WorkOrder.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Worker/ClosedFolders.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Worker/EndWithService.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Worker/PipeListener.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Worker/SpaceWatch.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Worker/ToolEnvironment.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Worker/WorkerCage.h"

#include <cerrno>
#include <exception>
#include <memory>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Where the engine makes its working folder.
constexpr const char* kWorkingParent = "/tmp";
constexpr const char* kHomeStandIn = "/home";
/// The wizard asks for each item once; an id may stand in the groups of several configuration files.
constexpr RequestLimits kRequestLimits{.mostEntries = 20'000, .mostOfOneId = 64};

bool enterFolder(const std::string& folder) {
    if (::chdir(folder.c_str()) == 0) {
        return true;
    }
    ZRN_LOG_ERRNO('E', "chdir");
    return false;
}

/// An empty folder for a home that must not be looked at.
/// The summary tells of it as of the home.
/// @return its path, or of no folder at all if it can't be made.
std::string makeHomeStandIn(const WorkOrder& order) {
    std::string home = order.jobFolder + kHomeStandIn;
    if (::mkdir(home.c_str(), S_IRWXU) != 0) {
        ZRN_LOG_ERRNO('W', "mkdir");
    }
    helperUtil::tellFolderAs(home, order.caller.home);
    return home;
}

bool enterCage(const WorkOrder& order) {
    if (!awaitServiceEnd(order.service) || !enterFolder(order.jobFolder) ||
        !limitResources(kWorkingParent, order.jobFolder) || !keepDescriptors()) {
        return false;
    }
    const std::optional<std::string> home = closeFolders(order.caller, order.jobFolder);
    // A thread has to come after the mounts, which are those of one thread.
    return clearEnvironment(order.caller, home ? *home : makeHomeStandIn(order)) &&
           makeToolEnvironment(order.jobFolder, home) && endWithService();
}

ProgressRecord runEngine(WorkOrder& order, SpaceWatch& watch) {
    const auto engine = std::make_shared<MEROEngine>(EngineOptions{.requestPath = order.requestPath,
                                                                   .installPath = order.installPath,
                                                                   .targetPath = order.bundlePath,
                                                                   .password = order.password.view()});
    order.password.clear();
    engine->setArchivePath(order.archivePath);
    engine->setRequestLimits(kRequestLimits);
    engine->onWorkingFolder([&watch](const std::string& folder) { watch.count(folder); });
    return outcomeOfRun(runTidily(*engine));
}

ProgressRecord failure(uint32_t code, const char* message) {
    return {.status = code, .progress = 0, .message = message};
}

/// Runs the engine as long as it leaves enough room to others. What it could do in spite of that goes too.
ProgressRecord runWithinLimits(WorkOrder& order) {
    SpaceWatch watch(order.space, {kWorkingParent, order.jobFolder}, &requestStop);
    watch.count(order.jobFolder);
    if (!watch.start()) {
        return failure(MEROENGINE_ERROR_INTERNAL, kEncounteredError);
    }
    const ProgressRecord outcome = watch.breach() == nullptr ? runEngine(order, watch) : ProgressRecord();
    const char* const breach = watch.breach();
    return breach == nullptr ? outcome : failure(MEROENGINE_ERROR_WRITE_FAILURE, breach);
}

ProgressRecord runOrder(int orderPipe) {
    std::optional<WorkOrder> order = readWorkOrder(orderPipe);
    if (!order || !enterCage(*order)) {
        return failure(MEROENGINE_ERROR_INTERNAL, kEncounteredError);
    }
    return runWithinLimits(*order);
}

/// An exception becomes MEROENGINE_ERROR_INTERNAL.
ProgressRecord runOrderGuarded(int orderPipe) {
    try {
        return runOrder(orderPipe);
    } catch (const std::exception& error) {
        ZRN_LOG('E', "The job was ended by an error: %s", error.what());
    } catch (...) {
        ZRN_LOG('E', "The job was ended by an error of no known kind.");
    }
    return failure(MEROENGINE_ERROR_INTERNAL, kEncounteredError);
}

} // namespace

int runWorker(int order, int progress) {
    prepareJobProcess();
    const FileDescriptor orderPipe(order);
    const FileDescriptor progressPipe(progress);
    try {
        const PipeListener listener(progressPipe.get());
        const ProgressRecord outcome = runOrderGuarded(orderPipe.get());
        endWork();
        return writeProgress(progressPipe.get(), outcome) ? 0 : 1;
    } catch (...) {
        // Memory is short even for the message. A worker that ends without an outcome has failed as well.
        return 1;
    }
}
