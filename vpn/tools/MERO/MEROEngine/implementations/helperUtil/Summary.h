#pragma once

#include "MEROXmlObject.h"

#include <cstdint>
#include <string>

/// Entries and texts of the bundle's summary.
namespace helperUtil {

/// Adds an entry to the files that the bundle lacks.
/// @return 0, MEROENGINE_ERROR_BAD_PARAMETER (null), MEROENGINE_ERROR_NULL_XML_ROOT or
/// MEROENGINE_ERROR_NULL_XML_CHILD.
uint32_t fillSummaryFailedFile(MEROXmlObject* summary, const std::string& id, const std::string& fileName,
                               const std::string& description, const std::string& reason);
/// Adds a note. @return as above.
uint32_t fillSummaryNote(MEROXmlObject* summary, const std::string& text);
/// "1023 bytes", "1.50K", "1.00M": powers of 1024 up to "Y", with `precision` digits.
[[nodiscard]] std::string formatFileSize(double bytes, int precision);
/// Label of a truncation scheme.
[[nodiscard]] const char* truncationTypeText(int32_t type);

} // namespace helperUtil
