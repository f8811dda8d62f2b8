#pragma once

#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlObject.h"

#include <cstdint>
#include <string>

/// Entries and texts of the bundle's summary. The summary's tree isn't locked: its owner's thread calls.
namespace helperUtil {

/// Adds an entry to the files that the bundle lacks, as the last one. Failures are logged.
/// @param summary      not owned.
/// @param id           becomes the entry's name, `fileName` its value.
/// @param reason       why the file is not there.
/// @return 0, MEROENGINE_ERROR_BAD_PARAMETER (null),
/// MEROENGINE_ERROR_NULL_XML_ROOT or MEROENGINE_ERROR_NULL_XML_CHILD.
uint32_t fillSummaryFailedFile(MEROXmlObject* summary, const std::string& id, const std::string& fileName,
                               const std::string& description, const std::string& reason);
/// Adds a note. @return as above.
uint32_t fillSummaryNote(MEROXmlObject* summary, const std::string& text);
/// "1023 bytes", "1.50K", "1.00M": powers of 1024 up to "Y", with `precision` digits after a point in every
/// locale. Below 1024 and from the ninth power up it is whole bytes; an unknown size of -1.0 is "-1 bytes".
[[nodiscard]] std::string formatFileSize(double bytes, int precision);
/// Label of a truncation scheme; static.
[[nodiscard]] const char* truncationTypeText(int32_t type);

} // namespace helperUtil
