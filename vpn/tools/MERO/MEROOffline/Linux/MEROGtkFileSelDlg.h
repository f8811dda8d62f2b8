#pragma once

#include "GlibHandles.h"
#include "ModuleTree.h"

#include <gtk/gtk.h>
#include <list>
#include <string>

/// What the file selection page holds: the tree of selectable files and its view in the page's scrolled
/// window. No configuration is scanned yet, so the view is empty and is shown from the start. Made, used and
/// destroyed on the GTK main thread, but for addModule and getModuleTree.
class CMEROGtkFileSelDlg {
public:
    CMEROGtkFileSelDlg();
    ~CMEROGtkFileSelDlg();
    CMEROGtkFileSelDlg(const CMEROGtkFileSelDlg&) = delete;
    CMEROGtkFileSelDlg& operator=(const CMEROGtkFileSelDlg&) = delete;

    /// Puts the view into the page and makes Back and Next usable.
    void populate();
    /// Adds one module to the root of that name, which is made if there is none. Not while another thread
    /// uses the tree.
    void addModule(const std::string& rootName, const ModuleItem& module);
    /// The records; valid as long as this object.
    [[nodiscard]] std::list<RootItem>& getModuleTree() { return m_roots; }
    /// Stores what the rows say in the records.
    void SaveTreeViewToList();

private:
    GObjectHandle<GtkWidget> m_pTreeView;
    std::list<RootItem> m_roots;
};
