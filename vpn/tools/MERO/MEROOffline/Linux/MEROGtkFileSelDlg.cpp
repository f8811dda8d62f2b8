#include "MEROGtkFileSelDlg.h"

#include "BackgroundRun.h"
#include "HandlerGuard.h"
#include "Log.h"
#include "MEROGtkMainWindow.h"
#include "MsgCatalog.h"
#include "TrText.h"
#include "UserTexts.h"
#include "Widgets.h"

#include <set>
#include <span>
#include <vector>

namespace {

using PathHandle = std::unique_ptr<GtkTreePath, Releaser<&gtk_tree_path_free>>;
using EventHandle = std::unique_ptr<GdkEvent, Releaser<&gdk_event_free>>;

/// Pixels that a line needs which may hold any of the shown texts: their scripts may come from fonts of
/// different heights.
int heightOfTexts(GtkWidget* view, const SelectionIndex& index) {
    std::set<gunichar> characters;
    for (std::size_t row = 0; row < index.rows().size(); ++row) {
        const std::string text = displayText(index.textOf(row));
        for (const char* at = text.c_str(); *at != '\0'; at = g_utf8_next_char(at)) {
            const gunichar character = g_utf8_get_char(at);
            if (g_unichar_isprint(character) != FALSE) {
                characters.insert(character);
            }
        }
    }
    const std::vector<gunichar> all(characters.begin(), characters.end());
    const TextHandle line(
        g_ucs4_to_utf8(all.data(), static_cast<glong>(all.size()), nullptr, nullptr, nullptr));
    const auto layout = adoptRef(gtk_widget_create_pango_layout(view, line.get()));
    int height = 0;
    pango_layout_get_pixel_size(layout.get(), nullptr, &height);
    return height;
}

/// The text that rows and records belong together by, with the bytes that it has: two texts that only look
/// alike once they are made valid are two all the same.
std::string shownText(const std::string& name) {
    std::string text;
    MsgCatalog::getMessage(extractTrText(name).c_str(), text);
    return text;
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
    m_pParserThread = BackgroundRun::startOrRun(m_pParser, m_pMainWindow->relay());
}

void CMEROGtkFileSelDlg::addModule(const std::string& rootName, const ModuleItem& module) {
    appendModule(m_roots, rootName, module);
}

void CMEROGtkFileSelDlg::populate() {
    if (m_pTreeView == nullptr) {
        return;
    }
    if (!m_rules) {
        sortRoots(m_roots);
        m_index.emplace(m_roots, &shownText);
        m_store.emplace(*m_index);
        m_rules.emplace(*m_index, *m_store);
        makeColumn();
        gtk_tree_view_set_model(GTK_TREE_VIEW(m_pTreeView.get()), m_store->model());
        showView();
    }
    setSensitive("buttonBack", true);
    setSensitive("buttonNext", true);
}

void CMEROGtkFileSelDlg::makeColumn() {
    GtkTreeView* view = GTK_TREE_VIEW(m_pTreeView.get());
    GtkTreeViewColumn* column = gtk_tree_view_column_new();
    // Rows of one height need not be measured again when a click changes thousands of them.
    gtk_tree_view_column_set_sizing(column, GTK_TREE_VIEW_COLUMN_FIXED);
    gtk_tree_view_append_column(view, column);
    gtk_tree_view_set_fixed_height_mode(view, TRUE);

    m_pToggleRenderer = shareRef(gtk_cell_renderer_toggle_new());
    m_toggledHandler =
        g_signal_connect(m_pToggleRenderer.get(), "toggled", G_CALLBACK(&onCheckToggled), this);
    gtk_tree_view_column_pack_start(column, m_pToggleRenderer.get(), FALSE);
    gtk_tree_view_column_add_attribute(column, m_pToggleRenderer.get(), "active",
                                       SelectionStore::kCheckColumn);

    // A click on the text moves the keyboard's place to it, where the space bar activates the row.
    g_signal_connect(view, "row-activated", G_CALLBACK(&onRowActivated), this);

    GtkCellRenderer* text = gtk_cell_renderer_text_new();
    g_object_set(text, "ellipsize", PANGO_ELLIPSIZE_END, "single-paragraph-mode", TRUE, nullptr);
    gtk_cell_renderer_set_fixed_size(text, -1, heightOfTexts(m_pTreeView.get(), *m_index));
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
    // The focus was lost with the sensitivity of the button that led here.
    gtk_widget_grab_focus(m_pTreeView.get());
}

std::optional<std::size_t> CMEROGtkFileSelDlg::rowAt(GtkTreePath* path) const {
    if (!m_index || path == nullptr) {
        return std::nullopt;
    }
    int depth = 0;
    const int* positions = gtk_tree_path_get_indices_with_depth(path, &depth);
    return m_index->rowAt(std::span(positions, static_cast<std::size_t>(depth)));
}

void CMEROGtkFileSelDlg::onCheckToggled(GtkCellRendererToggle* renderer, char* path, gpointer dlg) {
    runHandler(__func__, [&] {
        auto& self = *static_cast<CMEROGtkFileSelDlg*>(dlg);
        const PathHandle place(gtk_tree_path_new_from_string(path));
        if (const std::optional<std::size_t> row = self.rowAt(place.get())) {
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
        if (const std::optional<std::size_t> row = self.rowAt(path)) {
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
