#include "Common/Utility/files/ByteSpool.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/process/StopRequest.h"
#include "Common/Utility/ReturnCodes.h"
#include "Common/Utility/text/StringUtils.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/FileAccess.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Files.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
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

/// What a listing takes along from folder to folder.
struct Listing {
    /// In lower case.
    const std::list<std::string>& patterns;
    bool recursive;
    const FileSink& hit;
    const OmissionSink& omitted;
    /// Whether there is a hit.
    bool hasHits;
    /// The entries of the folder being gone through, behind those of the folders above it.
    ByteSpool entries;
    FolderVisits visits;

    /// @param path  a folder's may end in "/".
    void leaveOut(std::string path, const std::string& reason) const;
};

void Listing::leaveOut(std::string path, const std::string& reason) const {
    if (!omitted) {
        return;
    }
    while (path.size() > 1 && path.ends_with('/')) {
        path.pop_back();
    }
    omitted(path, reason);
}

/// A link whose target is not there can't hide anything. Whoever copies it will miss the target.
bool leadsNowhere(int error) {
    return error == ENOENT || error == ELOOP;
}

/// Tells what an entry is, and what its target is if it is a link.
FoundFile examine(const dirent& entry, const std::string& directory, const Listing& listing) {
    FoundFile found{entry.d_name, directory, false, 0};
    const std::string path = directory + found.name;
    struct stat status = {};
    if (::stat(path.c_str(), &status) == 0) {
        found.isDirectory = S_ISDIR(status.st_mode);
        found.modificationTime = status.st_mtime;
        return found;
    }
    const int error = errno;
    // What the folder itself says of it is enough to try it as what it is. A failure then speaks for itself.
    found.isDirectory = entry.d_type == DT_DIR;
    const bool mayBeFolder = entry.d_type == DT_LNK || entry.d_type == DT_UNKNOWN;
    if (!found.isDirectory && !leadsNowhere(error) &&
        ((listing.recursive && mayBeFolder) || matchesAny(found.name, listing.patterns))) {
        listing.leaveOut(path, notListedReason(std::strerror(error)));
    }
    return found;
}

/// An entry in the spool: its kind and time, and its name, which can hold no "/".
std::string spooled(const FoundFile& entry) {
    return (entry.isDirectory ? "d" : "f") + std::to_string(entry.modificationTime) + "/" + entry.name + '\0';
}

/// Takes over what an entry of the spool says.
void readSpooled(const std::string& text, FoundFile& entry) {
    const std::size_t slash = text.find('/');
    entry.isDirectory = text.front() == 'd';
    std::from_chars(text.data() + 1, text.data() + slash, entry.modificationTime);
    entry.name.assign(text, slash + 1);
}

/// Reads the entries that matter: the matching files and, if wanted, the sub-folders.
void readEntries(DIR* folder, const std::string& directory, Listing& listing) {
    int error = 0;
    while (const dirent* entry = nextEntry(folder, error)) {
        if (isDotEntry(entry->d_name)) {
            continue;
        }
        const FoundFile found = examine(*entry, directory, listing);
        if (found.isDirectory ? listing.recursive : matchesAny(found.name, listing.patterns)) {
            listing.entries.append(spooled(found));
        }
    }
    if (error != 0) {
        ZRN_LOG_CODE_FOR(kFindAll, 'E', "readdir", error, "Folder: %s\nError: %s", directory.c_str(),
                         std::strerror(error));
        listing.leaveOut(directory, notListedReason(std::strerror(error)));
    }
}

/// @return MEROENGINE_ERROR_FILE_NOT_FOUND or MEROENGINE_ERROR_FILE_OPEN_FAILURE.
uint32_t failToOpen(int error, const std::string& directory, const ListedFolder& here,
                    const Listing& listing) {
    // The one who asked for a folder knows what to say when there is none.
    const bool isMissing = error == ENOENT || error == ENOTDIR;
    if (here.above != nullptr || !isMissing) {
        listing.leaveOut(directory, notListedReason(std::strerror(error)));
    }
    if (error != ENOENT) {
        return MEROENGINE_ERROR_FILE_OPEN_FAILURE;
    }
    ZRN_LOG_FOR(kFindAll, 'I', "\"%s\" is not a directory", directory.c_str());
    return MEROENGINE_ERROR_FILE_NOT_FOUND;
}

/// Whether to read an open folder: not if a link leads back up to it, which would be followed until the path
/// is too long, and not if it was read often enough.
bool isWanted(const ListedFolder& here, const std::string& directory, Listing& listing) {
    if (isAncestor(here.id, here.above)) {
        return false;
    }
    const uint32_t visit = listing.visits.count(here.id);
    if (visit == FolderVisits::kMost + 1) {
        listing.leaveOut(directory, kMetTooOften);
    }
    return visit <= FolderVisits::kMost;
}

