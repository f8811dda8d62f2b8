#include "tools/MERO/MEROOffline/Linux/MEROHelper/Worker/ClosedFolders.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/memory/Handles.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/JobArguments.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Worker/OpenFolders.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <utility>

namespace {

/// Folders that everybody may write to, in the order in which they are closed: a later one may lie below an
/// earlier one.
constexpr std::array kSharedFolders = {"/tmp", "/var/tmp", "/dev/shm"};
/// Tools need the links in these and around them.
constexpr std::array kSystemFolders = {"/usr/bin", "/etc"};

constexpr const char* kEmptyFolderOptions = "mode=0700,size=4k";

/// Logs a call that failed. @return false.
bool fails(const char* call, int error) {
    ZRN_LOG_CODE('W', call, error);
    return false;
}

/// Mounts of this process are nobody else's from here on, while what others unmount goes here as well.
bool leaveMountNamespace() {
    if (::unshare(CLONE_NEWNS) != 0) {
        return fails("unshare", errno);
    }
    return ::mount(nullptr, "/", nullptr, MS_REC | MS_SLAVE, nullptr) == 0 || fails("mount", errno);
}

/// The flags of a mount that remounting would take away unless they are given again. The times of access it
/// leaves alone.
unsigned long keptFlags(const struct statvfs& system) {
    // What statvfs tells, and what mount takes for it.
    static constexpr std::array<std::pair<unsigned long, unsigned long>, 4> kFlags = {
        {{ST_RDONLY, MS_RDONLY}, {ST_NOSUID, MS_NOSUID}, {ST_NODEV, MS_NODEV}, {ST_NOEXEC, MS_NOEXEC}}};
    unsigned long flags = 0;
    for (const auto& [told, taken] : kFlags) {
        if ((system.f_flag & told) != 0) {
            flags |= taken;
        }
    }
    return flags;
}

/// Puts a mount of a folder, and of nothing that is mounted below it, in the folder's own place.
/// @return the folder of that mount: a descriptor from before stands for what lies beneath.
FileDescriptor mountOnItself(const FileDescriptor& folder) {
    const std::string path = pathOfDescriptor(folder);
    if (::mount(path.c_str(), path.c_str(), nullptr, MS_BIND, nullptr) != 0) {
        fails("mount", errno);
        return {};
    }
    return openAgain(folder);
}

bool makePrivate(const FileDescriptor& mounted) {
    return ::mount(nullptr, pathOfDescriptor(mounted).c_str(), nullptr, MS_PRIVATE, nullptr) == 0 ||
           fails("mount", errno);
}

bool stopLinks(const FileDescriptor& mounted) {
    struct statvfs system {};
    if (::fstatvfs(mounted.get(), &system) != 0) {
        return fails("fstatvfs", errno);
    }
    const unsigned long flags = MS_REMOUNT | MS_BIND | MS_NOSYMFOLLOW | keptFlags(system);
    if (::mount(nullptr, pathOfDescriptor(mounted).c_str(), nullptr, flags, nullptr) != 0) {
        return fails("mount", errno);
    }
    // A kernel that doesn't know the flag ignores it.
    return isClosedMount(mounted);
}

/// In a private mount nothing appears that somebody mounts elsewhere. Until the first one is private, it may
/// have got such a thing; a mount of it has not, and is private from the start.
bool closeFolder(const FileDescriptor& folder) {
    const FileDescriptor first = mountOnItself(folder);
    if (!first || !makePrivate(first)) {
        return false;
    }
    const FileDescriptor second = mountOnItself(first);
    return second && stopLinks(second);
}

void hide(const FileDescriptor& folder) {
    if (::mount("tmpfs", pathOfDescriptor(folder).c_str(), "tmpfs",
                MS_RDONLY | MS_NOSUID | MS_NODEV | MS_NOEXEC, kEmptyFolderOptions) != 0) {
        fails("mount", errno);
    }
}

void closeSharedFolders() {
    for (const char* path : kSharedFolders) {
        const FileDescriptor folder = openFolder(path);
        if (folder && !closeFolder(folder)) {
            ZRN_LOG('W', "Links in \"%s\" are followed: this system can't keep them from it", path);
        }
    }
}

bool holdsMoreThanAHome(const FileDescriptor& home, const std::string& jobFolder) {
    const auto holds = [&home](const std::string& path) {
        const FileDescriptor folder = openFolder(path);
        return folder && isSameOrBelow(folder, home);
    };
    return holds(jobFolder) || std::ranges::any_of(kSharedFolders, holds) ||
           std::ranges::any_of(kSystemFolders, holds);
}

/// Why something else than the caller's own home would be looked at, or closed; null for no reason.
const char* objectionToPlace(const FileDescriptor& home, uid_t caller, const std::string& jobFolder) {
    if (!home) {
        return "it can't be opened";
    }
    if (!belongsTo(home, caller)) {
        return "it is somebody else's";
    }
    return holdsMoreThanAHome(home, jobFolder) ? "it holds more than a user's files" : nullptr;
}

/// Closes a home. @return why it isn't safe all the same, or null.
const char* closeHome(const FileDescriptor& home) {
    if (!onlyRootRenames(home)) {
        return "somebody could put a link in its place";
    }
    return closeFolder(home) ? nullptr : "this system can't keep its links from being followed";
}

std::nullopt_t leaveOut(const UserIdentity& caller, const char* reason) {
    ZRN_LOG('W', "The home \"%s\" is left out of the view: %s", shortForLog(caller.home).c_str(), reason);
    return std::nullopt;
}

} // namespace

std::vector<std::string> sharedFolders() {
    return {kSharedFolders.begin(), kSharedFolders.end()};
}

std::optional<std::string> closeFolders(const UserIdentity& caller, const std::string& jobFolder) {
    if (!leaveMountNamespace()) {
        ZRN_LOG('W', "Links that users have made are followed: no mounts of our own can be had");
        return leaveOut(caller, "it can't be closed either");
    }
    closeSharedFolders();
    const FileDescriptor home = openFolder(caller.home);
    if (const char* objection = objectionToPlace(home, caller.user, jobFolder)) {
        return leaveOut(caller, objection);
    }
    if (const char* objection = closeHome(home)) {
        hide(home);
        return leaveOut(caller, objection);
    }
    // A link on the way to it may be the caller's.
    return plainPathOf(home);
}
