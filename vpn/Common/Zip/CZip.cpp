#include "Common/Zip/CZip.h"

#include "Common/Utility/files/Directory.h"
#include "Common/Utility/files/ReplacementFile.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/process/StopRequest.h"
#include "Common/Utility/ReturnCodes.h"
#include "Common/Utility/threads/ThreadGroup.h"
#include "Common/Zip/DeflateAhead.h"
#include "Common/Zip/EntryNames.h"
#include "Common/Zip/FileList.h"
#include "Common/Zip/FilePacker.h"
#include "Common/Zip/NameMarks.h"
#include "Common/Zip/SourceFile.h"
#include "Common/Zip/ZipArchive.h"
#include "Common/Zip/ZipDirectory.h"

#include <algorithm>
#include <fcntl.h>
#include <iterator>
#include <new>
#include <optional>
#include <sys/stat.h>

namespace {

constexpr const char* kFunction = "createZipFile";

/// Where to find the files of an archive, and what to call them.
struct PackOrder {
    const std::vector<std::string>& fullNames;
    std::vector<std::string> entryNames;
    std::string_view password;
    /// Where deflated bytes wait that are too many for memory.
    std::string spillFolder;
    PackProgress* progress = nullptr;
};

/// Cores beyond these bring nothing that the memory for their work would be worth.
constexpr uint32_t kMostThreads = 16;

void logPlaceFailure(const char* call, int error, const std::string& zipPath) {
    ZRN_LOG_CODE_FOR(kFunction, 'E', call, error, "%s", zipPath.c_str());
}

/// @return false, logged, if no archive can come there.
bool makeFile(const std::string& zipPath, ReplacementFile& file) {
    if (const int refusal = refusalOfTarget(AT_FDCWD, zipPath.c_str()); refusal != 0) {
        logPlaceFailure("open", refusal, zipPath);
    } else if (const auto failure = file.create(); failure.happened()) {
        logPlaceFailure(nameOf(failure.call), failure.error, zipPath);
    } else {
        return true;
    }
    ZRN_LOG_CODE_FOR(kFunction, 'E', "zipOpen64", GLOBAL_ERROR_BAD_PARAMETER, "%s", zipPath.c_str());
    return false;
}

/// Packs all files, deflated side by side where there are several cores.
uint32_t packFiles(const PackOrder& order, FilePacker& packer) {
    const uint32_t cores = std::min(usableCores(), kMostThreads);
    std::optional<DeflateAhead> ahead;
    if (cores > 1) {
        ahead.emplace(order.fullNames, order.spillFolder, cores, order.progress);
    }
    const bool isAhead = ahead && ahead->isWorking();
    for (std::size_t i = 0; i < order.fullNames.size(); ++i) {
        const std::string& path = order.fullNames[i];
        const std::string& name = order.entryNames[i];
        if (const uint32_t code = isAhead ? packer.packNext(*ahead, path, name) : packer.pack(path, name);
            code != 0) {
            return code;
        }
    }
    return 0;
}

uint32_t packAll(const PackOrder& order, ZipArchive& archive, PackReport& report) {
    FilePacker packer(archive, order.password, order.spillFolder, report, order.progress);
    if (const uint32_t code = packFiles(order, packer); code != 0) {
        return code;
    }
    if (report.items().empty()) {
        return 0;
    }
    report.chooseEntryName(order.entryNames);
    return packer.packText(report.entryName(), report.text());
}

uint32_t writeArchive(const PackOrder& order, int file, PackReport& report) {
    ZipArchive archive;
    if (!archive.open(file)) {
        ZRN_LOG_CODE_FOR(kFunction, 'E', "zipOpen64", GLOBAL_ERROR_BAD_PARAMETER, nullptr);
        return GLOBAL_ERROR_BAD_PARAMETER;
    }
    uint32_t code = packAll(order, archive, report);
    if (const int closeResult = archive.close(); closeResult != ZIP_OK) {
        ZRN_LOG_CODE_FOR(kFunction, 'E', "zipClose", closeResult, nullptr);
        code = code != 0 ? code : static_cast<uint32_t>(closeResult);
    }
    if (code == 0 && archive.hasForeignNames() && !unmarkForeignNames(file)) {
        return GLOBAL_ERROR_UNEXPECTED;
    }
    if (code == 0 && !isDirectoryWhole(file, archive.entryCount())) {
        return GLOBAL_ERROR_UNEXPECTED;
    }
    return code;
}

uint32_t writeAndPlace(const PackOrder& order, const std::string& zipPath, PackReport& report) {
    const std::string hiddenName = drawHiddenName();
    if (hiddenName.empty()) {
        ZRN_LOG_FOR(kFunction, 'E', "There are no random numbers for a hidden name.");
        return GLOBAL_ERROR_UNEXPECTED;
    }
    ReplacementFile file(zipPath, hiddenName);
    if (!makeFile(zipPath, file)) {
        return GLOBAL_ERROR_BAD_PARAMETER;
    }
    if (const uint32_t code = writeArchive(order, file.descriptor(), report); code != 0) {
        return code;
    }
    if (isStopRequested()) {
        return MEROENGINE_ERROR_ACTION_CANCELED_BY_USER;
    }
    if (const auto failure = file.place(); failure.happened()) {
        logPlaceFailure(nameOf(failure.call), failure.error, zipPath);
        return static_cast<uint32_t>(ZIP_ERRNO);
    }
    return 0;
}

/// Examines what is to be packed. A path that is too long for that counts as nothing.
void measure(const std::vector<std::string>& paths, PackProgress& progressOut) {
    uint64_t bytes = 0;
    for (const std::string& path : paths) {
        struct stat status {};
        if (::stat(path.c_str(), &status) == 0) {
            bytes += static_cast<uint64_t>(status.st_size);
        }
    }
    progressOut.filesDone = 0;
    progressOut.bytesDone = 0;
    progressOut.bytes = bytes;
    progressOut.files = paths.size();
}

/// The body of createZipFile.
uint32_t createArchive(const std::vector<std::string>& fullNames, const std::string& zipPath,
                       const std::vector<std::string>& entryNames, std::string_view password,
                       const std::string& spillFolder, PackReport& report, PackProgress* progress) {
    if (fullNames.size() != entryNames.size()) {
        ZRN_LOG_FOR(kFunction, 'E', "%zu files have %zu names.", fullNames.size(), entryNames.size());
        return GLOBAL_ERROR_BAD_PARAMETER;
    }
    try {
        return writeAndPlace({fullNames, safeEntryNames(entryNames), password, spillFolder, progress},
                             zipPath, report);
    } catch (const std::bad_alloc& error) {
        ZRN_LOG_CODE_FOR(kFunction, 'E', "writeAndPlace", GLOBAL_ERROR_UNEXPECTED, "%s", error.what());
        return GLOBAL_ERROR_UNEXPECTED;
    }
}

} // namespace

