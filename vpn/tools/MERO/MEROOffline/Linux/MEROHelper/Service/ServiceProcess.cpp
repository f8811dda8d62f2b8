#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/ServiceProcess.h"

#include "Common/Utility/files/FileLock.h"
#include "Common/Utility/files/RegularFile.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/process/Descendants.h"
#include "Common/Utility/process/JobProcess.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/JobLeavings.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/PrivateFolders.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <malloc.h>
#include <string_view>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

constexpr std::chrono::milliseconds kLockPoll{20};

constexpr const char* kLockPath = "/run/merohelper/lock";
static_assert(std::string_view(kLockPath).starts_with(kRuntimeFolder));

/// Large messages are to leave this process's memory when they are done with. By default the C library raises
/// the limit with the first of them.
constexpr int kOwnMappingBytes = 128 * 1024;

bool forbidDumps() {
    const rlimit none{0, 0};
    if (::setrlimit(RLIMIT_CORE, &none) != 0) {
        ZRN_LOG_CODE('E', "setrlimit", errno);
        return false;
    }
    if (::prctl(PR_SET_DUMPABLE, 0) != 0) {
        ZRN_LOG_CODE('E', "prctl", errno);
        return false;
    }
    return true;
}

/// @return 0 or the errno of the lock's last refusal.
int waitForLock(int file, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    int error = lockAlone(file);
    while (error == EWOULDBLOCK && std::chrono::steady_clock::now() < deadline) {
        // flock has no limit of time of its own.
        std::this_thread::sleep_for(kLockPoll);
        error = lockAlone(file);
    }
    return error;
}

bool failsAtLock(const char* call, int error) {
    ZRN_LOG_CODE_TEXT('E', call, error, "The lock %s can't be had", kLockPath);
    return false;
}

} // namespace

bool prepareServiceProcess() {
    if (::geteuid() != 0) {
        ZRN_LOG('E', "The helper is root's program");
        return false;
    }
    prepareJobProcess();
    // It fails for a wrong number only.
    static_cast<void>(::mallopt(M_MMAP_THRESHOLD, kOwnMappingBytes));
    return forbidDumps() && adoptDescendants();
}

bool lockHelper(FileDescriptor& lockOut, std::chrono::milliseconds limit) {
    const FileDescriptor folder = openPrivateFolder(kRuntimeFolder);
    if (!folder) {
        return false;
    }
    FileDescriptor lock;
    if (const int error = openRegularFile(kLockPath, O_RDWR | O_CREAT | O_NOFOLLOW, lock); error != 0) {
        return failsAtLock("openRegularFile", error);
    }
    const int error = waitForLock(lock.get(), limit);
    if (error == EWOULDBLOCK) {
        return failsAtLock("flock", error);
    }
    if (error == 0) {
        lockOut = std::move(lock);
    } else {
        ZRN_LOG_CODE_TEXT('W', "flock", error, "This helper can't tell whether another one's job runs");
    }
    return true;
}

bool prepareJobsFolder(bool isAlone) {
    const FileDescriptor jobs = openPrivateFolder(kJobsFolder);
    if (!jobs) {
        return false;
    }
    if (isAlone) {
        emptyFolder(jobs.get());
        removeWorkingFolders();
    }
    return true;
}
