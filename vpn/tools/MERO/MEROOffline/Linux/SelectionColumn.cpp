#include "tools/MERO/MEROOffline/Linux/SelectionColumn.h"

#include "tools/MERO/MEROOffline/Linux/Glib/HandlerGuard.h"
#include "tools/MERO/MEROOffline/Linux/GtkHandles.h"
#include "tools/MERO/MEROOffline/Linux/Widgets.h"

#include <set>
#include <vector>

namespace {

/// Pixels between the cells of check box and text.
constexpr int kSpacing = 4;

std::string charactersOf(const SelectionIndex& index) {
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
    return line.get();
}

/// Pixels that a line needs which may hold any of the characters: their scripts may come from fonts of
/// different heights.
int lineHeight(GtkWidget* view, const std::string& characters) {
    const auto layout = adoptRef(gtk_widget_create_pango_layout(view, characters.c_str()));
    int height = 0;
    pango_layout_get_pixel_size(layout.get(), nullptr, &height);
    return height;
}

int naturalWidth(GtkCellRenderer* renderer, GtkTreeView* view) {
    int natural = 0;
    gtk_cell_renderer_get_preferred_width(renderer, GTK_WIDGET(view), nullptr, &natural);
    return natural;
}

} // namespace

SelectionColumn::SelectionColumn(GtkTreeView* view, GtkCellRenderer* checkBox, const SelectionIndex& index,
                                 const SelectionStore& store)
    : m_view(view), m_store(store), m_characters(charactersOf(index)), m_column(gtk_tree_view_column_new()),
      m_checkBox(checkBox), m_text(gtk_cell_renderer_text_new()) {
    // Rows of one height need not be measured again when a click changes thousands of them.
    gtk_tree_view_column_set_sizing(m_column, GTK_TREE_VIEW_COLUMN_FIXED);
    gtk_tree_view_column_set_spacing(m_column, kSpacing);
    gtk_tree_view_append_column(view, m_column);

    gtk_tree_view_column_pack_start(m_column, m_checkBox, FALSE);
    gtk_tree_view_column_add_attribute(m_column, m_checkBox, "active", SelectionStore::kCheckColumn);
    gtk_tree_view_column_set_cell_data_func(m_column, m_checkBox, &showMixed, this, nullptr);

    g_object_set(m_text, "ellipsize", PANGO_ELLIPSIZE_END, "single-paragraph-mode", TRUE, nullptr);
    gtk_tree_view_column_pack_start(m_column, m_text, FALSE);
    gtk_tree_view_column_add_attribute(m_column, m_text, "text", SelectionStore::kTextColumn);

    followStyle();
    g_signal_connect(view, "style-updated", G_CALLBACK(&onStyleChanged), this);
    g_signal_connect(view, "notify::scale-factor", G_CALLBACK(&onScaleChanged), this);
    gtk_widget_set_has_tooltip(GTK_WIDGET(view), TRUE);
    g_signal_connect(view, "query-tooltip", G_CALLBACK(&onQueryTooltip), this);
}

void SelectionColumn::followStyle() {
    int padding = 0;
    gtk_cell_renderer_get_padding(m_text, nullptr, &padding);
    const int height = lineHeight(GTK_WIDGET(m_view), m_characters) + 2 * padding;
    gtk_cell_renderer_set_fixed_size(m_text, -1, height);
    gtk_tree_view_column_queue_resize(m_column);
    // The view measures its first row once for all when the mode is switched on.
    gtk_tree_view_set_fixed_height_mode(m_view, FALSE);
    gtk_tree_view_set_fixed_height_mode(m_view, TRUE);
}

bool SelectionColumn::isCut(GtkTreePath* path) const {
    GtkTreeIter row{};
    if (gtk_tree_model_get_iter(m_store.model(), &row, path) == FALSE) {
        return false;
    }
    gtk_tree_view_column_cell_set_cell_data(m_column, m_store.model(), &row, FALSE, FALSE);
    GdkRectangle cell{};
    gtk_tree_view_get_cell_area(m_view, path, m_column, &cell);
    return naturalWidth(m_checkBox, m_view) + kSpacing + naturalWidth(m_text, m_view) > cell.width;
}

bool SelectionColumn::showTooltip(int x, int y, bool byKey, GtkTooltip* tooltip) const {
    GtkTreePath* place = nullptr;
    GtkTreeIter row{};
    if (gtk_tree_view_get_tooltip_context(m_view, &x, &y, byKey ? TRUE : FALSE, nullptr, &place, &row) ==
        FALSE) {
        return false;
    }
    const PathHandle path(place);
    if (!isCut(path.get())) {
        return false;
    }
    char* text = nullptr;
    gtk_tree_model_get(m_store.model(), &row, SelectionStore::kTextColumn, &text, -1);
    gtk_tooltip_set_text(tooltip, TextHandle(text).get());
    gtk_tree_view_set_tooltip_row(m_view, tooltip, path.get());
    return true;
}

void SelectionColumn::onStyleChanged(GtkWidget* /*view*/, gpointer column) {
    runHandler(__func__, [&] { static_cast<SelectionColumn*>(column)->followStyle(); });
}

void SelectionColumn::onScaleChanged(GObject* /*view*/, GParamSpec* /*property*/, gpointer column) {
    runHandler(__func__, [&] { static_cast<SelectionColumn*>(column)->followStyle(); });
}

gboolean SelectionColumn::onQueryTooltip(GtkWidget* /*view*/, gint x, gint y, gboolean byKey,
                                         GtkTooltip* tooltip, gpointer column) {
    bool shown = false;
    runHandler(__func__, [&] {
        shown = static_cast<const SelectionColumn*>(column)->showTooltip(x, y, byKey != FALSE, tooltip);
    });
    return shown ? TRUE : FALSE;
}

void SelectionColumn::showMixed(GtkTreeViewColumn* /*column*/, GtkCellRenderer* checkBox, GtkTreeModel* model,
                                GtkTreeIter* row, gpointer self) {
    runHandler(__func__, [&] {
        const SelectionStore& store = static_cast<const SelectionColumn*>(self)->m_store;
        const PathHandle path(gtk_tree_model_get_path(model, row));
        const std::optional<std::size_t> number = store.rowAt(path.get());
        g_object_set(checkBox, "inconsistent", number && store.isMixed(*number) ? TRUE : FALSE, nullptr);
    });
}
