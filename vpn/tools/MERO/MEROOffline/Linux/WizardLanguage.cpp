#include "tools/MERO/MEROOffline/Linux/WizardLanguage.h"

#include "Common/i18n/MsgCatalog.h"
#include "tools/MERO/MEROEngine/implementations/EngineMessages.h"
#include "tools/MERO/MEROEngine/implementations/StepText.h"
#include "tools/MERO/MEROOffline/Common/TrText.h"
#include "tools/MERO/MEROOffline/Linux/Mnemonics.h"
#include "tools/MERO/MEROOffline/Linux/Widgets.h"

#include <array>
#include <filesystem>
#include <gtk/gtk.h>
#include <system_error>

namespace {

/// Whether a text is written from right to left, by its first letter. Asking Pango would lay it out, for
/// which a font has to be opened that the window does not use.
bool isFromRightToLeft(const std::string& text) {
    for (const char* at = text.c_str(); *at != '\0'; at = g_utf8_next_char(at)) {
        const gunichar character = g_utf8_get_char(at);
        if (g_unichar_isalpha(character) != FALSE) {
            const GUnicodeScript script = g_unichar_get_script(character);
            return script == G_UNICODE_SCRIPT_ARABIC || script == G_UNICODE_SCRIPT_HEBREW;
        }
    }
    return false;
}

/// GTK goes by the direction of its own catalogue, which may not be installed although ours is. If the user's
/// language is written from right to left but has no texts here, the window is as GTK has it.
void mirrorIfTextsAre() {
    if (isFromRightToLeft(translateText(UserText::WizardPurpose))) {
        gtk_widget_set_default_direction(GTK_TEXT_DIR_RTL);
    }
}

} // namespace

void setUpLanguage(const std::string& programFolder) {
    std::error_code error;
    if (std::filesystem::is_directory(programFolder + "l10n", error)) {
        MsgCatalog::setLocalizationPath(programFolder);
    }
    mirrorIfTextsAre();
}

std::string translateText(const std::string& key) {
    std::string text;
    MsgCatalog::getMessage(key.c_str(), text);
    return displayText(text);
}

std::string translateText(UserText text) {
    return translateText(userText(text));
}

void showText(const char* labelId, UserText text) {
    setLabelText(labelId, translateText(text));
}

void showOption(const char* id, UserText text) {
    setButtonLabel(id, translateText(text));
    setMnemonic(id, translateText(mnemonicText(text)));
}

void showButton(const char* id, const char* labelId, UserText text) {
    showText(labelId, text);
    setMnemonic(id, translateText(mnemonicText(text)));
}

std::string shownReport(const std::string& message) {
    static constexpr std::array kItemSteps = {kProcessing, kClearing};
    for (const char* step : kItemSteps) {
        if (const std::optional<std::string> description = describedBy(step, message)) {
            return stepText(translateText(step), translateText(extractTrText(*description)));
        }
    }
    if (const std::optional<std::string> tool = describedBy(kStillRunning, message)) {
        return stepText(translateText(kStillRunning), *tool);
    }
    if (const std::optional<LackText> lack = lackDescribedBy(kIncomplete, message)) {
        return lackText(translateText(kIncomplete), *lack);
    }
    return translateText(message);
}
