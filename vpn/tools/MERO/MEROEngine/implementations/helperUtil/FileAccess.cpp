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

constexpr size_t kBlockBytes = size_t{128} * 1024;
/// What the kernel copies at a time. A stop request waits for so much at most.
constexpr uint64_t kKernelBytes = uint64_t{1} << 20;
/// Of stat's st_blocks, whatever the file system's own are.
constexpr off_t kStatBlockBytes = 512;

ssize_t readBlock(int input, char* block, size_t size) {
    ssize_t got = 0;
    do {
        got = ::read(input, block, size);
    } while (got < 0 && errno == EINTR);
    return got;
}

/// How much of a file is the kernel's to copy: its size, or 0 for one with holes. Of that the kernel may make
/// another one with holes, which is packed and read at its full size, but takes no space: neither a full disk
/// nor a bound on the space would end a copy that is too large.
uint64_t denseBytes(int file) {
    struct stat status = {};
    const bool isDense = ::fstat(file, &status) == 0 && status.st_blocks * kStatBlockBytes >= status.st_size;
    return isDense ? static_cast<uint64_t>(status.st_size) : 0;
}

/// Has the kernel copy as far as it does so. It may refuse the two files or their kind, and finds nothing in
/// files of its own. Why it stopped is left to those who read and write from there: they find the end, or the
/// same failure under the name of the call that a reader of the log knows.
/// @return the bytes that were copied.
uint64_t copyWithinKernel(int input, int output, uint64_t limit) {
    uint64_t bytes = 0;
    while (bytes < limit && !isStopRequested()) {
        const size_t wanted = static_cast<size_t>(std::min(limit - bytes, kKernelBytes));
        const ssize_t count = ::copy_file_range(input, nullptr, output, nullptr, wanted, 0);
        if (count <= 0) {
            break;
        }
        bytes += static_cast<uint64_t>(count);
    }
    return bytes;
}

} // namespace

CopyOutcome copyBytes(int input, int output, uint64_t limit) {
    std::array<char, kBlockBytes> block; // as reading fills it
    CopyOutcome outcome;
    outcome.bytes = copyWithinKernel(input, output, std::min(limit, denseBytes(input)));
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
