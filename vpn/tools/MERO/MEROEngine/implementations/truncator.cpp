#include "tools/MERO/MEROEngine/implementations/truncator.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/ReturnCodes.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Files.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Names.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/SummaryEntries.h"

#include <string>

using helperUtil::formatFileSize;
using helperUtil::stringAfterLast;

namespace {

constexpr int kSizePrecision = 2;
constexpr helperUtil::SummaryPartSearch kIncludedFiles = {.caller = "fillSummaryGoodFile",
                                                          .part = helperUtil::kIncludedPart,
                                                          .noTree = "m_pXMLSummary is uninitialized",
                                                          .noTreeCode = MEROENGINE_ERROR_NOT_INITIALIZED,
                                                          .noRoot = "pDCSummaryRoot is NULL",
                                                          .noPart = "pDCGoodFiles is NULL"};
constexpr const char* kWholeNote =
    "*1: When the request specifies file(whole) truncation for a file ID(group), MERO uses greedy algorithm\n"
    "         based on file sizes to decide which file in the ID group to keep and which to leave out.";
constexpr const char* kDataNote =
    "*2: When the request specifies data truncation for a file ID(group), MERO truncates all files of that "
    "ID\n"
    "         proportionally according to their original sizes, and uses defaults from configuration xml to "
    "decide whether to\n"
    "         truncate from front or end.";

std::string baseName(const MEROCollectedFile& file) {
    return stringAfterLast(file.path, "/");
}

/// Ids ascend by their bytes, and within one id the largest file comes first.
bool goesBefore(const MEROCollectedFile& left, const MEROCollectedFile& right) {
    const int order = left.id.compare(right.id);
    return order != 0 ? order < 0 : left.fileSize > right.fileSize;
}

/// The low 32 bits of a count cut toward zero to 64 bits. What 64 bits can't hold, or is no number at all, as
/// for a group of total size 0, has none of them set.
int32_t lowBits(double count) {
    constexpr double limit = 9223372036854775808.0;
    if (!(count >= -limit && count < limit)) {
        return 0;
    }
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<int64_t>(count)));
}

std::string dropReason(const MEROCollectedFile& file) {
    return "See note *1; File/whole truncate type specified; total allowed size for this ID is " +
           formatFileSize(file.totalAllowedSize, kSizePrecision) + "; this file is " +
           formatFileSize(file.fileSize, kSizePrecision);
}

std::string noSchemeWarning(const MEROCollectedFile& file) {
    return "Warning: the file " + baseName(file) + " corresponding to ID " + file.id +
           " has WHOLE or NONE as default truncation type, however, requested to be DATA-truncated.\n"
           "\t MERO will truncate end, but there could be possible loss of useful data, or corruption of the "
           "file.";
}

} // namespace

truncator::truncator(const std::list<MEROCollectedFile>& files, MEROXmlObject* summary)
    : m_TruncAttrsList(files), m_pXMLSummary(summary) {}

uint32_t truncator::perform() {
    if (m_TruncAttrsList.empty()) {
        ZRN_LOG('E', "m_TruncAttrsList is empty");
        return MEROENGINE_ERROR_NOT_INITIALIZED;
    }
    m_TruncAttrsList.sort(goesBefore);
    std::string groupId = m_TruncAttrsList.front().id;
    int32_t groupType = m_TruncAttrsList.front().truncateType;
    double groupSum = 0.0;
    std::list<MEROCollectedFile> dataGroup;
    for (MEROCollectedFile& file : m_TruncAttrsList) {
        if (file.id != groupId) {
            endGroup(groupType, groupSum, dataGroup);
            groupId = file.id;
            groupType = file.truncateType;
            groupSum = 0.0;
        }
        handleMember(file, groupType, groupSum, dataGroup);
    }
    endGroup(groupType, groupSum, dataGroup);
    addNotes();
    return 0;
}

uint32_t truncator::fillSummaryGoodFiles() {
    for (const MEROCollectedFile& file : m_TruncAttrsList) {
        static_cast<void>(fillSummaryGoodFile(file)); // logged there; the others still have their entries
    }
    return 0;
}

uint32_t truncator::DATATruncateAll(std::list<MEROCollectedFile>& group, double totalSize) {
    if (group.empty()) {
        return 0;
    }
    m_bDataNoteNeeded = true;
    for (MEROCollectedFile& file : group) {
        cutData(file, lowBits(file.fileSize * file.totalAllowedSize / totalSize));
        file.description += "; see Note *2";
        if (const uint32_t code = fillSummaryGoodFile(file); code != 0) {
            ZRN_LOG_CODE('E', "truncator::fillSummaryGoodFile", code);
        }
    }
    return 0;
}

