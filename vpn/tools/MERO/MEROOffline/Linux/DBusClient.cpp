#include "tools/MERO/MEROOffline/Linux/DBusClient.h"

#include "Common/Utility/threads/Mutex.h"
#include "tools/MERO/MEROEngine/implementations/MEROStatusInfo.h"
#include "tools/MERO/MEROOffline/Linux/Glib/ErrorOut.h"
#include "tools/MERO/MEROOffline/Linux/Glib/HandlerGuard.h"
#include "tools/MERO/MEROOffline/Linux/Glib/HelperBus.h"

#include <algorithm>
#include <array>
#include <gio/gio.h>
#include <span>

namespace {

constexpr const char* kInvokeFailed = "Failed to invoke remote function.";

/// A report is handed on under it, so that none is under way once the
/// last client has gone.
Mutex g_receiverLock;
/// Where progress goes; null while there is no client with a proxy.
CMEROClientIfc* g_receiver ZRN_GUARDED_BY(g_receiverLock) = nullptr;
/// Clients with a proxy.
int g_clients ZRN_GUARDED_BY(g_receiverLock) = 0;

Mutex g_connectionLock;
/// Kept when the clients go, so that the helper sees one caller however many jobs there are.
GObjectHandle<GDBusConnection> g_connection ZRN_GUARDED_BY(g_connectionLock);

/// @return the connection of all clients, which is replaced once it has been closed, as by a restart of the
/// bus; null with the error set if there is no bus.
GObjectHandle<GDBusConnection> connectToBus(GCancellable* cancellable, GError** errorOut) {
    const LockGuard guard(g_connectionLock);
    if (g_connection != nullptr && g_dbus_connection_is_closed(g_connection.get()) != FALSE) {
        g_connection.reset();
    }
    if (g_connection == nullptr) {
        g_connection = adoptRef(g_bus_get_sync(G_BUS_TYPE_SYSTEM, cancellable, errorOut));
    }
    return shareRef(g_connection.get());
}

/// Logs why a call has failed, unless it was given up.
/// @param what  the beginning of the line.
void logFailure(const char* function, uint32_t line, const char* what, const ErrorHandle& reason) {
    if (g_error_matches(reason.get(), G_IO_ERROR, G_IO_ERROR_CANCELLED) == FALSE) {
        logMessage(function, __FILE__, line, 'E', "%s %s", what, reason->message);
    }
}

struct Argument {
    const char* key;
    const char* value;
};

/// Whether the bus can carry them all.
bool areText(std::span<const Argument> arguments) {
    return std::all_of(arguments.begin(), arguments.end(), [](const Argument& argument) {
        return argument.value == nullptr || g_utf8_validate(argument.value, -1, nullptr) != FALSE;
    });
}

VariantHandle dictionaryOf(std::span<const Argument> arguments) {
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("a{ss}"));
    for (const Argument& argument : arguments) {
        if (argument.value != nullptr) {
            g_variant_builder_add(&builder, "{ss}", argument.key, argument.value);
        }
    }
    return VariantHandle(g_variant_ref_sink(g_variant_builder_end(&builder)));
}

} // namespace

CDBusClient::CDBusClient(CMEROClientIfc* client, GCancellable* cancellable,
                         std::chrono::milliseconds callLimit)
    : m_cancellable(shareRef(cancellable)),
      m_pLogClient(std::make_unique<CLogClient>(nullptr, "zrn_meroui")) {
    ErrorHandle error;
    const GObjectHandle<GDBusConnection> connection = connectToBus(cancellable, ErrorOut(error));
    if (connection == nullptr) {
        logFailure(__func__, __LINE__, "Failed to connect to DBus.", error);
        return;
    }
    // The end of the bus must not be the end of a job that runs in this process.
    g_dbus_connection_set_exit_on_close(connection.get(), FALSE);
    m_pProxy = adoptRef(mero_helper_proxy_new_sync(connection.get(), G_DBUS_PROXY_FLAGS_NONE, kHelperName,
                                                   kHelperPath, cancellable, ErrorOut(error)));
    if (m_pProxy == nullptr) {
        logFailure(__func__, __LINE__, "Failed to create proxy.", error);
        return;
    }
    g_dbus_proxy_set_default_timeout(G_DBUS_PROXY(m_pProxy.get()), static_cast<gint>(callLimit.count()));
    const LockGuard guard(g_receiverLock);
    g_signal_connect(m_pProxy.get(), "update-progress", G_CALLBACK(&onUpdateProgress), nullptr);
    g_receiver = client;
    ++g_clients;
}

CDBusClient::~CDBusClient() {
    if (m_pProxy != nullptr) {
        // Somebody else may hold the proxy for a moment longer.
        g_signal_handlers_disconnect_by_func(m_pProxy.get(), reinterpret_cast<gpointer>(&onUpdateProgress),
                                             nullptr);
        const LockGuard guard(g_receiverLock);
        if (--g_clients == 0) {
            g_receiver = nullptr;
        }
    }
}

void CDBusClient::onUpdateProgress(MeroHelper* /*proxy*/, gint64 status, guint progress, const gchar* message,
                                   gpointer /*data*/) {
    runHandler(__func__, [&] {
        static MEROStatusInfo info;
        info.m_progress = progress;
        info.m_message = message;
        const LockGuard guard(g_receiverLock);
        if (g_receiver != nullptr) {
            g_receiver->updateStatus(&info, static_cast<uint64_t>(status));
        }
    });
}

bool CDBusClient::RequestHelperStartMERO(const char* requestPath, const char* configDir,
                                         const char* bundlePath, const char* password) {
    const std::array<Argument, 4> arguments{{{"MERORequestDir", requestPath},
                                             {"MEROConfigDir", configDir},
                                             {"MEROBundlePath", bundlePath},
                                             {"MEROBundlePassword", password}}};
    gboolean taken = FALSE;
    if (m_pProxy != nullptr && areText(arguments)) {
        const VariantHandle dictionary = dictionaryOf(arguments);
        ErrorHandle error;
        if (mero_helper_call_start_mero_sync(m_pProxy.get(), dictionary.get(), &taken, m_cancellable.get(),
                                             ErrorOut(error)) == FALSE) {
            logFailure(__func__, __LINE__, kInvokeFailed, error);
            return false;
        }
    }
    if (taken == FALSE) {
        ZRN_LOG('W', "Remote function returned with error. Please check MERO helper logs for more details.");
        return false;
    }
    return true;
}

bool CDBusClient::RequestHelperExit(uint32_t delaySeconds) {
    if (m_pProxy == nullptr) {
        return false;
    }
    ErrorHandle error;
    if (mero_helper_call_exit_sync(m_pProxy.get(), delaySeconds, nullptr, ErrorOut(error)) == FALSE) {
        logFailure(__func__, __LINE__, kInvokeFailed, error);
        return false;
    }
    return true;
}
