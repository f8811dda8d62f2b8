#include "tools/MERO/MEROEngine/implementations/MEROCollectLogsAction.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/process/StopRequest.h"
#include "Common/Utility/ReturnCodes.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Files.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Names.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/SummaryEntries.h"

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

/// Makes the folder of a copy, with its parents.
/// @param caller  the operation that the log line names.
/// @return empty, or the summary's words for the failure.
std::string makeFolders(const char* caller, const std::string& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (!error) {
        return {};
    }
    logReturnCode(caller, __FILE__, __LINE__, 'E', "std::filesystem::create_directories",
                  static_cast<uint32_t>(error.value()), error.message().c_str(), "File: %s", folder.c_str());
    return helperUtil::copyFailureReason(MEROENGINE_ERROR_UNEXPECTED, error.message());
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
    const auto recordUnlisted = [&](const std::string& path, const std::string& reason) {
        helperUtil::recordOmitted(m_info, attrs.translatedPath, path + reason);
    };
    if (attrs.gatherNewest) {
        const uint32_t code = findNewest(folderPart, filePart, matches, recordUnlisted);
        if (code != 0) {
            helperUtil::recordOmitted(m_info, attrs.translatedPath, "Not found on endpoint");
            return code;
        }
    } else {
        std::string folder = folderPart;
        std::list<std::string> patterns{filePart};
        if (helperUtil::fileFindAll(folder, patterns, false, matches, recordUnlisted) != 0) {
            // The row tells it all: to the walk this instruction has done its work.
            helperUtil::recordOmitted(m_info, attrs.translatedPath, "No file found on endpoint");
            return 0;
        }
    }
    for (const helperUtil::FoundFile& match : matches) {
        if (isStopRequested()) {
            return MEROENGINE_ERROR_ACTION_CANCELED_BY_USER;
        }
        const std::string targetFolder = targetFolderOf(match.directory, folderPart, m_info.directory);
        std::string failure = makeFolders(__func__, targetFolder);
        if (failure.empty()) {
            // The folder ends in "/" already; the double one is part of the path that the records have.
            const std::string target =
                targetFolder + "/" + helperUtil::mergeFileNames(m_info.name, match.name);
            failure = copyIntoBundle(match.directory + match.name, target, found);
        }
        if (!failure.empty()) {
            helperUtil::recordOmitted(m_info, attrs.translatedPath, failure);
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
    if (helperUtil::fileFindAll(folder, patterns, true, matches, omissionSink()) != 0) {
        helperUtil::recordOmitted(m_info, "N/A", attrs.translatedPath);
        return 0;
    }
    for (const helperUtil::FoundFile& match : matches) {
        if (isStopRequested()) {
            return MEROENGINE_ERROR_ACTION_CANCELED_BY_USER;
        }
        const std::string targetFolder =
            boost::algorithm::replace_all_copy(match.directory, attrs.translatedPath, m_info.directory + "/");
        const std::string source = match.directory + match.name;
        std::string failure = makeFolders(__func__, targetFolder);
        if (failure.empty()) {
            failure = copyIntoBundle(source, targetFolder + match.name, found);
        }
        if (!failure.empty()) {
            recordOmittedPath(source, failure);
        }
    }
    return 0;
}

const char* MEROCollectLogsAction::getCopyFailureText(uint32_t code) {
    return helperUtil::copyFailureText(code);
}

helperUtil::OmissionSink MEROCollectLogsAction::omissionSink() const {
    return [this](const std::string& path, const std::string& reason) { recordOmittedPath(path, reason); };
}

void MEROCollectLogsAction::recordOmittedPath(const std::string& path, const std::string& reason) const {
    helperUtil::recordOmitted(m_info, helperUtil::stringAfterLast(path, "/"), path + reason);
}

uint32_t MEROCollectLogsAction::findNewest(const std::string& folder, const std::string& pattern,
                                           std::list<helperUtil::FoundFile>& matches,
                                           const helperUtil::OmissionSink& omitted) {
    helperUtil::FoundFile newest;
    const uint32_t code = helperUtil::fileGetNewestMatchingFile(folder, pattern, false, newest, omitted);
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
    const uint32_t code = helperUtil::fileCopy(source, target, errorText, omissionSink());
    if (code != 0) {
        return helperUtil::copyFailureReason(code, errorText);
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
