#include "BuildVersion.h"
#include "tools/MERO/MEROOffline/Linux/MEROGtkMainWindow.h"
#include "tools/MERO/MEROOffline/Linux/Widgets.h"
#include "tools/MERO/MEROOffline/Linux/WizardLanguage.h"

namespace {

void joinBundleTypes() {
    GtkWidget* typical = LookUpWidget("radiobuttonBundleTypical", GTK_TYPE_RADIO_BUTTON);
    if (typical == nullptr) {
        return;
    }
    if (GtkWidget* custom = LookUpWidget("radiobuttonBundleCustom", GTK_TYPE_RADIO_BUTTON)) {
        gtk_radio_button_set_group(GTK_RADIO_BUTTON(custom),
                                   gtk_radio_button_get_group(GTK_RADIO_BUTTON(typical)));
    }
    gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(typical), TRUE);
}

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

/// The icon of the window in lists of windows, once nothing else is to be done: all its sizes are looked for
/// then, which takes a tenth of the time in which the window comes to the screen.
void setIconLater(GtkWidget* window) {
    g_idle_add_full(
        G_PRIORITY_LOW,
        [](gpointer shown) -> gboolean {
            gtk_window_set_icon_name(GTK_WINDOW(shown), "com.varnel.corvane.mero");
            return G_SOURCE_REMOVE;
        },
        g_object_ref(window), g_object_unref);
}

} // namespace

void CMEROGtkMainWindow::setUpWidgets() {
    setUpTexts();
    joinBundleTypes();
    m_encryptionPage.setUp([this] { onNextClicked(nullptr, this); });
    m_targetPage.setUp();
    for (const char* id : {"labelFileCollected", "labelResultMsg"}) {
        breakWithoutHyphens(id);
    }
    setIconLater(m_pWindow);
    connectSignals();
}

void CMEROGtkMainWindow::setUpTexts() {
    const std::string title = translateText(UserText::WindowTitle) + " " + kBuildVersion;
    gtk_window_set_title(GTK_WINDOW(m_pWindow), title.c_str());
    showButton("buttonBack", "labelButtonBack", UserText::ButtonBack);
    showButton("buttonNext", "labelButtonNext", UserText::ButtonNext);
    showButton("buttonCancel", "labelButtonCancel", UserText::ButtonCancel);
    showText("labelMEROIntro", UserText::Intro);
    showText("labelWizardPurpose", UserText::WizardPurpose);
    showText("labelSelectBundleType", UserText::SelectBundleType);
    showOption("radiobuttonBundleTypical", UserText::Typical);
    showText("labelTypicalOption", UserText::TypicalOption);
    showOption("radiobuttonBundleCustom", UserText::Custom);
    showText("labelCustomOption", UserText::CustomOption);
    showText("labelFileSelect", UserText::SelectFiles);
    showText("labelCustomHeader", UserText::SelectFiles);
    showText("labelProgressMsg", UserText::ProgressPatience);
}

void CMEROGtkMainWindow::connectSignals() {
    connectSignal("windowMain", "destroy", G_CALLBACK(gtk_main_quit), nullptr);
    connectSignal("buttonCancel", "clicked", G_CALLBACK(gtk_main_quit), nullptr);
    connectSignal("buttonNext", "clicked", G_CALLBACK(&onNextClicked), this);
    connectSignal("buttonBack", "clicked", G_CALLBACK(&onBackClicked), this);
    // Behind whatever has the focus: Escape may end what is just being composed there.
    g_signal_connect_after(m_pWindow, "key-press-event", G_CALLBACK(&onUnhandledKeyPress), nullptr);
    addClosingKeys(GTK_WINDOW(m_pWindow));
}

gboolean CMEROGtkMainWindow::onUnhandledKeyPress(GtkWidget* /*widget*/, GdkEvent* event, gpointer /*data*/) {
    guint key = 0;
    GtkWidget* const cancel = LookUpWidget("buttonCancel", GTK_TYPE_BUTTON);
    if (gdk_event_get_keyval(event, &key) == FALSE || key != GDK_KEY_Escape || cancel == nullptr ||
        gtk_widget_get_sensitive(cancel) == FALSE) {
        return GDK_EVENT_PROPAGATE;
    }
    gtk_button_clicked(GTK_BUTTON(cancel));
    return GDK_EVENT_STOP;
}
