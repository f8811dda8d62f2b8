#pragma once

#include "Common/Utility/threads/Mutex.h"
#include "tools/MERO/MEROEngine/implementations/CMEROClientIfc.h"
#include "tools/MERO/MEROOffline/Common/CMEROOfflineIfc.h"

#include <cstdint>
#include <glib.h>
#include <list>
#include <string>

/// Stands between background jobs and the window for as long as there is one: reports and scanned modules go
/// to it, the choice and the comment come from it. Jobs may outlive the window, which waits for none, so what
/// they hold is the relay, which lives as long as any of them.
///
/// Any thread, but for getModuleTree. The window is called under the relay's lock: it must not block, report
/// or detach.
class WindowRelay final : public CMEROClientIfc, public CMEROOfflineIfc {
public:
    /// Both stand for the window. Not owned; they must stay until detach has returned.
    /// @param window  what its idle handlers get.
    WindowRelay(CMEROClientIfc* client, CMEROOfflineIfc* offline, gpointer window)
        : m_client(client), m_offline(offline), m_window(window) {}

    void updateStatus(const MEROStatusInfo* info, uint64_t status) override;
    /// Empty once the window has gone.
    [[nodiscard]] std::string getComments() override;
    /// A copy of the window's tree as it is now, so that it stays when the window goes; without a window the
    /// copy made last. Valid until the next call. One thread at a time.
    [[nodiscard]] std::list<RootItem>& getModuleTree() override;
    void addModule(const std::string& rootName, const ModuleItem& module) override;

    /// Has a handler run on the GTK main thread, once it is idle, with the window as its data; not once the
    /// window has gone.
    void post(GSourceFunc handler);

    /// Cuts the window off. When it returns no call is under way in the window.
    void detach();

private:
    Mutex m_lock;
    /// Null once the window has gone, as the next two.
    CMEROClientIfc* m_client ZRN_GUARDED_BY(m_lock);
    CMEROOfflineIfc* m_offline ZRN_GUARDED_BY(m_lock);
    gpointer m_window ZRN_GUARDED_BY(m_lock);
    /// What getModuleTree gives out.
    std::list<RootItem> m_tree;
};
