#include "Common/Utility/process/ChildSetup.h"

#include "Common/Utility/process/ChildEnvironment.h"
#include "Common/Utility/process/ChildView.h"

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

// What prepareChild does is on the list of async-signal-safe functions or a plain system call. The
// descriptors that it opens are no handles: they are closed by exec, or by the end of a child that failed.

namespace {

constexpr int kFirstOwnDescriptor = STDERR_FILENO + 1;

/// Handlers are reset by exec, but what is ignored stays ignored. The C library keeps two signals to itself
/// and refuses them, as the kernel does for those that can't be handled.
void resetSignalHandlers() noexcept {
    struct sigaction standard {};
    standard.sa_handler = SIG_DFL;
    for (int signalNumber = 1; signalNumber <= SIGRTMAX; ++signalNumber) {
        static_cast<void>(::sigaction(signalNumber, &standard, nullptr));
    }
}

/// A copy behind the standard descriptors, where no later step replaces it; -1 on failure.
int moveBehindStandard(int descriptor) noexcept {
    return ::fcntl(descriptor, F_DUPFD_CLOEXEC, kFirstOwnDescriptor);
}

bool isOpenAfterExec(int descriptor) noexcept {
    const int flags = ::fcntl(descriptor, F_GETFD);
    return flags >= 0 && (flags & FD_CLOEXEC) == 0;
}

bool redirect(int from, int to) noexcept {
    return ::dup2(from, to) == to;
}

/// Where standard output or error is closed, the first file that the child opened would take its place.
bool redirectToNowhere(int nowhere, int descriptor, bool wanted) noexcept {
    return (!wanted && isOpenAfterExec(descriptor)) || redirect(nowhere, descriptor);
}

bool setStandardDescriptors(const ChildSetup& setup) noexcept {
    // Ours may be closed, so that either may stand where standard input belongs.
    const int output = setup.output < 0 ? -1 : moveBehindStandard(setup.output);
    const int nowhere = moveBehindStandard(::open("/dev/null", O_RDWR | O_CLOEXEC));
    return nowhere >= 0 && redirect(nowhere, STDIN_FILENO) &&
           redirectToNowhere(nowhere, STDOUT_FILENO, setup.discardOutput) &&
           redirectToNowhere(nowhere, STDERR_FILENO, setup.discardOutput) &&
           (setup.output < 0 || (output >= 0 && redirect(output, STDOUT_FILENO)));
}

/// Descriptors that libraries have opened may lack the close-on-exec flag. Kernels before 5.11 can't do this;
/// such a descriptor is inherited there.
void closeOthersOnExec() noexcept {
    static_cast<void>(::close_range(kFirstOwnDescriptor, ~0U, CLOSE_RANGE_CLOEXEC));
}

/// No terminal is no failure: there is none to leave then.
void leaveTerminal() noexcept {
    const int terminal = ::open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (terminal >= 0) {
        static_cast<void>(::ioctl(terminal, TIOCNOTTY));
        static_cast<void>(::close(terminal)); // nobody unwinds this stack, so a handle would not close it
    }
}

bool leadOwnGroup() noexcept {
    if (::setpgid(0, 0) != 0) {
        return false;
    }
    leaveTerminal();
    return true;
}

/// The parent may have gone before the kernel was told to watch it.
bool bindToCaller(pid_t parent) noexcept {
    return ::prctl(PR_SET_PDEATHSIG, SIGTERM) == 0 && ::getppid() == parent;
}

bool unblockSignals() noexcept {
    sigset_t none;
    ::sigemptyset(&none);
    return ::sigprocmask(SIG_SETMASK, &none, nullptr) == 0;
}

/// See forbidChildren.
std::atomic<bool> g_isForbidden{false};
std::atomic<int> g_forksUnderWay{0};

/// A fork that is under way, as the parent sees it. The child's copies play no part.
class ForkUnderWay {
public:
    ForkUnderWay() noexcept { ++g_forksUnderWay; }
    ~ForkUnderWay() { --g_forksUnderWay; }
    ForkUnderWay(const ForkUnderWay&) = delete;
    ForkUnderWay& operator=(const ForkUnderWay&) = delete;
};

} // namespace

void forbidChildren() noexcept {
    g_isForbidden = true;
    while (g_forksUnderWay != 0) {
        // A fork is soon over.
        std::this_thread::yield();
    }
}

pid_t forkChild() {
    const ForkUnderWay mark;
    if (g_isForbidden) {
        errno = EPERM;
        return -1;
    }
    sigset_t all;
    sigset_t former;
    ::sigfillset(&all);
    static_cast<void>(::pthread_sigmask(SIG_SETMASK, &all, &former)); // fails for a wrong argument only
    const pid_t child = ::fork();
    if (child != 0) {
        const int failure = errno;
        static_cast<void>(::pthread_sigmask(SIG_SETMASK, &former, nullptr));
        errno = failure;
    }
    return child;
}

bool prepareChild(const ChildSetup& setup, pid_t parent) noexcept {
    resetSignalHandlers();
    if (!setStandardDescriptors(setup) || (setup.ownGroup && !leadOwnGroup()) ||
        (setup.endWithCaller && !bindToCaller(parent)) || (setup.view != nullptr && !setup.view->take()) ||
        !enterChildFolder()) {
        return false;
    }
    closeOthersOnExec();
    return unblockSignals();
}

void completeOwnGroup(pid_t child) noexcept {
    // Fails when the child has run its program already, which it does with its group.
    static_cast<void>(::setpgid(child, child));
}

ChildState getChildState(pid_t child, bool wait) noexcept {
    if (child <= 0) {
        return ChildState::NotOurs;
    }
    siginfo_t found{};
    int outcome = 0;
    do {
        outcome = ::waitid(P_PID, static_cast<id_t>(child), &found, WEXITED | WNOWAIT | (wait ? 0 : WNOHANG));
    } while (outcome != 0 && errno == EINTR);
    if (outcome != 0) {
        return ChildState::NotOurs;
    }
    return found.si_pid == 0 ? ChildState::Running : ChildState::Ended;
}

pid_t reapChild(pid_t child, int& statusOut, int options) noexcept {
    if (child <= 0) {
        errno = ECHILD;
        return -1;
    }
    pid_t reaped = 0;
    do {
        reaped = ::waitpid(child, &statusOut, options);
    } while (reaped < 0 && errno == EINTR);
    return reaped;
}
