#pragma once

#include "CMEROClientIfc.h"

#include <cstdint>
#include <mutex>

/// Passes the reports of background jobs on to the window for as long as there is one. Jobs can't be stopped
/// and may outlive the window, so what they hold is the relay, which lives as long as any of them.
class StatusRelay final : public CMEROClientIfc {
public:
    /// @param receiver  not owned; must stay until detach has returned.
    explicit StatusRelay(CMEROClientIfc* receiver) : m_receiver(receiver) {}

    /// Any thread. The receiver is called under the relay's lock: it must not block, report or detach.
    void updateStatus(const MEROStatusInfo* info, uint64_t status) override {
        const std::lock_guard guard(m_lock);
        if (m_receiver != nullptr) {
            m_receiver->updateStatus(info, status);
        }
    }

    /// Drops all later reports. When it returns no report is under way in the receiver.
    void detach() {
        const std::lock_guard guard(m_lock);
        m_receiver = nullptr;
    }

private:
    std::mutex m_lock;
    /// Guarded by m_lock.
    CMEROClientIfc* m_receiver;
};
