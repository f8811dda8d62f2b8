#pragma once

#include "tools/MERO/MEROOffline/Common/SelectionIndex.h"

#include <cstddef>
#include <vector>

/// Which rows of the selection tree are mixed: checked, while something below them is not.
///
/// An unchecked row is not mixed, whatever is checked below it: nothing of it is collected.
/// Used by one thread.
class MixedRows {
public:
    /// Every row is as its record is stored.
    /// @param index  not owned; must outlive this object.
    explicit MixedRows(const SelectionIndex& index);

    /// Takes over the check of a row.
    /// @return the rows above it whose state is another now, nearest first.
    std::vector<std::size_t> setChecked(std::size_t row, bool checked);
    [[nodiscard]] bool isMixed(std::size_t row) const;

private:
    struct Row {
        bool checked = false;
        /// Rows directly below that are not whole.
        std::size_t lacking = 0;
    };

    /// Whether the row and all below it are checked.
    [[nodiscard]] bool isWhole(std::size_t row) const;

    const SelectionIndex& m_index;
    std::vector<Row> m_rows;
};
