#include "tests/unit/selection/ValueSelection.h"

#include "tests/unit/selection/SelectionPicture.h"

#include <stdexcept>
#include <utility>

RowValues::RowValues(const SelectionIndex& index) {
    for (std::size_t row = 0; row < index.rows().size(); ++row) {
        m_checked.push_back(index.isStored(row));
    }
}

ValueSelection::ValueSelection(std::list<RootItem> records, const SelectionIndex::ShownText& shownText)
    : m_records(std::move(records)), m_index(m_records, shownText), m_checks(m_index),
      m_rules(m_index, m_checks) {}

ValueSelection::ValueSelection(std::string_view picture, const SelectionIndex::ShownText& shownText)
    : ValueSelection(recordsOf(picture), shownText) {}

std::size_t ValueSelection::numberAt(const std::vector<int>& path) const {
    const std::optional<std::size_t> row = m_index.rowAt(path);
    if (!row) {
        throw std::out_of_range("no such row");
    }
    return *row;
}

void ValueSelection::click(const std::vector<int>& path) {
    const std::size_t row = numberAt(path);
    m_rules.toggle(row, m_checks.isChecked(row));
}

void ValueSelection::clickShowing(const std::vector<int>& path, bool old) {
    m_rules.toggle(numberAt(path), old);
}

// The rows come in the order of their numbers, each after the one above it.
std::vector<ReferenceRow> ValueSelection::rows() const {
    std::vector<ReferenceRow> all;
    for (std::size_t row = 0; row < m_index.rows().size(); ++row) {
        all.push_back({m_index.textOf(row), m_checks.isChecked(row), {}});
    }
    for (std::size_t row = all.size(); row-- > m_index.rootCount();) {
        std::vector<ReferenceRow>& siblings = all[m_index.row(row).parent.value()].below;
        siblings.insert(siblings.begin(), std::move(all[row]));
    }
    all.resize(m_index.rootCount());
    return all;
}

void ValueSelection::showRows(std::string_view picture) {
    std::list<RootItem> wanted = recordsOf(picture);
    const SelectionIndex index(wanted, &textWithoutMarker);
    const RowValues checks(index);
    for (std::size_t row = 0; row < m_index.rows().size(); ++row) {
        m_checks.setChecked(row, checks.isChecked(row));
    }
}

std::string ValueSelection::shown() const {
    return pictureOf(rows());
}

std::string ValueSelection::stored() const {
    return pictureOf(m_records);
}
