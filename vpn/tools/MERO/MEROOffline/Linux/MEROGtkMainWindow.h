#pragma once

#include "Common/Policy/XmlLocalTLPolMgr.h"
#include "Common/Utility/memory/Handles.h"
#include "Common/Utility/memory/WipedString.h"
#include "Common/Utility/StoragePath.h"
#include "Common/Utility/threads/Mutex.h"
#include "Common/Utility/threads/Thread.h"
#include "tools/MERO/MEROEngine/implementations/CMEROClientIfc.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Paths.h"
#include "tools/MERO/MEROOffline/Common/CMEROOfflineIfc.h"
#include "tools/MERO/MEROOffline/Common/GenerateReqXML.h"
#include "tools/MERO/MEROOffline/Common/MEROOffline.h"
#include "tools/MERO/MEROOffline/Linux/DBusClient.h"
#include "tools/MERO/MEROOffline/Linux/EncryptionPage.h"
#include "tools/MERO/MEROOffline/Linux/HelperStart.h"
#include "tools/MERO/MEROOffline/Linux/MEROGtkFileSelDlg.h"
#include "tools/MERO/MEROOffline/Linux/Navigation.h"
#include "tools/MERO/MEROOffline/Linux/PressFilter.h"
#include "tools/MERO/MEROOffline/Linux/ProgressPage.h"
#include "tools/MERO/MEROOffline/Linux/TargetPage.h"
#include "tools/MERO/MEROOffline/Linux/WindowRelay.h"

#include <cstdint>
#include <gtk/gtk.h>
#include <list>
#include <memory>
#include <set>
#include <string>

/// The wizard: its window, what the user has chosen so far, and the job that follows from it.
/// Made and destroyed on the GTK main thread, outside the main loop, at most one at a time; all of it belongs
/// to that thread but for updateStatus, getComments, getModuleTree and addModule.
class CMEROGtkMainWindow final : public CMEROClientIfc, public CMEROOfflineIfc {
public:
    /// Loads the UI definition and shows the window on its first page. Without a usable UI definition there
    /// is no window and isExitRequested is true.
    /// @param programFolder  folder, with a trailing "/", that holds resources/MEROGUI.glade.
    explicit CMEROGtkMainWindow(const std::string& programFolder = helperUtil::getExecutableDirectory());
    /// Destroys the window. A job that still runs is not waited for; its reports go nowhere from here on.
    ~CMEROGtkMainWindow() override;
    CMEROGtkMainWindow(const CMEROGtkMainWindow&) = delete;
    CMEROGtkMainWindow& operator=(const CMEROGtkMainWindow&) = delete;

    /// True when construction failed, so that there is nothing to enter the main loop for.
    [[nodiscard]] bool isExitRequested() const { return m_exitRequested; }

    /// Keeps the status and posts the idle handler that belongs to it. Any thread.
    void updateStatus(const MEROStatusInfo* info, uint64_t status) override;
    /// The comment as last accepted. Any thread once the progress page is shown: it no longer changes then.
    [[nodiscard]] std::string getComments() override;
    /// The records of the file selection, which is made if there is none; on the GTK main thread then. Any
    /// thread once the progress page is shown.
    [[nodiscard]] std::list<RootItem>& getModuleTree() override;
    /// Adds a module to those records, likewise. On the thread of the file selection's scan.
    void addModule(const std::string& rootName, const ModuleItem& module) override;

    /// Goes to a page: shows it, sets the header and the buttons that belong to it. A number above the last
    /// page is only remembered, and neither Next nor Back leads away from it.
    void changePage(uint32_t page);
    /// Shows a page of the notebook. A page that the notebook lacks leaves it as it is.
    void updateNotebookPage(uint32_t page);
    /// Takes the comment over if it has at most 2048 bytes; shows an error dialog otherwise.
    /// @return whether the wizard may go on; true as well when there is no comment field.
    [[nodiscard]] bool validateComments();
    /// Starts the job that the choices describe.
    void startBundleJob();
    /// Asks the helper for the job, without waiting for its answer. If it can't be reached or refuses, the
    /// job then runs in this process, with the user's rights, and a warning says that it collects less.
    /// @param requestPath  request file; empty for a typical bundle.
    void startMERO(const std::string& requestPath);
    /// Whether the helper's answer is awaited.
    [[nodiscard]] bool isAskingHelper() const { return m_pHelperStart != nullptr; }

private:
    using StoragePathClaim = std::unique_ptr<CStoragePath, Releaser<&CStoragePath::releaseInstance>>;
    using LocalPolicyClaim = std::unique_ptr<XmlLocalTLPolMgr, Releaser<&XmlLocalTLPolMgr::releaseInstance>>;

