#pragma once

#include "tools/MERO/MEROOffline/Common/SelectionIndex.h"
#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"
#include "tools/MERO/MEROOffline/Linux/SelectionStore.h"

#include <gtk/gtk.h>
#include <string>

/// The one column of the file selection's tree: check box and text, in rows of one height, in which the text
/// of each has room.
///
/// The height follows the font and the scale that the view is shown with. A text that is wider than the view
/// ends in dots, and has a tooltip with all of it. GTK main thread only.
class SelectionColumn {
public:
    /// Adds the column to a view that has none.
    /// @param view      not owned; nothing of it may be shown or measured when this object has gone.
    /// @param checkBox  becomes the view's as well.
    /// @param index     the rows' texts, read here alone.
    /// @param store     the view's rows; not owned, must outlive this object.
    SelectionColumn(GtkTreeView* view, GtkCellRenderer* checkBox, const SelectionIndex& index,
                    const SelectionStore& store);
    SelectionColumn(const SelectionColumn&) = delete;
    SelectionColumn& operator=(const SelectionColumn&) = delete;

private:
    void followStyle();
    [[nodiscard]] bool isCut(GtkTreePath* path) const;
    [[nodiscard]] bool showTooltip(int x, int y, bool byKey, GtkTooltip* tooltip) const;
    // Handlers; the data of each is the SelectionColumn.
    static void onStyleChanged(GtkWidget* view, gpointer column);
    static void onScaleChanged(GObject* view, GParamSpec* property, gpointer column);
    static gboolean onQueryTooltip(GtkWidget* view, gint x, gint y, gboolean byKey, GtkTooltip* tooltip,
                                   gpointer column);
    static void showMixed(GtkTreeViewColumn* column, GtkCellRenderer* checkBox, GtkTreeModel* model,
                          GtkTreeIter* row, gpointer self);

    GtkTreeView* m_view;
    const SelectionStore& m_store;
    /// Each character of the rows' texts once.
    std::string m_characters;
    // The view's.
    GtkTreeViewColumn* m_column;
    GtkCellRenderer* m_checkBox;
    GtkCellRenderer* m_text;
};
