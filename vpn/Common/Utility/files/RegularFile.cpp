#include "Common/Utility/files/RegularFile.h"

#include "Common/Utility/files/DescriptorPath.h"
#include "Common/Utility/process/StopRequest.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <utility>

namespace {

/// @return 0 for a regular file, else the errno that says why it is none.
int refusalOf(mode_t mode) noexcept {
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

int statusOf(int folder, const char* path, int flags, struct stat& statusOut) noexcept {
    const int linkFlag = (flags & O_NOFOLLOW) != 0 ? AT_SYMLINK_NOFOLLOW : 0;
    return ::fstatat(folder, path, &statusOut, linkFlag) == 0 ? 0 : errno;
}

/// Waits for the holder of a lease to let go of the file, which the kernel sees to in its time. What is
/// waited for is the very file that was looked at, which can't have become a pipe meanwhile.
int openLeasedFile(int folder, const char* path, int flags, FileDescriptor& fileOut) noexcept {
    const FileDescriptor place(::openat(folder, path, O_PATH | (flags & O_NOFOLLOW) | O_CLOEXEC));
    struct stat status = {};
    if (!place || ::fstat(place.get(), &status) != 0) {
        return errno;
    }
    if (const int refusal = refusalOf(status.st_mode); refusal != 0) {
        return refusal;
    }
    const int again = (flags & ~(O_NOFOLLOW | O_NONBLOCK | O_CREAT | O_EXCL)) | O_NOCTTY | O_CLOEXEC;
    int file = -1;
    do {
        file = ::open(DescriptorPath(place.get()).get(), again);
    } while (file < 0 && errno == EINTR && !isStopRequested());
    if (file < 0) {
        return errno;
    }
    fileOut.reset(file);
    return 0;
}

} // namespace

int openRegularFile(const char* path, int flags, FileDescriptor& fileOut, mode_t mode) noexcept {
    return openRegularFileAt(AT_FDCWD, path, flags, fileOut, mode);
}

int openRegularFileAt(int folder, const char* path, int flags, FileDescriptor& fileOut,
                      mode_t mode) noexcept {
    struct stat status = {};
    // Opening alone already has effects on a pipe or a device, so the kind is looked at before as well.
    const int missing = statusOf(folder, path, flags, status);
    const int refusal = missing != 0 ? missing : refusalOf(status.st_mode);
    if (refusal != 0 && !(refusal == ENOENT && (flags & O_CREAT) != 0)) {
        return refusal;
    }
    FileDescriptor file(::openat(folder, path, flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, mode));
    if (!file && errno == EWOULDBLOCK) {
        if (const int error = openLeasedFile(folder, path, flags, file); error != 0) {
            return error;
        }
    }
    if (!file || ::fstat(file.get(), &status) != 0) {
        return errno;
    }
    if (const int changed = refusalOf(status.st_mode); changed != 0) {
        return changed;
    }
    fileOut = std::move(file);
    return 0;
}

int openOwnRegularFile(const char* path, int flags, FileDescriptor& fileOut) noexcept {
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
