#include "RegularFile.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

/// @return 0 for a regular file, else the errno that says why it is none.
int refusalOf(mode_t mode) {
    switch (mode & S_IFMT) {
    case S_IFREG:
        return 0;
    case S_IFDIR:
        return EISDIR;
    case S_IFLNK:
        return ELOOP;
    default:
        return EINVAL;
    }
}

int statusOf(int folder, const char* path, int flags, struct stat& statusOut) {
    const int linkFlag = (flags & O_NOFOLLOW) != 0 ? AT_SYMLINK_NOFOLLOW : 0;
    return ::fstatat(folder, path, &statusOut, linkFlag) == 0 ? 0 : errno;
}

} // namespace

int openRegularFile(const char* path, int flags, FileDescriptor& fileOut, mode_t mode) {
    return openRegularFileAt(AT_FDCWD, path, flags, fileOut, mode);
}

int openRegularFileAt(int folder, const char* path, int flags, FileDescriptor& fileOut, mode_t mode) {
    struct stat status = {};
    // Opening alone already has effects on a pipe or a device, so the kind is looked at before as well.
    const int missing = statusOf(folder, path, flags, status);
    const int refusal = missing != 0 ? missing : refusalOf(status.st_mode);
    if (refusal != 0 && !(refusal == ENOENT && (flags & O_CREAT) != 0)) {
        return refusal;
    }
    FileDescriptor file(::openat(folder, path, flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, mode));
    if (!file || ::fstat(file.get(), &status) != 0) {
        return errno;
    }
    if (const int changed = refusalOf(status.st_mode); changed != 0) {
        return changed;
    }
    fileOut = std::move(file);
    return 0;
}

int openOwnRegularFile(const char* path, int flags, FileDescriptor& fileOut) {
    FileDescriptor file;
    if (const int error = openRegularFile(path, flags | O_NOFOLLOW, file); error != 0) {
        return error;
    }
    struct stat status = {};
    if (::fstat(file.get(), &status) != 0) {
        return errno;
    }
    if (status.st_uid != ::geteuid() || status.st_nlink != 1) {
        return EPERM;
    }
    fileOut = std::move(file);
    return 0;
}
