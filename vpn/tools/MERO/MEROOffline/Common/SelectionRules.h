#pragma once

#include "tools/MERO/MEROOffline/Common/SelectionIndex.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

/// What happens to a row and its record.
enum ApplyMode : uint32_t {
    /// The row shows what is stored.
    ApplyRestore = 0,
    /// What the row shows is stored.
    ApplyStore = 1,
    /// The row is unchecked.
    ApplyClear = 2,
    /// The row is checked.
    ApplyCheckAll = 3,
};

/// The checks that the user sees now, by row number.
class CheckRows {
public:
    virtual ~CheckRows() = default;
    [[nodiscard]] virtual bool isChecked(std::size_t row) const = 0;
    virtual void setChecked(std::size_t row, bool checked) = 0;
};

/// How the checks of the selection tree drive each other.
///
/// There are two copies of the truth: the rows are what the user sees, the records are the last stored state,
/// from which the request is written. A click on a file changes rows alone, so that a module whose files were
/// unchecked one by one comes back with its stored choice; unchecking a root or a module stores, so that the
/// next check of it checks everything below. Used by one thread.
class SelectionRules {
public:
    /// Neither is owned; both must outlive this object.
    SelectionRules(SelectionIndex& index, CheckRows& checks) : m_index(index), m_checks(checks) {}

    /// A click on a row.
    /// @param old  what the row showed.
    void toggle(std::size_t row, bool old);
    /// Stores all rows in the records. A row goes to the first root of its text, so rows of a second root
    /// with the same text are stored by way of its files alone.
    void store();

private:
    void toggleRoot(std::size_t row, bool old);
    void toggleModule(std::size_t row, bool old);
    void toggleFile(std::size_t row, bool old);
    [[nodiscard]] bool isNothingStored(std::size_t row, uint32_t level) const;
    [[nodiscard]] bool anyChildStored(std::size_t record) const;
    [[nodiscard]] bool anyChildChecked(std::size_t row) const;
    void applyToModules(std::size_t rootRow, std::optional<std::size_t> moduleRow, ApplyMode mode);
    /// Applies the mode to the modules of a root that have the text of one of them.
    void applyToEqualModules(std::size_t rootRow, std::size_t moduleRow, ApplyMode mode);
    /// Applies the mode to the rows below `rows` and to what belongs to them below `records`: these are all
    /// records of the level and text that the rows have. At the cost of both together.
    void applyToChildren(std::span<const std::size_t> rows, std::span<const std::size_t> records,
                         ApplyMode mode);
    void restoreChildren(std::span<const std::size_t> rows, std::span<const std::size_t> records);
    void storeChildren(std::span<const std::size_t> rows, std::span<const std::size_t> records);
    void storeEqualModules(std::span<const std::size_t> modules);
    /// The root record that a module's row goes to.
    [[nodiscard]] std::size_t recordOfRoot(std::size_t moduleRow) const;
    /// Calls `action` with each row below these.
    template <typename Action> void forEachChild(std::span<const std::size_t> rows, Action action) const;

    SelectionIndex& m_index;
    CheckRows& m_checks;
};
