#include "Common/Utility/files/Directory.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/ReturnCodes.h"
#include "Common/Utility/sysutils.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>

namespace {

constexpr mode_t kFolderMode = 0770;

/// Makes one folder; one that is there already is as good. @return 0 or an errno.
int makeFolder(const std::string& path) {
    return ::mkdir(path.c_str(), kFolderMode) == 0 || errno == EEXIST ? 0 : errno;
}

/// Makes each folder on the way to the path and the path itself. @return 0 or an errno.
int makeFolders(const std::string& path) {
    for (std::size_t slash = path.find('/', 1); slash != std::string::npos;
         slash = path.find('/', slash + 1)) {
        if (const int failure = makeFolder(path.substr(0, slash)); failure != 0) {
            return failure;
        }
    }
    if (const int failure = makeFolder(path); failure != 0) {
        return failure;
    }
    // Looked at once more: what stands in the way of the last one may be a file.
    return directoryExists(path.c_str()) ? 0 : EEXIST;
}

/// Makes one folder unless it is there.
bool makeMissingFolder(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0) {
        return S_ISDIR(status.st_mode);
    }
    if (::mkdir(path.c_str(), 0777) != 0) {
        const int error = errno;
        ZRN_LOG_CODE_FOR("createDirectoryPath", 'E', "mkdir", error, "%s", path.c_str());
        return false;
    }
    return true;
}

} // namespace

Directory::~Directory() {
    if (const uint32_t code = close(); code != 0) {
        ZRN_LOG_CODE('W', "Directory::close", code);
    }
}

uint32_t Directory::Open(const std::string& path) {
    if (path.empty()) {
        return DIRECTORY_ERROR_DIRECTORY_NOT_SPECIFIED;
    }
    if (const uint32_t code = close(); code != 0) {
        ZRN_LOG_CODE('E', "Directory::close", code);
        return DIRECTORY_ERROR_UNEXPECTED;
    }
    m_dir.reset(::opendir(path.c_str()));
    if (m_dir == nullptr) {
        const int failure = errno;
        ZRN_LOG_CODE_TEXT('E', "opendir", failure, "Directory: %s\nError: %s", path.c_str(),
                          std::strerror(failure));
        return DIRECTORY_ERROR_DIRECTORY_NOT_FOUND;
    }
    return 0;
}

uint32_t Directory::close() {
    if (m_dir == nullptr || ::closedir(m_dir.release()) == 0) {
        return 0;
    }
    ZRN_LOG_ERRNO('E', "closedir");
    return DIRECTORY_ERROR_UNEXPECTED;
}

uint32_t Directory::getNextEntry(std::string& nameOut) {
    if (m_dir == nullptr) {
        return DIRECTORY_ERROR_DIRECTORY_NOT_SPECIFIED;
    }
    errno = 0; // the end and a failure look alike but for this
    const dirent* const entry = ::readdir(m_dir.get());
    if (entry == nullptr) {
        const int failure = errno;
        if (failure == 0) {
            return DIRECTORY_ERROR_NO_MORE_FILES;
        }
        ZRN_LOG_CODE('E', "readdir", failure);
        return DIRECTORY_ERROR_UNEXPECTED;
    }
    nameOut = entry->d_name;
    return 0;
}

uint32_t Directory::CreateNewDirectory(const std::string& path, bool failIfExists) {
    if (path.empty()) {
        return DIRECTORY_ERROR_BAD_PARAMETER;
    }
    if (directoryExists(path.c_str())) {
        return failIfExists ? DIRECTORY_ERROR_DIRECTORY_ALREADY_EXISTS : 0;
    }
    if (const int failure = makeFolders(path); failure != 0) {
        ZRN_LOG_CODE_TEXT('E', "mkdir", failure, "Directory: %s\nError: %s", path.c_str(),
                          std::strerror(failure));
        return DIRECTORY_ERROR_FAILED_TO_CREATE_DIR;
    }
    return 0;
}

bool createDirectoryPath(const char* path) {
    if (path == nullptr || *path != '/') {
        return false;
    }
    const std::string whole(path);
    std::size_t end = 0;
    while (end != std::string::npos) {
        const std::size_t start = whole.find_first_not_of('/', end);
        if (start == std::string::npos) {
            break;
        }
        end = whole.find('/', start);
        if (!makeMissingFolder(whole.substr(0, end))) {
            return false;
        }
    }
    return true;
}
