#include "tools/MERO/MEROOffline/Common/SelectionRules.h"

#include <algorithm>
#include <iterator>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace {

constexpr uint32_t kRootLevel = 0;
constexpr uint32_t kModuleLevel = 1;

} // namespace

template <typename Action>
void SelectionRules::forEachChild(std::span<const std::size_t> rows, Action action) const {
    for (const std::size_t row : rows) {
        for (std::size_t child = m_index.row(row).firstChild; child < m_index.row(row).endChild; ++child) {
            action(child);
        }
    }
}

void SelectionRules::toggle(std::size_t row, bool old) {
    m_checks.setChecked(row, !old);
    const SelectionRow& place = m_index.row(row);
    if (!place.parent) {
        toggleRoot(row, old);
    } else if (place.firstChild != place.endChild) {
        toggleModule(row, old);
    } else {
        toggleFile(row, old);
    }
}

void SelectionRules::toggleRoot(std::size_t row, bool old) {
    if (!old) {
        applyToModules(row, std::nullopt, isNothingStored(row, kRootLevel) ? ApplyCheckAll : ApplyRestore);
        return;
    }
    applyToModules(row, std::nullopt, ApplyClear);
    applyToModules(row, std::nullopt, ApplyStore);
}

void SelectionRules::toggleModule(std::size_t row, bool old) {
    const std::size_t root = *m_index.row(row).parent;
    if (!old) {
        applyToChildren({&row, 1}, m_index.modulesLike(row),
                        isNothingStored(row, kModuleLevel) ? ApplyCheckAll : ApplyRestore);
        m_checks.setChecked(root, true);
        return;
    }
    applyToChildren({&row, 1}, m_index.modulesLike(row), ApplyClear);
    applyToModules(root, row, ApplyStore);
    if (!anyChildChecked(root)) {
        m_checks.setChecked(root, false);
    }
}

void SelectionRules::toggleFile(std::size_t row, bool old) {
    const std::size_t module = *m_index.row(row).parent;
    if (!old) {
        m_checks.setChecked(module, true);
    } else if (!anyChildChecked(module)) {
        m_checks.setChecked(module, false);
    }
    // A module without files looks like a file, and then there is no row above the one above it.
    if (const std::optional<std::size_t> root = m_index.row(module).parent) {
        m_checks.setChecked(*root, anyChildChecked(*root));
    }
}

bool SelectionRules::isNothingStored(std::size_t row, uint32_t level) const {
    for (const std::size_t record : level == kRootLevel ? m_index.rootsLike(row) : m_index.modulesLike(row)) {
        if (anyChildStored(record)) {
            return false;
        }
    }
    return true;
}

bool SelectionRules::anyChildStored(std::size_t record) const {
    for (std::size_t child = m_index.row(record).firstChild; child < m_index.row(record).endChild; ++child) {
        if (m_index.isStored(child)) {
            return true;
        }
    }
    return false;
}

bool SelectionRules::anyChildChecked(std::size_t row) const {
    for (std::size_t child = m_index.row(row).firstChild; child < m_index.row(row).endChild; ++child) {
        if (m_checks.isChecked(child)) {
            return true;
        }
    }
    return false;
}

/// @param moduleRow  with ApplyStore, the one module (and those of its text) whose files are stored; nothing
/// for all.
void SelectionRules::applyToModules(std::size_t rootRow, std::optional<std::size_t> moduleRow,
                                    ApplyMode mode) {
    applyToChildren({&rootRow, 1}, m_index.rootsLike(rootRow), mode);
    if (moduleRow && mode == ApplyStore) {
        applyToEqualModules(rootRow, *moduleRow, mode);
        return;
    }
    const SelectionRow& root = m_index.row(rootRow);
    for (std::size_t child = root.firstChild; child < root.endChild; ++child) {
        // The first of equal ones stands for all of them.
        if (m_index.childLike(rootRow, child) == child) {
            applyToEqualModules(rootRow, child, mode);
        }
    }
}

void SelectionRules::applyToEqualModules(std::size_t rootRow, std::size_t moduleRow, ApplyMode mode) {
    const std::span<const std::size_t> records = m_index.modulesLike(moduleRow);
    std::vector<std::size_t> rows;
    std::ranges::copy_if(records, std::back_inserter(rows),
                         [&](std::size_t row) { return m_index.row(row).parent == rootRow; });
    applyToChildren(rows, records, mode);
}

void SelectionRules::applyToChildren(std::span<const std::size_t> rows, std::span<const std::size_t> records,
                                     ApplyMode mode) {
    switch (mode) {
    case ApplyRestore:
        restoreChildren(rows, records);
        break;
    case ApplyStore:
        storeChildren(rows, records);
        break;
    case ApplyClear:
    case ApplyCheckAll:
        // Each row has its own record among those of its text.
        forEachChild(rows, [&](std::size_t child) { m_checks.setChecked(child, mode == ApplyCheckAll); });
        break;
    }
}

/// What the last record says that has the text counts.
void SelectionRules::restoreChildren(std::span<const std::size_t> rows,
                                     std::span<const std::size_t> records) {
    std::unordered_map<std::size_t, bool> stored;
    for (const std::size_t record : records) {
        forEachChild({&record, 1}, [&](std::size_t child) {
            if (m_index.childLike(record, child) == child) {
                stored[m_index.row(child).text] = m_index.isStored(child);
            }
        });
    }
    forEachChild(rows, [&](std::size_t child) {
        if (const auto found = stored.find(m_index.row(child).text); found != stored.end()) {
            m_checks.setChecked(child, found->second);
        }
    });
}

/// What the last row of a text shows counts, in each record that has the text.
void SelectionRules::storeChildren(std::span<const std::size_t> rows, std::span<const std::size_t> records) {
    std::unordered_map<std::size_t, bool> shown;
    forEachChild(rows,
                 [&](std::size_t child) { shown[m_index.row(child).text] = m_checks.isChecked(child); });
    for (const std::size_t record : records) {
        forEachChild({&record, 1}, [&](std::size_t child) {
            const auto found = shown.find(m_index.row(child).text);
            if (found != shown.end() && m_index.childLike(record, child) == child) {
                m_index.setStored(child, found->second);
            }
        });
    }
}

void SelectionRules::store() {
    for (std::size_t root = 0; root < m_index.rootCount(); ++root) {
        m_index.setStored(m_index.rootsLike(root).front(), m_checks.isChecked(root));
        for (std::size_t child = m_index.row(root).firstChild; child < m_index.row(root).endChild; ++child) {
            // The first of equal ones stands for all of them.
            if (m_index.modulesLike(child).front() == child) {
                storeEqualModules(m_index.modulesLike(child));
            }
        }
    }
}

/// Stores all modules of one text.
void SelectionRules::storeEqualModules(std::span<const std::size_t> modules) {
    // A row goes to the first root of its root's text, where the last row counts.
    std::unordered_map<std::size_t, bool> shown;
    std::unordered_set<std::size_t> roots;
    for (const std::size_t module : modules) {
        shown[recordOfRoot(module)] = m_checks.isChecked(module);
        roots.insert(*m_index.row(module).parent);
    }
    std::vector<std::size_t> rows;
    for (const std::size_t module : modules) {
        if (const auto found = shown.find(*m_index.row(module).parent); found != shown.end()) {
            m_index.setStored(module, found->second);
        }
        if (roots.contains(recordOfRoot(module))) {
            rows.push_back(module);
        }
    }
    storeChildren(rows, modules);
}

std::size_t SelectionRules::recordOfRoot(std::size_t moduleRow) const {
    return m_index.rootsLike(*m_index.row(moduleRow).parent).front();
}
