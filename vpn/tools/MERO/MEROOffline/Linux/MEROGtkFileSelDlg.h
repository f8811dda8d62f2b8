#pragma once

#include "Common/Utility/threads/Thread.h"
#include "tools/MERO/MEROOffline/Common/ModuleTree.h"
#include "tools/MERO/MEROOffline/Common/ParseConfigXML.h"
#include "tools/MERO/MEROOffline/Common/SelectionIndex.h"
#include "tools/MERO/MEROOffline/Common/SelectionRules.h"
#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"
#include "tools/MERO/MEROOffline/Linux/SelectionColumn.h"
#include "tools/MERO/MEROOffline/Linux/SelectionStore.h"
#include "tools/MERO/MEROOffline/Linux/WindowRelay.h"

#include <gtk/gtk.h>
#include <list>
#include <memory>
#include <optional>
#include <string>

/// What the file selection page holds: the records of what can be chosen, the scan that fills them, and their
/// view in the page's scrolled window.
///
/// It is scanning first, with Back and Next insensitive and nothing to see; then, from populate on, ready.
/// The scan runs once: later visits to the page find the rows as they were left. Made, used and destroyed on
/// the GTK main thread; addModule runs on the scan's thread, and the main thread leaves the records alone
/// until populate.
class CMEROGtkFileSelDlg {
public:
    /// Makes the view, which is not shown yet.
    /// @param window  what stands for the window, to which the scan reports.
    explicit CMEROGtkFileSelDlg(std::shared_ptr<WindowRelay> window);
    /// Does not wait for a scan that still runs.
    ~CMEROGtkFileSelDlg();
    CMEROGtkFileSelDlg(const CMEROGtkFileSelDlg&) = delete;
    CMEROGtkFileSelDlg& operator=(const CMEROGtkFileSelDlg&) = delete;

    /// Starts the scan, whose modules come back through the window: this object must be the window's by then.
    /// Without a view there is none.
    void startScan();
    /// Shows what the scan has found and makes Back and Next usable. Once the scan has ended.
    void populate();
    /// Adds one module to the records. On the scan's thread.
    void addModule(const std::string& rootName, const ModuleItem& module);
    /// The records; valid as long as this object.
    [[nodiscard]] std::list<RootItem>& getModuleTree() { return m_roots; }
    /// Stores what the rows say in the records.
    void SaveTreeViewToList();

private:
    void makeColumn(const SelectionIndex& index, const SelectionStore& store);
    void showView();
    /// Puts the keyboard's place on the first root that is checked, if there is one. Before the view is
    /// shown: one that has no size yet would scroll too far.
    void goToFirstChecked(const SelectionIndex& index, const SelectionStore& store);
    /// The toggle renderer's "toggled". `dlg` is the CMEROGtkFileSelDlg, which disconnects it before it goes.
    static void onCheckToggled(GtkCellRendererToggle* renderer, char* path, gpointer dlg);
    /// The view's "row-activated": a row that is activated by a key or a screen reader is
    /// toggled. `dlg` as above.
    static void onRowActivated(GtkTreeView* view, GtkTreePath* path, GtkTreeViewColumn* column, gpointer dlg);

    std::shared_ptr<WindowRelay> m_pMainWindow;
    /// Shared with its run, which may outlive this object.
    std::shared_ptr<ParseConfigXML> m_pParser;
    std::unique_ptr<Thread> m_pParserThread;
    GObjectHandle<GtkWidget> m_pTreeView;
    gulong m_toggledHandler = 0;
    GObjectHandle<GtkCellRenderer> m_pToggleRenderer;
    std::list<RootItem> m_roots;
    RootsByName m_rootsByName{m_roots};
    // Made by populate, each of them on those before it.
    std::optional<SelectionIndex> m_index;
    std::optional<SelectionStore> m_store;
    std::optional<SelectionColumn> m_column;
    std::optional<SelectionRules> m_rules;
};
