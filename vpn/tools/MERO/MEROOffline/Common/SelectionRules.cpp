#include "tools/MERO/MEROOffline/Common/SelectionRules.h"

namespace {

constexpr uint32_t kRootLevel = 0;
constexpr uint32_t kModuleLevel = 1;

} // namespace

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
        applyToFiles(row, isNothingStored(row, kModuleLevel) ? ApplyCheckAll : ApplyRestore);
        m_checks.setChecked(root, true);
        return;
    }
    applyToFiles(row, ApplyClear);
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
    for (const std::size_t record : m_index.rootsLike(rootRow)) {
        applyToChildren(rootRow, record, mode);
    }
    const SelectionRow& root = m_index.row(rootRow);
    const bool oneModule = moduleRow && mode == ApplyStore;
    for (std::size_t child = root.firstChild; child < root.endChild; ++child) {
        if (!oneModule || m_index.row(child).text == m_index.row(*moduleRow).text) {
            applyToFiles(child, mode);
        }
    }
}

void SelectionRules::applyToFiles(std::size_t moduleRow, ApplyMode mode) {
    for (const std::size_t record : m_index.modulesLike(moduleRow)) {
        applyToChildren(moduleRow, record, mode);
    }
}

/// Applies the mode to the rows below `row` and to what belongs to them below `record`.
void SelectionRules::applyToChildren(std::size_t row, std::size_t record, ApplyMode mode) {
    for (std::size_t child = m_index.row(row).firstChild; child < m_index.row(row).endChild; ++child) {
        if (mode == ApplyClear) {
            m_checks.setChecked(child, false);
        } else if (const std::optional<std::size_t> found = m_index.childLike(record, child)) {
            apply(child, *found, mode);
        }
    }
}

void SelectionRules::apply(std::size_t row, std::size_t record, ApplyMode mode) {
    switch (mode) {
    case ApplyRestore:
        m_checks.setChecked(row, m_index.isStored(record));
        break;
    case ApplyStore:
        m_index.setStored(record, m_checks.isChecked(row));
        break;
    case ApplyClear:
        m_checks.setChecked(row, false);
        break;
    case ApplyCheckAll:
        m_checks.setChecked(row, true);
        break;
    }
}

void SelectionRules::store() {
    for (std::size_t root = 0; root < m_index.rootCount(); ++root) {
        const std::size_t record = m_index.rootsLike(root).front();
        m_index.setStored(record, m_checks.isChecked(root));
        for (std::size_t child = m_index.row(root).firstChild; child < m_index.row(root).endChild; ++child) {
            storeModule(record, child);
        }
    }
}

void SelectionRules::storeModule(std::size_t rootRecord, std::size_t moduleRow) {
    bool found = false;
    for (const std::size_t record : m_index.modulesLike(moduleRow)) {
        if (m_index.row(record).parent == rootRecord) {
            m_index.setStored(record, m_checks.isChecked(moduleRow));
            found = true;
        }
    }
    if (found) {
        applyToFiles(moduleRow, ApplyStore);
    }
}
