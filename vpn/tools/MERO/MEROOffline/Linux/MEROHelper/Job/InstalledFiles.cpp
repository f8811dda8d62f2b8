#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/InstalledFiles.h"

#include "Common/Utility/files/FolderAccess.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/memory/Handles.h"

#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <string_view>
#include <sys/stat.h>
#include <vector>

namespace {

constexpr std::size_t kMostEntries = 10'000;
constexpr int kDeepest = 16;

bool refuse(const std::string& path, const char* reason) {
    ZRN_LOG('E', "%s %s", path.c_str(), reason);
    return false;
}

bool fail(const std::string& path, const char* call, int error) {
    ZRN_LOG_CODE_TEXT('E', call, error, "%s", path.c_str());
    return false;
}

/// No entry of an access control list gives more than shows among the rights of the group.
const char* faultOf(const struct stat& status) {
    if (S_ISLNK(status.st_mode)) {
        return "is a link";
    }
    if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) {
        return "is neither a file nor a folder";
    }
    if (status.st_uid != 0) {
        return "doesn't belong to root";
    }
    return (status.st_mode & (S_IWGRP | S_IWOTH)) != 0 ? "can be written to by others" : nullptr;
}

bool areRootsAlone(int folder, const std::string& path, int depth);

/// Looks at the entry itself, and only then at what is in it: nobody but root can change that any more.
bool isRootsAlone(int parent, const std::string& name, const std::string& path, int depth) {
    const FileDescriptor entry(::openat(parent, name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    if (!entry) {
        return fail(path, "openat", errno);
    }
    struct stat status {};
    if (::fstat(entry.get(), &status) != 0) {
        return fail(path, "fstat", errno);
    }
    if (const char* const fault = faultOf(status); fault != nullptr) {
        return refuse(path, fault);
    }
    return !S_ISDIR(status.st_mode) || areRootsAlone(entry.get(), path, depth + 1);
}

bool areRootsAlone(int folder, const std::string& path, int depth) {
    if (depth > kDeepest) {
        return refuse(path, "lies too deep");
    }
    const std::optional<std::vector<std::string>> names = entryNames(folder, kMostEntries);
    if (!names) {
        return false;
    }
    for (const std::string& name : *names) {
        if (!isRootsAlone(folder, name, std::string(path).append("/").append(name), depth)) {
            return false;
        }
    }
    return true;
}

/// Called when all of xml is known to be root's.
bool hasConfigurations(int installation, const std::string& installPath) {
    return FileDescriptor(::openat(installation, "xml/config", kFolderPlaceFlags)) ||
           fail(installPath + "/xml/config", "openat", errno);
}

bool isMissing(int installation, const char* name) {
    struct stat status {};
    return ::fstatat(installation, name, &status, AT_SYMLINK_NOFOLLOW) != 0 && errno == ENOENT;
}

} // namespace

bool belongsToRootAlone(const std::string& installPath) {
    const FileDescriptor installation(::open(installPath.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!installation) {
        return fail(installPath, "open", errno);
    }
    return isRootsAlone(installation.get(), "xml", installPath + "/xml", 0) &&
           hasConfigurations(installation.get(), installPath) &&
           (isMissing(installation.get(), "plugin") ||
            isRootsAlone(installation.get(), "plugin", installPath + "/plugin", 0));
}
