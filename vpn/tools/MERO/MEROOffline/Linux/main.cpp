#include "BackgroundRun.h"
#include "Log.h"
#include "MEROGtkMainWindow.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <gtk/gtk.h>
#include <memory>
#include <sys/stat.h>

namespace {

/// Keeps the logger from static start-up to the end of the process.
const CLogClient g_logClient(nullptr, "zrn_meroui");

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

/// What the job writes is for the user alone, and a full disk, a size limit or a tool that stops reading
/// shows as an error of the call and not as the program's end.
void prepareProcess() {
    ::umask(077);
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
}

void runWizard(int* argc, char*** argv) {
    g_set_prgname("com.varnel.corvane.mero");
    gtk_init(argc, argv);
    takeGdkLock();
    auto window = std::make_unique<CMEROGtkMainWindow>();
    if (!window->isExitRequested()) {
        gtk_main();
    }
    giveGdkLockBack();
}

} // namespace

/// Always 0: how a job ended is told by the result page and the log.
int main(int argc, char* argv[]) {
    prepareProcess();
    try {
        runWizard(&argc, &argv);
    } catch (const std::exception& error) {
        ZRN_LOG('E', "The wizard can't go on: %s", error.what());
    }
    if (BackgroundRun::anyUnderWay()) {
        // Cancel does not wait for a job. Its threads still use the logger and other static objects, which a
        // return would destroy under them, so the process ends here as it stands.
        static_cast<void>(std::fflush(stdout));
        std::_Exit(0);
    }
    return 0;
}
