#pragma once

#include "tools/MERO/MEROOffline/Common/ModuleTree.h"

#include <list>
#include <string>

/// What the background jobs of the wizard ask of its window.
class CMEROOfflineIfc {
public:
    virtual ~CMEROOfflineIfc() = default;
    /// The user's comment.
    [[nodiscard]] virtual std::string getComments() = 0;
    /// The selection tree, made if there is none yet.
    [[nodiscard]] virtual std::list<RootItem>& getModuleTree() = 0;
    /// Hands one scanned module to the tree.
    virtual void addModule(const std::string& rootName, const ModuleItem& module) = 0;
};
