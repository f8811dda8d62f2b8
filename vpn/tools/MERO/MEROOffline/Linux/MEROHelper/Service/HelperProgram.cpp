#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/HelperProgram.h"

#include "Common/Utility/log/EscapingLogger.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/log/LoggerChoice.h"
#include "tools/MERO/MEROOffline/Linux/Glib/ErrorOut.h"
#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"
#include "tools/MERO/MEROOffline/Linux/Glib/HandlerGuard.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/WorkerProcess.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/HelperService.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/ServiceProcess.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Worker/Worker.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <gio/gio.h>
#include <glib-unix.h>

namespace {

constexpr int kWrongArguments = 2;

using LoopHandle = std::unique_ptr<GMainLoop, Releaser<&g_main_loop_unref>>;

gboolean onTermination(gpointer service) {
    runHandler(__func__, [&] { static_cast<HelperService*>(service)->shutDown("the helper is terminated"); });
    return G_SOURCE_CONTINUE;
}

GObjectHandle<GDBusConnection> connectToBus() {
    ErrorHandle error;
    auto connection = adoptRef(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, ErrorOut(error)));
    if (connection == nullptr) {
        ZRN_LOG('E', "No bus. %s", error->message);
    } else {
        // The end of the bus ends the job under way too, in order.
        g_dbus_connection_set_exit_on_close(connection.get(), FALSE);
    }
    return connection;
}

bool serve(const ServiceSettings& settings) {
    FileDescriptor lock;
    if (!prepareServiceProcess() || !lockHelper(lock, settings.lockLimit) ||
        !prepareJobsFolder(static_cast<bool>(lock))) {
        return false;
    }
    auto connection = connectToBus();
    if (connection == nullptr) {
        return false;
    }
    GDBusConnection* const bus = connection.get();
    const LoopHandle loop(g_main_loop_new(nullptr, FALSE));
    HelperService service(
        {std::move(connection), lock.get(), settings, [&] { g_main_loop_quit(loop.get()); }});
    const std::array<guint, 2> signals{g_unix_signal_add(SIGTERM, &onTermination, &service),
                                       g_unix_signal_add(SIGINT, &onTermination, &service)};
    const bool started = service.start();
    if (started) {
        g_main_loop_run(loop.get());
        // The last signal may still be on its way. Without a bus there is nothing to wait for.
        static_cast<void>(g_dbus_connection_flush_sync(bus, nullptr, nullptr));
    }
    for (const guint source : signals) {
        g_source_remove(source);
    }
    return started;
}

} // namespace

std::unique_ptr<ILogger> makeHelperLogger() {
    return std::make_unique<CEscapingLogger>(chooseLogger("zrn_merohelper"));
}

int runHelperProgram(int argc, const char* const* argv, const ServiceSettings& settings) {
    try {
        if (argc == 2 && std::strcmp(argv[1], kWorkerArgument) == 0) {
            return runWorker(kOrderDescriptor, kProgressDescriptor);
        }
        if (argc > 1) {
            std::fputs("merohelper takes no arguments: the system bus starts it.\n", stderr);
            return kWrongArguments;
        }
        return serve(settings) ? 0 : 1;
    } catch (const std::exception& error) {
        ZRN_LOG('E', "The helper can't go on: %s", error.what());
        return 1;
    }
}
