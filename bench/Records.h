#pragma once

#include "tools/MERO/MEROEngine/implementations/CMEROClientIfc.h"
#include "tools/MERO/MEROOffline/Common/CMEROOfflineIfc.h"
#include "tools/MERO/MEROOffline/Common/ModuleTree.h"

#include <cstdint>
#include <list>
#include <string>

/// Stands in for the window where there is none.
class Records final : public CMEROClientIfc, public CMEROOfflineIfc {
public:
    void updateStatus(const MEROStatusInfo* /*info*/, uint64_t /*status*/) override {}
    std::string getComments() override { return {}; }
    std::list<RootItem>& getModuleTree() override { return m_roots; }
    void addModule(const std::string& rootName, const ModuleItem& module) override {
        m_rootsByName.append(rootName, module);
    }

private:
    std::list<RootItem> m_roots;
    RootsByName m_rootsByName{m_roots};
};
