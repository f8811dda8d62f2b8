#pragma once

#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"
#include "tools/MERO/MEROOffline/Linux/PressGuard.h"

#include <gtk/gtk.h>

/// Stands between GDK and GTK for as long as it lives, and keeps from the program's windows the presses that
/// were meant for a page that has gone: those of Next, of Back and of a message's buttons, and the keys that
/// stand for them. Everything else passes, as does what assistive technologies press. At most one at a time,
/// on the GTK main thread.
class PressFilter {
public:
    PressFilter();
    ~PressFilter();
    PressFilter(const PressFilter&) = delete;
    PressFilter& operator=(const PressFilter&) = delete;

    /// Another page, or a dialog, is about to be seen.
    /// @param window  the top-level window that will show it; not owned. One that is not on the screen counts
    /// as seen at once.
    void changePage(GtkWidget* window);

private:
    [[nodiscard]] bool drops(GdkEvent& event);
    [[nodiscard]] bool dropsKey(const GdkEventKey& key);
    void stopWaitingForPaint();

    static void onEvent(GdkEvent* event, gpointer self);
    static void onPainted(GdkFrameClock* clock, gpointer self);

    PressGuard m_guard;
    /// That of the window whose paint is awaited; null while none is.
    GObjectHandle<GdkFrameClock> m_clock;
};
