#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/BusCaller.h"

#include "tests/bus/PrivateBus.h"
#include "tests/support/Sandbox.h"

#include <array>
#include <gio/gio.h>
#include <gtest/gtest.h>
#include <optional>

namespace {

/// In how many milliseconds the main loop will do something by itself; -1 if it won't.
int nextStepMs() {
    GMainContext* const context = g_main_context_default();
    while (g_main_context_iteration(context, FALSE) != FALSE) {
    }
    EXPECT_NE(g_main_context_acquire(context), FALSE);
    int priority = 0;
    static_cast<void>(g_main_context_prepare(context, &priority));
    int timeoutMs = 0;
    std::array<GPollFD, 16> watched{};
    static_cast<void>(g_main_context_query(context, G_MAXINT, &timeoutMs, watched.data(), watched.size()));
    static_cast<void>(g_main_context_check(context, G_MAXINT, watched.data(), 0));
    g_main_context_release(context);
    return timeoutMs;
}

class AskedUser : public Sandbox {};

/// The call has an answer within the 25 seconds for which the wizard waits.
TEST_F(AskedUser, IsWaitedForNoLongerThanACallerWaits) {
    PrivateBus bus(path());
    GError* error = nullptr;
    const auto connection = adoptRef(g_dbus_connection_new_for_address_sync(
        bus.address().c_str(),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, &error));
    ASSERT_NE(connection, nullptr) << error->message;
    g_dbus_connection_set_exit_on_close(connection.get(), FALSE);
    bus.pause();
    ASSERT_EQ(nextStepMs(), -1);
    const auto cancellable = adoptRef(g_cancellable_new());
    bool answered = false;
    askUserOf({connection.get(), g_dbus_connection_get_unique_name(connection.get())}, cancellable.get(),
              [&answered](std::optional<uid_t>) { answered = true; });
    const int waitMs = nextStepMs();
    EXPECT_GT(waitMs, 1000);
    EXPECT_LT(waitMs, 20000);
    g_cancellable_cancel(cancellable.get());
    nextStepMs();
    EXPECT_FALSE(answered);
}

} // namespace