uint32_t truncator::fillSummaryInternalError(const MEROCollectedFile& file) {
    helperUtil::fillSummaryFailedFile(m_pXMLSummary, file.id, baseName(file), file.description,
                                      "Internal error");
    return 0;
}

uint32_t truncator::fillSummaryGoodFile(const MEROCollectedFile& file) {
    return helperUtil::addSummaryFile(kIncludedFiles, m_pXMLSummary,
                                      {file.id, baseName(file), file.description, "file_size",
                                       formatFileSize(file.fileSize, kSizePrecision)});
}

void truncator::handleMember(MEROCollectedFile& file, int32_t groupType, double& groupSum,
                             std::list<MEROCollectedFile>& dataGroup) {
    const bool isKnownType =
        groupType == kTruncateWholeFile || groupType == kTruncateData || groupType == kTruncateNone;
    if (!isKnownType) {
        dropLost(file);
    } else if (file.truncateType != groupType) {
        dropMixed(file);
    } else if (groupType == kTruncateNone) {
        static_cast<void>(fillSummaryGoodFile(file)); // logged there
    } else if (groupType == kTruncateData) {
        dataGroup.push_back(file);
        groupSum += file.fileSize;
    } else {
        keepOrDropWhole(file, groupSum);
    }
}

void truncator::keepOrDropWhole(MEROCollectedFile& file, double& groupSum) {
    m_bWholeNoteNeeded = true;
    const double newSum = file.fileSize + groupSum;
    if (file.totalAllowedSize >= newSum) {
        groupSum = newSum;
        file.description += "; see note *1";
        if (const uint32_t code = fillSummaryGoodFile(file); code != 0) {
            ZRN_LOG_CODE_FOR("perform", 'E', "truncator::fillSummaryGoodFile", code, nullptr);
        }
        return;
    }
    static_cast<void>(
        helperUtil::fileDelete(file.path)); // logged there; the file is listed as omitted anyway
    helperUtil::fillSummaryFailedFile(m_pXMLSummary, file.id, baseName(file), file.description,
                                      dropReason(file));
}

void truncator::dropMixed(const MEROCollectedFile& file) {
    static_cast<void>(
        helperUtil::fileDelete(file.path));            // logged there; the file is listed as omitted anyway
    static_cast<void>(fillSummaryInternalError(file)); // always 0
    ZRN_LOG_FOR("perform", 'I', "%s",
                "Two files corresponding to the same fileID have different requested truncation scheme");
}

void truncator::dropLost(const MEROCollectedFile& file) {
    ZRN_LOG_FOR("perform", 'I', "Lost fileID for file: \"%s\"", file.path.c_str());
    static_cast<void>(fillSummaryInternalError(file)); // always 0
    if (helperUtil::fileDelete(file.path) != 0) {
        const std::string note = "Dead file: " + file.path + " in bundle.";
        helperUtil::fillSummaryNote(m_pXMLSummary, note);
        ZRN_LOG_FOR("perform", 'E', "%s", note.c_str());
    }
}

void truncator::cutData(const MEROCollectedFile& file, int32_t keepBytes) {
    // A file that can't be cut stays in full and is listed as included; the failure is in the log.
    if (file.defaultTruncateType == kTruncateFront) {
        static_cast<void>(helperUtil::fileTruncateFront(keepBytes, file.path.c_str()));
        return;
    }
    static_cast<void>(helperUtil::fileTruncateEnd(keepBytes, file.path.c_str()));
    if (file.defaultTruncateType != kTruncateEnd) {
        helperUtil::fillSummaryNote(m_pXMLSummary, noSchemeWarning(file));
    }
}

void truncator::endGroup(int32_t groupType, double groupSum, std::list<MEROCollectedFile>& dataGroup) {
    if (groupType == kTruncateData) {
        if (const uint32_t code = DATATruncateAll(dataGroup, groupSum); code != 0) {
            ZRN_LOG_CODE_FOR("perform", 'E', "truncator::DATATruncateAll", code, nullptr);
        }
        dataGroup.clear();
    }
}

void truncator::addNotes() {
    if (m_bWholeNoteNeeded) {
        helperUtil::fillSummaryNote(m_pXMLSummary, kWholeNote);
    }
    if (m_bDataNoteNeeded) {
        helperUtil::fillSummaryNote(m_pXMLSummary, kDataNote);
    }
}
