#include "tools/MERO/MEROEngine/implementations/helperUtil/SummaryEntries.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/ReturnCodes.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/ToldPaths.h"
#include "tools/MERO/MEROEngine/implementations/MEROCollectedFile.h"

#include <array>
#include <charconv>
#include <cmath>
#include <memory>
#include <string_view>

namespace {

using helperUtil::SummaryPartSearch;

constexpr SummaryPartSearch kOmittedFiles = {.caller = "fillSummaryFailedFile",
                                             .part = helperUtil::kOmittedPart,
                                             .noTree = "pXMLSummary is NULL",
                                             .noTreeCode = MEROENGINE_ERROR_BAD_PARAMETER,
                                             .noRoot = "pXMLSummary->GetRoot() is NULL",
                                             .noPart = "pDCFailedFiles is NULL"};
constexpr SummaryPartSearch kNotes = {.caller = "fillSummaryNote",
                                      .part = helperUtil::kNotesPart,
                                      .noTree = "pXMLSummary is NULL",
                                      .noTreeCode = MEROENGINE_ERROR_BAD_PARAMETER,
                                      .noRoot = "pXMLSummary->GetRoot() is NULL",
                                      .noPart = "pDCNoteComponent is NULL"};

constexpr std::string_view kUnits = "KMGTPEZY";

/// A number in fixed notation, whatever the locale.
template <typename Number> std::string fixedText(Number value, int precision) {
    std::array<char, 400> buffer; // the largest double has 309 digits
    const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                            std::chars_format::fixed, precision);
    return error == std::errc() ? std::string(buffer.data(), end) : std::string();
}

std::string wholeBytes(double bytes) {
    // Adding a positive zero keeps a minus sign away from a value that becomes zero.
    return fixedText(std::trunc(bytes) + 0.0, 0) + " bytes";
}

} // namespace

namespace helperUtil {

uint32_t findSummaryPart(const SummaryPartSearch& search, const MEROXmlObject* summary,
                         MEROComponent*& partOut) {
    if (summary == nullptr) {
        ZRN_LOG_FOR(search.caller, 'E', "%s", search.noTree);
        return search.noTreeCode;
    }
    if (summary->GetRoot() == nullptr) {
        ZRN_LOG_FOR(search.caller, 'E', "%s", search.noRoot);
        return MEROENGINE_ERROR_NULL_XML_ROOT;
    }
    MEROComponent* const part = summary->GetRoot()->findOwnChild(search.part);
    if (part == nullptr) {
        ZRN_LOG_FOR(search.caller, 'E', "%s", search.noPart);
        return MEROENGINE_ERROR_NULL_XML_CHILD;
    }
    partOut = part;
    return 0;
}

uint32_t addSummaryFile(const SummaryPartSearch& search, MEROXmlObject* summary, const SummaryFile& file) {
    MEROComponent* part = nullptr;
    if (const uint32_t code = findSummaryPart(search, summary, part); code != 0) {
        return code;
    }
    auto entry = std::make_unique<MEROComponent>(file.id, file.name);
    entry->addAttribute("description", file.description);
    entry->addAttribute(file.lastAttribute, file.lastValue);
    summary->addComponent(part, entry.release());
    return 0;
}

uint32_t fillSummaryFailedFile(MEROXmlObject* summary, const std::string& id, const std::string& fileName,
                               const std::string& description, const std::string& reason) {
    return addSummaryFile(kOmittedFiles, summary, {id, fileName, description, "reason", reason});
}

void recordOmitted(const MEROActionInfo& info, const std::string& fileText, const std::string& reason) {
    // The other files go on.
    static_cast<void>(
        fillSummaryFailedFile(info.summary, info.id, toldText(fileText), info.description, toldText(reason)));
    if (info.handOn) {
        std::list<MEROCollectedFile> none;
        info.handOn(none);
    }
}

uint32_t fillSummaryNote(MEROXmlObject* summary, const std::string& text) {
    MEROComponent* notes = nullptr;
    if (const uint32_t code = findSummaryPart(kNotes, summary, notes); code != 0) {
        return code;
    }
    summary->addComponent(notes, " - ", text);
    return 0;
}

std::string formatFileSize(double bytes, int precision) {
    double unit = 1024.0;
    for (const char letter : kUnits) {
        const double nextUnit = unit * 1024.0;
        if (bytes >= unit && bytes < nextUnit) {
            return fixedText(static_cast<float>(bytes / unit), precision) + letter;
        }
        unit = nextUnit;
    }
    return wholeBytes(bytes);
}

const char* truncationTypeText(int32_t type) {
    switch (type) {
    case kTruncateWholeFile:
        return "Whole File";
    case kTruncateData:
        return "Data (front or end)";
    case kTruncateEnd:
        return "Truncate end";
    case kTruncateFront:
        return "Truncate front";
    case kTruncateNone:
        return "No";
    default:
        return "Unknown";
    }
}

} // namespace helperUtil
