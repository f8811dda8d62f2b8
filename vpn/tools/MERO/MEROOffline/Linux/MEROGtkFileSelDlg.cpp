#include "tools/MERO/MEROOffline/Linux/MEROGtkFileSelDlg.h"

#include "Common/i18n/MsgCatalog.h"
#include "Common/Utility/log/Log.h"
#include "tools/MERO/MEROOffline/Common/TrText.h"
#include "tools/MERO/MEROOffline/Linux/BackgroundRun.h"
#include "tools/MERO/MEROOffline/Linux/CheckBoxRenderer.h"
#include "tools/MERO/MEROOffline/Linux/Glib/HandlerGuard.h"
#include "tools/MERO/MEROOffline/Linux/GtkHandles.h"
#include "tools/MERO/MEROOffline/Linux/SelectionKeys.h"
#include "tools/MERO/MEROOffline/Linux/Widgets.h"
#include "tools/MERO/MEROOffline/Linux/WizardLanguage.h"

namespace {

/// The view's first "size-allocate": only now it can be told which rows are in sight.
void onFirstSize(GtkWidget* view, GdkRectangle* /*place*/, gpointer /*data*/) {
    GtkTreePath* path = nullptr;
    gtk_tree_view_get_cursor(GTK_TREE_VIEW(view), &path, nullptr);
    if (const PathHandle cursor{path}) {
        gtk_tree_view_scroll_to_cell(GTK_TREE_VIEW(view), cursor.get(), nullptr, FALSE, 0, 0);
    }
    g_signal_handlers_disconnect_matched(view, G_SIGNAL_MATCH_FUNC, 0, 0, nullptr,
                                         reinterpret_cast<gpointer>(&onFirstSize), nullptr);
}

/// The text that rows and records belong together by, with the bytes that it has: two texts that only look
/// alike once they are made valid are two all the same.
std::string shownText(const std::string& name) {
    std::string text;
    MsgCatalog::getMessage(extractTrText(name).c_str(), text);
    return text;
}

} // namespace

CMEROGtkFileSelDlg::CMEROGtkFileSelDlg(std::shared_ptr<WindowRelay> window)
    : m_pMainWindow(std::move(window)) {
    showText("labelCustomHeader", UserText::SelectFiles);
    m_pParser = std::make_shared<ParseConfigXML>(m_pMainWindow.get());
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
        // Its own handlers go with it.
        gtk_widget_destroy(m_pTreeView.get());
    }
}

void CMEROGtkFileSelDlg::startScan() {
    if (m_pTreeView == nullptr) {
        return;
    }
    setSensitive("buttonBack", false);
    setSensitive("buttonNext", false);
    m_pParserThread = BackgroundRun::startOrRun(m_pParser, m_pMainWindow);
}

void CMEROGtkFileSelDlg::addModule(const std::string& rootName, const ModuleItem& module) {
    m_rootsByName.append(rootName, module);
}

void CMEROGtkFileSelDlg::populate() {
    if (m_pTreeView == nullptr) {
        return;
    }
    if (!m_rules) {
        sortRoots(m_roots);
        SelectionIndex& index = m_index.emplace(m_roots, &shownText);
        SelectionStore& store = m_store.emplace(index);
        m_rules.emplace(index, store);
        makeColumn(index, store);
        gtk_tree_view_set_model(GTK_TREE_VIEW(m_pTreeView.get()), store.model());
        goToFirstChecked(index, store);
        showView();
    }
    setSensitive("buttonBack", true);
    setSensitive("buttonNext", true);
}

void CMEROGtkFileSelDlg::makeColumn(const SelectionIndex& index, const SelectionStore& store) {
    GtkTreeView* view = GTK_TREE_VIEW(m_pTreeView.get());
    m_pToggleRenderer = makeCheckBoxRenderer();
    m_toggledHandler =
        g_signal_connect(m_pToggleRenderer.get(), "toggled", G_CALLBACK(&onCheckToggled), this);
    m_column.emplace(view, m_pToggleRenderer.get(), index, store);
    // A click on the text moves the keyboard's place to it, where the space bar activates the row.
    g_signal_connect(view, "row-activated", G_CALLBACK(&onRowActivated), this);
    addSelectionKeys(view, SelectionStore::kTextColumn);
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
    // The focus was lost with the sensitivity of the button that led here.
    gtk_widget_grab_focus(m_pTreeView.get());
}

void CMEROGtkFileSelDlg::goToFirstChecked(const SelectionIndex& index, const SelectionStore& store) {
    for (std::size_t root = 0; root < index.rootCount(); ++root) {
        if (store.isChecked(root)) {
            const PathHandle path(gtk_tree_path_new_from_indices(static_cast<int>(root), -1));
            GtkTreeView* view = GTK_TREE_VIEW(m_pTreeView.get());
            gtk_tree_view_set_cursor(view, path.get(), nullptr, FALSE);
            g_signal_connect(view, "size-allocate", G_CALLBACK(&onFirstSize), nullptr);
            return;
        }
    }
}

void CMEROGtkFileSelDlg::onCheckToggled(GtkCellRendererToggle* renderer, char* path, gpointer dlg) {
    runHandler(__func__, [&] {
        auto& self = *static_cast<CMEROGtkFileSelDlg*>(dlg);
        const PathHandle place(gtk_tree_path_new_from_string(path));
        if (const std::optional<std::size_t> row = self.m_store->rowAt(place.get())) {
            self.m_rules->toggle(*row, gtk_cell_renderer_toggle_get_active(renderer) != FALSE);
        }
    });
}

// A double click activates a row as well; it is two clicks already.
void CMEROGtkFileSelDlg::onRowActivated(GtkTreeView* /*view*/, GtkTreePath* path,
                                        GtkTreeViewColumn* /*column*/, gpointer dlg) {
    runHandler(__func__, [&] {
        const EventHandle event(gtk_get_current_event());
        if (event != nullptr && gdk_event_get_event_type(event.get()) != GDK_KEY_PRESS) {
            return;
        }
        auto& self = *static_cast<CMEROGtkFileSelDlg*>(dlg);
        if (const std::optional<std::size_t> row = self.m_store->rowAt(path)) {
            self.m_rules->toggle(*row, self.m_store->isChecked(*row));
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
