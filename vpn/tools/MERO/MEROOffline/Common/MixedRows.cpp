#include "tools/MERO/MEROOffline/Common/MixedRows.h"

MixedRows::MixedRows(const SelectionIndex& index) : m_index(index), m_rows(index.rows().size()) {
    // Rows stand behind those above them, so that what is below a row is complete when its turn comes.
    for (std::size_t row = m_rows.size(); row-- > 0;) {
        m_rows[row].checked = index.isStored(row);
        if (const std::optional<std::size_t> parent = index.row(row).parent; parent && !isWhole(row)) {
            ++m_rows[*parent].lacking;
        }
    }
}

std::vector<std::size_t> MixedRows::setChecked(std::size_t row, bool checked) {
    std::vector<std::size_t> changed;
    bool wasWhole = isWhole(row);
    m_rows[row].checked = checked;
    for (std::optional<std::size_t> above = m_index.row(row).parent; above && isWhole(row) != wasWhole;
         above = m_index.row(row).parent) {
        std::size_t& lacking = m_rows[*above].lacking;
        const std::size_t now = wasWhole ? lacking + 1 : lacking - 1;
        wasWhole = isWhole(*above);
        const bool wasMixed = isMixed(*above);
        lacking = now;
        if (isMixed(*above) != wasMixed) {
            changed.push_back(*above);
        }
        row = *above;
    }
    return changed;
}

bool MixedRows::isMixed(std::size_t row) const {
    return m_rows[row].checked && m_rows[row].lacking != 0;
}

bool MixedRows::isWhole(std::size_t row) const {
    return m_rows[row].checked && m_rows[row].lacking == 0;
}
