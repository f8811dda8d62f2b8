#include "tests/unit/helper/ActingWorker.h"

#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/ProgressRecord.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/WorkerProcess.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <unistd.h>

namespace {

/// Where a test fails to end a process, it ends by itself.
constexpr unsigned kLongestStaySeconds = 60;

namespace fs = std::filesystem;

/// The descriptors, with what they lead to.
void reportDescriptors(std::ostream& report) {
    const std::string own = fs::path("/proc").append(std::to_string(::getpid())).append("fd");
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        const std::string target = fs::read_symlink(entry.path());
        if (target != own) { // by which they are listed
            report << "descriptor " << entry.path().filename().string() << " " << target << "\n";
        }
    }
}

void reportSignals(std::ostream& report) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.starts_with("SigBlk:") || line.starts_with("SigIgn:")) {
            report << line.replace(line.find('\t'), 1, " ") << "\n";
        }
    }
}

void writeReport(const WorkOrder& order, int argc, const char* const* argv) {
    std::ostringstream report;
    reportDescriptors(report);
    for (int i = 0; i < argc; ++i) {
        report << "argument " << argv[i] << "\n";
    }
    for (char** variable = ::environ; *variable != nullptr; ++variable) {
        report << "variable " << *variable << "\n";
    }
    reportSignals(report);
    report << "program " << fs::read_symlink("/proc/self/exe").string() << "\n"
           << "session " << (::getsid(0) == ::getpid()) << "\n"
           << "group " << (::getpgrp() == ::getpid()) << "\n"
           << "password " << order.password.view() << "\n"
           << "groups " << order.caller.groups.size() << "\n";
    std::ofstream(order.jobFolder + "/report") << report.str();
}

[[noreturn]] void stay(const WorkOrder& order) {
    for (const int ending : {SIGTERM, SIGHUP, SIGINT}) {
        std::signal(ending, SIG_IGN);
    }
    std::ofstream(order.jobFolder + "/ready") << ::getpid() << "\n";
    ::alarm(kLongestStaySeconds);
    while (true) {
        ::pause();
    }
}

} // namespace

int actAsWorker(int argc, const char* const* argv) {
    const std::optional<WorkOrder> order = readWorkOrder(kOrderDescriptor);
    if (!order) {
        return 2;
    }
    const std::string& act = order->requestPath;
    if (act == kReport) {
        writeReport(*order, argc, argv);
        return writeProgress(kProgressDescriptor, {.status = 1, .progress = 50, .message = "half"}) ? 0 : 3;
    }
    if (act == kStay) {
        stay(*order);
    }
    if (act == kStayInTwo || act == kLeaveAChild) {
        if (::fork() == 0) {
            stay(*order);
        }
        while (act == kStayInTwo) {
            ::pause();
        }
        // Not before the child has said which it is.
        while (!fs::exists(order->jobFolder + "/ready")) {
            ::usleep(1000);
        }
        return 0;
    }
    return 7;
}
