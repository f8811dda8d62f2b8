#include "tools/MERO/MEROOffline/Linux/Navigation.h"

#include "tools/MERO/MEROOffline/Linux/Accessibility.h"
#include "tools/MERO/MEROOffline/Linux/Widgets.h"
#include "tools/MERO/MEROOffline/Linux/WizardLanguage.h"

#include <array>

namespace {

/// By page number.
constexpr std::array kHeaders = {
    UserText::HeaderWelcome,  UserText::HeaderBundleType, UserText::HeaderEncryption,
    UserText::HeaderProgress, UserText::HeaderResult,     UserText::HeaderFileSelection,
    UserText::HeaderTarget,
};

gboolean onClosingKey(GtkAccelGroup* /*keys*/, GObject* window, guint /*key*/, GdkModifierType /*modifiers*/,
                      gpointer /*data*/) {
    gtk_window_close(GTK_WINDOW(window));
    return TRUE;
}

/// Ctrl+Q and Ctrl+W, also where the keyboard writes another alphabet.
void addClosingKeys(GtkWindow* window) {
    const auto keys = adoptRef(gtk_accel_group_new());
    for (const unsigned key : {0U + GDK_KEY_q, 0U + GDK_KEY_w}) {
        gtk_accel_group_connect(keys.get(), key, GDK_CONTROL_MASK, static_cast<GtkAccelFlags>(0),
                                g_cclosure_new(G_CALLBACK(&onClosingKey), nullptr, nullptr));
    }
    gtk_window_add_accel_group(window, keys.get());
}

/// A key of the window that nothing in it has a use for.
gboolean onUnhandledKeyPress(GtkWidget* /*widget*/, GdkEvent* event, gpointer /*data*/) {
    guint key = 0;
    GtkWidget* const cancel = LookUpWidget("buttonCancel", GTK_TYPE_BUTTON);
    if (gdk_event_get_keyval(event, &key) == FALSE || key != GDK_KEY_Escape || cancel == nullptr ||
        gtk_widget_get_sensitive(cancel) == FALSE) {
        return GDK_EVENT_PROPAGATE;
    }
    gtk_button_clicked(GTK_BUTTON(cancel));
    return GDK_EVENT_STOP;
}

void setButtons(WizardPage page) {
    switch (page) {
    case WizardPage::Welcome:
        // Whoever has pressed Back by key is not left without a focus.
        if (hasFocus("buttonBack")) {
            giveFocus("buttonNext");
        }
        setVisible("buttonBack", false);
        break;
    case WizardPage::BundleType:
        setVisible("buttonBack", true);
        break;
    case WizardPage::Progress:
        setSensitive("buttonBack", false);
        setSensitive("buttonNext", false);
        setSpinning("spinnerProgress", true);
        break;
    case WizardPage::Result:
        setSensitive("buttonBack", false);
        setSensitive("buttonCancel", false);
        setSpinning("spinnerProgress", false);
        setSensitive("buttonNext", true);
        showButton("buttonNext", "labelButtonNext", UserText::ButtonFinish);
        break;
    case WizardPage::FileSelection:
    case WizardPage::Encryption:
    case WizardPage::Target:
        break;
    }
}

} // namespace

void setUpNavigation(GtkWidget* window, GCallback next, GCallback back, gpointer data) {
    showButton("buttonBack", "labelButtonBack", UserText::ButtonBack);
    showButton("buttonNext", "labelButtonNext", UserText::ButtonNext);
    showButton("buttonCancel", "labelButtonCancel", UserText::ButtonCancel);
    connectSignal("windowMain", "destroy", G_CALLBACK(gtk_main_quit), nullptr);
    connectSignal("buttonCancel", "clicked", G_CALLBACK(gtk_main_quit), nullptr);
    connectSignal("buttonNext", "clicked", next, data);
    connectSignal("buttonBack", "clicked", back, data);
    // Behind whatever has the focus: Escape may end what is just being composed there.
    g_signal_connect_after(window, "key-press-event", G_CALLBACK(&onUnhandledKeyPress), nullptr);
    addClosingKeys(GTK_WINDOW(window));
}

void setNavigation(WizardPage page) {
    const auto number = static_cast<uint32_t>(page);
    const std::string header = translateText(kHeaders.at(number));
    setLabelText("labelHeaderTitle", header);
    tellPage(number, header);
    // The first page has a larger mark of its own.
    setVisible("imageHeader", page != WizardPage::Welcome);
    setButtons(page);
}
