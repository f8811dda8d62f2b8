#include "Common/Utility/log/Log.h"
#include "tools/MERO/MEROOffline/Linux/Accessibility.h"
#include "tools/MERO/MEROOffline/Linux/Glib/HandlerGuard.h"
#include "tools/MERO/MEROOffline/Linux/MEROGtkMainWindow.h"
#include "tools/MERO/MEROOffline/Linux/Widgets.h"
#include "tools/MERO/MEROOffline/Linux/WizardLanguage.h"

#include <array>
#include <utility>

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
        showButton("buttonNext", "labelButtonNext", UserText::ButtonFinish);
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
    if (const std::optional<bool> typical = isActive("radiobuttonBundleTypical")) {
        m_typicalBundle = *typical;
        changePage(number(m_typicalBundle ? WizardPage::Encryption : WizardPage::FileSelection));
    }
}

void CMEROGtkMainWindow::leaveEncryptionPage() {
    if (std::optional<WipedString> password = EncryptionPage::acceptedPassword()) {
        m_password = std::move(*password);
        changePage(number(WizardPage::Progress));
        startBundleJob();
    }
}

void CMEROGtkMainWindow::onNextClicked(GtkButton* /*button*/, gpointer window) {
    runHandler(__func__, [&] { windowOf(window).goNext(); });
}

void CMEROGtkMainWindow::onBackClicked(GtkButton* /*button*/, gpointer window) {
    runHandler(__func__, [&] { windowOf(window).goBack(); });
}

bool CMEROGtkMainWindow::validateComments() {
    const std::optional<std::string> refusal = TargetPage::takeComment(m_comments);
    if (refusal) {
        showMessageDialog(GTK_MESSAGE_ERROR, translateText(UserText::TitleError), refusal->c_str());
    }
    return !refusal;
}

void CMEROGtkMainWindow::showMessageDialog(GtkMessageType type, const std::string& title, const char* text) {
    GtkWidget* dialog = gtk_message_dialog_new(GTK_WINDOW(m_pWindow), GTK_DIALOG_DESTROY_WITH_PARENT, type,
                                               GTK_BUTTONS_OK, "%s", displayText(text).c_str());
    gtk_window_set_title(GTK_WINDOW(dialog), displayText(title).c_str());
    gtk_window_set_modal(GTK_WINDOW(dialog), TRUE);
    g_signal_connect_swapped(dialog, "response", G_CALLBACK(gtk_widget_destroy), dialog);
    g_signal_connect(dialog, "destroy", G_CALLBACK(&onDialogClosed), this);
    gtk_widget_show(dialog);
    if (m_pPressFilter != nullptr) {
        m_pPressFilter->changePage(dialog);
    }
}

void CMEROGtkMainWindow::onDialogClosed(GtkWidget* /*dialog*/, gpointer window) {
    runHandler(__func__, [&] { static_cast<CMEROGtkMainWindow*>(window)->guardPresses(); });
}
