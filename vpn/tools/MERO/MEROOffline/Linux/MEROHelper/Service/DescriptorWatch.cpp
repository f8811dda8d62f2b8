#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/DescriptorWatch.h"

#include "tools/MERO/MEROOffline/Linux/Glib/HandlerGuard.h"

#include <glib-unix.h>
#include <utility>

void DescriptorWatch::start(int descriptor, std::function<void()> call) {
    m_call = std::move(call);
    const auto conditions = static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR);
    m_source = g_unix_fd_add(descriptor, conditions, &onReadable, this);
}

void DescriptorWatch::stop() noexcept {
    if (m_source != 0) {
        g_source_remove(std::exchange(m_source, 0U));
    }
}

gboolean DescriptorWatch::onReadable(gint /*descriptor*/, GIOCondition /*condition*/, gpointer watch) {
    DescriptorWatch& self = *static_cast<DescriptorWatch*>(watch);
    runHandler(__func__, self.m_call);
    return self.m_source == 0 ? G_SOURCE_REMOVE : G_SOURCE_CONTINUE;
}
