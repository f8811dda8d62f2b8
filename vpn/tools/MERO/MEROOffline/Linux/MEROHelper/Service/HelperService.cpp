#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/HelperService.h"

#include "Common/Utility/log/Log.h"
#include "tools/MERO/MEROOffline/Linux/Glib/ErrorOut.h"
#include "tools/MERO/MEROOffline/Linux/Glib/HandlerGuard.h"
#include "tools/MERO/MEROOffline/Linux/Glib/HelperBus.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <string_view>
#include <utility>

namespace {

/// Of org.freedesktop.DBus.RequestName: no queue, so that we are told at once; and its one good answer.
constexpr guint32 kDoNotQueue = 4;
constexpr guint32 kPrimaryOwner = 1;

/// One entry more than is allowed is enough to see that there are too many, and one byte more that a value is
/// too long.
std::vector<JobEntry> entriesOf(GVariant* dictionary) {
    const std::size_t count = std::min<std::size_t>(g_variant_n_children(dictionary), kMostJobEntries + 1);
    std::vector<JobEntry> entries;
    entries.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        const char* key = nullptr;
        const char* value = nullptr;
        const VariantHandle entry(g_variant_get_child_value(dictionary, i));
        g_variant_get(entry.get(), "{&s&s}", &key, &value);
        entries.push_back(
            {key, WipedString(std::string_view(value, ::strnlen(value, kLongestJobValue + 1)))});
    }
    return entries;
}

/// @return the reply of the bus itself, null and logged for an error.
VariantHandle callBus(GDBusConnection* connection, const char* method, GVariant* arguments) {
    ErrorHandle error;
    VariantHandle reply(g_dbus_connection_call_sync(
        connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method,
        arguments, G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE, -1, nullptr, ErrorOut(error)));
    if (reply == nullptr) {
        ZRN_LOG('E', "The bus refuses %s. %s", method, error->message);
    }
    return reply;
}

} // namespace

HelperService::HelperService(Environment environment)
    : m_environment(std::move(environment)), m_helper(adoptRef(mero_helper_skeleton_new())),
      m_connection(m_environment.connection.get()), m_cancellable(adoptRef(g_cancellable_new())) {
    g_signal_connect(m_helper.get(), "handle-start-mero", G_CALLBACK(&onStartMERO), this);
    g_signal_connect(m_helper.get(), "handle-exit", G_CALLBACK(&onExit), this);
    g_signal_connect(m_connection, "closed", G_CALLBACK(&onBusClosed), this);
}

HelperService::~HelperService() {
    g_cancellable_cancel(m_cancellable.get());
    g_dbus_interface_skeleton_unexport(G_DBUS_INTERFACE_SKELETON(m_helper.get()));
    g_signal_handlers_disconnect_by_data(m_helper.get(), this);
    g_signal_handlers_disconnect_by_data(m_connection, this);
}

bool HelperService::start() {
    ErrorHandle error;
    if (g_dbus_interface_skeleton_export(G_DBUS_INTERFACE_SKELETON(m_helper.get()), m_connection, kHelperPath,
                                         ErrorOut(error)) == FALSE) {
        ZRN_LOG('E', "The interface can't be served. %s", error->message);
        return false;
    }
    if (!requestName()) {
        return false;
    }
    becomeIdle();
    return true;
}

bool HelperService::requestName() const {
    const VariantHandle reply =
        callBus(m_connection, "RequestName", g_variant_new("(su)", kHelperName, kDoNotQueue));
    guint32 answer = 0;
    if (reply != nullptr) {
        g_variant_get(reply.get(), "(u)", &answer);
    }
    if (answer != kPrimaryOwner) {
        ZRN_LOG('E', "The name on the bus can't be had, answer %u", answer);
    }
    return answer == kPrimaryOwner;
}

void HelperService::releaseName() const {
    // A failure is logged; the end of the connection gives the name back in any case.
    static_cast<void>(callBus(m_connection, "ReleaseName", g_variant_new("(s)", kHelperName)));
}

gboolean HelperService::onStartMERO(MeroHelper* /*helper*/, GDBusMethodInvocation* invocation,
                                    GVariant* arguments, gpointer service) {
    OwedAnswer answer(invocation);
    runHandler(__func__, [&] {
        auto& self = *static_cast<HelperService*>(service);
        if (self.isBusy() || self.m_shuttingDown) {
            ZRN_LOG('W', "The call of %s is refused: the helper is busy", answer.getCaller());
        } else {
            self.takeCall(std::move(answer), entriesOf(arguments));
        }
    });
    return TRUE;
}

