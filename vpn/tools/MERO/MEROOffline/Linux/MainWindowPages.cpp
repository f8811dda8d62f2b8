#include "Common/Utility/log/Log.h"
#include "tools/MERO/MEROOffline/Linux/Accessibility.h"
#include "tools/MERO/MEROOffline/Linux/Glib/HandlerGuard.h"
#include "tools/MERO/MEROOffline/Linux/MEROGtkMainWindow.h"
#include "tools/MERO/MEROOffline/Linux/Mnemonics.h"
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

constexpr uint32_t number(WizardPage page) {
    return static_cast<uint32_t>(page);
}

CMEROGtkMainWindow& windowOf(gpointer window) {
    return *static_cast<CMEROGtkMainWindow*>(window);
}

bool isActive(GtkWidget* toggle) {
    return gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(toggle)) != FALSE;
}

WipedString entryText(const char* id) {
    GtkWidget* entry = LookUpWidget(id, GTK_TYPE_ENTRY);
    return entry == nullptr ? WipedString() : WipedString(gtk_entry_get_text(GTK_ENTRY(entry)));
}

void showMismatch(bool shown) {
    // A screen reader says it each time that it appears: also to who presses Next again.
    setVisible("labelPasswordNotMatch", false);
    setVisible("labelPasswordNotMatch", shown);
    for (const char* entry : {"entryPassword", "entryConfirmPassword"}) {
        setDescribed(entry, "labelPasswordNotMatch", shown);
    }
}

} // namespace

void CMEROGtkMainWindow::updateNotebookPage(uint32_t page) {
    GtkWidget* notebook = LookUpWidget("notebookPages", GTK_TYPE_NOTEBOOK);
    if (notebook == nullptr) {
        ZRN_LOG('E', "Failed to load the notebook");
        return;
    }
    // A large number would become a negative one, which stands for the last page.
    if (page >= static_cast<uint32_t>(gtk_notebook_get_n_pages(GTK_NOTEBOOK(notebook)))) {
        return;
    }
    const gint index = static_cast<gint>(page);
    gtk_widget_show(gtk_notebook_get_nth_page(GTK_NOTEBOOK(notebook), index));
    gtk_notebook_set_current_page(GTK_NOTEBOOK(notebook), index);
}

void CMEROGtkMainWindow::changePage(uint32_t page) {
    updateNotebookPage(page);
    guardPresses();
    m_currentPage = page;
    if (page >= kHeaders.size()) {
        return;
    }
    const std::string header = translateText(kHeaders.at(page));
    setLabelText("labelHeaderTitle", header);
    tellPage(page, header);
    // The first page has a larger mark of its own.
    setVisible("imageHeader", static_cast<WizardPage>(page) != WizardPage::Welcome);
    setUpPage(static_cast<WizardPage>(page));
}

void CMEROGtkMainWindow::guardPresses() {
    if (m_pPressFilter != nullptr) {
        m_pPressFilter->changePage(m_pWindow);
    }
}

void CMEROGtkMainWindow::setUpPage(WizardPage page) {
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
        setLabelText("labelButtonNext", translateText(UserText::ButtonFinish));
        setMnemonic("buttonNext", translateText(mnemonicText(UserText::ButtonFinish)));
        break;
    case WizardPage::FileSelection:
        static_cast<void>(fileSelection());
        break;
    case WizardPage::Encryption:
    case WizardPage::Target:
        break;
    }
}

void CMEROGtkMainWindow::goNext() {
    if (m_pWindow == nullptr) {
        return;
    }
    switch (static_cast<WizardPage>(m_currentPage)) {
    case WizardPage::Welcome:
        changePage(number(WizardPage::BundleType));
        break;
    case WizardPage::BundleType:
        leaveBundleTypePage();
        break;
    case WizardPage::Encryption:
        leaveEncryptionPage();
        break;
    case WizardPage::Progress:
        changePage(number(WizardPage::Result));
        break;
    case WizardPage::Result:
        gtk_main_quit();
        break;
    case WizardPage::FileSelection:
        fileSelection().SaveTreeViewToList();
        changePage(number(WizardPage::Target));
        break;
    case WizardPage::Target:
        if (validateComments()) {
            changePage(number(WizardPage::Encryption));
        }
        break;
    }
}

