#pragma once

#include <chrono>
#include <functional>
#include <glib.h>

/// Calls something once, later, from the main loop. Main thread. Its end takes the call back.
class Timer {
public:
    Timer() = default;
    ~Timer() { stop(); }
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    /// Takes the place of a call that is still to come. The call may start the timer anew or end it.
    void start(std::chrono::milliseconds delay, std::function<void()> call);
    void stop() noexcept;

private:
    static gboolean onTime(gpointer timer);

    guint m_source = 0;
    std::function<void()> m_call;
};
