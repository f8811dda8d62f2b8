#pragma once

#include <functional>
#include <glib.h>

/// Calls something from the main loop as often as a descriptor is readable, at its end or broken. Main
/// thread. Its end ends the watch; the descriptor stays the caller's and must stay open until then.
class DescriptorWatch {
public:
    DescriptorWatch() = default;
    ~DescriptorWatch() { stop(); }
    DescriptorWatch(const DescriptorWatch&) = delete;
    DescriptorWatch& operator=(const DescriptorWatch&) = delete;

    /// Once only for an object. @param call  may stop this watch, but not end it.
    void start(int descriptor, std::function<void()> call);
    void stop() noexcept;

private:
    static gboolean onReadable(gint descriptor, GIOCondition condition, gpointer watch);

    guint m_source = 0;
    std::function<void()> m_call;
};
