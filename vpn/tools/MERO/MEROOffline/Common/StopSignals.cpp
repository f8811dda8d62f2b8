#include "tools/MERO/MEROOffline/Common/StopSignals.h"

#include "Common/Utility/files/HiddenFiles.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/process/StopRequest.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <unistd.h>

namespace {

constexpr std::array kStopSignals{SIGINT, SIGTERM, SIGHUP};
/// What a shell gives for a process that a signal has ended.
constexpr int kExitBySignal = 128;

std::atomic<int> g_stopSignal{0};

static_assert(std::atomic<int>::is_always_lock_free, "a signal handler can wait for no lock");

void takeDefault(int signalNumber) noexcept {
    struct sigaction standard {};
    standard.sa_handler = SIG_DFL;
    static_cast<void>(::sigaction(signalNumber, &standard, nullptr)); // fails for a wrong number only
}

/// Async-signal-safe, as all that it calls.
void handleStopSignal(int signalNumber) noexcept {
    int none = 0;
    if (g_stopSignal.compare_exchange_strong(none, signalNumber)) {
        requestStop();
        return;
    }
    // A bundle is large, and nobody would find it under its hidden name.
    removeHiddenFiles();
    dieBySignal(signalNumber);
}

} // namespace

void stopOnSignals() noexcept {
    for (const int number : kStopSignals) {
        struct sigaction action {};
        if (::sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) {
            continue;
        }
        action = {};
        action.sa_handler = handleStopSignal;
        // Calls under way go on: who waits looks at the request.
        action.sa_flags = SA_RESTART;
        if (::sigaction(number, &action, nullptr) != 0) {
            ZRN_LOG_ERRNO('W', "sigaction");
        }
    }
}

int stopSignal() noexcept {
    return g_stopSignal;
}

void dieBySignal(int signalNumber) noexcept {
    takeDefault(signalNumber);
    sigset_t one;
    ::sigemptyset(&one);
    ::sigaddset(&one, signalNumber);
    static_cast<void>(::pthread_sigmask(SIG_UNBLOCK, &one, nullptr)); // fails for wrong arguments only
    static_cast<void>(::raise(signalNumber));
    ::_exit(kExitBySignal + signalNumber);
}
