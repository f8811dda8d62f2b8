#include "Common/Utility/files/FolderAccess.h"

#include "Common/Utility/log/Log.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace {

void logFailure(const char* call, int error) {
    ZRN_LOG_CODE('E', call, error);
}

} // namespace

std::optional<FolderIdentity> identify(int folder) {
    struct statx found {};
    if (::statx(folder, "", AT_EMPTY_PATH | AT_STATX_DONT_SYNC, STATX_INO | STATX_MNT_ID, &found) != 0) {
        logFailure("statx", errno);
        return std::nullopt;
    }
    return FolderIdentity{.mount = (found.stx_mask & STATX_MNT_ID) != 0 ? found.stx_mnt_id : 0,
                          .inode = found.stx_ino,
                          .deviceMajor = found.stx_dev_major,
                          .deviceMinor = found.stx_dev_minor};
}

int checkPrivate(int folder) {
    struct stat status {};
    if (::fstat(folder, &status) != 0) {
        return errno;
    }
    // No entry of an access control list gives more than shows among the rights of the group.
    const bool closed = (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
    return S_ISDIR(status.st_mode) && status.st_uid == ::geteuid() && closed ? 0 : EPERM;
}

FileDescriptor openForReading(int folder) {
    FileDescriptor readable(::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!readable) {
        logFailure("openat", errno);
    }
    return readable;
}

DirHandle openStream(int folder) {
    FileDescriptor readable = openForReading(folder);
    DirHandle stream(readable ? ::fdopendir(readable.get()) : nullptr);
    if (stream != nullptr) {
        static_cast<void>(readable.release()); // the stream closes it
    } else if (readable) {
        logFailure("fdopendir", errno);
    }
    return stream;
}

bool isDotName(std::string_view name) {
    return name == "." || name == "..";
}

std::optional<std::vector<std::string>> entryNames(int folder, std::size_t limit) {
    const DirHandle stream = openStream(folder);
    if (stream == nullptr) {
        return std::nullopt;
    }
    std::vector<std::string> names;
    errno = 0;
    while (const dirent* entry = ::readdir(stream.get())) {
        if (isDotName(entry->d_name)) {
            continue;
        }
        if (names.size() == limit) {
            ZRN_LOG('E', "A folder has too many entries to be read.");
            return std::nullopt;
        }
        names.emplace_back(entry->d_name);
        errno = 0;
    }
    if (errno != 0) {
        logFailure("readdir", errno);
        return std::nullopt;
    }
    return names;
}
