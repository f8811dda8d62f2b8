#pragma once

#include "tools/MERO/MEROEngine/implementations/CMEROClientIfc.h"
#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"

#include <array>
#include <chrono>
#include <gtk/gtk.h>
#include <string>

/// The page that shows how far the job is. Screen readers are told at most every so often, however often
/// that changes, and in the end what it is; nothing of what is shown waits for it. GTK main thread only.
class ProgressPage {
public:
    /// Between two things that screen readers are told.
    static constexpr std::chrono::milliseconds kQuiet{5000};

    explicit ProgressPage(std::chrono::milliseconds quiet = kQuiet) : m_quiet(quiet) {}
    ~ProgressPage() { end(); }
    ProgressPage(const ProgressPage&) = delete;
    ProgressPage& operator=(const ProgressPage&) = delete;

    static void setUp();
    void show(const MEROStatusInfo& info);
    /// The job has ended, or the window goes: what was not told yet no longer matters.
    void end();

private:
    static gboolean onTimeToLook(gpointer unused);
    void speak();
    void holdBack();
    void letGo();
    static gboolean onTimeToSpeak(gpointer self);

    std::chrono::milliseconds m_quiet;
    /// To be told as soon as it is time.
    std::string m_text;
    /// Not said again while only the share changes, which the bar tells.
    std::string m_announced;
    bool m_isUntold = false;
    /// Until the next thing may be told; 0 while that is now.
    guint m_timer = 0;
    /// While an archive of this process is packed, until the bar is looked after again; 0 otherwise.
    guint m_packTimer = 0;
    /// What tells of its changes by itself, and must not meanwhile.
    std::array<GObjectHandle<AtkObject>, 2> m_heldBack;
};
