#include "Common/Utility/log/Log.h"
#include "Common/Utility/process/JobProcess.h"
#include "Common/Utility/process/StopRequest.h"
#include "tools/MERO/MEROOffline/Common/StopGuard.h"
#include "tools/MERO/MEROOffline/Common/StopSignals.h"
#include "tools/MERO/MEROOffline/Linux/BackgroundRun.h"
#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"
#include "tools/MERO/MEROOffline/Linux/MEROGtkMainWindow.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <gtk/gtk.h>
#include <memory>

namespace {

/// Keeps the logger from static start-up to the end of the process.
const CLogClient g_logClient(nullptr, "zrn_meroui");

/// What a job may take to end, once the window has gone.
constexpr std::chrono::seconds kPatience{3};

// The main thread holds the GDK lock from start to end, as code that enters it by itself expects.
G_GNUC_BEGIN_IGNORE_DEPRECATIONS
void takeGdkLock() {
    gdk_threads_init();
    gdk_threads_enter();
}

void giveGdkLockBack() {
    gdk_threads_leave();
}
G_GNUC_END_IGNORE_DEPRECATIONS

/// Leaves the main loop for a signal. A dialog that waits for an answer has a loop of its own, and would keep
/// that of the window waiting. On the GTK main thread; `data` is not used.
gboolean leaveMainLoop(gpointer /*data*/) {
    const ListHandle windows(gtk_window_list_toplevels());
    for (const GList* entry = windows.get(); entry != nullptr; entry = entry->next) {
        if (GTK_IS_DIALOG(entry->data)) {
            gtk_dialog_response(GTK_DIALOG(entry->data), GTK_RESPONSE_CANCEL);
        }
    }
    if (gtk_main_level() != 0) {
        gtk_main_quit();
    }
    return G_SOURCE_REMOVE;
}

/// The threads of a job that doesn't come to its end still use the logger and other static objects, which a
/// return from main would destroy under them.
[[noreturn]] void endAsItStands() {
    static_cast<void>(std::fflush(stdout));
    std::_Exit(0);
}

void runWizard(int* argc, char*** argv) {
    g_set_prgname("com.varnel.corvane.mero");
    // Pango finds out about the fonts on a thread of its own: it begins now, while GTK reads its theme.
    static_cast<void>(pango_cairo_font_map_get_default());
    gtk_init(argc, argv);
    const StopGuard guard({.patience = kPatience,
                           .onStop = [] { g_idle_add(leaveMainLoop, nullptr); },
                           .endProcess = endAsItStands});
    takeGdkLock();
    auto window = std::make_unique<CMEROGtkMainWindow>();
    if (!window->isExitRequested()) {
        gtk_main();
    }
    // However the main loop has ended, a job that is under way ends now, with its tools and its files.
    requestStop();
    giveGdkLockBack();
    window.reset();
    if (GdkDisplay* const display = gdk_display_get_default()) {
        gdk_display_flush(display); // nobody has to look at the window meanwhile
    }
    BackgroundRun::awaitAll();
}

} // namespace

/// Always 0: how a job ended is told by the result page and the log.
int main(int argc, char* argv[]) {
    prepareJobProcess();
    stopOnSignals();
    try {
        runWizard(&argc, &argv);
    } catch (const std::exception& error) {
        ZRN_LOG('E', "The wizard can't go on: %s", error.what());
    }
    if (BackgroundRun::anyUnderWay()) {
        endAsItStands();
    }
    return 0;
}
