#pragma once

#include "tests/support/CapturedLog.h"
#include "tests/support/Sandbox.h"
#include "tools/MERO/MEROEngine/implementations/CMEROClientIfc.h"
#include "tools/MERO/MEROOffline/Common/CMEROOfflineIfc.h"
#include "tools/MERO/MEROOffline/Common/ModuleTree.h"

#include <cstdint>
#include <list>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// One call of updateStatus.
struct KeptStatus {
    bool hasInfo = false;
    uint64_t code = 0;
    std::thread::id thread;
};

/// A client that is nothing but that.
class RecordingClient : public CMEROClientIfc {
public:
    void updateStatus(const MEROStatusInfo* info, uint64_t status) override;

    [[nodiscard]] std::vector<KeptStatus> statuses() const;
    /// True if the status came exactly `times` times, without an info, and no other one came.
    [[nodiscard]] bool gotOnly(uint64_t code, std::size_t times = 1) const;

private:
    mutable std::mutex m_lock;
    std::vector<KeptStatus> m_statuses;
};

/// Stands for the wizard's window: keeps the statuses, the tree and the comment. Modules may be added from
/// several threads; the tree is read when none is being added.
class RecordingWindow : public RecordingClient, public CMEROOfflineIfc {
public:
    [[nodiscard]] std::string getComments() override;
    [[nodiscard]] std::list<RootItem>& getModuleTree() override;
    void addModule(const std::string& rootName, const ModuleItem& module) override;

    /// The tree, a line an entry: "Root default/selected", below it "  Module default/selected", and below
    /// that "    id|label|description|platform default/selected".
    [[nodiscard]] std::string outline() const;
    /// The files of all modules, in order.
    [[nodiscard]] std::list<FileItem> files() const;

    std::list<RootItem> m_roots;
    std::string m_comments;

private:
    mutable std::mutex m_treeLock;
    RootsByName m_rootsByName{m_roots};
};

/// A private folder, every log line and a window.
class OfflineTest : public Sandbox {
protected:
    CapturedLog m_log;
    RecordingWindow m_window;
};
