#include "tools/MERO/MEROOffline/Linux/MEROGtkMainWindow.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/ReturnCodes.h"
#include "Common/Utility/sysutils.h"
#include "tools/MERO/MEROEngine/implementations/Progress.h"
#include "tools/MERO/MEROOffline/Linux/BundleTypePage.h"
#include "tools/MERO/MEROOffline/Linux/Glib/HandlerGuard.h"
#include "tools/MERO/MEROOffline/Linux/ResultPage.h"
#include "tools/MERO/MEROOffline/Linux/Widgets.h"
#include "tools/MERO/MEROOffline/Linux/WizardLanguage.h"

#include <array>
#include <utility>

namespace {

constexpr uint32_t kHelperExitDelaySeconds = 3;

CMEROGtkMainWindow& windowOf(gpointer window) {
    return *static_cast<CMEROGtkMainWindow*>(window);
}

} // namespace

CMEROGtkMainWindow::CMEROGtkMainWindow(const std::string& programFolder)
    : m_programFolder(programFolder), m_status(MEROENGINE_ERROR_NOT_INITIALIZED),
      m_relay(std::make_shared<WindowRelay>(this, this, this)) {
    claimStoragePath();
    loadLocalPolicy();
    // Behind the policy, which may take the default catalogue away, and before the first text.
    setUpLanguage(programFolder);

    // The stamp is taken here and not at the job's start, so that the name does not change
    // under the user's eyes.
    m_bundlePath = helperUtil::translatePath(helperUtil::getDesktopDirectory()) + "MEROBundle" +
                   getTimeString(1) + ".zip";

    addWizardStyle();
    if (const ErrorHandle error = loadUIDefinition(programFolder + "resources/MEROGUI.glade",
                                                   [this](uint32_t page) { setUpPage(page); })) {
        ZRN_LOG('E', "Failed to load the UI XML: %s", error->message);
    } else {
        m_pWindow = LookUpWidget("windowMain", GTK_TYPE_WINDOW);
        if (m_pWindow == nullptr) {
            ZRN_LOG('E', "Failed to load the main GUI window for MERO");
        }
    }
    if (m_pWindow == nullptr) {
        m_exitRequested = true;
        if (gtk_main_level() != 0) {
            gtk_main_quit();
        }
        return;
    }

    m_pPressFilter = std::make_unique<PressFilter>();
    setUpWidgets();
    changePage(m_currentPage);
    gtk_widget_show(m_pWindow);
    // It is on its way to the screen only now.
    guardPresses();
}

void CMEROGtkMainWindow::claimStoragePath() {
    CStoragePath* storagePath = nullptr;
    const uint32_t code = CStoragePath::CreateSingletonInstance(storagePath);
    if (code != 0) {
        ZRN_LOG_CODE('E', "CStoragePath::CreateSingletonInstance", code);
    } else {
        m_pStoragePath.reset(storagePath);
    }
}

void CMEROGtkMainWindow::loadLocalPolicy() {
    XmlLocalTLPolMgr* policy = nullptr;
    uint32_t code = XmlLocalTLPolMgr::CreateSingletonInstance(policy);
    if (code != 0) {
        ZRN_LOG_CODE('E', "XmlLocalTLPolMgr::createSingletonInstance", code);
        return;
    }
    m_pLocalPolicy.reset(policy);
    code = m_pLocalPolicy->LoadLocalTrellinkPolicy();
    if (code != 0) {
        ZRN_LOG_CODE('E', "XmlLocalTLPolMgr::LoadLocalTrellinkPolicy", code);
    }
}

// Nothing that can still be called may see a freed object: jobs are cut off first, then the handlers that
// they have posted, then the signals. Jobs still running keep what they use by themselves.
CMEROGtkMainWindow::~CMEROGtkMainWindow() {
    if (getProgressListener() == m_relay.get()) {
        setProgressListener(nullptr);
    }
    m_relay->detach();
    giveUpHelperStart();
    while (g_idle_remove_by_data(this) != FALSE) {
    }
    closeWindow();

    m_pLocalPolicy.reset();
    m_pStoragePath.reset();
    releaseUIDefinition();
    m_pOffline.reset();
    m_pOfflineThread.reset();
    m_pFileSelDlg.reset();
    m_pReqGenerator.reset();
    m_pReqThread.reset();
    m_pHelperThread.reset();
    m_pDBusClient.reset();
}

void CMEROGtkMainWindow::closeWindow() {
    if (m_pWindow == nullptr) {
        return;
    }
    g_signal_handlers_disconnect_by_func(m_pWindow, reinterpret_cast<gpointer>(&gtk_main_quit), nullptr);
    m_pPressFilter.reset();
    m_progressPage.end();
    // This drops the handlers of all the widgets inside, too.
    gtk_widget_destroy(m_pWindow);
    m_pWindow = nullptr;
}

std::string CMEROGtkMainWindow::getComments() {
    return m_comments;
}

std::list<RootItem>& CMEROGtkMainWindow::getModuleTree() {
    return fileSelection().getModuleTree();
}

void CMEROGtkMainWindow::addModule(const std::string& rootName, const ModuleItem& module) {
    fileSelection().addModule(rootName, module);
}

CMEROGtkFileSelDlg& CMEROGtkMainWindow::fileSelection() {
    if (m_pFileSelDlg == nullptr) {
        m_pFileSelDlg = std::make_unique<CMEROGtkFileSelDlg>(m_relay);
        m_pFileSelDlg->startScan();
    }
    return *m_pFileSelDlg;
}

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
    buildPage(page);
    const gint index = static_cast<gint>(page);
    gtk_widget_show(gtk_notebook_get_nth_page(GTK_NOTEBOOK(notebook), index));
    gtk_notebook_set_current_page(GTK_NOTEBOOK(notebook), index);
}

