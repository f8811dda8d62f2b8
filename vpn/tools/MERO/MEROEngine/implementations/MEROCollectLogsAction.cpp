#include "MEROCollectLogsAction.h"

#include "Files.h"
#include "Log.h"
#include "Names.h"
#include "ReturnCodes.h"

#include <boost/algorithm/string/replace.hpp>
#include <filesystem>
#include <system_error>

namespace {

/// Where the files of `folder` go. Each time that the folder part occurs in it, the item's folder takes its
/// place, while the "/" behind it stays.
std::string targetFolderOf(const std::string& folder, const std::string& folderPart,
                           const std::string& itemFolder) {
    const std::string replaced = folderPart.substr(0, folderPart.size() - 1);
    if (replaced.empty()) {
        // A file directly in "/": replacing nothing would make the source its own target, and a copy starts
        // by deleting its target.
        return itemFolder + "/";
    }
    return boost::algorithm::replace_all_copy(folder, replaced, itemFolder);
}

/// @param caller  the operation that the log line names.
uint32_t makeFolders(const char* caller, const std::string& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (!error) {
        return 0;
    }
    logReturnCode(caller, __FILE__, __LINE__, 'E', "std::filesystem::create_directories",
                  static_cast<uint32_t>(error.value()), error.message().c_str(), "File: %s", folder.c_str());
    return MEROENGINE_ERROR_UNEXPECTED;
}

} // namespace

MEROCollectLogsAction::MEROCollectLogsAction(const MEROActionInfo& info, MEROComponent* reader, bool adminRun)
    : MEROAction(info, reader, adminRun) {}

uint32_t MEROCollectLogsAction::performFileAction(MEROXmlObject& subtree,
                                                  std::list<MEROCollectedFile>& found) {
    FileActionAttrs attrs;
    const uint32_t code = parseFileActionAttributes(subtree, attrs);
    return code != 0 ? code : deepFileCopy(attrs, found);
}

uint32_t MEROCollectLogsAction::performDirectoryAction(MEROXmlObject& subtree,
                                                       std::list<MEROCollectedFile>& found) {
    DirectoryActionAttrs attrs;
    const uint32_t code = parseDirectoryActionAttributes(subtree, attrs);
    return code != 0 ? code : deepDirectoryCopy(attrs, found);
}

uint32_t MEROCollectLogsAction::deepFileCopy(const FileActionAttrs& attrs,
                                             std::list<MEROCollectedFile>& found) {
    const std::string folderPart = helperUtil::folderPartOf(attrs.translatedPath);
    const std::string filePart = helperUtil::stringAfterLast(attrs.translatedPath, "/");
    std::list<helperUtil::FoundFile> matches;
    if (attrs.gatherNewest) {
        const uint32_t code = findNewest(folderPart, filePart, matches);
        if (code != 0) {
            recordOmitted(attrs.translatedPath, "Not found on endpoint");
            return code;
        }
    } else {
        std::string folder = folderPart;
        std::list<std::string> patterns{filePart};
        if (helperUtil::fileFindAll(folder, patterns, false, matches) != 0) {
            // The row tells it all: to the walk this instruction has done its work.
            recordOmitted(attrs.translatedPath, "No file found on endpoint");
            return 0;
        }
    }
    for (const helperUtil::FoundFile& match : matches) {
        const std::string targetFolder = targetFolderOf(match.directory, folderPart, m_info.directory);
        const uint32_t code = makeFolders(__func__, targetFolder);
        if (code != 0) {
            return code;
        }
        // The folder ends in "/" already; the double one is part of the path that the records have.
        const std::string target = targetFolder + "/" + helperUtil::mergeFileNames(m_info.name, match.name);
        const std::string failure = copyIntoBundle(match.directory + match.name, target, found);
        if (!failure.empty()) {
            recordOmitted(attrs.translatedPath, failure);
        }
    }
    return 0;
}

uint32_t MEROCollectLogsAction::deepDirectoryCopy(const DirectoryActionAttrs& attrs,
                                                  std::list<MEROCollectedFile>& found) {
    std::string folder = attrs.translatedPath;
    std::list<std::string> patterns = attrs.patterns;
    // The listing is complete before the first copy, so that a bundle folder inside the collected one does
    // not feed on itself.
    std::list<helperUtil::FoundFile> matches;
    if (helperUtil::fileFindAll(folder, patterns, true, matches) != 0) {
        recordOmitted("N/A", attrs.translatedPath);
        return 0;
    }
    for (const helperUtil::FoundFile& match : matches) {
        const std::string targetFolder =
            boost::algorithm::replace_all_copy(match.directory, attrs.translatedPath, m_info.directory + "/");
        const uint32_t code = makeFolders(__func__, targetFolder);
        if (code != 0) {
            return code;
        }
        const std::string source = match.directory + match.name;
        const std::string failure = copyIntoBundle(source, targetFolder + match.name, found);
        if (!failure.empty()) {
            recordOmitted(helperUtil::stringAfterLast(source, "/"), source + failure);
        }
    }
    return 0;
}

const char* MEROCollectLogsAction::getCopyFailureText(uint32_t code) {
    switch (code) {
    case MEROENGINE_ERROR_FILE_OPEN_FAILURE:
        return " Error occurred opening the file";
    case MEROENGINE_ERROR_FILE_NOT_FOUND:
        return " File not found";
    default:
        return " Unexpected error occurred";
    }
}

uint32_t MEROCollectLogsAction::findNewest(const std::string& folder, const std::string& pattern,
                                           std::list<helperUtil::FoundFile>& matches) {
    helperUtil::FoundFile newest;
    const uint32_t code = helperUtil::fileGetNewestMatchingFile(folder, pattern, false, newest);
    if (code != 0) {
        return code;
    }
    if (newest.name.empty()) {
        // Files from before 1970 are never the newest one, and so there may be none.
        return MEROENGINE_ERROR_FILE_NOT_FOUND;
    }
    matches.push_back(newest);
    return 0;
}

std::string MEROCollectLogsAction::copyIntoBundle(const std::string& source, const std::string& target,
                                                  std::list<MEROCollectedFile>& found) const {
    std::string errorText;
    const uint32_t code = helperUtil::fileCopy(source, target, errorText);
    if (code != 0) {
        return getCopyFailureText(code) + (errorText.empty() ? std::string() : ": " + errorText);
    }
    found.push_back({.id = m_info.id,
                     .path = target,
                     .description = m_info.description,
                     .fileSize = helperUtil::getFileSize(target),
                     .truncateType = m_info.truncateType,
                     .totalAllowedSize = m_info.totalAllowedSize,
                     .defaultTruncateType = kTruncateNone});
    return {};
}