/// Opens the folder, reads it and closes it again, so that one descriptor serves a tree of any depth.
uint32_t readFolder(const std::string& directory, Listing& listing, ListedFolder& here) {
    errno = 0;
    const DirHandle folder(::opendir(directory.c_str()));
    if (!folder) {
        return failToOpen(errno, directory, here, listing);
    }
    here.id = folderIdOf(::dirfd(folder.get()));
    if (here.id == FolderId{}) {
        // Nothing would stop at a folder that can't be told from others.
        return failToOpen(errno, directory, here, listing);
    }
    if (isWanted(here, directory, listing)) {
        readEntries(folder.get(), directory, listing);
    }
    return 0;
}

/// @param directory  ends in "/".
uint32_t listFolder(const std::string& directory, Listing& listing, const ListedFolder* above) {
    ListedFolder here{{}, above};
    const uint64_t start = listing.entries.size();
    const uint32_t readCode = readFolder(directory, listing, here);
    if (readCode != 0) {
        return readCode;
    }
    SpoolReader reader(listing.entries, start, listing.entries.size());
    FoundFile entry{.name = {}, .directory = directory};
    for (std::string text; reader.next(text);) {
        readSpooled(text, entry);
        if (!entry.isDirectory) {
            listing.hasHits = true;
            listing.hit(entry);
            continue;
        }
        // A single folder is listed to its end: the working folder is removed by such a list.
        if (isStopRequested()) {
            return MEROENGINE_ERROR_ACTION_CANCELED_BY_USER;
        }
        reader.rest();
        const uint32_t code = listFolder(directory + entry.name + "/", listing, &here);
        if (code != 0) {
            ZRN_LOG_CODE_FOR(kFindAll, 'E', "helperUtil::fileFindAll", code, nullptr);
        }
    }
    if (reader.error() != 0) {
        listing.leaveOut(directory, notListedReason(std::strerror(reader.error())));
    }
    listing.entries.cut(start);
    return listing.hasHits ? 0 : MEROENGINE_ERROR_FILE_NOT_FOUND;
}

/// Prepares the arguments in place and lists.
/// @param hasHits  whether an empty listing is one with hits all the same.
uint32_t listAll(std::string& directory, std::list<std::string>& patterns, bool recursive,
                 const std::string& spoolFolder, const FileSink& hit, const OmissionSink& omitted,
                 bool hasHits) {
    if (directory.empty() || patterns.empty()) {
        return MEROENGINE_ERROR_BAD_PARAMETER;
    }
    if (!directory.ends_with('/')) {
        directory += '/';
    }
    for (std::string& pattern : patterns) {
        pattern = CStringUtils::toLower(pattern);
    }
    Listing listing{patterns, recursive, hit, omitted, hasHits, ByteSpool(spoolFolder), {}};
    return listFolder(directory, listing, nullptr);
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
    return fileFindAll(directory, patterns, recursive, results, OmissionSink());
}

uint32_t fileFindAll(std::string& directory, std::list<std::string>& patterns, bool recursive,
                     std::list<FoundFile>& results, const OmissionSink& omitted) {
    const FileSink append = [&results](const FoundFile& file) { results.push_back(file); };
    return listAll(directory, patterns, recursive, {}, append, omitted, !results.empty());
}

uint32_t walkFiles(std::string directory, std::list<std::string> patterns, bool recursive,
                   const std::string& spoolFolder, const FileSink& hit, const OmissionSink& omitted) {
    return listAll(directory, patterns, recursive, spoolFolder, hit, omitted, false);
}

uint32_t fileGetNewestMatchingFile(const std::string& directory, const std::string& pattern, bool recursive,
                                   FoundFile& newest) {
    return fileGetNewestMatchingFile(directory, pattern, recursive, newest, OmissionSink());
}

uint32_t fileGetNewestMatchingFile(const std::string& directory, const std::string& pattern, bool recursive,
                                   FoundFile& newest, const OmissionSink& omitted) {
    newest = FoundFile{};
    int64_t best = 0;
    const FileSink compare = [&](const FoundFile& file) {
        // Among files of the same second the later one in the folder wins; times before 1970 are errors.
        if (file.modificationTime >= best) {
            best = file.modificationTime;
            newest = file;
        }
    };
    const uint32_t code = walkFiles(directory, {pattern}, recursive, {}, compare, omitted);
    if (code != 0 && code != MEROENGINE_ERROR_FILE_NOT_FOUND) {
        ZRN_LOG_CODE('E', "helperUtil::fileFindAll", code);
    }
    if (code != 0) {
        newest = FoundFile{};
    }
    return code;
}

} // namespace helperUtil
