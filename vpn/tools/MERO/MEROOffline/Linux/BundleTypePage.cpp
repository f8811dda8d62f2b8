#include "tools/MERO/MEROOffline/Linux/BundleTypePage.h"

#include "tools/MERO/MEROOffline/Linux/Widgets.h"
#include "tools/MERO/MEROOffline/Linux/WizardLanguage.h"

namespace {

constexpr char kTypical[] = "radiobuttonBundleTypical";
constexpr char kCustom[] = "radiobuttonBundleCustom";

} // namespace

void BundleTypePage::setUp() {
    showText("labelSelectBundleType", UserText::SelectBundleType);
    showOption(kTypical, UserText::Typical);
    showText("labelTypicalOption", UserText::TypicalOption);
    showOption(kCustom, UserText::Custom);
    showText("labelCustomOption", UserText::CustomOption);

    GtkWidget* typical = LookUpWidget(kTypical, GTK_TYPE_RADIO_BUTTON);
    if (typical == nullptr) {
        return;
    }
    if (GtkWidget* custom = LookUpWidget(kCustom, GTK_TYPE_RADIO_BUTTON)) {
        gtk_radio_button_set_group(GTK_RADIO_BUTTON(custom),
                                   gtk_radio_button_get_group(GTK_RADIO_BUTTON(typical)));
    }
    gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(typical), TRUE);
}

std::optional<bool> BundleTypePage::isTypical() {
    return isActive(kTypical);
}
