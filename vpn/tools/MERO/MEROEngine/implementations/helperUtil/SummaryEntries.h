#pragma once

#include "tools/MERO/MEROEngine/implementations/MEROActionInfo.h"

#include <cstdint>
#include <string>

/// Entries and texts of the bundle's summary. The summary's tree isn't locked: its owner's thread calls.
namespace helperUtil {

/// The four children of the summary's root.
inline constexpr const char* kMainInfoPart = "Main_Info";
inline constexpr const char* kIncludedPart = "Manifest_Included";
inline constexpr const char* kOmittedPart = "Manifest_Not_Included";
inline constexpr const char* kNotesPart = "Other_Note";

/// Who looks for which part of the summary, and what the log says, under the caller's name, of one that can't
/// be found. All texts are static.
struct SummaryPartSearch {
    const char* caller;
    const char* part;
    const char* noTree;
    /// The code for a summary that is null.
    uint32_t noTreeCode;
    const char* noRoot;
    const char* noPart;
};

/// Finds a part of the summary. Failures are logged.
/// @param summary  may be null.
/// @param partOut  set on success only; a view into the tree.
/// @return 0, the search's code for null, MEROENGINE_ERROR_NULL_XML_ROOT or MEROENGINE_ERROR_NULL_XML_CHILD.
[[nodiscard]] uint32_t findSummaryPart(const SummaryPartSearch& search, const MEROXmlObject* summary,
                                       MEROComponent*& partOut);

/// A row of a table of files.
struct SummaryFile {
    const std::string& id;
    const std::string& name;
    const std::string& description;
    /// What the last column shows, and its text.
    const char* lastAttribute;
    const std::string& lastValue;
};

/// Adds a file to a part, as the last one. @return as findSummaryPart.
uint32_t addSummaryFile(const SummaryPartSearch& search, MEROXmlObject* summary, const SummaryFile& file);

/// Adds an entry to the files that the bundle lacks, as the last one. Failures are logged.
/// @param summary      not owned.
/// @param id           becomes the entry's name, `fileName` its value.
/// @param reason       why the file is not there.
/// @return 0, MEROENGINE_ERROR_BAD_PARAMETER (null),
/// MEROENGINE_ERROR_NULL_XML_ROOT or MEROENGINE_ERROR_NULL_XML_CHILD.
uint32_t fillSummaryFailedFile(MEROXmlObject* summary, const std::string& id, const std::string& fileName,
                               const std::string& description, const std::string& reason);
/// Adds what an action leaves out of its item to those files, with paths as the user knows them; a summary
/// that can't take it has that logged.
void recordOmitted(const MEROActionInfo& info, const std::string& fileText, const std::string& reason);
/// Adds a note. @return as fillSummaryFailedFile.
uint32_t fillSummaryNote(MEROXmlObject* summary, const std::string& text);
/// "1023 bytes", "1.50K", "1.00M": powers of 1024 up to "Y", with `precision` digits after a point in every
/// locale. Below 1024 and from the ninth power up it is whole bytes; an unknown size of -1.0 is "-1 bytes".
[[nodiscard]] std::string formatFileSize(double bytes, int precision);
/// For callers outside of this system: label of a truncation scheme; static.
[[nodiscard]] const char* truncationTypeText(int32_t type);

} // namespace helperUtil
