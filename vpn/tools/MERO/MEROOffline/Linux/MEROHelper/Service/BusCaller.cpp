#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/BusCaller.h"

#include "Common/Utility/log/Log.h"
#include "tools/MERO/MEROOffline/Linux/Glib/ErrorOut.h"
#include "tools/MERO/MEROOffline/Linux/Glib/HandlerGuard.h"

#include <memory>
#include <utility>

namespace {

using Answer = std::function<void(std::optional<uid_t>)>;

constexpr int kAnswerLimitMs = 10000;

void onUserAnswer(GObject* connection, GAsyncResult* result, gpointer data) {
    const std::unique_ptr<Answer> answer(static_cast<Answer*>(data));
    ErrorHandle error;
    const VariantHandle reply(g_dbus_connection_call_finish(reinterpret_cast<GDBusConnection*>(connection),
                                                            result, ErrorOut(error)));
    if (reply == nullptr && g_error_matches(error.get(), G_IO_ERROR, G_IO_ERROR_CANCELLED) != FALSE) {
        return;
    }
    std::optional<uid_t> user;
    if (reply != nullptr) {
        guint32 number = 0;
        g_variant_get(reply.get(), "(u)", &number);
        user = number;
    } else {
        ZRN_LOG('W', "The bus does not tell a caller's user. %s", error->message);
    }
    runHandler(__func__, [&] { (*answer)(user); });
}

} // namespace

void askUserOf(const BusCaller& caller, GCancellable* cancellable, Answer answer) {
    auto owned = std::make_unique<Answer>(std::move(answer));
    g_dbus_connection_call(
        caller.connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "GetConnectionUnixUser", g_variant_new("(s)", caller.name.c_str()), G_VARIANT_TYPE("(u)"),
        G_DBUS_CALL_FLAGS_NONE, kAnswerLimitMs, cancellable, &onUserAnswer, owned.release());
}

CallerWatch::CallerWatch(const BusCaller& caller, std::function<void()> gone)
    : m_gone(std::move(gone)), m_watch(g_bus_watch_name_on_connection(caller.connection, caller.name.c_str(),
                                                                      G_BUS_NAME_WATCHER_FLAGS_NONE, nullptr,
                                                                      &onVanished, this, nullptr)) {}

CallerWatch::~CallerWatch() {
    g_bus_unwatch_name(m_watch);
}

void CallerWatch::onVanished(GDBusConnection* /*connection*/, const gchar* /*name*/, gpointer watch) {
    // The call may end this object; a unique name does not come back to vanish again.
    runHandler(__func__, std::exchange(static_cast<CallerWatch*>(watch)->m_gone, [] {}));
}
