#pragma once

#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"

#include <array>
#include <gtk/gtk.h>
#include <string>

/// Tells screen readers how far a job is: at most every five seconds, however often that changes, and in the
/// end what it is. Nothing of what is shown waits for it. GTK main thread only.
class SpokenProgress {
public:
    SpokenProgress() = default;
    ~SpokenProgress() { end(); }
    SpokenProgress(const SpokenProgress&) = delete;
    SpokenProgress& operator=(const SpokenProgress&) = delete;

    /// The progress page shows something else.
    /// @param text  what the job does now, as it is shown.
    void report(const std::string& text);
    /// The job has ended: what was not told yet no longer matters.
    void end();

private:
    void speak();
    void holdBack();
    void letGo();
    static gboolean onTimeToSpeak(gpointer self);

    /// To be told as soon as it is time.
    std::string m_text;
    /// Not said again while only the share changes, which the bar tells.
    std::string m_announced;
    bool m_isUntold = false;
    /// Until the next thing may be told; 0 while that is now.
    guint m_timer = 0;
    /// What tells of its changes by itself, and must not meanwhile.
    std::array<GObjectHandle<AtkObject>, 2> m_heldBack;
};
