#include "Common/Zip/NameMarks.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/text/Utf8.h"
#include "Common/Zip/ZipFileAccess.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <unistd.h>
#include <vector>

namespace {

constexpr unsigned kUtf8NameFlag = 0x0800;
/// Where the flags stand in the two headers of an entry, and where the second one names the
/// place of the first.
constexpr off_t kFlagsInLocalHeader = 6;
constexpr off_t kFlagsInDirectory = 8;
constexpr off_t kPlaceInDirectory = 42;
/// Stands for a place that has its room elsewhere.
constexpr uint64_t kFarAway = 0xFFFFFFFF;

[[nodiscard]] bool readWhole(int file, unsigned char* bytes, size_t count, off_t at) {
    if (::pread(file, bytes, count, at) == static_cast<ssize_t>(count)) {
        return true;
    }
    ZRN_LOG_ERRNO('E', "pread");
    return false;
}

[[nodiscard]] bool clearMark(int file, off_t flagsAt) {
    std::array<unsigned char, 2> flags{};
    if (!readWhole(file, flags.data(), flags.size(), flagsAt)) {
        return false;
    }
    flags[1] = static_cast<unsigned char>(flags[1] & ~(kUtf8NameFlag >> 8U));
    if (::pwrite(file, flags.data(), flags.size(), flagsAt) == static_cast<ssize_t>(flags.size())) {
        return true;
    }
    ZRN_LOG_ERRNO('E', "pwrite");
    return false;
}

/// @param inDirectory  where the entry stands in the archive's directory.
[[nodiscard]] bool unmark(int file, off_t inDirectory) {
    std::array<unsigned char, 4> bytes{};
    if (!readWhole(file, bytes.data(), bytes.size(), inDirectory + kPlaceInDirectory)) {
        return false;
    }
    const uint64_t place =
        bytes[0] | (uint64_t{bytes[1]} << 8U) | (uint64_t{bytes[2]} << 16U) | (uint64_t{bytes[3]} << 24U);
    if (place == kFarAway) {
        ZRN_LOG('W',
                "An entry far behind in the archive keeps a mark that its name is UTF-8, which it is not.");
        return true;
    }
    return clearMark(file, inDirectory + kFlagsInDirectory) &&
           clearMark(file, static_cast<off_t>(place) + kFlagsInLocalHeader);
}

/// Where the marked names that are no UTF-8 stand in the directory.
[[nodiscard]] std::vector<off_t> wronglyMarked(unzFile archive) {
    std::vector<off_t> places;
    std::string name(0xFFFF, '\0');
    for (int result = unzGoToFirstFile(archive); result == UNZ_OK; result = unzGoToNextFile(archive)) {
        unz_file_info64 info{};
        if (unzGetCurrentFileInfo64(archive, &info, name.data(), name.size(), nullptr, 0, nullptr, 0) ==
                UNZ_OK &&
            (info.flag & kUtf8NameFlag) != 0 &&
            !isUtf8Name(std::string_view(name).substr(0, info.size_filename))) {
            places.push_back(static_cast<off_t>(unzGetOffset64(archive)));
        }
    }
    return places;
}

} // namespace

bool isUtf8Name(std::string_view name) {
    while (!name.empty()) {
        if (!takeCharacter(name)) {
            return false;
        }
    }
    return true;
}

bool isAsciiName(std::string_view name) {
    return std::all_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool unmarkForeignNames(int file) {
    ZipInput input(file);
    const UnzipFileHandle archive = input.open(__func__);
    if (!archive) {
        return false;
    }
    const std::vector<off_t> places = wronglyMarked(archive.get());
    return std::all_of(places.begin(), places.end(), [file](off_t place) { return unmark(file, place); });
}
