#pragma once

#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"

#include <functional>
#include <gio/gio.h>
#include <optional>
#include <string>
#include <sys/types.h>

/// Who calls, by the bus's own word. Main thread.

/// The bus's name for a connection, and the connection through which we know it.
struct BusCaller {
    /// Not owned; must stay.
    GDBusConnection* connection = nullptr;
    /// Unique name, never given to another connection.
    std::string name;
};

/// Asks the bus for the user of a caller.
/// @param answer  called once from the main loop, unless the question is cancelled; nothing, logged, if the
///                caller has left or the bus does not tell.
void askUserOf(const BusCaller& caller, GCancellable* cancellable,
               std::function<void(std::optional<uid_t>)> answer);

/// Watches for the end of a caller. Its own end ends the watch.
class CallerWatch {
public:
    /// @param gone  called once from the main loop when the caller has left the bus, also if it had left
    ///              before. It may end this object.
    CallerWatch(const BusCaller& caller, std::function<void()> gone);
    ~CallerWatch();
    CallerWatch(const CallerWatch&) = delete;
    CallerWatch& operator=(const CallerWatch&) = delete;

private:
    static void onVanished(GDBusConnection* connection, const gchar* name, gpointer watch);

    std::function<void()> m_gone;
    guint m_watch;
};