void HelperService::takeCall(OwedAnswer answer, std::vector<JobEntry> entries) {
    m_idle.stop();
    m_exit.stop();
    m_callerGone = false;
    m_caller = std::make_unique<BusCaller>(BusCaller{m_connection, answer.getCaller()});
    m_callerWatch = std::make_unique<CallerWatch>(*m_caller, [this] { onCallerGone(); });
    const auto owed = std::make_shared<OwedAnswer>(std::move(answer));
    m_call =
        std::make_shared<StartCall>(*m_caller, m_environment.settings,
                                    StartCall::Handlers{.answer =
                                                            [this, owed](std::optional<AcceptedJob> job) {
                                                                owed->give(job && startJob(*std::move(job)));
                                                            },
                                                        .done = [this] { onCallDone(); }});
    m_call->begin(std::move(entries));
}

void HelperService::onCallerGone() {
    m_callerGone = true;
    if (m_call) {
        m_call->refuse("the caller has gone");
    } else if (m_job) {
        m_job->abort("the caller has gone");
    }
}

bool HelperService::startJob(AcceptedJob job) {
    ZRN_LOG('I', "Job of user %u, bundle \"%s\"", job.caller.user,
            shortForLog(job.arguments.bundlePath).c_str());
    m_job = std::make_unique<RunningJob>(
        std::move(job),
        RunningJob::Handlers{.step = [this](const ProgressRecord& record) { tell(record); },
                             .end = [this](const ProgressRecord& outcome) { onJobEnd(outcome); }});
    if (!m_job->start(m_environment.lock, m_environment.settings)) {
        m_job.reset();
    }
    return m_job != nullptr;
}

void HelperService::onCallDone() {
    m_call.reset();
    if (!m_job) {
        becomeIdle();
    } else if (m_callerGone) {
        m_job->abort("the caller has gone");
    }
}

void HelperService::tell(const ProgressRecord& record) const {
    if (m_callerGone) {
        return;
    }
    // To the caller alone: what is collected is nobody else's business.
    const TextHandle text(
        g_utf8_make_valid(record.message.c_str(), static_cast<gssize>(record.message.size())));
    ErrorHandle error;
    if (g_dbus_connection_emit_signal(
            m_connection, m_caller->name.c_str(), kHelperPath, kHelperName, "UpdateProgress",
            g_variant_new("(xus)", static_cast<gint64>(record.status), record.progress, text.get()),
            ErrorOut(error)) == FALSE) {
        ZRN_LOG('W', "Progress can't be sent. %s", error->message);
    }
}

void HelperService::onJobEnd(const ProgressRecord& outcome) {
    ZRN_LOG(outcome.status == 0 ? 'I' : 'E', "The job has ended with 0x%08X", outcome.status);
    tell(outcome);
    m_job.reset();
    becomeIdle();
}

void HelperService::becomeIdle() {
    m_callerWatch.reset();
    m_caller.reset();
    if (m_shuttingDown) {
        leave();
    } else {
        m_idle.start(m_environment.settings.idleLimit, [this] { leaveIfIdle(); });
    }
}

gboolean HelperService::onExit(MeroHelper* helper, GDBusMethodInvocation* invocation, guint delaySeconds,
                               gpointer service) {
    runHandler(__func__, [&] {
        static_cast<HelperService*>(service)->considerExit(g_dbus_method_invocation_get_sender(invocation),
                                                           std::chrono::seconds(delaySeconds));
    });
    mero_helper_complete_exit(helper, invocation);
    return TRUE;
}

void HelperService::considerExit(const std::string& sender, std::chrono::seconds delay) {
    if (!isBusy() || sender == m_caller->name) {
        exitLater(delay);
        return;
    }
    askUserOf({m_connection, sender}, m_cancellable.get(), [this, sender, delay](std::optional<uid_t> user) {
        if (user && *user == 0) {
            exitLater(delay);
        } else {
            ZRN_LOG('W', "Exit of %s is ignored: the job is somebody else's", sender.c_str());
        }
    });
}

void HelperService::exitLater(std::chrono::seconds delay) {
    m_exit.start(delay, [this] {
        if (isBusy()) {
            shutDown("its caller or root has asked the helper to end");
        } else {
            leaveIfIdle();
        }
    });
}

void HelperService::leaveIfIdle() {
    releaseName();
    // Calls that have come in before the name was gone are on their way through the main loop and must not be
    // lost; behind these, the bus starts a new helper.
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
    }
    if (!isBusy()) {
        leave();
    } else if (!requestName()) {
        // The caller that is served is told by its own name; nobody else finds us any more.
        m_shuttingDown = true;
    }
}

void HelperService::shutDown(const char* reason) {
    m_shuttingDown = true;
    m_idle.stop();
    m_exit.stop();
    if (m_call) {
        m_call->refuse(reason);
    } else if (m_job) {
        m_job->abort(reason);
    } else {
        leave();
    }
}

void HelperService::leave() {
    m_shuttingDown = true;
    if (const auto ended = std::exchange(m_environment.ended, nullptr)) {
        ended();
    }
}

void HelperService::onBusClosed(GDBusConnection* /*connection*/, gboolean /*vanished*/, GError* /*error*/,
                                gpointer service) {
    runHandler(__func__, [&] { static_cast<HelperService*>(service)->shutDown("the bus has gone"); });
}
