#pragma once

#include "tools/MERO/MEROOffline/Common/MixedRows.h"
#include "tools/MERO/MEROOffline/Common/SelectionIndex.h"
#include "tools/MERO/MEROOffline/Common/SelectionRules.h"
#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"

#include <cstddef>
#include <gtk/gtk.h>
#include <optional>
#include <vector>

/// The rows of the selection tree as a GtkTreeStore, which the view shows. GTK main thread only.
class SelectionStore final : public CheckRows {
public:
    /// Columns of the store.
    static constexpr int kCheckColumn = 0;
    static constexpr int kTextColumn = 1;

    /// Makes a row for each of the index's, checked as its record is stored.
    /// @param index  not owned; must outlive this object.
    explicit SelectionStore(const SelectionIndex& index);

    [[nodiscard]] GtkTreeModel* model() const { return GTK_TREE_MODEL(m_store.get()); }
    /// The number of the row at this path; nothing if there is none.
    [[nodiscard]] std::optional<std::size_t> rowAt(GtkTreePath* path) const;
    [[nodiscard]] bool isChecked(std::size_t row) const override;
    void setChecked(std::size_t row, bool checked) override;
    /// Whether the row is checked while something below it is not. The store tells its views of a change.
    [[nodiscard]] bool isMixed(std::size_t row) const { return m_mixed.isMixed(row); }

private:
    /// Adds a row as the first one below its parent.
    void insert(std::size_t row);

    const SelectionIndex& m_index;
    MixedRows m_mixed;
    GObjectHandle<GtkTreeStore> m_store;
    /// By row number; the store's iterators stay valid as long as their rows.
    std::vector<GtkTreeIter> m_iterators;
};
