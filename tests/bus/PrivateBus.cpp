#include "tests/bus/PrivateBus.h"

#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gio/gio.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int kStartLimitMs = 30000;

std::string writeConfiguration(const std::string& folder, const std::string& address) {
    std::string file = folder + "/bus.conf";
    std::ofstream(file)
        << "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
           " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
           "<busconfig>\n<listen>"
        << address << "</listen>\n<auth>EXTERNAL</auth>\n<servicedir>" << folder
        << "/services</servicedir>\n"
           "<policy context=\"default\">\n<allow send_destination=\"*\"/><allow eavesdrop=\"true\"/>"
           "<allow own=\"*\"/>\n</policy>\n"
           "</busconfig>\n";
    return file;
}

void writeService(const std::string& folder, const std::string& command) {
    std::filesystem::create_directory(folder + "/services");
    if (!command.empty()) {
        std::ofstream(folder + "/services/com.varnel.corvane.mero.helper.service")
            << "[D-BUS Service]\nName=com.varnel.corvane.mero.helper\nExec=" << command << '\n';
    }
}

/// The daemon writes its address once it takes connections.
bool hasWritten(int descriptor) {
    pollfd wait{.fd = descriptor, .events = POLLIN, .revents = 0};
    char byte = 0;
    return ::poll(&wait, 1, kStartLimitMs) == 1 && ::read(descriptor, &byte, 1) == 1;
}

} // namespace

PrivateBus::PrivateBus(const std::string& folder, const std::string& command)
    : m_address("unix:path=" + folder + "/bus") {
    writeService(folder, command);
    const std::string configuration = "--config-file=" + writeConfiguration(folder, m_address);
    std::array<int, 2> written{};
    if (::pipe(written.data()) != 0) {
        ADD_FAILURE() << "no pipe";
        return;
    }
    const std::string print = "--print-address=" + std::to_string(written[1]);
    m_daemon = ::fork();
    if (m_daemon == 0) {
        // A test that is killed takes its bus with it.
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        ::execlp("dbus-daemon", "dbus-daemon", "--nofork", "--nopidfile", "--nosyslog", configuration.c_str(),
                 print.c_str(), nullptr);
        ::_exit(127);
    }
    ::close(written[1]);
    EXPECT_TRUE(hasWritten(written[0])) << "the bus did not start";
    ::close(written[0]);
}

PrivateBus::~PrivateBus() {
    if (m_daemon > 0) {
        closeSharedConnection();
    }
    stop();
}

void PrivateBus::closeSharedConnection() const {
    const char* const address = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
    if (address == nullptr || m_address != address) {
        return;
    }
    if (const auto connection = adoptRef(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr))) {
        g_dbus_connection_set_exit_on_close(connection.get(), FALSE);
        static_cast<void>(g_dbus_connection_close_sync(connection.get(), nullptr, nullptr));
    }
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
    }
}

void PrivateBus::pause() const {
    EXPECT_EQ(::kill(m_daemon, SIGSTOP), 0);
}

void PrivateBus::stop() {
    if (m_daemon > 0) {
        ::kill(m_daemon, SIGKILL);
        ::waitpid(m_daemon, nullptr, 0);
    }
    m_daemon = -1;
}
