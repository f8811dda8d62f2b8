#include "tools/MERO/MEROOffline/Common/ModuleTree.h"

void RootsByName::append(const std::string& rootName, const ModuleItem& module) {
    if (m_byName.size() != m_roots.size()) {
        m_byName.clear();
        for (RootItem& root : m_roots) {
            m_byName.try_emplace(root.m_name, &root); // keeps the first of several
        }
    }
    const auto [entry, isNew] = m_byName.try_emplace(rootName, nullptr);
    if (isNew) {
        entry->second = &m_roots.emplace_back(RootItem{.m_name = rootName, .m_modules = {}});
    }
    RootItem& root = *entry->second;
    root.m_modules.push_back(module);
    if (module.m_selected != 0) {
        root.m_selected = 1;
    }
    if (module.m_default != 0) {
        root.m_default = 1;
    }
}

void sortRoots(std::list<RootItem>& roots) {
    roots.sort([](const RootItem& left, const RootItem& right) { return left.m_name < right.m_name; });
}
