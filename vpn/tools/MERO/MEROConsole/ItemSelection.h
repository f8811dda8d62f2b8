#pragma once

#include "tools/MERO/MEROEngine/implementations/CMEROClientIfc.h"
#include "tools/MERO/MEROOffline/Common/CMEROOfflineIfc.h"
#include "tools/MERO/MEROOffline/Common/ModuleTree.h"

#include <list>
#include <string>
#include <vector>

/// What the configuration files offer, as the tree that the wizard would show, and what of it is to be
/// collected. Used by one thread.
class ItemSelection : public CMEROClientIfc, public CMEROOfflineIfc {
public:
    /// Reads the configuration files; a former tree is dropped.
    /// @param installDirectory  folder that holds xml/config/; empty for the one of the executable.
    void scan(const std::string& installDirectory);
    /// Full paths of the files that the last scan could not read.
    [[nodiscard]] const std::list<std::string>& failedFiles() const { return m_failedFiles; }
    /// The tree in the order in which it is shown. No root and no module is empty.
    [[nodiscard]] const std::list<RootItem>& roots() const { return m_roots; }

    /// Selects an item for each of these ids, so that a request for the selection brings all that have them,
    /// and nothing else.
    /// @return the ids that no item has, sorted, each once.
    [[nodiscard]] std::vector<std::string> select(const std::vector<std::string>& ids);
    /// The ids of the selected items, in the order of the tree.
    [[nodiscard]] std::vector<std::string> selectedIds() const;
    void setComments(const std::string& comments) { m_comments = comments; }

    [[nodiscard]] std::string getComments() override { return m_comments; }
    [[nodiscard]] std::list<RootItem>& getModuleTree() override { return m_roots; }
    void addModule(const std::string& rootName, const ModuleItem& module) override;
    /// Does nothing: the jobs that report here run on the caller's thread and are over when they return.
    void updateStatus(const MEROStatusInfo* info, uint64_t status) override;

private:
    std::list<RootItem> m_roots;
    RootsByName m_rootsByName{m_roots};
    std::list<std::string> m_failedFiles;
    std::string m_comments;
};
