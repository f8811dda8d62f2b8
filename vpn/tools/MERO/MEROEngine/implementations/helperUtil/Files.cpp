#include "tools/MERO/MEROEngine/implementations/helperUtil/Files.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/ReturnCodes.h"
#include "Common/Utility/sysutils.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Paths.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace helperUtil {

uint32_t fileDelete(const std::string& path) {
    const int error = removeFile(path.c_str());
    if (error == 0 || error == ENOENT) {
        return 0;
    }
    ZRN_LOG_CODE('E', "unlink_file", error);
    return MEROENGINE_ERROR_UNEXPECTED;
}

uint32_t MakeDirectory(const std::string& path) {
    errno = 0;
    if (::mkdir(path.c_str(), 0777) == 0) {
        return 0;
    }
    const int error = errno;
    ZRN_LOG_CODE('E', "mkdir", error);
    // Callers make folders that may be there already, and find out about a missing parent at the first file.
    return error == EACCES ? MEROENGINE_ERROR_ACCESS_DENIED : 0;
}

uint32_t fileDeleteAll(std::string& directory) {
    if (directory.empty()) {
        ZRN_LOG('I', "tstrDirectory is an empty string");
        return MEROENGINE_ERROR_BAD_PARAMETER;
    }
    if (!directory.ends_with('/')) {
        directory += '/';
    }
    uint32_t result = 0;
    const FileSink deleteFile = [&](const FoundFile& file) {
        const uint32_t code = fileDelete(directory + file.name);
        if (code != 0) {
            ZRN_LOG_CODE_FOR("fileDeleteAll", 'E', "helperUtil::fileDelete", code, nullptr);
            result = code;
        }
    };
    const uint32_t listCode = walkFiles(directory, {"*"}, false, {}, deleteFile, OmissionSink());
    if (listCode != 0) {
        ZRN_LOG_CODE('W', "helperUtil::fileFindAll", listCode);
        return listCode;
    }
    return result;
}

uint32_t fileDeleteDirectory(const std::string& directory) {
    if (directory.empty()) {
        ZRN_LOG('I', "rtstrDirectory is an empty string");
        return MEROENGINE_ERROR_BAD_PARAMETER;
    }
    const std::string folder = directory.ends_with('/') ? directory : directory + "/";
    if (::access(folder.c_str(), F_OK) != 0) {
        ZRN_LOG_ERRNO('E', "access");
        return MEROENGINE_ERROR_ACCESS_DENIED;
    }
    uint32_t deleteCode = 0;
    const FileSink deleteFile = [&](const FoundFile& file) {
        // The first that stays ends it.
        deleteCode = deleteCode != 0 ? deleteCode : fileDelete(folder + file.name);
    };
    const uint32_t listCode = walkFiles(folder, {"*"}, false, folder, deleteFile, OmissionSink());
    if (listCode != 0) {
        ZRN_LOG_CODE('W', "helperUtil::fileFindAll", listCode);
        if (listCode != MEROENGINE_ERROR_FILE_NOT_FOUND) {
            return listCode;
        }
        if (::rmdir(folder.c_str()) != 0) {
            ZRN_LOG_ERRNO('E', "rmdir");
            return MEROENGINE_ERROR_UNEXPECTED;
        }
        return 0;
    }
    if (deleteCode != 0) {
        ZRN_LOG_CODE('E', "helperUtil::fileDelete", deleteCode);
    }
    // Silent: either a file stayed, which is in the log, or the folder holds sub-folders, which it may keep.
    return ::rmdir(folder.c_str()) == 0 ? 0 : MEROENGINE_ERROR_UNEXPECTED;
}

double getFileSize(const std::string& path) {
    const std::string translated = translatePath(path);
    struct stat status = {};
    if (translated.empty() || ::stat(translated.c_str(), &status) != 0) {
        return -1.0;
    }
    return static_cast<double>(status.st_size);
}

} // namespace helperUtil