    void claimStoragePath();
    void loadLocalPolicy();

    void setUpWidgets();
    /// Brings what stands on a page into its first state, once.
    void setUpPage(uint32_t page);
    void setMarkLater();
    void closeWindow();
    CMEROGtkFileSelDlg& fileSelection();

    void goTo(WizardPage page) { changePage(static_cast<uint32_t>(page)); }
    void goNext();
    void goBack();
    void leaveBundleTypePage();
    void leaveEncryptionPage();
    void showMessageDialog(GtkMessageType type, const std::string& title, const char* text);
    /// What the window shows has changed: presses meant for what it showed before are not for this.
    void guardPresses();

    void giveUpHelperStart();
    void takeHelperAnswer();
    /// Warns, and runs the job in this process.
    void startDirectly(const std::string& requestPath);

    void showProgress();
    void showResult();

    // Signal handlers. `window` is the CMEROGtkMainWindow, which disconnects them before it goes away.
    static void onNextClicked(GtkButton* button, gpointer window);
    static void onBackClicked(GtkButton* button, gpointer window);
    static void onDialogClosed(GtkWidget* dialog, gpointer window);

    // Idle handlers, on the GTK main thread. `window` is the CMEROGtkMainWindow, which owns itself and
    // removes the handlers still pending before it goes away. A handler shows what the status record holds
    // when it runs, which may be later than what posted it.
    static gboolean onProgressIdle(gpointer window);
    static gboolean onTreeReadyIdle(gpointer window);
    static gboolean onRequestReadyIdle(gpointer window);
    static gboolean onHelperAnsweredIdle(gpointer window);
    static gboolean onResultIdle(gpointer window);
    static GSourceFunc idleHandlerFor(uint64_t status);

    /// Folder, with a trailing "/", that holds resources/.
    std::string m_programFolder;
    /// Owned by the UI definition; null when there is no window.
    GtkWidget* m_pWindow = nullptr;
    /// Null when there is no window.
    std::unique_ptr<PressFilter> m_pPressFilter;
    uint32_t m_currentPage = 0;
    std::set<uint32_t> m_pagesSetUp;
    /// Shared with the run that it is used by, which may outlive this window.
    std::shared_ptr<MEROOffline> m_pOffline;
    std::unique_ptr<Thread> m_pOfflineThread;
    std::unique_ptr<CMEROGtkFileSelDlg> m_pFileSelDlg;
    Mutex m_statusLock;
    MEROStatusInfo m_statusInfo ZRN_GUARDED_BY(m_statusLock);
    uint64_t m_status ZRN_GUARDED_BY(m_statusLock);
    ProgressPage m_progressPage;
    bool m_exitRequested = false;
    bool m_typicalBundle = true;
    WipedString m_password;
    std::string m_comments;
    std::string m_bundlePath;
    EncryptionPage m_encryptionPage;
    TargetPage m_targetPage{&m_bundlePath};
    /// Shared with its run. The request file lives as long as this.
    std::shared_ptr<GenerateReqXML> m_pReqGenerator;
    std::unique_ptr<Thread> m_pReqThread;
    StoragePathClaim m_pStoragePath;
    LocalPolicyClaim m_pLocalPolicy;
    /// What jobs hold in place of this window.
    std::shared_ptr<WindowRelay> m_relay;
    /// Behind the relay, to which it reports. Null until the helper has answered.
    std::unique_ptr<CDBusClient> m_pDBusClient;
    /// Shared with its run; null unless an answer is awaited.
    std::shared_ptr<HelperStart> m_pHelperStart;
    std::unique_ptr<Thread> m_pHelperThread;
    /// A result came before the answer, behind which it is shown.
    bool m_resultWaits = false;
};
