#include "Common/Utility/files/FileLock.h"

#include <cerrno>
#include <sys/file.h>

int lockAlone(int descriptor) noexcept {
    while (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        // File systems of a network may be interrupted even so.
        if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}
