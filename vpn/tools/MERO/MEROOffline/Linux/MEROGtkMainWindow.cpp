#include "tools/MERO/MEROOffline/Linux/MEROGtkMainWindow.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/ReturnCodes.h"
#include "Common/Utility/sysutils.h"
#include "tools/MERO/MEROEngine/implementations/Progress.h"
#include "tools/MERO/MEROOffline/Linux/Widgets.h"
#include "tools/MERO/MEROOffline/Linux/WizardLanguage.h"

CMEROGtkMainWindow::CMEROGtkMainWindow(const std::string& programFolder)
    : m_status(MEROENGINE_ERROR_NOT_INITIALIZED), m_relay(std::make_shared<WindowRelay>(this, this, this)) {
    claimStoragePath();
    loadLocalPolicy();
    // Behind the policy, which may take the default catalogue away, and before the first text.
    setUpLanguage(programFolder);

    // The stamp is taken here and not at the job's start, so that the name does not change
    // under the user's eyes.
    m_bundlePath = helperUtil::translatePath(helperUtil::getDesktopDirectory()) + "MEROBundle" +
                   getTimeString(1) + ".zip";

    // The window's icon stands beside the UI file as well, for a program that is not installed.
    gtk_icon_theme_append_search_path(gtk_icon_theme_get_default(),
                                      (programFolder + "resources/icons").c_str());
    addWizardStyle();
    if (const ErrorHandle error = loadUIDefinition(programFolder + "resources/MEROGUI.glade")) {
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
    m_spokenProgress.end();
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
