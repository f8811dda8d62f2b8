#pragma once

#include "tools/MERO/MEROOffline/Common/ModuleTree.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

/// The place of one row in the selection tree.
struct SelectionRow {
    /// Number of the row above; nothing for a root.
    std::optional<std::size_t> parent;
    /// The rows below have the numbers from `firstChild` to before `endChild`.
    std::size_t firstChild = 0;
    std::size_t endChild = 0;
    /// Number of the shown text: equal texts have equal numbers.
    std::size_t text = 0;
};

/// The rows of the selection tree, and the way from them to the records by their shown texts.
///
/// Each record has a row of the same number. Rows are numbered level by level: all roots, then all modules,
/// then all files. What a row stands for is nevertheless told by its text alone: records of one level with
/// the same text share their fate. All texts are looked up once, at construction, so that a click does not
/// cost a look-up for each record that it passes. Not locked; used by one thread.
class SelectionIndex {
public:
    using ShownText = std::function<std::string(const std::string&)>;

    /// @param roots      the records, in the order of the rows. Not owned, and used as long as this object;
    /// meanwhile nothing in them may change but m_selected.
    /// @param shownText  gives the text that is shown for a record's name or label.
    SelectionIndex(std::list<RootItem>& roots, const ShownText& shownText);

    [[nodiscard]] std::span<const SelectionRow> rows() const { return m_rows; }
    [[nodiscard]] const SelectionRow& row(std::size_t number) const { return m_rows[number]; }
    /// Number of roots, which are the first rows.
    [[nodiscard]] std::size_t rootCount() const { return m_rootCount; }
    [[nodiscard]] const std::string& textOf(std::size_t row) const { return m_texts[m_rows[row].text]; }
    /// The row at these positions among its siblings, outermost level first; nothing if there is none.
    [[nodiscard]] std::optional<std::size_t> rowAt(std::span<const int> positions) const;

    /// The stored state of a record.
    [[nodiscard]] bool isStored(std::size_t record) const { return *m_selected[record] != 0; }
    void setStored(std::size_t record, bool selected) { *m_selected[record] = selected ? 1 : 0; }
    /// All root records with the row's text, in their order.
    [[nodiscard]] std::span<const std::size_t> rootsLike(std::size_t row) const;
    /// All module records with the row's text, of all roots, in their order.
    [[nodiscard]] std::span<const std::size_t> modulesLike(std::size_t row) const;
    /// The first record below `record` with the row's text; nothing if there is none.
    [[nodiscard]] std::optional<std::size_t> childLike(std::size_t record, std::size_t row) const;

private:
    using RowsByText = std::vector<std::vector<std::size_t>>;

    void addRow(std::optional<std::size_t> parent, const std::string& text, uint32_t& selected);
    void indexTexts(std::size_t firstModule, std::size_t firstFile);

    std::vector<SelectionRow> m_rows;
    std::vector<uint32_t*> m_selected;
    std::size_t m_rootCount = 0;
    std::vector<std::string> m_texts;
    std::unordered_map<std::string, std::size_t> m_textNumbers;
    RowsByText m_rootsByText;
    RowsByText m_modulesByText;
    /// By the text's number, for each record of a root or module: the first record below it.
    std::vector<std::unordered_map<std::size_t, std::size_t>> m_childrenByText;
};
