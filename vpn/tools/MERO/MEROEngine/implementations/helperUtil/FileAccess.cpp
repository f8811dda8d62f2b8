#include "tools/MERO/MEROEngine/implementations/helperUtil/FileAccess.h"

#include "Common/Utility/files/WholeWrite.h"
#include "Common/Utility/process/StopRequest.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <string_view>

namespace helperUtil {

namespace {

constexpr size_t kBlockBytes = 4096;

ssize_t readBlock(int input, char* block, size_t size) {
    ssize_t got = 0;
    do {
        got = ::read(input, block, size);
    } while (got < 0 && errno == EINTR);
    return got;
}

} // namespace

CopyOutcome copyBytes(int input, int output, uint64_t limit) {
    std::array<char, kBlockBytes> block{};
    CopyOutcome outcome;
    while (outcome.bytes < limit) {
        if (isStopRequested()) {
            outcome.failedCall = "copyBytes";
            outcome.error = ECANCELED;
            break;
        }
        const size_t wanted = static_cast<size_t>(std::min<uint64_t>(limit - outcome.bytes, block.size()));
        const ssize_t got = readBlock(input, block.data(), wanted);
        if (got < 0) {
            outcome.failedCall = "read";
            outcome.error = errno;
            break;
        }
        if (got == 0) {
            break;
        }
        outcome.error = writeWhole(output, block.data(), static_cast<size_t>(got));
        if (outcome.error != 0) {
            outcome.failedCall = "write";
            break;
        }
        outcome.bytes += static_cast<uint64_t>(got);
    }
    return outcome;
}

int closeWritten(FileDescriptor& file) {
    // After EINTR the descriptor is gone all the same and the data is with the kernel.
    return ::close(file.release()) != 0 && errno != EINTR ? errno : 0;
}

FolderId folderIdOf(int descriptor) {
    struct stat status = {};
    if (::fstat(descriptor, &status) != 0) {
        return {};
    }
    return {status.st_dev, status.st_ino};
}

std::string notListedReason(const std::string& errorText) {
    return " could not be listed: " + errorText;
}

const dirent* nextEntry(DIR* folder, int& errorOut) {
    errno = 0;
    const dirent* entry = ::readdir(folder);
    errorOut = entry == nullptr ? errno : 0;
    return entry;
}

bool isDotEntry(const char* name) {
    const std::string_view text(name);
    return text == "." || text == "..";
}

} // namespace helperUtil
