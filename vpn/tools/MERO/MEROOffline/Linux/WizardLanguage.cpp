#include "WizardLanguage.h"

#include "EngineMessages.h"
#include "GlibHandles.h"
#include "MEROGtkMainWindow.h"
#include "MsgCatalog.h"
#include "StepText.h"
#include "TrText.h"
#include "UserTexts.h"

#include <array>
#include <filesystem>
#include <gtk/gtk.h>
#include <system_error>

namespace {

/// GTK goes by the direction of its own catalogue, which may not be installed although ours is. If the user's
/// language is written from right to left but has no texts here, the window is as GTK has it.
void mirrorIfTextsAre() {
    const std::string text = CMEROGtkMainWindow::translateText(userText(UserText::WizardPurpose));
    const auto context = adoptRef(gdk_pango_context_get());
    const auto layout = adoptRef(pango_layout_new(context.get()));
    pango_layout_set_text(layout.get(), text.c_str(), -1);
    if (pango_layout_get_direction(layout.get(), 0) == PANGO_DIRECTION_RTL) {
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

std::string shownReport(const std::string& message) {
    static constexpr std::array kItemSteps = {kProcessing, kClearing};
    for (const char* step : kItemSteps) {
        if (const std::optional<std::string> description = describedBy(step, message)) {
            return stepText(CMEROGtkMainWindow::translateText(step),
                            CMEROGtkMainWindow::translateText(extractTrText(*description)));
        }
    }
    if (const std::optional<std::string> tool = describedBy(kStillRunning, message)) {
        return stepText(CMEROGtkMainWindow::translateText(kStillRunning), *tool);
    }
    if (const std::optional<LackText> lack = lackDescribedBy(kIncomplete, message)) {
        return lackText(CMEROGtkMainWindow::translateText(kIncomplete), *lack);
    }
    return CMEROGtkMainWindow::translateText(message);
}
