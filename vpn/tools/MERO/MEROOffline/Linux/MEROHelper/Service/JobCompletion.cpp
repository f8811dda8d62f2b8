#include "JobCompletion.h"

#include "BundlePublisher.h"
#include "Descendants.h"
#include "EngineMessages.h"
#include "Handles.h"
#include "JobLeavings.h"
#include "Log.h"
#include "Names.h"
#include "Progress.h"
#include "RegularFile.h"
#include "ReturnCodes.h"

#include <chrono>
#include <fcntl.h>

namespace {

/// A process that a file system of the caller's holds on to may stay longer.
constexpr std::chrono::seconds kEndLimit{3};

uint32_t publishArchive(const AcceptedJob& job) {
    FileDescriptor archive;
    const int error = openRegularFile(job.folder.entry(kArchiveName).c_str(), O_RDONLY | O_NOFOLLOW, archive);
    if (error != 0) {
        ZRN_LOG_CODE_TEXT('E', "openRegularFile", error, "The archive of a successful job is not there");
        return MEROENGINE_ERROR_WRITE_FAILURE;
    }
    return publishBundle(job.caller, archive.get(), bundleTarget(job.arguments));
}

} // namespace

std::string bundleTarget(const JobArguments& arguments) {
    return helperUtil::withZipExtension(arguments.bundlePath);
}

ProgressRecord failedJob(uint32_t code) {
    return {.status = code, .progress = 0, .message = kEncounteredError};
}

ProgressRecord unwrittenBundle() {
    return {.status = MEROENGINE_ERROR_WRITE_FAILURE, .progress = 0, .message = kNotZipped};
}

ProgressRecord completeJob(AcceptedJob& job, const ProgressRecord& outcome) {
    ProgressRecord result = outcome;
    endDescendants(kEndLimit);
    if (isBundleMade(outcome.status) && publishArchive(job) != 0) {
        result = unwrittenBundle();
    }
    // Each of them logs what it has to leave.
    removeWorkingFolders();
    job.folder.remove();
    return result;
}
