#pragma once

#include "DBusIfc.h"
#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/BusCaller.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/OwedAnswer.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/RunningJob.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/ServiceSettings.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/StartCall.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/Timer.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// The helper on the bus: one job at a time for whoever may have one, and the helper's own end. Main thread.
class HelperService {
public:
    struct Environment {
        /// The system bus.
        GObjectHandle<GDBusConnection> connection;
        /// Descriptor of the lock of the one running helper, the caller's; -1 where there is none.
        int lock = -1;
        ServiceSettings settings;
        /// Called once when the service has ended and the main loop may.
        std::function<void()> ended;
    };

    explicit HelperService(Environment environment);
    ~HelperService();
    HelperService(const HelperService&) = delete;
    HelperService& operator=(const HelperService&) = delete;

    /// Serves the interface and takes the name.
    /// @return false, logged, if either can't be had.
    [[nodiscard]] bool start();
    /// Ends the service for good: what is under way is ended, its caller told and its leavings removed,
    /// before `ended` is called.
    void shutDown(const char* reason);

private:
    // The interface's methods.
    static gboolean onStartMERO(MeroHelper* helper, GDBusMethodInvocation* invocation, GVariant* arguments,
                                gpointer service);
    static gboolean onExit(MeroHelper* helper, GDBusMethodInvocation* invocation, guint delaySeconds,
                           gpointer service);
    static void onBusClosed(GDBusConnection* connection, gboolean vanished, GError* error, gpointer service);

    // One call or job at a time; m_caller is who has it.
    [[nodiscard]] bool isBusy() const { return m_caller != nullptr; }
    void takeCall(OwedAnswer answer, std::vector<JobEntry> entries);
    void onCallerGone();
    [[nodiscard]] bool startJob(AcceptedJob job);
    void onCallDone();
    void tell(const ProgressRecord& record) const;
    void onJobEnd(const ProgressRecord& outcome);
    void becomeIdle();

    // The helper's own end.
    void considerExit(const std::string& sender, std::chrono::seconds delay);
    void exitLater(std::chrono::seconds delay);
    void leaveIfIdle();
    void leave();
    [[nodiscard]] bool requestName() const;
    void releaseName() const;

    Environment m_environment;
    GObjectHandle<MeroHelper> m_helper;
    /// The environment's.
    GDBusConnection* m_connection;
    /// Whose call or job it is; null while there is none. And whether that caller has left.
    std::unique_ptr<BusCaller> m_caller;
    std::unique_ptr<CallerWatch> m_callerWatch;
    bool m_callerGone = false;
    std::shared_ptr<StartCall> m_call;
    std::unique_ptr<RunningJob> m_job;
    Timer m_idle;
    Timer m_exit;
    GObjectHandle<GCancellable> m_cancellable;
    bool m_shuttingDown = false;
};
