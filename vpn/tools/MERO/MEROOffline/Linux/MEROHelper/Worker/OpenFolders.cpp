#include "tools/MERO/MEROOffline/Linux/MEROHelper/Worker/OpenFolders.h"

#include "Common/Utility/log/Log.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/FileAccess.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <system_error>

namespace fs = std::filesystem;
using helperUtil::folderIdOf;

namespace {

constexpr int kFolderFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;

/// The C library's ST_ values end before this one of the kernel's.
constexpr unsigned long kNoSymlinkFollow = 0x2000;

/// The folder above; of "/" it is "/" itself.
FileDescriptor folderAbove(const FileDescriptor& folder) {
    FileDescriptor above(::openat(folder.get(), "..", kFolderFlags));
    if (!above) {
        ZRN_LOG_ERRNO('W', "openat");
    }
    return above;
}

enum class Walk { GoOn, EndWithYes, EndWithNo };

/// Goes up from the folder above the given one to "/", as long as `look` says so.
/// @param atTheTop   the answer when there is nothing more above.
/// @param ifUnknown  the answer when a folder can't be opened.
bool walkUp(const FileDescriptor& start, const std::function<Walk(const FileDescriptor&)>& look,
            bool atTheTop, bool ifUnknown) {
    FileDescriptor below;
    FileDescriptor folder = folderAbove(start);
    while (folder) {
        const Walk walk = look(folder);
        if (walk != Walk::GoOn) {
            return walk == Walk::EndWithYes;
        }
        below = std::move(folder);
        folder = folderAbove(below);
        if (folder && folderIdOf(folder.get()) == folderIdOf(below.get())) {
            return atTheTop;
        }
    }
    return ifUnknown;
}

/// What fstat tells; nothing, logged, if it fails.
std::optional<struct stat> statusOf(const FileDescriptor& folder) {
    struct stat status {};
    if (::fstat(folder.get(), &status) != 0) {
        ZRN_LOG_ERRNO('W', "fstat");
        return std::nullopt;
    }
    return status;
}

bool isRootsAlone(const FileDescriptor& folder) {
    const std::optional<struct stat> status = statusOf(folder);
    if (!status || status->st_uid != 0 || (status->st_mode & S_IWOTH) != 0) {
        return false;
    }
    return (status->st_mode & S_IWGRP) == 0 || status->st_gid == 0;
}

} // namespace

FileDescriptor openFolder(const std::string& path) {
    FileDescriptor folder(::open(path.c_str(), kFolderFlags));
    if (!folder && errno != ENOENT) {
        ZRN_LOG_ERRNO('W', "open");
    }
    return folder;
}

std::string pathOfDescriptor(const FileDescriptor& descriptor) {
    return "/proc/self/fd/" + std::to_string(descriptor.get());
}

std::optional<std::string> plainPathOf(const FileDescriptor& folder) {
    std::error_code error;
    const fs::path path = fs::read_symlink(pathOfDescriptor(folder), error);
    if (error) {
        ZRN_LOG_CODE('W', "readlink", error.value());
        return std::nullopt;
    }
    return path.string();
}

FileDescriptor openAgain(const FileDescriptor& folder) {
    const std::optional<std::string> path = plainPathOf(folder);
    FileDescriptor found = path ? openFolder(*path) : FileDescriptor();
    if (found && folderIdOf(found.get()) != folderIdOf(folder.get())) {
        ZRN_LOG('W', "A folder was moved while it was looked at");
        found.reset();
    }
    return found;
}

bool belongsTo(const FileDescriptor& folder, uid_t user) {
    const std::optional<struct stat> status = statusOf(folder);
    return status && status->st_uid == user;
}

bool isClosedMount(const FileDescriptor& folder) {
    struct statvfs system {};
    if (::fstatvfs(folder.get(), &system) != 0) {
        ZRN_LOG_ERRNO('W', "fstatvfs");
        return false;
    }
    return (system.f_flag & kNoSymlinkFollow) != 0;
}

bool isSameOrBelow(const FileDescriptor& folder, const FileDescriptor& above) {
    const helperUtil::FolderId wanted = folderIdOf(above.get());
    const auto look = [&wanted](const FileDescriptor& candidate) {
        return folderIdOf(candidate.get()) == wanted ? Walk::EndWithYes : Walk::GoOn;
    };
    return folderIdOf(folder.get()) == wanted || walkUp(folder, look, false, true);
}

bool onlyRootRenames(const FileDescriptor& folder) {
    const auto look = [](const FileDescriptor& above) {
        if (isClosedMount(above)) {
            return Walk::EndWithYes;
        }
        return isRootsAlone(above) ? Walk::GoOn : Walk::EndWithNo;
    };
    return walkUp(folder, look, true, false);
}
