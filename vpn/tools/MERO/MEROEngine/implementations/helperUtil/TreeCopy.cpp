#include "tools/MERO/MEROEngine/implementations/helperUtil/TreeCopy.h"

#include "Common/Utility/files/RegularFile.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/process/StopRequest.h"
#include "Common/Utility/ReturnCodes.h"
#include "Common/Utility/sysutils.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/FileAccess.h"
#include "tools/MERO/MEROEngine/implementations/WorkProgress.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>

namespace helperUtil {

namespace {

/// Every line below belongs to the public function, whichever helper finds the failure.
constexpr const char* kFunction = "fileCopy";

/// How often a destination that another worker has made again meanwhile is removed again.
constexpr int kCreateAttempts = 16;

std::string entryPath(const std::string& folder, const std::string& name) {
    return folder + "/" + name;
}

/// A copy that entered a folder above the present one, or one that it is just filling, would never end.
bool isUnderCopy(const FolderId& folder, const FolderCopy* above) {
    for (const FolderCopy* step = above; step != nullptr; step = step->above) {
        if (folder == step->source || folder == step->destination) {
            return true;
        }
    }
    return false;
}

/// Makes a file that was not there before: a link that somebody puts in its place is never followed, and
/// nobody who holds the old file open sees the new content. Two workers that copy to one name replace each
/// other's file, as they would one after the other.
FileDescriptor createNewFile(const char* path) {
    FileDescriptor file;
    for (int attempt = 0; attempt < kCreateAttempts; ++attempt) {
        file.reset(::open(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC, 0666));
        if (file || errno != EEXIST) {
            break;
        }
        if (const int error = removeFile(path); error != 0 && error != ENOENT) {
            break;
        }
    }
    return file;
}

CopyFailure failCopy(const char* call, int error, const std::string& path, uint32_t code) {
    CopyFailure failure{code, std::strerror(error)};
    ZRN_LOG_CODE_FOR(kFunction, 'E', call, error, "File: %s\nError: %s", path.c_str(),
                     failure.errorText.c_str());
    return failure;
}

CopyFailure copyRegularFile(const std::string& source, const std::string& destination) {
    FileDescriptor input;
    if (const int error = openRegularFile(source.c_str(), O_RDONLY, input); error != 0) {
        return {MEROENGINE_ERROR_FILE_OPEN_FAILURE, std::strerror(error)};
    }
    FileDescriptor output = createNewFile(destination.c_str());
    if (!output) {
        // The source is named: it is what the reader of the log knows from the configuration.
        ZRN_LOG_FOR(kFunction, 'E', "Failed to open file \"%s\"", source.c_str());
        return {MEROENGINE_ERROR_FILE_OPEN_FAILURE, {}};
    }
    const CopyOutcome outcome = copyBytes(input.get(), output.get());
    const int closeError = closeWritten(output);
    if (outcome.failedCall != nullptr) {
        const bool readFailed = std::strcmp(outcome.failedCall, "read") == 0;
        return failCopy(outcome.failedCall, outcome.error, readFailed ? source : destination,
                        readFailed ? MEROENGINE_ERROR_UNEXPECTED : MEROENGINE_ERROR_WRITE_FAILURE);
    }
    if (closeError != 0) {
        return failCopy("close", closeError, destination, MEROENGINE_ERROR_WRITE_FAILURE);
    }
    countCopied(outcome.bytes);
    return {};
}

} // namespace

void TreeCopy::leaveOut(const std::string& path, const std::string& reason) const {
    if (m_omitted) {
        m_omitted(path, reason);
    }
}

CopyFailure TreeCopy::copyPath(const std::string& source, const std::string& destination,
                               const FolderCopy* above) {
    struct stat status = {};
    if (::stat(source.c_str(), &status) != 0) {
        const int error = errno;
        const bool isMissing = error == ENOENT || error == ELOOP;
        return {MEROENGINE_ERROR_FILE_NOT_FOUND, isMissing ? std::string() : std::strerror(error)};
    }
    if (source == destination) {
        return {};
    }
    const uint32_t code = fileDelete(destination);
    if (code != 0) {
        ZRN_LOG_CODE_FOR(kFunction, 'E', "helperUtil::fileDelete", code, nullptr);
        return {code, {}};
    }
    if (S_ISREG(status.st_mode)) {
        return copyRegularFile(source, destination);
    }
    CopyFailure failure = copyFolder(source, destination, above);
    failure.isUnlistedFolder = S_ISDIR(status.st_mode);
    return failure;
}

CopyFailure TreeCopy::copyFolder(const std::string& source, const std::string& destination,
                                 const FolderCopy* above) {
    FolderCopy here{{}, {}, above};
    std::vector<std::string> names;
    CopyFailure failure = beginFolder(source, destination, here, names);
    for (const std::string& name : names) {
        copyEntry(entryPath(source, name), entryPath(destination, name), here);
    }
    return failure;
}

/// Opens the source folder, makes the destination and reads the names. The folder is closed again before
/// anything in it is copied, so that a deep tree does not use up the descriptors.
/// @param namesOut  stays empty when there is nothing to go on with.
CopyFailure TreeCopy::beginFolder(const std::string& source, const std::string& destination, FolderCopy& here,
                                  std::vector<std::string>& namesOut) {
    const DirHandle folder(::opendir(source.c_str()));
    if (folder) {
        here.source = folderIdOf(::dirfd(folder.get()));
    }
    if (here.source == FolderId{}) {
        // Closed, or one that can't be told from others, where nothing would stop.
        return {MEROENGINE_ERROR_FILE_OPEN_FAILURE, std::strerror(errno)};
    }
    if (isUnderCopy(here.source, here.above)) {
        return {MEROENGINE_ERROR_FILE_OPEN_FAILURE, std::strerror(ELOOP)};
    }
    const uint32_t visit = m_visits.count(here.source);
    if (visit > FolderVisits::kMost) {
        if (visit == FolderVisits::kMost + 1) {
            leaveOut(source, kMetTooOften);
        }
        return {};
    }
    if (MakeDirectory(destination) != 0) {
        // Only lack of rights comes here. The rest of the copy goes on without this folder.
        ZRN_LOG_CODE_FOR(kFunction, 'E', "helperUtils::MakeDirectory", MEROENGINE_ERROR_ACCESS_DENIED,
                         nullptr);
        leaveOut(source, std::string(" could not be copied: ") + std::strerror(EACCES));
        return {};
    }
    const FileDescriptor made(::open(destination.c_str(), O_PATH | O_CLOEXEC));
    if (made) {
        here.destination = folderIdOf(made.get());
    }
    readNames(folder.get(), source, namesOut);
    return {};
}

void TreeCopy::readNames(DIR* folder, const std::string& source, std::vector<std::string>& namesOut) const {
    int error = 0;
    while (const dirent* entry = nextEntry(folder, error)) {
        if (!isDotEntry(entry->d_name)) {
            namesOut.emplace_back(entry->d_name);
        }
    }
    if (error != 0) {
        ZRN_LOG_CODE_FOR(kFunction, 'E', "readdir", error, "Folder: %s\nError: %s", source.c_str(),
                         std::strerror(error));
        leaveOut(source, notListedReason(std::strerror(error)));
    }
}

void TreeCopy::copyEntry(const std::string& source, const std::string& destination,
                         const FolderCopy& folder) {
    if (isStopRequested()) {
        return;
    }
    const CopyFailure failure = copyPath(source, destination, &folder);
    if (failure.code == 0) {
        return;
    }
    ZRN_LOG_CODE_FOR(kFunction, 'W', "helperUtil::fileCopy", failure.code, "%s", failure.errorText.c_str());
    leaveOut(source, failure.isUnlistedFolder ? notListedReason(failure.errorText)
                                              : copyFailureReason(failure.code, failure.errorText));
}

} // namespace helperUtil
