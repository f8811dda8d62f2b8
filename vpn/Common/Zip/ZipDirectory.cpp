#include "Common/Zip/ZipDirectory.h"

#include "Common/Utility/log/Log.h"
#include "Common/Zip/ZipFileAccess.h"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <unistd.h>

namespace {

/// The whole of an archive without entries, which the library itself does not read: it takes a directory at
/// the very start of a file for none.
constexpr std::array<unsigned char, 22> kEmptyArchive{'P', 'K', 5, 6};
/// Up from so many entries the number in the archive is a mere mark, and the library reads on until there is
/// no further one.
constexpr uint64_t kUncounted = 0xFFFF;

bool isEmptyArchive(int file) {
    std::array<unsigned char, kEmptyArchive.size() + 1> content{}; // one more, which shows that there is more
    return ::pread(file, content.data(), content.size(), 0) == static_cast<ssize_t>(kEmptyArchive.size()) &&
           std::equal(kEmptyArchive.begin(), kEmptyArchive.end(), content.begin());
}

} // namespace

bool isDirectoryWhole(int file, uint64_t countExpected) {
    if (countExpected == 0 && isEmptyArchive(file)) {
        return true;
    }
    ZipInput input(file);
    const UnzipFileHandle archive = input.open(__func__);
    if (!archive) {
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
