#include "tests/bus/StandInHelper.h"

#include <gtest/gtest.h>

namespace {

constexpr const char* kName = "com.varnel.corvane.mero.helper";
constexpr const char* kPath = "/com/varnel/corvane/mero/helper";

StandInHelper::Dictionary entriesOf(GVariant* arguments) {
    StandInHelper::Dictionary entries;
    GVariantIter iterator;
    g_variant_iter_init(&iterator, arguments);
    const char* key = nullptr;
    const char* value = nullptr;
    while (g_variant_iter_next(&iterator, "{&s&s}", &key, &value) != FALSE) {
        entries.emplace_back(key, value);
    }
    return entries;
}

bool ownName(GDBusConnection* connection) {
    const std::unique_ptr<GVariant, Releaser<&g_variant_unref>> reply(g_dbus_connection_call_sync(
        connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
        g_variant_new("(su)", kName, 4U), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
    guint32 owner = 0;
    if (reply != nullptr) {
        g_variant_get(reply.get(), "(u)", &owner);
    }
    return owner == 1;
}

} // namespace

StandInHelper::StandInHelper(const std::string& address, Answer answer)
    : m_context(g_main_context_new()), m_loop(g_main_loop_new(m_context.get(), FALSE)), m_answer(answer),
      m_thread([this, address] { serve(address); }) {
    std::unique_lock lock(m_lock);
    m_changed.wait(lock, [this] { return m_ready; });
}

StandInHelper::~StandInHelper() {
    die();
    g_main_loop_quit(m_loop.get());
    m_thread.join();
}

void StandInHelper::serve(const std::string& address) {
    g_main_context_push_thread_default(m_context.get());
    const bool served = exportOn(address);
    EXPECT_TRUE(served) << "no helper on " << address;
    // In the first round of the loop, so that its end can't be asked for before its start.
    const std::unique_ptr<GSource, Releaser<&g_source_unref>> ready(g_idle_source_new());
    g_source_set_callback(ready.get(), &onReady, this, nullptr);
    g_source_attach(ready.get(), m_context.get());
    g_main_loop_run(m_loop.get());

    if (m_connection != nullptr) {
        g_signal_handlers_disconnect_by_data(m_connection.get(), this);
    }
    g_signal_handlers_disconnect_by_data(m_skeleton.get(), this);
    g_dbus_interface_skeleton_unexport(G_DBUS_INTERFACE_SKELETON(m_skeleton.get()));
    m_open.clear();
    m_skeleton.reset();
    m_connection.reset();
    while (g_main_context_iteration(m_context.get(), FALSE) != FALSE) {
    }
    g_main_context_pop_thread_default(m_context.get());
}

gboolean StandInHelper::onReady(gpointer self) {
    auto& helper = *static_cast<StandInHelper*>(self);
    const std::lock_guard guard(helper.m_lock);
    helper.m_ready = true;
    helper.m_changed.notify_all();
    return G_SOURCE_REMOVE;
}

bool StandInHelper::exportOn(const std::string& address) {
    m_skeleton = adoptRef(mero_helper_skeleton_new());
    m_connection = adoptRef(g_dbus_connection_new_for_address_sync(
        address.c_str(),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, nullptr));
    if (m_connection == nullptr) {
        return false;
    }
    g_signal_connect(m_connection.get(), "closed", G_CALLBACK(&onClosed), this);
    if (m_answer != Answer::NoHandler) {
        connectHandlers();
    }
    return g_dbus_interface_skeleton_export(G_DBUS_INTERFACE_SKELETON(m_skeleton.get()), m_connection.get(),
                                            kPath, nullptr) != FALSE &&
           ownName(m_connection.get());
}

void StandInHelper::connectHandlers() {
    g_signal_connect(m_skeleton.get(), "handle-start-mero", G_CALLBACK(&onStart), this);
    g_signal_connect(m_skeleton.get(), "handle-exit", G_CALLBACK(&onExit), this);
}

gboolean StandInHelper::onStart(MeroHelper* /*skeleton*/, GDBusMethodInvocation* invocation,
                                GVariant* arguments, gpointer self) {
    static_cast<StandInHelper*>(self)->answerStart(invocation, arguments);
    return TRUE;
}

void StandInHelper::answerStart(GDBusMethodInvocation* invocation, GVariant* arguments) {
    const std::lock_guard guard(m_lock);
    m_starts.push_back(entriesOf(arguments));
    m_callers.emplace_back(g_dbus_method_invocation_get_sender(invocation));
    for (const Report& early : m_pending) {
        report(early.status, early.progress, early.message);
    }
    m_pending.clear();
    switch (m_answer) {
    case Answer::Taken:
    case Answer::Refused:
        mero_helper_complete_start_mero(m_skeleton.get(), invocation,
                                        m_answer == Answer::Taken ? TRUE : FALSE);
        break;
    case Answer::Error:
        g_dbus_method_invocation_return_error_literal(invocation, G_DBUS_ERROR, G_DBUS_ERROR_ACCESS_DENIED,
                                                      "Not for you");
        break;
    case Answer::Death:
        static_cast<void>(g_dbus_connection_close_sync(m_connection.get(), nullptr, nullptr));
        [[fallthrough]];
    case Answer::None:
    case Answer::NoHandler:
        m_open.push_back(adoptRef(invocation));
        break;
    }
}

gboolean StandInHelper::onExit(MeroHelper* skeleton, GDBusMethodInvocation* invocation, guint delaySeconds,
                               gpointer self) {
    auto& helper = *static_cast<StandInHelper*>(self);
    const std::lock_guard guard(helper.m_lock);
    helper.m_exits.push_back(delaySeconds);
    mero_helper_complete_exit(skeleton, invocation);
    helper.m_changed.notify_all();
    return TRUE;
}

void StandInHelper::onClosed(GDBusConnection* /*connection*/, gboolean /*vanished*/, GError* /*error*/,
                             gpointer self) {
    auto& helper = *static_cast<StandInHelper*>(self);
    const std::lock_guard guard(helper.m_lock);
    helper.m_closed = true;
    helper.m_changed.notify_all();
}

void StandInHelper::setAnswer(Answer answer) {
    const std::lock_guard guard(m_lock);
    m_answer = answer;
}

void StandInHelper::reportBeforeAnswer(int64_t status, uint32_t progress, const std::string& message) {
    const std::lock_guard guard(m_lock);
    m_pending.push_back({status, progress, message});
}

void StandInHelper::report(int64_t status, uint32_t progress, const std::string& message) const {
    mero_helper_emit_update_progress(m_skeleton.get(), status, progress, message.c_str());
}

void StandInHelper::sendUnknownSignal() const {
    g_dbus_connection_emit_signal(m_connection.get(), nullptr, kPath, kName, "UpdateSomething",
                                  g_variant_new("(xus)", gint64{1}, 2U, "unknown"), nullptr);
}

void StandInHelper::die() {
    if (m_connection != nullptr) {
        static_cast<void>(g_dbus_connection_flush_sync(m_connection.get(), nullptr, nullptr));
        static_cast<void>(g_dbus_connection_close_sync(m_connection.get(), nullptr, nullptr));
    }
}

std::vector<StandInHelper::Dictionary> StandInHelper::starts() const {
    const std::lock_guard guard(m_lock);
    return m_starts;
}

std::vector<std::string> StandInHelper::callers() const {
    const std::lock_guard guard(m_lock);
    return m_callers;
}

std::vector<uint32_t> StandInHelper::exits() const {
    const std::lock_guard guard(m_lock);
    return m_exits;
}

void StandInHelper::waitForExit() {
    std::unique_lock lock(m_lock);
    m_changed.wait(lock, [this] { return m_closed || !m_exits.empty(); });
}
