#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/JobPreparation.h"

#include "Common/IPC/PasswordEntry.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/memory/Handles.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/InstalledFiles.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/RequestCopy.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/TargetCheck.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/JobCompletion.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <system_error>
#include <utility>

namespace {

std::optional<UserIdentity> findUser(uid_t user) {
    const PasswordEntry entry(user);
    std::optional<UserIdentity> identity = identityOf(entry);
    if (!identity) {
        ZRN_LOG_CODE_TEXT('W', "getpwuid_r", entry.getError(), "User %u is not known", user);
    }
    return identity;
}

bool makeRequestCopy(AcceptedJob& job, std::chrono::milliseconds limit) {
    if (job.arguments.requestPath.empty()) {
        return true;
    }
    job.requestCopy = job.folder.entry("request.xml");
    const FileDescriptor copy(
        ::open(job.requestCopy.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!copy) {
        ZRN_LOG_ERRNO_TEXT('E', "open", "File: %s", job.requestCopy.c_str());
        return false;
    }
    return copyRequest(job.caller, job.arguments.requestPath, copy.get(), limit);
}

/// @return false if nobody can look at it, which is no reason to go on without.
bool lookAtTarget(AcceptedJob& job, std::chrono::milliseconds limit) {
    const TargetState state = checkTarget(job.caller, bundleTarget(job.arguments), limit);
    job.isTargetRefused = state == TargetState::Refused;
    return state != TargetState::Unseen;
}

} // namespace

std::string installationFolder() {
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) {
        ZRN_LOG_CODE('E', "readlink", error.value());
        return {};
    }
    return program.parent_path();
}

std::optional<AcceptedJob> prepareJob(JobArguments arguments, uid_t caller,
                                      std::chrono::milliseconds readerLimit) {
    // A configuration that root has chosen is root's own affair.
    if (arguments.configFolder.empty() && !belongsToRootAlone(installationFolder())) {
        return std::nullopt;
    }
    std::optional<UserIdentity> identity = findUser(caller);
    if (!identity) {
        return std::nullopt;
    }
    std::optional<JobFolder> folder = JobFolder::make(kJobsFolder);
    if (!folder) {
        return std::nullopt;
    }
    AcceptedJob job{std::move(arguments), *std::move(identity), *std::move(folder), {}};
    if (!makeRequestCopy(job, readerLimit) || !lookAtTarget(job, readerLimit)) {
        return std::nullopt;
    }
    return job;
}
