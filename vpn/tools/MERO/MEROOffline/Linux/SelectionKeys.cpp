#include "tools/MERO/MEROOffline/Linux/SelectionKeys.h"

#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"
#include "tools/MERO/MEROOffline/Linux/GtkHandles.h"

namespace {

/// The keyboard's place; null if there is none.
PathHandle cursorOf(GtkTreeView* view) {
    GtkTreePath* path = nullptr;
    gtk_tree_view_get_cursor(view, &path, nullptr);
    return PathHandle(path);
}

void goTo(GtkTreeView* view, GtkTreePath* path) {
    gtk_tree_view_set_cursor(view, path, nullptr, FALSE);
}

void openRow(GtkTreeView* view, GtkTreePath* path) {
    if (gtk_tree_view_row_expanded(view, path) != FALSE) {
        gtk_tree_path_down(path);
        goTo(view, path);
    } else {
        gtk_tree_view_expand_row(view, path, FALSE);
    }
}

void closeRow(GtkTreeView* view, GtkTreePath* path) {
    if (gtk_tree_view_collapse_row(view, path) == FALSE && gtk_tree_path_get_depth(path) > 1) {
        gtk_tree_path_up(path);
        goTo(view, path);
    }
}

/// The view's "key-press-event".
gboolean onKeyPress(GtkWidget* widget, GdkEventKey* event, gpointer /*data*/) {
    GtkTreeView* view = GTK_TREE_VIEW(widget);
    const bool right = event->keyval == GDK_KEY_Right || event->keyval == GDK_KEY_KP_Right;
    const bool left = event->keyval == GDK_KEY_Left || event->keyval == GDK_KEY_KP_Left;
    const PathHandle path = cursorOf(view);
    if ((!right && !left) || (event->state & gtk_accelerator_get_default_mod_mask()) != 0 ||
        path == nullptr) {
        return GDK_EVENT_PROPAGATE;
    }
    const bool mirrored = gtk_widget_get_direction(widget) == GTK_TEXT_DIR_RTL;
    if (right != mirrored) {
        openRow(view, path.get());
    } else {
        closeRow(view, path.get());
    }
    return GDK_EVENT_STOP;
}

/// Tells whether a row is none that is looked for, as GTK asks.
gboolean isOtherRow(GtkTreeModel* model, gint column, const gchar* key, GtkTreeIter* row, gpointer /*data*/) {
    char* text = nullptr;
    gtk_tree_model_get(model, row, column, &text, -1);
    const TextHandle held(text);
    return held != nullptr && g_str_match_string(key, held.get(), TRUE) != FALSE ? FALSE : TRUE;
}

/// The selection's "changed". A search drops the selection before it looks for a row.
void onSelectionChanged(GtkTreeSelection* selection, gpointer /*data*/) {
    if (gtk_tree_selection_count_selected_rows(selection) == 0) {
        if (const PathHandle path = cursorOf(gtk_tree_selection_get_tree_view(selection))) {
            gtk_tree_selection_select_path(selection, path.get());
        }
    }
}

} // namespace

void addSelectionKeys(GtkTreeView* view, int textColumn) {
    g_signal_connect(view, "key-press-event", G_CALLBACK(&onKeyPress), nullptr);
    gtk_tree_view_set_search_column(view, textColumn);
    gtk_tree_view_set_search_equal_func(view, &isOtherRow, nullptr, nullptr);
    g_signal_connect(gtk_tree_view_get_selection(view), "changed", G_CALLBACK(&onSelectionChanged), nullptr);
}