void CMEROGtkMainWindow::goBack() {
    if (m_pWindow == nullptr) {
        return;
    }
    switch (static_cast<WizardPage>(m_currentPage)) {
    case WizardPage::BundleType:
        changePage(number(WizardPage::Welcome));
        break;
    case WizardPage::Encryption:
        changePage(number(m_typicalBundle ? WizardPage::BundleType : WizardPage::Target));
        break;
    case WizardPage::FileSelection:
        changePage(number(WizardPage::BundleType));
        break;
    case WizardPage::Target:
        changePage(number(WizardPage::FileSelection));
        break;
    case WizardPage::Welcome:
    case WizardPage::Progress:
    case WizardPage::Result:
        break;
    }
}

void CMEROGtkMainWindow::leaveBundleTypePage() {
    GtkWidget* typical = LookUpWidget("radiobuttonBundleTypical", GTK_TYPE_TOGGLE_BUTTON);
    if (typical == nullptr) {
        return;
    }
    m_typicalBundle = isActive(typical);
    changePage(number(m_typicalBundle ? WizardPage::Encryption : WizardPage::FileSelection));
}

// Two empty passwords are equal: the bundle is then made without encryption, and nothing asks for a password.
void CMEROGtkMainWindow::leaveEncryptionPage() {
    GtkWidget* encrypt = LookUpWidget("checkbuttonEncryption", GTK_TYPE_TOGGLE_BUTTON);
    if (encrypt == nullptr || !isActive(encrypt)) {
        m_password.clear();
    } else {
        const WipedString password = entryText("entryPassword");
        const WipedString confirmation = entryText("entryConfirmPassword");
        GtkWidget* mask = LookUpWidget("checkbuttonMaskPassword", GTK_TYPE_TOGGLE_BUTTON);
        // Who can read what is typed need not confirm it.
        const bool readable = mask != nullptr && !isActive(mask);
        if (password.view() != confirmation.view() && !readable) {
            showMismatch(true);
            return;
        }
        m_password = password;
    }
    changePage(number(WizardPage::Progress));
    startBundleJob();
}

void CMEROGtkMainWindow::onNextClicked(GtkButton* /*button*/, gpointer window) {
    runHandler(__func__, [&] { windowOf(window).goNext(); });
}

void CMEROGtkMainWindow::onBackClicked(GtkButton* /*button*/, gpointer window) {
    runHandler(__func__, [&] { windowOf(window).goBack(); });
}

void CMEROGtkMainWindow::onEncryptionToggled(GtkToggleButton* button, gpointer /*window*/) {
    const bool active = gtk_toggle_button_get_active(button) != FALSE;
    setSensitive("checkbuttonMaskPassword", active);
    setSensitive("entryPassword", active);
    setSensitive("labelPassword", active);
    // Without the mask button the confirmation counts, so it must be possible to type it.
    GtkWidget* mask = LookUpWidget("checkbuttonMaskPassword", GTK_TYPE_TOGGLE_BUTTON);
    const bool confirm = active && (mask == nullptr || isActive(mask));
    setSensitive("entryConfirmPassword", confirm);
    setSensitive("labelConfirmPassword", confirm);
    showMismatch(false);
}

void CMEROGtkMainWindow::onMaskPasswordToggled(GtkToggleButton* button, gpointer /*window*/) {
    const bool active = gtk_toggle_button_get_active(button) != FALSE;
    setEntryVisibility("entryPassword", !active);
    setEntryVisibility("entryConfirmPassword", !active);
    setSensitive("entryConfirmPassword", active);
    setSensitive("labelConfirmPassword", active);
    GtkWidget* confirmation = LookUpWidget("entryConfirmPassword", GTK_TYPE_ENTRY);
    if (!active && confirmation != nullptr) {
        gtk_entry_set_text(GTK_ENTRY(confirmation), "");
    }
}

gboolean CMEROGtkMainWindow::onPasswordKeyPress(GtkWidget* /*widget*/, GdkEvent* event, gpointer window) {
    guint key = 0;
    // The keypad's Enter is a key of its own and counts as any other.
    if (gdk_event_get_keyval(event, &key) != FALSE && key == GDK_KEY_Return) {
        onNextClicked(nullptr, window);
    } else {
        showMismatch(false);
    }
    return GDK_EVENT_PROPAGATE;
}
