#include "FileAccess.h"
#include "Files.h"
#include "Log.h"
#include "ReturnCodes.h"
#include "StringUtils.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace helperUtil {

namespace {

/// Every line of a listing belongs to the public function, however deep the folder is.
constexpr const char* kFindAll = "fileFindAll";

/// A folder on the way from the first one listed to the present one.
struct ListedFolder {
    FolderId id;
    const ListedFolder* above = nullptr;
};

bool isAncestor(const FolderId& folder, const ListedFolder* above) {
    for (const ListedFolder* step = above; step != nullptr; step = step->above) {
        if (folder == step->id) {
            return true;
        }
    }
    return false;
}

bool matchesAny(const std::string& name, const std::list<std::string>& patterns) {
    const std::string lowerName = CStringUtils::toLower(name);
    return std::any_of(patterns.begin(), patterns.end(), [&](const std::string& pattern) {
        return matchWildcard(pattern.c_str(), lowerName.c_str());
    });
}

/// Reads the entries that matter: the matching files and, if wanted, the sub-folders.
void readEntries(DIR* folder, const std::string& directory, const std::list<std::string>& patterns,
                 bool withFolders, std::vector<FoundFile>& entriesOut) {
    // One block for the whole folder: an entry that can't be looked at, such as a link to nowhere, takes over
    // kind and time of the entry before it.
    struct stat status = {};
    int error = 0;
    while (const dirent* entry = nextEntry(folder, error)) {
        FoundFile found{entry->d_name, directory, false, 0};
        static_cast<void>(::stat((directory + found.name).c_str(), &status));
        found.isDirectory = S_ISDIR(status.st_mode);
        found.modificationTime = status.st_mtime;
        if (isDotEntry(entry->d_name)) {
            continue;
        }
        if (found.isDirectory ? withFolders : matchesAny(found.name, patterns)) {
            entriesOut.push_back(std::move(found));
        }
    }
    if (error != 0) {
        logReturnCode(kFindAll, __FILE__, __LINE__, 'E', "readdir", static_cast<uint32_t>(error), nullptr,
                      "Folder: %s\nError: %s", directory.c_str(), std::strerror(error));
    }
}

/// Opens the folder, reads it and closes it again, so that one descriptor serves a tree of any depth.
uint32_t readFolder(const std::string& directory, const std::list<std::string>& patterns, bool withFolders,
                    ListedFolder& here, std::vector<FoundFile>& entriesOut) {
    errno = 0;
    const DirHandle folder(::opendir(directory.c_str()));
    if (!folder) {
        if (errno != ENOENT) {
            return MEROENGINE_ERROR_FILE_OPEN_FAILURE;
        }
        logMessage(kFindAll, __FILE__, __LINE__, 'I', "\"%s\" is not a directory", directory.c_str());
        return MEROENGINE_ERROR_FILE_NOT_FOUND;
    }
    here.id = folderIdOf(::dirfd(folder.get()));
    // A link that leads back up would be followed until the path is too long.
    if (!isAncestor(here.id, here.above)) {
        readEntries(folder.get(), directory, patterns, withFolders, entriesOut);
    }
    return 0;
}

/// @param directory  ends in "/".
/// @param patterns   are in lower case.
uint32_t listFolder(const std::string& directory, const std::list<std::string>& patterns, bool recursive,
                    const ListedFolder* above, std::list<FoundFile>& results) {
    ListedFolder here{{}, above};
    std::vector<FoundFile> entries;
    const uint32_t readCode = readFolder(directory, patterns, recursive, here, entries);
    if (readCode != 0) {
        return readCode;
    }
    for (FoundFile& entry : entries) {
        if (!entry.isDirectory) {
            results.push_back(std::move(entry));
            continue;
        }
        const uint32_t code = listFolder(directory + entry.name + "/", patterns, true, &here, results);
        if (code != 0) {
            logReturnCode(kFindAll, __FILE__, __LINE__, 'E', "helperUtil::fileFindAll", code, nullptr,
                          nullptr);
        }
    }
    return results.empty() ? MEROENGINE_ERROR_FILE_NOT_FOUND : 0;
}

} // namespace

bool matchWildcard(const char* pattern, const char* text) {
    if (pattern == nullptr || text == nullptr) {
        return false;
    }
    // Where to go on after a mismatch: behind the last star, one byte further on in the text each time. Stars
    // before the last one never have to be looked at again.
    const char* patternRetry = nullptr;
    const char* textRetry = nullptr;
    while (*text != '\0') {
        if (*pattern == '*') {
            ++pattern;
            if (*pattern == '\0') {
                return true;
            }
            patternRetry = pattern;
            textRetry = text + 1;
        } else if (*pattern != '\0' && (*pattern == '?' || *pattern == *text)) {
            ++pattern;
            ++text;
        } else if (patternRetry != nullptr) {
            pattern = patternRetry;
            text = textRetry++;
        } else {
            return false;
        }
    }
    while (*pattern == '*') {
        ++pattern;
    }
    return *pattern == '\0';
}

uint32_t fileFindAll(std::string& directory, std::list<std::string>& patterns, bool recursive,
                     std::list<FoundFile>& results) {
    if (directory.empty() || patterns.empty()) {
        return MEROENGINE_ERROR_BAD_PARAMETER;
    }
    if (!directory.ends_with('/')) {
        directory += '/';
    }
    for (std::string& pattern : patterns) {
        pattern = CStringUtils::toLower(pattern);
    }
    return listFolder(directory, patterns, recursive, nullptr, results);
}

uint32_t fileGetNewestMatchingFile(const std::string& directory, const std::string& pattern, bool recursive,
                                   FoundFile& newest) {
    newest = FoundFile{};
    std::string folder = directory;
    std::list<std::string> patterns{pattern};
    std::list<FoundFile> found;
    const uint32_t code = fileFindAll(folder, patterns, recursive, found);
    if (code == MEROENGINE_ERROR_FILE_NOT_FOUND) {
        return code;
    }
    if (code != 0) {
        ZRN_LOG_CODE('E', "helperUtil::fileFindAll", code);
        return code;
    }
    int64_t best = 0;
    for (const FoundFile& file : found) {
        // Among files of the same second the later one in the folder wins; times before 1970 are errors.
        if (file.modificationTime >= best) {
            best = file.modificationTime;
            newest = file;
        }
    }
    return 0;
}

} // namespace helperUtil
