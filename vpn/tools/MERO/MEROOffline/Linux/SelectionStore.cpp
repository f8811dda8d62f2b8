#include "SelectionStore.h"

#include "Widgets.h"

SelectionStore::SelectionStore(const SelectionIndex& index)
    : m_store(adoptRef(gtk_tree_store_new(2, G_TYPE_BOOLEAN, G_TYPE_STRING))) {
    m_iterators.resize(index.rows().size());
    for (std::size_t row = 0; row < m_iterators.size(); ++row) {
        const std::optional<std::size_t> parent = index.row(row).parent;
        gtk_tree_store_insert_with_values(
            m_store.get(), &m_iterators[row], parent ? &m_iterators[*parent] : nullptr, -1, kCheckColumn,
            index.isStored(row) ? TRUE : FALSE, kTextColumn, displayText(index.textOf(row)).c_str(), -1);
    }
}

bool SelectionStore::isChecked(std::size_t row) const {
    GtkTreeIter iterator = m_iterators[row];
    gboolean checked = FALSE;
    gtk_tree_model_get(model(), &iterator, kCheckColumn, &checked, -1);
    return checked != FALSE;
}

void SelectionStore::setChecked(std::size_t row, bool checked) {
    // A row that is set is drawn and measured anew, so one that stays as it is had better be left alone.
    if (checked != isChecked(row)) {
        gtk_tree_store_set(m_store.get(), &m_iterators[row], kCheckColumn, checked ? TRUE : FALSE, -1);
    }
}
