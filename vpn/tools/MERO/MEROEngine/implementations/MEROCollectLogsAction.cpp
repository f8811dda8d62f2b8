#include "tools/MERO/MEROEngine/implementations/MEROCollectLogsAction.h"

#include "Common/Utility/files/ByteSpool.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/process/StopRequest.h"
#include "Common/Utility/ReturnCodes.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/FileAccess.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Files.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Names.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/SummaryEntries.h"

#include <boost/algorithm/string/replace.hpp>
#include <cstring>
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

/// Keeps the path of each file of a listing, with a NUL behind it.
helperUtil::FileSink appendTo(ByteSpool& paths) {
    return [&paths](const helperUtil::FoundFile& file) { paths.append(file.directory + file.name + '\0'); };
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
    ByteSpool matches(m_info.directory);
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
        if (helperUtil::walkFiles(folderPart, {filePart}, false, m_info.directory, appendTo(matches),
                                  recordUnlisted) != 0) {
            // The row tells it all: to the walk this instruction has done its work.
            helperUtil::recordOmitted(m_info, attrs.translatedPath, "No file found on endpoint");
            return 0;
        }
    }
    SpoolReader reader(matches, 0, matches.size());
    for (std::string source; reader.next(source);) {
        if (isStopRequested()) {
            return MEROENGINE_ERROR_ACTION_CANCELED_BY_USER;
        }
        const std::string targetFolder =
            targetFolderOf(helperUtil::folderPartOf(source), folderPart, m_info.directory);
        std::string failure = makeFolders(__func__, targetFolder);
        if (failure.empty()) {
            // The folder ends in "/" already; the double one is part of the path that the records have.
            const std::string target =
                targetFolder + "/" +
                helperUtil::mergeFileNames(m_info.name, helperUtil::stringAfterLast(source, "/"));
            failure = copyIntoBundle(source, target, found);
        }
        if (!failure.empty()) {
            helperUtil::recordOmitted(m_info, attrs.translatedPath, failure);
        }
    }
    if (reader.error() != 0) {
        recordUnlisted(folderPart, helperUtil::notListedReason(std::strerror(reader.error())));
    }
    return 0;
}

uint32_t MEROCollectLogsAction::deepDirectoryCopy(const DirectoryActionAttrs& attrs,
                                                  std::list<MEROCollectedFile>& found) {
    // The listing is complete before the first copy, so that a bundle folder inside the collected one does
    // not feed on itself.
    ByteSpool matches(m_info.directory);
    if (helperUtil::walkFiles(attrs.translatedPath, attrs.patterns, true, m_info.directory, appendTo(matches),
                              omissionSink()) != 0) {
        helperUtil::recordOmitted(m_info, "N/A", attrs.translatedPath);
        return 0;
    }
    SpoolReader reader(matches, 0, matches.size());
    for (std::string source; reader.next(source);) {
        if (isStopRequested()) {
            return MEROENGINE_ERROR_ACTION_CANCELED_BY_USER;
        }
        const std::string targetFolder = boost::algorithm::replace_all_copy(
            helperUtil::folderPartOf(source), attrs.translatedPath, m_info.directory + "/");
        std::string failure = makeFolders(__func__, targetFolder);
        if (failure.empty()) {
            failure = copyIntoBundle(source, targetFolder + helperUtil::stringAfterLast(source, "/"), found);
        }
        if (!failure.empty()) {
            recordOmittedPath(source, failure);
        }
    }
    if (reader.error() != 0) {
        recordOmittedPath(attrs.translatedPath, helperUtil::notListedReason(std::strerror(reader.error())));
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
                                           ByteSpool& matches, const helperUtil::OmissionSink& omitted) {
    helperUtil::FoundFile newest;
    const uint32_t code = helperUtil::fileGetNewestMatchingFile(folder, pattern, false, newest, omitted);
    if (code != 0) {
        return code;
    }
    if (newest.name.empty()) {
        // Files from before 1970 are never the newest one, and so there may be none.
        return MEROENGINE_ERROR_FILE_NOT_FOUND;
    }
    appendTo(matches)(newest);
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
    if (m_info.handOn) {
        m_info.handOn(found);
    }
    return {};
}
