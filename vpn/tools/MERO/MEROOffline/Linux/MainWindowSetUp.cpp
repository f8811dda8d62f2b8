#include "BuildVersion.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Names.h"
#include "tools/MERO/MEROOffline/Linux/CommentView.h"
#include "tools/MERO/MEROOffline/Linux/MEROGtkMainWindow.h"
#include "tools/MERO/MEROOffline/Linux/Mnemonics.h"
#include "tools/MERO/MEROOffline/Linux/Widgets.h"
#include "tools/MERO/MEROOffline/Linux/WindowGrowth.h"
#include "tools/MERO/MEROOffline/Linux/WizardLanguage.h"

#include <utility>

namespace {

constexpr std::pair<const char*, UserText> kFixedLabels[] = {
    {"labelButtonBack", UserText::ButtonBack},
    {"labelButtonNext", UserText::ButtonNext},
    {"labelButtonCancel", UserText::ButtonCancel},
    {"labelMEROIntro", UserText::Intro},
    {"labelWizardPurpose", UserText::WizardPurpose},
    {"labelSelectBundleType", UserText::SelectBundleType},
    {"labelTypicalOption", UserText::TypicalOption},
    {"labelCustomOption", UserText::CustomOption},
    {"labelPassword", UserText::Password},
    {"labelConfirmPassword", UserText::ConfirmPassword},
    {"labelPasswordNotMatch", UserText::PasswordNotMatch},
    {"labelFileSelect", UserText::SelectFiles},
    {"labelCustomHeader", UserText::SelectFiles},
    {"labelSelectFileLocation", UserText::SelectFileLocation},
    {"labelBrowse", UserText::Browse},
    {"labelComment", UserText::EnterComments},
    {"labelProgressMsg", UserText::ProgressPatience},
};

constexpr std::pair<const char*, UserText> kFixedButtons[] = {
    {"radiobuttonBundleTypical", UserText::Typical},
    {"radiobuttonBundleCustom", UserText::Custom},
    {"checkbuttonEncryption", UserText::EnableEncryption},
    {"checkbuttonMaskPassword", UserText::MaskPassword},
};

constexpr std::pair<const char*, UserText> kMnemonics[] = {
    {"buttonBack", UserText::ButtonBack},
    {"buttonNext", UserText::ButtonNext},
    {"buttonCancel", UserText::ButtonCancel},
    {"radiobuttonBundleTypical", UserText::Typical},
    {"radiobuttonBundleCustom", UserText::Custom},
    {"checkbuttonEncryption", UserText::EnableEncryption},
    {"checkbuttonMaskPassword", UserText::MaskPassword},
    {"buttonBrowse", UserText::Browse},
};

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

/// Shows the name of the target file, without its folder.
void showTargetName(const std::string& name) {
    setLabelText("labelFileLocation", name);
    if (GtkWidget* label = LookUpWidget("labelFileLocation", GTK_TYPE_LABEL)) {
        gtk_widget_set_tooltip_text(label, displayText(name).c_str());
    }
}

void connect(const char* id, const char* signal, GCallback handler, gpointer data) {
    if (GtkWidget* widget = LookUpWidget(id)) {
        g_signal_connect(widget, signal, handler, data);
    }
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
    setUpEncryptionPage();
    showTargetName(m_bundlePath.find('/') == std::string::npos
                       ? "MEROBundle.zip"
                       : helperUtil::stringAfterLast(m_bundlePath, "/"));
    for (const char* id : {"labelFileCollected", "labelResultMsg"}) {
        breakWithoutHyphens(id);
    }
    if (GtkWidget* comment = LookUpWidget("textviewComment", GTK_TYPE_TEXT_VIEW)) {
        keepCommentQuick(GTK_TEXT_VIEW(comment));
        if (GtkWidget* around = LookUpWidget("scrolledwindowComment", GTK_TYPE_SCROLLED_WINDOW)) {
            growWithText(GTK_SCROLLED_WINDOW(around), GTK_TEXT_VIEW(comment));
        }
    }
    setIconLater(m_pWindow);
    connectSignals();
}

void CMEROGtkMainWindow::setUpTexts() {
    for (const auto& [id, text] : kFixedLabels) {
        setLabelText(id, translateText(text));
    }
    for (const auto& [id, text] : kFixedButtons) {
        setButtonLabel(id, translateText(text));
    }
    for (const auto& [id, text] : kMnemonics) {
        setMnemonic(id, translateText(mnemonicText(text)));
    }
    const std::string title = translateText(UserText::WindowTitle) + " " + kBuildVersion;
    gtk_window_set_title(GTK_WINDOW(m_pWindow), title.c_str());
}

void CMEROGtkMainWindow::setUpEncryptionPage() {
    setSensitive("checkbuttonEncryption", true);
    setSensitive("checkbuttonMaskPassword", false);
    if (GtkWidget* mask = LookUpWidget("checkbuttonMaskPassword", GTK_TYPE_TOGGLE_BUTTON)) {
        gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(mask), TRUE);
    }
    for (const char* id :
         {"labelPassword", "labelConfirmPassword", "entryPassword", "entryConfirmPassword"}) {
        setSensitive(id, false);
    }
    setEntryVisibility("entryPassword", false);
    setEntryVisibility("entryConfirmPassword", false);
    setVisible("labelPasswordNotMatch", false);
}

void CMEROGtkMainWindow::setTarget(const std::string& path) {
    m_bundlePath = path;
    if (path.find('/') != std::string::npos) {
        showTargetName(helperUtil::stringAfterLast(path, "/"));
    }
}

void CMEROGtkMainWindow::connectSignals() {
    connect("windowMain", "destroy", G_CALLBACK(gtk_main_quit), nullptr);
    connect("buttonCancel", "clicked", G_CALLBACK(gtk_main_quit), nullptr);
    connect("buttonNext", "clicked", G_CALLBACK(&onNextClicked), this);
    connect("buttonBack", "clicked", G_CALLBACK(&onBackClicked), this);
    connect("buttonBrowse", "clicked", G_CALLBACK(&onBrowseClicked), this);
    connect("checkbuttonEncryption", "toggled", G_CALLBACK(&onEncryptionToggled), this);
    connect("checkbuttonMaskPassword", "toggled", G_CALLBACK(&onMaskPasswordToggled), this);
    connect("entryPassword", "key-press-event", G_CALLBACK(&onPasswordKeyPress), this);
    connect("entryConfirmPassword", "key-press-event", G_CALLBACK(&onPasswordKeyPress), this);
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
