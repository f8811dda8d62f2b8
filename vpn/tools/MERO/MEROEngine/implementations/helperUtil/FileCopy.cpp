#include "Common/Utility/ReturnCodes.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Files.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/TreeCopy.h"

#include <utility>

namespace helperUtil {

uint32_t fileCopy(const std::string& source, const std::string& destination, std::string& errorText) {
    return fileCopy(source, destination, errorText, OmissionSink());
}

uint32_t fileCopy(const std::string& source, const std::string& destination, std::string& errorText,
                  const OmissionSink& omitted) {
    CopyFailure failure = TreeCopy(omitted).copyPath(source, destination, nullptr);
    errorText = std::move(failure.errorText);
    return failure.code;
}

const char* copyFailureText(uint32_t code) {
    switch (code) {
    case MEROENGINE_ERROR_FILE_OPEN_FAILURE:
        return " Error occurred opening the file";
    case MEROENGINE_ERROR_FILE_NOT_FOUND:
        return " File not found";
    default:
        return " Unexpected error occurred";
    }
}

std::string copyFailureReason(uint32_t code, const std::string& errorText) {
    return copyFailureText(code) + (errorText.empty() ? std::string() : ": " + errorText);
}

} // namespace helperUtil
