#pragma once

#include "DBusIfc.h"
#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

/// Serves the helper's interface on a bus and keeps what it was asked. A double, because no test can have the
/// real helper refuse, hang or die at a chosen moment, nor may one collect with root's rights; the bus, the
/// messages and the bindings are the real ones.
///
/// It works on a thread and a connection of its own, as another process would, so that callers may block.
class StandInHelper {
public:
    enum class Answer {
        Taken,
        Refused,
        Error,
        /// Never.
        None,
        /// Goes away with the question.
        Death,
        /// No handler is connected.
        NoHandler,
    };
    /// Keys and values in the order of the message.
    using Dictionary = std::vector<std::pair<std::string, std::string>>;

    /// Owns the name and serves the object once this returns; fails the test if that can't be.
    explicit StandInHelper(const std::string& address, Answer answer = Answer::Taken);
    ~StandInHelper();
    StandInHelper(const StandInHelper&) = delete;
    StandInHelper& operator=(const StandInHelper&) = delete;

    void setAnswer(Answer answer);
    /// Sends this signal before the next answer, once.
    void reportBeforeAnswer(int64_t status, uint32_t progress, const std::string& message);
    /// Sends the signal. Any thread.
    void report(int64_t status, uint32_t progress, const std::string& message) const;
    /// Sends a signal that the interface does not have.
    void sendUnknownSignal() const;
    /// Cuts the connection, which is all that a bus sees of a process that dies.
    void die();

    [[nodiscard]] std::vector<Dictionary> starts() const;
    /// Bus names of those who asked for a job.
    [[nodiscard]] std::vector<std::string> callers() const;
    /// The delays that were asked for.
    [[nodiscard]] std::vector<uint32_t> exits() const;
    /// Blocks until Exit has been called or the connection is gone.
    void waitForExit();

private:
    struct Report {
        int64_t status;
        uint32_t progress;
        std::string message;
    };

    void serve(const std::string& address);
    bool exportOn(const std::string& address);
    void connectHandlers();
    void answerStart(GDBusMethodInvocation* invocation, GVariant* arguments);

    static gboolean onReady(gpointer self);
    static gboolean onStart(MeroHelper* skeleton, GDBusMethodInvocation* invocation, GVariant* arguments,
                            gpointer self);
    static gboolean onExit(MeroHelper* skeleton, GDBusMethodInvocation* invocation, guint delaySeconds,
                           gpointer self);
    static void onClosed(GDBusConnection* connection, gboolean vanished, GError* error, gpointer self);

    GObjectHandle<GDBusConnection> m_connection;
    GObjectHandle<MeroHelper> m_skeleton;
    std::unique_ptr<GMainContext, Releaser<&g_main_context_unref>> m_context;
    std::unique_ptr<GMainLoop, Releaser<&g_main_loop_unref>> m_loop;
    /// Guards all below but the thread.
    mutable std::mutex m_lock;
    std::condition_variable m_changed;
    Answer m_answer;
    bool m_ready = false;
    bool m_closed = false;
    std::vector<Report> m_pending;
    std::vector<Dictionary> m_starts;
    std::vector<std::string> m_callers;
    std::vector<uint32_t> m_exits;
    /// Questions that get no answer stay open as long as this.
    std::vector<GObjectHandle<GDBusMethodInvocation>> m_open;
    std::thread m_thread;
};
