#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/Timer.h"

#include "tools/MERO/MEROOffline/Linux/Glib/HandlerGuard.h"

#include <algorithm>
#include <limits>
#include <utility>

void Timer::start(std::chrono::milliseconds delay, std::function<void()> call) {
    stop();
    m_call = std::move(call);
    const auto limit = static_cast<std::chrono::milliseconds::rep>(std::numeric_limits<guint>::max());
    const auto interval = std::clamp<std::chrono::milliseconds::rep>(delay.count(), 0, limit);
    m_source = g_timeout_add(static_cast<guint>(interval), &onTime, this);
}

void Timer::stop() noexcept {
    if (m_source != 0) {
        g_source_remove(std::exchange(m_source, 0U));
    }
    m_call = nullptr;
}

gboolean Timer::onTime(gpointer timer) {
    Timer& self = *static_cast<Timer*>(timer);
    self.m_source = 0;
    // The call may end this object.
    runHandler(__func__, std::exchange(self.m_call, nullptr));
    return G_SOURCE_REMOVE;
}
