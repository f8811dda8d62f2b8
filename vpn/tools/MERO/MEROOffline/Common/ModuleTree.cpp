#include "tools/MERO/MEROOffline/Common/ModuleTree.h"

#include <algorithm>

void appendModule(std::list<RootItem>& roots, const std::string& rootName, const ModuleItem& module) {
    auto root = std::find_if(roots.begin(), roots.end(),
                             [&](const RootItem& item) { return item.m_name == rootName; });
    if (root == roots.end()) {
        root = roots.insert(roots.end(), RootItem{.m_name = rootName, .m_modules = {}});
    }
    root->m_modules.push_back(module);
    if (module.m_selected != 0) {
        root->m_selected = 1;
    }
    if (module.m_default != 0) {
        root->m_default = 1;
    }
}

void sortRoots(std::list<RootItem>& roots) {
    roots.sort([](const RootItem& left, const RootItem& right) { return left.m_name < right.m_name; });
}
