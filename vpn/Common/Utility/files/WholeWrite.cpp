#include "Common/Utility/files/WholeWrite.h"

#include <cerrno>
#include <unistd.h>

int writeWhole(int descriptor, const void* bytes, std::size_t sizeBytes) noexcept {
    const char* next = static_cast<const char*>(bytes);
    while (sizeBytes > 0) {
        const ssize_t length = ::write(descriptor, next, sizeBytes);
        if (length < 0 && errno != EINTR) {
            return errno;
        }
        if (length > 0) {
            next += length;
            sizeBytes -= static_cast<std::size_t>(length);
        }
    }
    return 0;
}
