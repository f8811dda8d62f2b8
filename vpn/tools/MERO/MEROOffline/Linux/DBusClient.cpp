#include "DBusClient.h"

#include "HandlerGuard.h"
#include "MEROStatusInfo.h"

#include <algorithm>
#include <array>
#include <gio/gio.h>
#include <span>

namespace {

constexpr const char* kHelperName = "com.varnel.corvane.mero.helper";
constexpr const char* kHelperPath = "/com/varnel/corvane/mero/helper";

/// Where progress goes. GTK main thread only.
CMEROClientIfc* g_receiver = nullptr;

/// Kept when the clients go, so that the helper sees one caller however many jobs there are. GTK main thread
/// only.
GObjectHandle<GDBusConnection> g_connection;

/// @return the connection of all clients, which is replaced once it has been closed, as by a restart of the
/// bus; null with the error set if there is no bus.
GDBusConnection* connectToBus(GError** errorOut) {
    if (g_connection != nullptr && g_dbus_connection_is_closed(g_connection.get()) != FALSE) {
        g_connection.reset();
    }
    if (g_connection == nullptr) {
        g_connection = adoptRef(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, errorOut));
    }
    return g_connection.get();
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

CDBusClient::CDBusClient(CMEROClientIfc* client)
    : m_pLogClient(std::make_unique<CLogClient>(nullptr, "zrn_meroui")) {
    GError* error = nullptr;
    GDBusConnection* const connection = connectToBus(&error);
    if (connection == nullptr) {
        const ErrorHandle reason(error);
        ZRN_LOG('E', "Failed to connect to DBus. %s", reason->message);
        return;
    }
    // The end of the bus must not be the end of a job that runs in this process.
    g_dbus_connection_set_exit_on_close(connection, FALSE);
    m_pProxy = adoptRef(mero_helper_proxy_new_sync(connection, G_DBUS_PROXY_FLAGS_NONE, kHelperName,
                                                   kHelperPath, nullptr, &error));
    if (m_pProxy == nullptr) {
        const ErrorHandle reason(error);
        ZRN_LOG('E', "Failed to create proxy. %s", reason->message);
        return;
    }
    g_signal_connect(m_pProxy.get(), "update-progress", G_CALLBACK(&onUpdateProgress), nullptr);
    g_receiver = client;
}

CDBusClient::~CDBusClient() {
    if (m_pProxy != nullptr) {
        // Somebody else may hold the proxy for a moment longer.
        g_signal_handlers_disconnect_by_func(m_pProxy.get(), reinterpret_cast<gpointer>(&onUpdateProgress),
                                             nullptr);
    }
}

void CDBusClient::onUpdateProgress(MeroHelper* /*proxy*/, gint64 status, guint progress, const gchar* message,
                                   gpointer /*data*/) {
    runHandler(__func__, [&] {
        static MEROStatusInfo info;
        info.m_progress = progress;
        info.m_message = message;
        g_receiver->updateStatus(&info, static_cast<uint64_t>(status));
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
        GError* error = nullptr;
        if (mero_helper_call_start_mero_sync(m_pProxy.get(), dictionary.get(), &taken, nullptr, &error) ==
            FALSE) {
            const ErrorHandle reason(error);
            ZRN_LOG('E', "Failed to invoke remote function. %s", reason->message);
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
    GError* error = nullptr;
    if (mero_helper_call_exit_sync(m_pProxy.get(), delaySeconds, nullptr, &error) == FALSE) {
        const ErrorHandle reason(error);
        ZRN_LOG('E', "Failed to invoke remote function. %s", reason->message);
        return false;
    }
    return true;
}
