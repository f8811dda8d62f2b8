#include "tools/MERO/MEROOffline/Linux/MEROHelper/Worker/EndWithService.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/process/ChildSetup.h"
#include "Common/Utility/process/CleanUp.h"
#include "Common/Utility/process/Descendants.h"
#include "Common/Utility/process/StopRequest.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <exception>
#include <mutex>
#include <sys/prctl.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace {

constexpr std::chrono::seconds kEndLimit{3};

/// Taken by the first who ends what was started, and never given back: of two at once, one could kill a
/// number that the other has just let go.
std::mutex g_end;

sigset_t endSignal() {
    sigset_t signals;
    ::sigemptyset(&signals);
    ::sigaddset(&signals, SIGTERM);
    return signals;
}

[[noreturn]] void waitForServiceEnd() noexcept {
    const sigset_t signals = endSignal();
    int signal = 0;
    // It fails for a wrong set only.
    static_cast<void>(::sigwait(&signals, &signal));
    ZRN_LOG('W', "The service has ended, and the job ends with it.");
    requestStop();
    // The engine ends its tools then and removes its folder, unless it waits for a file system.
    const bool isTidy = awaitCleanUps(kEndLimit);
    endWork();
    if (!isTidy) {
        runCleanUps();
    }
    ::_exit(1);
}

} // namespace

bool awaitServiceEnd(pid_t service) {
    const sigset_t signals = endSignal();
    if (const int error = ::pthread_sigmask(SIG_BLOCK, &signals, nullptr); error != 0) {
        ZRN_LOG_CODE('E', "pthread_sigmask", error);
        return false;
    }
    if (!adoptDescendants()) {
        return false;
    }
    if (::prctl(PR_SET_PDEATHSIG, SIGTERM) != 0) {
        ZRN_LOG_ERRNO('E', "prctl");
        return false;
    }
    // The signal of a service that had ended before would never come.
    if (::getppid() != service) {
        ZRN_LOG('E', "The service has ended, and the job ends with it.");
        return false;
    }
    return true;
}

bool endWithService() {
    try {
        std::thread(waitForServiceEnd).detach();
        return true;
    } catch (const std::system_error& error) {
        ZRN_LOG_CODE('E', "std::thread", error.code().value());
        return false;
    }
}

void endWork() noexcept {
    try {
        g_end.lock();
        // A tool that has ended makes its thread go on to the next.
        forbidChildren();
        endDescendants(kEndLimit);
    } catch (const std::exception&) {
        // There is no memory even for a list of them. Ending is all that is left.
        return;
    }
}
