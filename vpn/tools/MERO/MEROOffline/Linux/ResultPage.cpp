#include "tools/MERO/MEROOffline/Linux/ResultPage.h"

#include "Common/Utility/ReturnCodes.h"
#include "tools/MERO/MEROEngine/implementations/EngineMessages.h"
#include "tools/MERO/MEROOffline/Linux/Widgets.h"
#include "tools/MERO/MEROOffline/Linux/WizardLanguage.h"

#include <cstdio>

namespace {

constexpr std::size_t kResultTextBytes = 2048;

/// Whether a failed run has told the user more than its status does.
bool saysWhatToDo(const std::string& message) {
    return message == kTooLittleSpace || message == kTooMuchCollected;
}

void setResultIcon(uint64_t status) {
    switch (status) {
    case 0:
        return setIcon("imageResult", "emblem-ok-symbolic", kStyleSuccess);
    case MEROENGINE_ERROR_BUNDLE_INCOMPLETE:
        return setIcon("imageResult", "dialog-warning-symbolic", kStyleFailure);
    default:
        return setIcon("imageResult", "dialog-error-symbolic", kStyleFailure);
    }
}

std::string successText(const std::string& bundlePath) {
    const std::string format = translateText(UserText::ResultSuccess);
    char text[kResultTextBytes];
    std::snprintf(text, sizeof text, format.c_str(), bundlePath.c_str());
    return text;
}

// Only the text of success is filled in. The one of a failed write goes out with its placeholder: the
// catalogues of the suite were translated and are checked for that text as it stands.
std::string resultText(uint64_t status, const std::string& message, const std::string& bundlePath) {
    switch (status) {
    case 0:
        return successText(bundlePath);
    case MEROENGINE_ERROR_BUNDLE_INCOMPLETE:
        return successText(bundlePath) + "\n\n" + shownReport(message);
    case MEROENGINE_ERROR_INTERNAL:
        return translateText(UserText::ResultInternalError);
    case MEROENGINE_ERROR_WRITE_FAILURE:
        return saysWhatToDo(message) ? shownReport(message) : translateText(UserText::ResultWriteFailure);
    default:
        return translateText(UserText::ResultUnknownError);
    }
}

} // namespace

void ResultPage::setUp() {
    breakWithoutHyphens("labelResultMsg");
}

void ResultPage::show(uint64_t status, const std::string& message, const std::string& bundlePath) {
    setResultIcon(status);
    setLabelText("labelResultMsg", resultText(status, message, bundlePath));
    giveFocus("buttonNext");
}
