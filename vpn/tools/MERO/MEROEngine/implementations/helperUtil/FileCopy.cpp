#include "FileAccess.h"
#include "Files.h"
#include "Log.h"
#include "RegularFile.h"
#include "ReturnCodes.h"
#include "sysutils.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>

namespace helperUtil {

namespace {

/// Every line below belongs to the public function, whichever helper finds the failure.
constexpr const char* kFunction = "fileCopy";

/// How often a destination that another worker has made again meanwhile is removed again.
constexpr int kCreateAttempts = 16;

/// A folder under copy, and the ones above it in the same copy.
struct FolderCopy {
    FolderId source;
    FolderId destination;
    const FolderCopy* above = nullptr;
};

uint32_t copyPath(const std::string& source, const std::string& destination, std::string& errorText,
                  const FolderCopy* above);

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

uint32_t failCopy(const char* call, int error, const std::string& path, uint32_t code,
                  std::string& errorText) {
    errorText = std::strerror(error);
    logReturnCode(kFunction, __FILE__, __LINE__, 'E', call, static_cast<uint32_t>(error), nullptr,
                  "File: %s\nError: %s", path.c_str(), errorText.c_str());
    return code;
}

uint32_t copyRegularFile(const std::string& source, const std::string& destination, std::string& errorText) {
    FileDescriptor input;
    if (const int error = openRegularFile(source.c_str(), O_RDONLY, input); error != 0) {
        errorText = std::strerror(error);
        return MEROENGINE_ERROR_FILE_OPEN_FAILURE;
    }
    FileDescriptor output = createNewFile(destination.c_str());
    if (!output) {
        // The source is named: it is what the reader of the log knows from the configuration.
        logMessage(kFunction, __FILE__, __LINE__, 'E', "Failed to open file \"%s\"", source.c_str());
        return MEROENGINE_ERROR_FILE_OPEN_FAILURE;
    }
    const CopyOutcome outcome = copyBytes(input.get(), output.get());
    const int closeError = closeWritten(output);
    if (outcome.failedCall != nullptr) {
        const bool readFailed = std::strcmp(outcome.failedCall, "read") == 0;
        return failCopy(outcome.failedCall, outcome.error, readFailed ? source : destination,
                        readFailed ? MEROENGINE_ERROR_UNEXPECTED : MEROENGINE_ERROR_WRITE_FAILURE, errorText);
    }
    if (closeError != 0) {
        return failCopy("close", closeError, destination, MEROENGINE_ERROR_WRITE_FAILURE, errorText);
    }
    return 0;
}

/// Opens the source folder, makes the destination and reads the names. The folder is closed again before
/// anything in it is copied, so that a deep tree does not use up the descriptors.
/// @param namesOut  stays empty when there is nothing to go on with.
uint32_t beginFolderCopy(const std::string& source, const std::string& destination, std::string& errorText,
                         FolderCopy& here, std::vector<std::string>& namesOut) {
    const DirHandle folder(::opendir(source.c_str()));
    if (!folder) {
        errorText = std::strerror(errno);
        return MEROENGINE_ERROR_FILE_OPEN_FAILURE;
    }
    here.source = folderIdOf(::dirfd(folder.get()));
    if (isUnderCopy(here.source, here.above)) {
        errorText = std::strerror(ELOOP);
        return MEROENGINE_ERROR_FILE_OPEN_FAILURE;
    }
    if (MakeDirectory(destination) != 0) {
        // Only lack of rights comes here. The rest of the copy goes on without this folder.
        logReturnCode(kFunction, __FILE__, __LINE__, 'E', "helperUtils::MakeDirectory",
                      MEROENGINE_ERROR_ACCESS_DENIED, nullptr, nullptr);
        return 0;
    }
    const FileDescriptor made(::open(destination.c_str(), O_PATH | O_CLOEXEC));
    if (made) {
        here.destination = folderIdOf(made.get());
    }
    int error = 0;
    while (const dirent* entry = nextEntry(folder.get(), error)) {
        if (!isDotEntry(entry->d_name)) {
            namesOut.emplace_back(entry->d_name);
        }
    }
    if (error != 0) {
        logReturnCode(kFunction, __FILE__, __LINE__, 'E', "readdir", static_cast<uint32_t>(error), nullptr,
                      "Folder: %s\nError: %s", source.c_str(), std::strerror(error));
    }
    return 0;
}

uint32_t copyFolder(const std::string& source, const std::string& destination, std::string& errorText,
                    const FolderCopy* above) {
    FolderCopy here{{}, {}, above};
    std::vector<std::string> names;
    const uint32_t beginCode = beginFolderCopy(source, destination, errorText, here, names);
    if (beginCode != 0) {
        return beginCode;
    }
    for (const std::string& name : names) {
        std::string localErrorText;
        const uint32_t code =
            copyPath(entryPath(source, name), entryPath(destination, name), localErrorText, &here);
        if (code != 0) {
            logReturnCode(kFunction, __FILE__, __LINE__, 'W', "helperUtil::fileCopy", code, nullptr, "%s",
                          localErrorText.c_str());
        }
    }
    return 0;
}

/// True if there is a file of whatever kind.
bool readMode(const std::string& path, mode_t& modeOut) {
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0) {
        return false;
    }
    modeOut = status.st_mode;
    return true;
}

uint32_t copyPath(const std::string& source, const std::string& destination, std::string& errorText,
                  const FolderCopy* above) {
    errorText.clear();
    mode_t mode = 0;
    if (!readMode(source, mode)) {
        return MEROENGINE_ERROR_FILE_NOT_FOUND;
    }
    if (source == destination) {
        return 0;
    }
    const uint32_t code = fileDelete(destination);
    if (code != 0) {
        logReturnCode(kFunction, __FILE__, __LINE__, 'E', "helperUtil::fileDelete", code, nullptr, nullptr);
        return code;
    }
    return S_ISREG(mode) ? copyRegularFile(source, destination, errorText)
                         : copyFolder(source, destination, errorText, above);
}

} // namespace

uint32_t fileCopy(const std::string& source, const std::string& destination, std::string& errorText) {
    return copyPath(source, destination, errorText, nullptr);
}

} // namespace helperUtil
