#include "tools/MERO/MEROOffline/Linux/SelectionStore.h"

#include "tools/MERO/MEROOffline/Linux/GtkHandles.h"
#include "tools/MERO/MEROOffline/Linux/Widgets.h"

#include <span>

SelectionStore::SelectionStore(const SelectionIndex& index)
    : m_index(index), m_mixed(index),
      m_store(adoptRef(gtk_tree_store_new(2, G_TYPE_BOOLEAN, G_TYPE_STRING))) {
    m_iterators.resize(index.rows().size());
    for (std::size_t root = index.rootCount(); root-- > 0;) {
        insert(root);
        const SelectionRow& rootRow = index.row(root);
        for (std::size_t module = rootRow.endChild; module-- > rootRow.firstChild;) {
            insert(module);
            const SelectionRow& moduleRow = index.row(module);
            for (std::size_t file = moduleRow.endChild; file-- > moduleRow.firstChild;) {
                insert(file);
            }
        }
    }
}

void SelectionStore::insert(std::size_t row) {
    // Before all of its siblings, below those that are the first as well: the store counts the siblings in
    // front of each row that it tells its views of.
    const std::optional<std::size_t> parent = m_index.row(row).parent;
    gtk_tree_store_insert_with_values(
        m_store.get(), &m_iterators[row], parent ? &m_iterators[*parent] : nullptr, 0, kCheckColumn,
        m_index.isStored(row) ? TRUE : FALSE, kTextColumn, displayText(m_index.textOf(row)).c_str(), -1);
}

std::optional<std::size_t> SelectionStore::rowAt(GtkTreePath* path) const {
    if (path == nullptr) {
        return std::nullopt;
    }
    int depth = 0;
    const int* positions = gtk_tree_path_get_indices_with_depth(path, &depth);
    return m_index.rowAt(std::span(positions, static_cast<std::size_t>(depth)));
}

bool SelectionStore::isChecked(std::size_t row) const {
    GtkTreeIter iterator = m_iterators[row];
    gboolean checked = FALSE;
    gtk_tree_model_get(model(), &iterator, kCheckColumn, &checked, -1);
    return checked != FALSE;
}

void SelectionStore::setChecked(std::size_t row, bool checked) {
    // A row that is set is drawn and measured anew, so one that stays as it is had better be left alone.
    if (checked == isChecked(row)) {
        return;
    }
    const std::vector<std::size_t> changed = m_mixed.setChecked(row, checked);
    gtk_tree_store_set(m_store.get(), &m_iterators[row], kCheckColumn, checked ? TRUE : FALSE, -1);
    for (const std::size_t above : changed) {
        GtkTreeIter iterator = m_iterators[above];
        const PathHandle path(gtk_tree_model_get_path(model(), &iterator));
        gtk_tree_model_row_changed(model(), path.get(), &iterator);
    }
}
