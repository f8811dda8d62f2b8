#include "Common/Zip/ZipDirectory.h"

#include "Common/Utility/log/Log.h"
#include "Common/Zip/ZipFileAccess.h"
#include "Common/Zip/ZipHandles.h"

#include <array>
#include <cerrno>
#include <cinttypes>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// The whole of an archive without entries, which the library itself does not read: it takes a directory at
/// the very start of a file for none.
constexpr std::array<unsigned char, 22> kEmptyArchive{'P', 'K', 5, 6};
/// Up from so many entries the number in the archive is a mere mark, and the library reads on until there is
/// no further one.
constexpr uint64_t kUncounted = 0xFFFF;

bool isEmptyArchive(int file, off_t sizeBytes) {
    std::array<unsigned char, kEmptyArchive.size()> content{};
    return sizeBytes == static_cast<off_t>(content.size()) &&
           ::pread(file, content.data(), content.size(), 0) == static_cast<ssize_t>(content.size()) &&
           content == kEmptyArchive;
}

} // namespace

bool isDirectoryWhole(int file, uint64_t countExpected) {
    struct stat status {};
    if (::fstat(file, &status) != 0) {
        ZRN_LOG_ERRNO('E', "fstat");
        return false;
    }
    if (countExpected == 0 && isEmptyArchive(file, status.st_size)) {
        return true;
    }
    ZipInput input(file, static_cast<uint64_t>(status.st_size));
    zlib_filefunc64_def functions = input.functions();
    const UnzipFileHandle archive(unzOpen2_64("", &functions));
    if (!archive) {
        ZRN_LOG('E', "The archive that was written can't be opened.");
        return false;
    }
    uint64_t count = 0;
    int result = unzGoToFirstFile(archive.get());
    for (; result == UNZ_OK; result = unzGoToNextFile(archive.get())) {
        ++count;
    }
    const bool isAtEnd = result == UNZ_END_OF_LIST_OF_FILE || countExpected >= kUncounted;
    if (!isAtEnd || count != countExpected) {
        ZRN_LOG('E',
                "The archive that was written has %" PRIu64 " entries that can be read, not %" PRIu64 ".",
                count, countExpected);
        return false;
    }
    return true;
}
