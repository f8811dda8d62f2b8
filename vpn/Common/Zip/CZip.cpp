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
#include <new>
#include <optional>
#include <sys/stat.h>

namespace {

constexpr const char* kFunction = "createZipFile";

/// Where to find the files of an archive, and what to call them.
struct PackOrder {
    const NameList& paths;
    /// What stands before each path, with a "/" at its end, or nothing.
    std::string folder;
    const NameList& entryNames;
    std::string_view password;
    /// Where deflated bytes wait that are too many for memory; empty for nowhere.
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
        ahead.emplace(order.paths, order.folder, order.spillFolder, cores, order.progress);
    }
    const bool isAhead = ahead && ahead->isWorking();
    auto entryName = order.entryNames.begin();
    for (const std::string_view place : order.paths) {
        const std::string path = order.folder + std::string(place);
        const std::string name(*entryName);
        ++entryName;
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
void measure(const PackOrder& order, PackProgress& progressOut) {
    uint64_t bytes = 0;
    for (const std::string_view place : order.paths) {
        struct stat status {};
        if (::stat((order.folder + std::string(place)).c_str(), &status) == 0) {
            bytes += static_cast<uint64_t>(status.st_size);
        }
    }
    progressOut.filesDone = 0;
    progressOut.bytesDone = 0;
    progressOut.bytes = bytes;
    progressOut.files = order.paths.size();
}

/// Makes the archive, with names that lead no unpacker astray.
uint32_t createArchive(PackOrder order, const std::string& zipPath, PackReport& report) {
    try {
        if (order.progress != nullptr) {
            measure(order, *order.progress);
        }
        const std::optional<NameList> safeNames = safeEntryNames(order.entryNames);
        return writeAndPlace({.paths = order.paths,
                              .folder = std::move(order.folder),
                              .entryNames = safeNames ? *safeNames : order.entryNames,
                              .password = order.password,
                              .spillFolder = std::move(order.spillFolder),
                              .progress = order.progress},
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
    const std::string folder = sourceDirectory.ends_with('/') ? sourceDirectory : sourceDirectory + "/";
    NameList names;
    try {
        const auto gaps = listFiles(sourceDirectory, recursive, [&](const std::string& path) {
            // An entry without a name, for the folder itself, would be no archive to some unpackers.
            if (path.size() > folder.size()) {
                names.add(std::string_view(path).substr(folder.size()));
            }
        });
        for (const ListingGap& gap : gaps) {
            reportOut.add(safeEntryName(std::string_view(gap.path).substr(folder.size())), gap.reason);
        }
    } catch (const std::bad_alloc& error) {
        ZRN_LOG_CODE_TEXT('E', "CZip::getFileList", GLOBAL_ERROR_UNEXPECTED, "%s", error.what());
        return GLOBAL_ERROR_UNEXPECTED;
    }
    const uint32_t code =
        createArchive({names, folder, names, password, sourceDirectory, progress}, zipPath, reportOut);
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
    if (fullNames.size() != entryNames.size()) {
        ZRN_LOG('E', "%zu files have %zu names.", fullNames.size(), entryNames.size());
        return GLOBAL_ERROR_BAD_PARAMETER;
    }
    try {
        const NameList paths(fullNames);
        const NameList names(entryNames);
        return createArchive({paths, {}, names, password, {}, nullptr}, zipPath, report);
    } catch (const std::bad_alloc&) {
        ZRN_LOG_CODE('E', "NameList", GLOBAL_ERROR_UNEXPECTED);
        return GLOBAL_ERROR_UNEXPECTED;
    }
}

void CZip::getFileList(std::vector<std::string>& fullNames, const std::string& directory, bool recursive) {
    static_cast<void>(
        listFiles(directory, recursive, [&](const std::string& path) { fullNames.push_back(path); }));
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
