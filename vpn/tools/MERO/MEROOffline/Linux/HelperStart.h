#pragma once

#include "Common/Utility/memory/WipedString.h"
#include "Common/Utility/threads/Thread.h"
#include "tools/MERO/MEROOffline/Linux/DBusClient.h"
#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"
#include "tools/MERO/MEROOffline/Linux/WindowRelay.h"

#include <atomic>
#include <functional>
#include <gio/gio.h>
#include <memory>
#include <string>

/// Asks the helper for a job on a thread of its own: the bus, the helper's start and whoever has to agree to
/// the job may take their time, and the window has to go on meanwhile.
class HelperStart final : public Runnable {
public:
    struct Job {
        /// Empty for a typical bundle.
        std::string requestPath;
        std::string bundlePath;
        WipedString password;
        /// False if the helper must not get the request; it counts as having refused then.
        bool isForTheHelper = true;
    };

    /// @param relay     gets the job's progress once the helper has taken it; kept as long as this object.
    /// @param answered  called on the run's thread, once, when the answer is there.
    HelperStart(std::shared_ptr<WindowRelay> relay, Job job, std::function<void()> answered);

    /// Asks, and returns with the answer, or soon after it was given up.
    void run() override;
    /// Gives the question up. A job that the helper has taken by then ends with this process's connection.
    /// Any thread.
    void giveUp();

    /// Whether there is an answer. Any thread; all below is for who has seen it.
    [[nodiscard]] bool isAnswered() const { return m_isAnswered; }
    /// Whether the helper has taken the job.
    [[nodiscard]] bool isTaken() const { return m_isTaken; }
    /// The link through which it was asked, to be kept while the job runs.
    [[nodiscard]] std::unique_ptr<CDBusClient> takeClient() { return std::move(m_client); }
    [[nodiscard]] const std::string& requestPath() const { return m_job.requestPath; }

private:
    /// Before the client, which reports to it.
    std::shared_ptr<WindowRelay> m_relay;
    Job m_job;
    std::function<void()> m_answered;
    GObjectHandle<GCancellable> m_cancellable;
    std::unique_ptr<CDBusClient> m_client;
    bool m_isTaken = false;
    std::atomic<bool> m_isAnswered{false};
};
