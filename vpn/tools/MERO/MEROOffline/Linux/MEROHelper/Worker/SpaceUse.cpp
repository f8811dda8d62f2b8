#include "tools/MERO/MEROOffline/Linux/MEROHelper/Worker/SpaceUse.h"

#include "Common/Utility/files/FolderAccess.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/memory/Handles.h"

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <utility>
#include <vector>

namespace {

/// Of stat's st_blocks, whatever the file system's own are.
constexpr uint64_t kBlockBytes = 512;

DirHandle openEntries(const std::string& path) {
    FileDescriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    DirHandle stream(folder ? ::fdopendir(folder.get()) : nullptr);
    if (stream != nullptr) {
        static_cast<void>(folder.release()); // the stream closes it
    }
    return stream;
}

/// Adds the folders in a folder to a list. @return the bytes of all entries.
uint64_t bytesIn(const std::string& path, std::vector<std::string>& foldersOut) {
    uint64_t bytes = 0;
    const DirHandle stream = openEntries(path);
    while (const dirent* entry = stream != nullptr ? ::readdir(stream.get()) : nullptr) {
        struct stat status {};
        if (isDotName(entry->d_name) ||
            ::fstatat(::dirfd(stream.get()), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
            continue;
        }
        bytes += static_cast<uint64_t>(status.st_blocks) * kBlockBytes;
        if (S_ISDIR(status.st_mode)) {
            foldersOut.push_back(path + "/" + entry->d_name);
        }
    }
    return bytes;
}

} // namespace

std::optional<FreeSpace> freeSpaceOf(const std::string& folder, const SpaceLimits& limits) {
    struct statvfs system {};
    if (::statvfs(folder.c_str(), &system) != 0) {
        ZRN_LOG_ERRNO_TEXT('W', "statvfs", "%s", folder.c_str());
        return std::nullopt;
    }
    return freeSpaceOf(system, limits);
}

// One folder is open at a time, however deep they lie: the job needs the descriptors.
uint64_t bytesBelow(const std::string& folder) {
    uint64_t bytes = 0;
    std::vector<std::string> folders{folder};
    while (!folders.empty()) {
        const std::string next = std::move(folders.back());
        folders.pop_back();
        bytes += bytesIn(next, folders);
    }
    return bytes;
}
