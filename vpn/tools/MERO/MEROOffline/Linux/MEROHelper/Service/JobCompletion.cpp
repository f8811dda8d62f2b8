#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/JobCompletion.h"

#include "Common/Utility/files/RegularFile.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/memory/Handles.h"
#include "Common/Utility/process/Descendants.h"
#include "Common/Utility/ReturnCodes.h"
#include "tools/MERO/MEROEngine/implementations/EngineMessages.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Names.h"
#include "tools/MERO/MEROEngine/implementations/Progress.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/BundlePublisher.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/JobLeavings.h"

#include <fcntl.h>

namespace {

Publishing publishArchive(const AcceptedJob& job, const SpaceLimits& limits) {
    FileDescriptor archive;
    const int error = openRegularFile(job.folder.entry(kArchiveName).c_str(), O_RDONLY | O_NOFOLLOW, archive);
    if (error != 0) {
        ZRN_LOG_CODE_TEXT('E', "openRegularFile", error, "The archive of a successful job is not there");
        return Publishing::Failed;
    }
    PublishSettings settings;
    settings.space = limits;
    return publishBundle(job.caller, archive.get(), bundleTarget(job.arguments), settings);
}

ProgressRecord unwrittenBundle(const char* message) {
    return {.status = MEROENGINE_ERROR_WRITE_FAILURE, .progress = 0, .message = message};
}

/// The worker's outcome, unless there is a bundle that can't be handed over.
ProgressRecord publish(const AcceptedJob& job, const ProgressRecord& outcome, const SpaceLimits& limits) {
    switch (publishArchive(job, limits)) {
    case Publishing::Done:
        return outcome;
    case Publishing::WithoutSpace:
        return unwrittenBundle(kTooLittleSpace);
    case Publishing::TooLarge:
        return unwrittenBundle(kTooMuchCollected);
    case Publishing::Failed:
        break;
    }
    return refusedTarget();
}

} // namespace

std::string bundleTarget(const JobArguments& arguments) {
    return helperUtil::withZipExtension(arguments.bundlePath);
}

ProgressRecord failedJob(uint32_t code) {
    return {.status = code, .progress = 0, .message = kEncounteredError};
}

ProgressRecord refusedTarget() {
    return unwrittenBundle(kNotZipped);
}

ProgressRecord completeJob(AcceptedJob& job, const ProgressRecord& outcome, const ServiceSettings& settings) {
    endDescendants(settings.leftoverLimit);
    ProgressRecord result =
        isBundleMade(outcome.status) ? publish(job, outcome, settings.spaceLimits) : outcome;
    // Each of them logs what it has to leave.
    removeWorkingFolders();
    job.folder.remove();
    return result;
}