uint32_t CZip::Zip(const std::string& sourceDirectory, const std::string& zipPath, std::string_view password,
                   bool recursive) {
    PackReport report;
    return Zip(sourceDirectory, zipPath, password, recursive, report);
}

uint32_t CZip::Zip(const std::string& sourceDirectory, const std::string& zipPath, std::string_view password,
                   bool recursive, PackReport& reportOut, PackProgress* progress) {
    if (sourceDirectory.empty() || zipPath.empty()) {
        ZRN_LOG('E', "Bad parameter(s), parameter(s) is equal to NULL.");
        return GLOBAL_ERROR_BAD_PARAMETER;
    }
    FileList list;
    std::vector<std::string> entryNames;
    try {
        list = listFiles(sourceDirectory, recursive);
        const std::size_t prefixLength = sourceDirectory.size() + (sourceDirectory.back() == '/' ? 0 : 1);
        // An entry without a name, for the folder itself, would be no archive to some unpackers.
        std::erase_if(list.paths, [&](const std::string& path) { return path.size() <= prefixLength; });
        entryNames.reserve(list.paths.size());
        for (const std::string& path : list.paths) {
            entryNames.push_back(path.substr(prefixLength));
        }
        for (const FileList::Gap& gap : list.gaps) {
            reportOut.add(safeEntryName(gap.path.substr(prefixLength)), gap.reason);
        }
    } catch (const std::bad_alloc& error) {
        ZRN_LOG_CODE_TEXT('E', "CZip::getFileList", GLOBAL_ERROR_UNEXPECTED, "%s", error.what());
        return GLOBAL_ERROR_UNEXPECTED;
    }
    if (progress != nullptr) {
        measure(list.paths, *progress);
    }
    const uint32_t code =
        createArchive(list.paths, zipPath, entryNames, password, sourceDirectory, reportOut, progress);
    if (code != 0) {
        ZRN_LOG_CODE('E', "CZip::createZipFile", code);
    }
    return code;
}

uint32_t CZip::createZipFile(const std::vector<std::string>& fullNames, const std::string& zipPath,
                             const std::vector<std::string>& entryNames, std::string_view password) {
    PackReport report;
    return createZipFile(fullNames, zipPath, entryNames, password, report);
}

uint32_t CZip::createZipFile(const std::vector<std::string>& fullNames, const std::string& zipPath,
                             const std::vector<std::string>& entryNames, std::string_view password,
                             PackReport& report) {
    return createArchive(fullNames, zipPath, entryNames, password, {}, report, nullptr);
}

void CZip::getFileList(std::vector<std::string>& fullNames, const std::string& directory, bool recursive) {
    std::vector<std::string> found = listFiles(directory, recursive).paths;
    fullNames.insert(fullNames.end(), std::make_move_iterator(found.begin()),
                     std::make_move_iterator(found.end()));
}

bool CZip::isLargeFile(const std::string& path) {
    SourceFile file;
    if (file.open(path) != 0) {
        ZRN_LOG('E', "Could not open %s", path.c_str());
        return false;
    }
    return file.sizeBytes() > ZipArchive::kLargestPlainSize;
}

unsigned long CZip::getCrc(const std::string& path) {
    SourceFile file;
    if (file.open(path) != 0) {
        ZRN_LOG('E', "Could not open %s", path.c_str());
        return 0;
    }
    return sumOf(file.reader()).crc;
}

bool CZip::createDirectoryPath(const char* path) {
    return ::createDirectoryPath(path);
}
