#include "tools/MERO/MEROOffline/Linux/MEROHelper/Worker/WorkerCage.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/memory/Handles.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/JobEnvironment.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <string_view>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <system_error>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr const char* kOwnDescriptors = "/proc/self/fd";
constexpr int kNice = 10;
/// For the kernel's choice of whom to end where memory is short; children inherit it.
constexpr std::string_view kHighestScore = "1000";
/// For the calling process, and its disk class "idle". The kernel's header of these isn't for C++: it uses
/// a keyword of that language as a name in some versions.
constexpr int kIoTargetProcess = 1;
constexpr int kIoClassIdle = 3 << 13;

/// Logs a call that failed. @return false.
bool fails(char severity, const char* call, int error) {
    ZRN_LOG_CODE(severity, call, error);
    return false;
}

bool forbidCoreDumps() {
    const rlimit none{0, 0};
    return ::setrlimit(RLIMIT_CORE, &none) == 0 || fails('E', "setrlimit", errno);
}

/// The handler that a system pipes core dumps to is not held back by the limit, but by this.
bool forbidLooks() {
    return ::prctl(PR_SET_DUMPABLE, 0) == 0 || fails('E', "prctl", errno);
}

/// The service, which has to be there to tell what has happened, is not to be chosen in this one's place.
void offerToEnd() {
    const FileDescriptor score(::open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC));
    if (!score) {
        fails('W', "open", errno);
    } else if (::write(score.get(), kHighestScore.data(), kHighestScore.size()) < 0) {
        fails('W', "write", errno);
    }
}

void stepBack() {
    // The C library has no function for it.
    if (::syscall(SYS_ioprio_set, kIoTargetProcess, 0, kIoClassIdle) != 0) {
        fails('W', "ioprio_set", errno);
    }
    if (::setpriority(PRIO_PROCESS, 0, kNice) != 0) {
        fails('W', "setpriority", errno);
    }
}

/// Bytes that are free for anybody in the file system of a folder; without an answer, no bound.
rlim_t freeBytes(const std::string& folder) {
    struct statvfs system {};
    if (::statvfs(folder.c_str(), &system) != 0) {
        fails('W', "statvfs", errno);
        return RLIM_INFINITY;
    }
    return rlim_t{system.f_bavail} * system.f_frsize;
}

void limitFileSize(rlim_t freeSpace) {
    if (freeSpace == RLIM_INFINITY) {
        return;
    }
    const rlim_t most = freeSpace / 10 * 9;
    const rlimit limit{most, most};
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) {
        fails('W', "setrlimit", errno);
    }
}

bool setVariable(const char* name, const std::string& value) {
    return ::setenv(name, value.c_str(), 1) == 0 || fails('E', "setenv", errno);
}

} // namespace

bool limitResources(const std::string& workingParent, const std::string& jobFolder) {
    offerToEnd();
    stepBack();
    limitFileSize(std::min(freeBytes(workingParent), freeBytes(jobFolder)));
    return forbidCoreDumps() && forbidLooks();
}

bool keepDescriptors() {
    std::error_code error;
    for (fs::directory_iterator entry(kOwnDescriptors, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = entry->path().filename();
        int descriptor = -1;
        std::from_chars(name.data(), name.data() + name.size(), descriptor);
        if (descriptor > STDERR_FILENO && ::fcntl(descriptor, F_SETFD, FD_CLOEXEC) != 0) {
            return fails('E', "fcntl", errno);
        }
    }
    return !error || fails('E', "readdir", error.value());
}

bool clearEnvironment(const UserIdentity& caller, const std::string& home) {
    const char* const value = std::getenv("LANG");
    const std::string language = value != nullptr && isLocaleName(value) ? value : "";
    if (::clearenv() != 0) {
        return fails('E', "clearenv", errno);
    }
    return setVariable("HOME", home) && setVariable("USER", caller.name) &&
           setVariable("LOGNAME", caller.name) && setVariable("PATH", kJobPath) &&
           (language.empty() || setVariable("LANG", language));
}
