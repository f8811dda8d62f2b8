#pragma once

#include "tests/unit/selection/SelectionWalk.h"
#include "tools/MERO/MEROOffline/Common/SelectionIndex.h"
#include "tools/MERO/MEROOffline/Common/SelectionRules.h"

#include <list>
#include <string>
#include <string_view>
#include <vector>

/// The checks of rows that nobody sees.
class RowValues : public CheckRows {
public:
    /// As the records are stored.
    explicit RowValues(const SelectionIndex& index);
    [[nodiscard]] bool isChecked(std::size_t row) const override { return m_checked.at(row); }
    void setChecked(std::size_t row, bool checked) override { m_checked.at(row) = checked; }

private:
    std::vector<bool> m_checked;
};

/// The index and the rules over records and rows that are plain values.
class ValueSelection : public WalkedSelection {
public:
    /// @param records  in the order of the rows.
    explicit ValueSelection(std::list<RootItem> records,
                            const SelectionIndex::ShownText& shownText = &textWithoutMarker);
    explicit ValueSelection(std::string_view picture,
                            const SelectionIndex::ShownText& shownText = &textWithoutMarker);
    ValueSelection(const ValueSelection&) = delete;
    ValueSelection& operator=(const ValueSelection&) = delete;

    void click(const std::vector<int>& path) override;
    void store() override { m_rules.store(); }
    [[nodiscard]] std::vector<ReferenceRow> rows() const override;
    [[nodiscard]] const std::list<RootItem>& records() const override { return m_records; }

    /// A click on a check box that showed something else than its row holds.
    void clickShowing(const std::vector<int>& path, bool old);
    /// Makes the rows what a picture of the same tree shows; the records stay.
    void showRows(std::string_view picture);
    [[nodiscard]] const SelectionIndex& index() const { return m_index; }
    /// Pictures of the rows and of the records.
    [[nodiscard]] std::string shown() const;
    [[nodiscard]] std::string stored() const;

private:
    [[nodiscard]] std::size_t numberAt(const std::vector<int>& path) const;

    std::list<RootItem> m_records;
    SelectionIndex m_index;
    RowValues m_checks;
    SelectionRules m_rules;
};
