#include "tools/MERO/MEROConsole/ItemSelection.h"

#include "tools/MERO/MEROOffline/Common/ParseConfigXML.h"

#include <set>

void ItemSelection::scan(const std::string& installDirectory) {
    m_roots.clear();
    ParseConfigXML scanner(this, nullptr, installDirectory);
    scanner.run();
    sortRoots(m_roots);
    m_failedFiles = scanner.getFailedFiles();
}

// The engine collects an item once for each time that the request names it, from every file that has the id,
// so the first of several items with one id stands for all of them.
std::vector<std::string> ItemSelection::select(const std::vector<std::string>& ids) {
    std::set<std::string> left(ids.begin(), ids.end());
    for (RootItem& root : m_roots) {
        root.m_selected = 0;
        for (ModuleItem& module : root.m_modules) {
            module.m_selected = 0;
            for (FileItem& file : module.m_files) {
                file.m_selected = left.erase(file.m_id) != 0 ? 1 : 0;
                module.m_selected |= file.m_selected;
            }
            root.m_selected |= module.m_selected;
        }
    }
    return {left.begin(), left.end()};
}

std::vector<std::string> ItemSelection::selectedIds() const {
    std::vector<std::string> ids;
    for (const RootItem& root : m_roots) {
        for (const ModuleItem& module : root.m_modules) {
            for (const FileItem& file : module.m_files) {
                if (file.m_selected != 0) {
                    ids.push_back(file.m_id);
                }
            }
        }
    }
    return ids;
}

void ItemSelection::addModule(const std::string& rootName, const ModuleItem& module) {
    m_rootsByName.append(rootName, module);
}

void ItemSelection::updateStatus(const MEROStatusInfo* /*info*/, uint64_t /*status*/) {}
