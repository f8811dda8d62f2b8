#include "MEROGtkFileSelDlg.h"

#include "Log.h"
#include "MEROGtkMainWindow.h"
#include "UserTexts.h"
#include "Widgets.h"

#include <algorithm>

CMEROGtkFileSelDlg::CMEROGtkFileSelDlg() {
    setLabelText("labelCustomHeader", CMEROGtkMainWindow::translateText(userText(UserText::SelectFiles)));
    m_pTreeView = shareRef(gtk_tree_view_new());
    if (m_pTreeView == nullptr) {
        ZRN_LOG('E', "Failed to instantiate a TreeView object");
        return;
    }
    gtk_tree_view_set_headers_visible(GTK_TREE_VIEW(m_pTreeView.get()), FALSE);
    populate();
}

CMEROGtkFileSelDlg::~CMEROGtkFileSelDlg() {
    if (m_pTreeView != nullptr) {
        gtk_widget_destroy(m_pTreeView.get());
    }
}

void CMEROGtkFileSelDlg::populate() {
    GtkWidget* page = LookUpWidget("scrolledwindowFileSelDlg", GTK_TYPE_CONTAINER);
    if (m_pTreeView == nullptr || page == nullptr) {
        return;
    }
    // Column 0 is the check, column 1 the shown text.
    const auto model = adoptRef(gtk_tree_store_new(2, G_TYPE_BOOLEAN, G_TYPE_STRING));
    gtk_tree_view_set_model(GTK_TREE_VIEW(m_pTreeView.get()), GTK_TREE_MODEL(model.get()));
    if (gtk_widget_get_parent(m_pTreeView.get()) == nullptr) {
        gtk_container_add(GTK_CONTAINER(page), m_pTreeView.get());
        // A screen reader takes the caption above for the view's name.
        if (GtkWidget* caption = LookUpWidget("labelFileSelect", GTK_TYPE_LABEL)) {
            gtk_label_set_mnemonic_widget(GTK_LABEL(caption), m_pTreeView.get());
        }
    }
    gtk_widget_show_all(m_pTreeView.get());
    setSensitive("buttonBack", true);
    setSensitive("buttonNext", true);
}

void CMEROGtkFileSelDlg::addModule(const std::string& rootName, const ModuleItem& module) {
    auto root = std::find_if(m_roots.begin(), m_roots.end(),
                             [&](const RootItem& item) { return item.m_name == rootName; });
    if (root == m_roots.end()) {
        root = m_roots.insert(m_roots.end(), RootItem{.m_name = rootName, .m_modules = {}});
    }
    root->m_modules.push_back(module);
    if (module.m_selected != 0) {
        root->m_selected = 1;
    }
    if (module.m_default != 0) {
        root->m_default = 1;
    }
}

void CMEROGtkFileSelDlg::SaveTreeViewToList() {
    // The view has no rows, so a model is all that there is to check.
    if (m_pTreeView == nullptr || gtk_tree_view_get_model(GTK_TREE_VIEW(m_pTreeView.get())) == nullptr) {
        ZRN_LOG('E', "Unable to locate the tree model where data are being stored.");
    }
}