void CMEROGtkMainWindow::changePage(uint32_t page) {
    updateNotebookPage(page);
    guardPresses();
    m_currentPage = page;
    if (page > static_cast<uint32_t>(WizardPage::Target)) {
        return;
    }
    setNavigation(static_cast<WizardPage>(page));
    if (static_cast<WizardPage>(page) == WizardPage::FileSelection) {
        static_cast<void>(fileSelection());
    }
}

void CMEROGtkMainWindow::guardPresses() {
    if (m_pPressFilter != nullptr) {
        m_pPressFilter->changePage(m_pWindow);
    }
}

void CMEROGtkMainWindow::goNext() {
    if (m_pWindow == nullptr) {
        return;
    }
    switch (static_cast<WizardPage>(m_currentPage)) {
    case WizardPage::Welcome:
        goTo(WizardPage::BundleType);
        break;
    case WizardPage::BundleType:
        leaveBundleTypePage();
        break;
    case WizardPage::Encryption:
        leaveEncryptionPage();
        break;
    case WizardPage::Progress:
        goTo(WizardPage::Result);
        break;
    case WizardPage::Result:
        gtk_main_quit();
        break;
    case WizardPage::FileSelection:
        fileSelection().SaveTreeViewToList();
        goTo(WizardPage::Target);
        break;
    case WizardPage::Target:
        if (validateComments()) {
            goTo(WizardPage::Encryption);
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
        goTo(WizardPage::Welcome);
        break;
    case WizardPage::Encryption:
        goTo(m_typicalBundle ? WizardPage::BundleType : WizardPage::Target);
        break;
    case WizardPage::FileSelection:
        goTo(WizardPage::BundleType);
        break;
    case WizardPage::Target:
        goTo(WizardPage::FileSelection);
        break;
    case WizardPage::Welcome:
    case WizardPage::Progress:
    case WizardPage::Result:
        break;
    }
}

void CMEROGtkMainWindow::leaveBundleTypePage() {
    if (const std::optional<bool> typical = BundleTypePage::isTypical()) {
        m_typicalBundle = *typical;
        goTo(m_typicalBundle ? WizardPage::Encryption : WizardPage::FileSelection);
    }
}

void CMEROGtkMainWindow::leaveEncryptionPage() {
    if (std::optional<WipedString> password = EncryptionPage::acceptedPassword()) {
        m_password = std::move(*password);
        goTo(WizardPage::Progress);
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

GSourceFunc CMEROGtkMainWindow::idleHandlerFor(uint64_t status) {
    static constexpr std::array<GSourceFunc, 3> kHandlers = {&onProgressIdle, &onTreeReadyIdle,
                                                             &onRequestReadyIdle};
    static_assert(MEROOFFLINE_ERROR_XML_CONFIG_PARSE_SUCCESS == MEROOFFLINE_ERROR_PROCESSING + 1 &&
                  MEROOFFLINE_ERROR_XML_REQUEST_GENERATE_SUCCESS == MEROOFFLINE_ERROR_PROCESSING + 2);
    const uint64_t index = status - MEROOFFLINE_ERROR_PROCESSING;
    return index < kHandlers.size() ? kHandlers.at(index) : &onResultIdle;
}

void CMEROGtkMainWindow::updateStatus(const MEROStatusInfo* info, uint64_t status) {
    {
        const LockGuard guard(m_statusLock);
        if (info != nullptr && info != &m_statusInfo) {
            m_statusInfo = *info;
        }
        m_status = status;
    }
    g_idle_add(idleHandlerFor(status), this);
}

gboolean CMEROGtkMainWindow::onProgressIdle(gpointer window) {
    runHandler(__func__, [&] { windowOf(window).showProgress(); });
    return G_SOURCE_REMOVE;
}

gboolean CMEROGtkMainWindow::onTreeReadyIdle(gpointer window) {
    runHandler(__func__, [&] {
        const CMEROGtkMainWindow& self = windowOf(window);
        if (self.m_pWindow != nullptr && self.m_pFileSelDlg != nullptr) {
            self.m_pFileSelDlg->populate();
        }
    });
    return G_SOURCE_REMOVE;
}

gboolean CMEROGtkMainWindow::onRequestReadyIdle(gpointer window) {
    runHandler(__func__, [&] {
        CMEROGtkMainWindow& self = windowOf(window);
        self.startMERO(self.m_pReqGenerator == nullptr ? "" : self.m_pReqGenerator->getRequestPath());
    });
    return G_SOURCE_REMOVE;
}

gboolean CMEROGtkMainWindow::onResultIdle(gpointer window) {
    runHandler(__func__, [&] { windowOf(window).showResult(); });
    return G_SOURCE_REMOVE;
}

void CMEROGtkMainWindow::showProgress() {
    MEROStatusInfo info;
    {
        const LockGuard guard(m_statusLock);
        info = m_statusInfo;
    }
    m_progressPage.show(info);
}

void CMEROGtkMainWindow::showResult() {
    if (m_pHelperStart != nullptr) {
        m_resultWaits = true;
        return;
    }
    m_progressPage.end();
    goTo(WizardPage::Result);
    uint64_t status = 0;
    std::string message;
    {
        const LockGuard guard(m_statusLock);
        status = m_status;
        message = m_statusInfo.m_message;
    }
    ResultPage::show(status, message, m_bundlePath);
    if (m_pDBusClient != nullptr) {
        // A helper that never answered is only logged: after a job in this process there is none as a rule.
        static_cast<void>(m_pDBusClient->RequestHelperExit(kHelperExitDelaySeconds));
    }
}
