#include "ServiceProcess.h"

#include "Descendants.h"
#include "JobLeavings.h"
#include "Log.h"
#include "PrivateFolders.h"
#include "RegularFile.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <malloc.h>
#include <string>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

/// A former helper that is being killed needs a moment for its end, and for that of its worker.
constexpr std::chrono::seconds kLockLimit{5};
constexpr std::chrono::milliseconds kLockPoll{20};

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
int waitForLock(int file) {
    const auto deadline = std::chrono::steady_clock::now() + kLockLimit;
    while (::flock(file, LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        if ((error != EWOULDBLOCK && error != EINTR) || std::chrono::steady_clock::now() >= deadline) {
            return error;
        }
        // flock has no limit of time of its own.
        std::this_thread::sleep_for(kLockPoll);
    }
    return 0;
}

} // namespace

bool prepareServiceProcess() {
    if (::geteuid() != 0) {
        ZRN_LOG('E', "The helper is root's program");
        return false;
    }
    ::umask(077);
    // A worker that has gone shows as an error of the call.
    std::signal(SIGPIPE, SIG_IGN);
    // It fails for a wrong number only.
    static_cast<void>(::mallopt(M_MMAP_THRESHOLD, kOwnMappingBytes));
    return forbidDumps() && adoptDescendants();
}

FileDescriptor lockHelper() {
    const FileDescriptor folder = openPrivateFolder(kRuntimeFolder);
    FileDescriptor lock;
    if (!folder) {
        return lock;
    }
    const std::string path = std::string(kRuntimeFolder) + "/lock";
    int error = openRegularFile(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW, lock);
    if (error == 0) {
        error = waitForLock(lock.get());
    }
    if (error != 0) {
        ZRN_LOG_CODE_TEXT('E', "flock", error, "The lock %s can't be had", path.c_str());
        lock.reset();
    }
    return lock;
}

bool removeFormerLeavings() {
    const FileDescriptor jobs = openPrivateFolder(kJobsFolder);
    if (!jobs) {
        return false;
    }
    emptyFolder(jobs.get());
    removeWorkingFolders();
    return true;
}
