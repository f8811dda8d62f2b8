#include "MEROGtkFileSelDlg.h"

#include "BackgroundRun.h"
#include "HandlerGuard.h"
#include "Log.h"
#include "MEROGtkMainWindow.h"
#include "TrText.h"
#include "UserTexts.h"
#include "Widgets.h"

#include <span>

namespace {

struct PathReleaser {
    void operator()(GtkTreePath* path) const { gtk_tree_path_free(path); }
};
using PathHandle = std::unique_ptr<GtkTreePath, PathReleaser>;

std::string shownText(const std::string& name) {
    return CMEROGtkMainWindow::translateText(extractTrText(name));
}

} // namespace

CMEROGtkFileSelDlg::CMEROGtkFileSelDlg(CMEROGtkMainWindow* window) : m_pMainWindow(window) {
    setLabelText("labelCustomHeader", CMEROGtkMainWindow::translateText(userText(UserText::SelectFiles)));
    m_pParser = std::make_shared<ParseConfigXML>(window->relay().get());
    m_pTreeView = shareRef(gtk_tree_view_new());
    if (m_pTreeView == nullptr) {
        ZRN_LOG('E', "Failed to instantiate a TreeView object");
        return;
    }
    gtk_tree_view_set_headers_visible(GTK_TREE_VIEW(m_pTreeView.get()), FALSE);
}

CMEROGtkFileSelDlg::~CMEROGtkFileSelDlg() {
    if (m_toggledHandler != 0) {
        g_signal_handler_disconnect(m_pToggleRenderer.get(), m_toggledHandler);
    }
    if (m_pTreeView != nullptr) {
        gtk_widget_destroy(m_pTreeView.get());
    }
}

void CMEROGtkFileSelDlg::startScan() {
    if (m_pTreeView == nullptr) {
        return;
    }
    setSensitive("buttonBack", false);
    setSensitive("buttonNext", false);
    m_pParserThread = BackgroundRun::start(m_pParser, m_pMainWindow->relay());
}

void CMEROGtkFileSelDlg::addModule(const std::string& rootName, const ModuleItem& module) {
    appendModule(m_roots, rootName, module);
}

void CMEROGtkFileSelDlg::populate() {
    if (m_pTreeView == nullptr) {
        return;
    }
    if (!m_rules) {
        makeColumn();
        sortRoots(m_roots);
        m_index.emplace(m_roots, &shownText);
        m_store.emplace(*m_index);
        m_rules.emplace(*m_index, *m_store);
        gtk_tree_view_set_model(GTK_TREE_VIEW(m_pTreeView.get()), m_store->model());
        showView();
    }
    setSensitive("buttonBack", true);
    setSensitive("buttonNext", true);
}

void CMEROGtkFileSelDlg::makeColumn() {
    GtkTreeViewColumn* column = gtk_tree_view_column_new();
    gtk_tree_view_append_column(GTK_TREE_VIEW(m_pTreeView.get()), column);

    m_pToggleRenderer = shareRef(gtk_cell_renderer_toggle_new());
    m_toggledHandler =
        g_signal_connect(m_pToggleRenderer.get(), "toggled", G_CALLBACK(&onCheckToggled), this);
    gtk_tree_view_column_pack_start(column, m_pToggleRenderer.get(), FALSE);
    gtk_tree_view_column_add_attribute(column, m_pToggleRenderer.get(), "active",
                                       SelectionStore::kCheckColumn);

    GtkCellRenderer* text = gtk_cell_renderer_text_new();
    gtk_tree_view_column_pack_start(column, text, FALSE);
    gtk_tree_view_column_add_attribute(column, text, "text", SelectionStore::kTextColumn);
}

void CMEROGtkFileSelDlg::showView() {
    if (GtkWidget* page = LookUpWidget("scrolledwindowFileSelDlg", GTK_TYPE_CONTAINER)) {
        gtk_container_add(GTK_CONTAINER(page), m_pTreeView.get());
    }
    // A screen reader takes the caption above for the view's name.
    if (GtkWidget* caption = LookUpWidget("labelFileSelect", GTK_TYPE_LABEL)) {
        gtk_label_set_mnemonic_widget(GTK_LABEL(caption), m_pTreeView.get());
    }
    gtk_widget_show_all(m_pTreeView.get());
}

std::optional<std::size_t> CMEROGtkFileSelDlg::rowAt(const char* path) const {
    const PathHandle place(gtk_tree_path_new_from_string(path));
    if (!m_index || place == nullptr) {
        return std::nullopt;
    }
    int depth = 0;
    const int* positions = gtk_tree_path_get_indices_with_depth(place.get(), &depth);
    return m_index->rowAt(std::span(positions, static_cast<std::size_t>(depth)));
}

void CMEROGtkFileSelDlg::onCheckToggled(GtkCellRendererToggle* renderer, char* path, gpointer dlg) {
    runHandler(__func__, [&] {
        auto& self = *static_cast<CMEROGtkFileSelDlg*>(dlg);
        if (const std::optional<std::size_t> row = self.rowAt(path)) {
            self.m_rules->toggle(*row, gtk_cell_renderer_toggle_get_active(renderer) != FALSE);
        }
    });
}

void CMEROGtkFileSelDlg::SaveTreeViewToList() {
    if (!m_rules || gtk_tree_view_get_model(GTK_TREE_VIEW(m_pTreeView.get())) == nullptr) {
        ZRN_LOG('E', "Unable to locate the tree model where data are being stored.");
        return;
    }
    m_rules->store();
}
