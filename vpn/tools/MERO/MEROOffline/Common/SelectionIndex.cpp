#include "tools/MERO/MEROOffline/Common/SelectionIndex.h"

SelectionIndex::SelectionIndex(std::list<RootItem>& roots, const ShownText& shownText) {
    for (RootItem& root : roots) {
        addRow(std::nullopt, shownText(root.m_name), root.m_selected);
    }
    m_rootCount = m_rows.size();
    std::size_t parent = 0;
    for (RootItem& root : roots) {
        for (ModuleItem& module : root.m_modules) {
            addRow(parent, shownText(module.m_name), module.m_selected);
        }
        ++parent;
    }
    const std::size_t firstFile = m_rows.size();
    for (RootItem& root : roots) {
        for (ModuleItem& module : root.m_modules) {
            for (FileItem& file : module.m_files) {
                addRow(parent, shownText(file.m_label), file.m_selected);
            }
            ++parent;
        }
    }
    indexTexts(m_rootCount, firstFile);
}

void SelectionIndex::addRow(std::optional<std::size_t> parent, const std::string& text, uint32_t& selected) {
    const std::size_t number = m_rows.size();
    const auto [entry, isNew] = m_textNumbers.try_emplace(text, m_texts.size());
    if (isNew) {
        m_texts.push_back(text);
    }
    m_rows.push_back({.parent = parent, .text = entry->second});
    m_selected.push_back(&selected);
    if (parent) {
        SelectionRow& above = m_rows[*parent];
        above.firstChild = above.endChild == 0 ? number : above.firstChild;
        above.endChild = number + 1;
    }
}

void SelectionIndex::indexTexts(std::size_t firstModule, std::size_t firstFile) {
    m_rootsByText.resize(m_texts.size());
    m_modulesByText.resize(m_texts.size());
    m_childrenByText.resize(firstFile);
    for (std::size_t number = 0; number < m_rows.size(); ++number) {
        const SelectionRow& row = m_rows[number];
        if (number < firstModule) {
            m_rootsByText[row.text].push_back(number);
        } else if (number < firstFile) {
            m_modulesByText[row.text].push_back(number);
        }
        if (row.parent) {
            // Keeps the first of several with the same text.
            m_childrenByText[*row.parent].try_emplace(row.text, number);
        }
    }
}

std::optional<std::size_t> SelectionIndex::rowAt(std::span<const int> positions) const {
    std::optional<std::size_t> found;
    std::size_t first = 0;
    std::size_t end = m_rootCount;
    for (const int position : positions) {
        if (position < 0 || static_cast<std::size_t>(position) >= end - first) {
            return std::nullopt;
        }
        found = first + static_cast<std::size_t>(position);
        first = m_rows[*found].firstChild;
        end = m_rows[*found].endChild;
    }
    return found;
}

std::span<const std::size_t> SelectionIndex::rootsLike(std::size_t row) const {
    return m_rootsByText[m_rows[row].text];
}

std::span<const std::size_t> SelectionIndex::modulesLike(std::size_t row) const {
    return m_modulesByText[m_rows[row].text];
}

std::optional<std::size_t> SelectionIndex::childLike(std::size_t record, std::size_t row) const {
    const auto& children = m_childrenByText[record];
    const auto child = children.find(m_rows[row].text);
    return child == children.end() ? std::nullopt : std::optional(child->second);
}
