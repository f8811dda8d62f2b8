#pragma once

#include "Common/Utility/log/Log.h"
#include "DBusIfc.h"
#include "tools/MERO/MEROEngine/implementations/CMEROClientIfc.h"
#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"

#include <chrono>
#include <cstdint>
#include <memory>

/// For the helper's answer to a call: what GDBus waits where it is told nothing else, and more than the
/// helper waits for whoever has to agree.
inline constexpr std::chrono::milliseconds kHelperCallLimit{25000};

/// The wizard's side of the link to the privileged helper on the system bus: starts a job there, turns its
/// progress into status calls, and asks it to end. The calls, and the making of a client, block their thread
/// until the bus or the helper has answered, for at most kHelperCallLimit each. One thread at a time;
/// progress comes on the GTK main thread, whichever thread has made the client.
class CDBusClient {
public:
    /// Connects to the bus, to which all clients share one connection, kept to the end of the process.
    /// Without a bus or a proxy, which is logged, every request fails.
    /// @param client  gets the progress of jobs from now on, until another client takes its place; not owned,
    /// must stay until the last client has gone.
    /// @param cancellable  ends the making and the start of a job early, without a log line, when it is
    /// cancelled; null if nothing does.
    /// @param callLimit  for the helper's answer to each call.
    explicit CDBusClient(CMEROClientIfc* client, GCancellable* cancellable = nullptr,
                         std::chrono::milliseconds callLimit = kHelperCallLimit);
    virtual ~CDBusClient();
    CDBusClient(const CDBusClient&) = delete;
    CDBusClient& operator=(const CDBusClient&) = delete;

    /// Asks the helper for a job. The bus starts the helper if it does not run.
    /// An argument that is null is left out of the request; empty ones are sent.
    /// @return true if the helper has taken the job: progress and result come as signals then. False, logged,
    /// if it can't be reached or has refused, or if an argument is no UTF-8, which the bus can't carry.
    [[nodiscard]] bool RequestHelperStartMERO(const char* requestPath, const char* configDir,
                                              const char* bundlePath, const char* password);
    /// Asks the helper to end after so many seconds. @return whether it has answered; a failure is logged.
    [[nodiscard]] bool RequestHelperExit(uint32_t delaySeconds);

private:
    /// The proxy's "update-progress".
    static void onUpdateProgress(MeroHelper* proxy, gint64 status, guint progress, const gchar* message,
                                 gpointer data);

    /// Null if nothing can cancel.
    GObjectHandle<GCancellable> m_cancellable;
    /// Null if the bus could not be reached.
    GObjectHandle<MeroHelper> m_pProxy;
    std::unique_ptr<CLogClient> m_pLogClient;
};
