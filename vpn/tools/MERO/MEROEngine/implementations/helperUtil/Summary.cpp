#include "tools/MERO/MEROEngine/implementations/helperUtil/Summary.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/ReturnCodes.h"
#include "tools/MERO/MEROEngine/implementations/MEROActionInfo.h"

#include <array>
#include <charconv>
#include <cmath>
#include <memory>
#include <string_view>

namespace {

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

uint32_t fillSummaryFailedFile(MEROXmlObject* summary, const std::string& id, const std::string& fileName,
                               const std::string& description, const std::string& reason) {
    if (summary == nullptr) {
        ZRN_LOG('E', "pXMLSummary is NULL");
        return MEROENGINE_ERROR_BAD_PARAMETER;
    }
    if (summary->GetRoot() == nullptr) {
        ZRN_LOG('E', "pXMLSummary->GetRoot() is NULL");
        return MEROENGINE_ERROR_NULL_XML_ROOT;
    }
    MEROComponent* const failedFiles = summary->GetRoot()->findOwnChild("Manifest_Not_Included");
    if (failedFiles == nullptr) {
        ZRN_LOG('E', "pDCFailedFiles is NULL");
        return MEROENGINE_ERROR_NULL_XML_CHILD;
    }
    auto entry = std::make_unique<MEROComponent>(id, fileName);
    entry->addAttribute("description", description);
    entry->addAttribute("reason", reason);
    summary->addComponent(failedFiles, entry.release());
    return 0;
}

uint32_t fillSummaryNote(MEROXmlObject* summary, const std::string& text) {
    if (summary == nullptr) {
        ZRN_LOG('E', "pXMLSummary is NULL");
        return MEROENGINE_ERROR_BAD_PARAMETER;
    }
    if (summary->GetRoot() == nullptr) {
        ZRN_LOG('E', "pXMLSummary->GetRoot() is NULL");
        return MEROENGINE_ERROR_NULL_XML_ROOT;
    }
    MEROComponent* const notes = summary->GetRoot()->findOwnChild("Other_Note");
    if (notes == nullptr) {
        ZRN_LOG('E', "pDCNoteComponent is NULL");
        return MEROENGINE_ERROR_NULL_XML_CHILD;
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
