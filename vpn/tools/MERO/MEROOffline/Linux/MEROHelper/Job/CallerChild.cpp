#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/CallerChild.h"

#include "Common/Utility/files/WholeWrite.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/process/ChildSetup.h"
#include "Common/Utility/process/OutputPipe.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/ChildWait.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <poll.h>
#include <sys/prctl.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

// What runs in the child, up to its _exit, is on the list of async-signal-safe functions or a plain system
// call, and takes no memory. Its descriptors are no handles: its end closes them.

namespace {

using Clock = CallerChild::Clock;

constexpr int kFirstOwnDescriptor = STDERR_FILENO + 1;

/// What can fail on the way to the caller's rights. The child tells it by number.
enum class Step : unsigned {
    None,
    BecomeUser,
    PrepareChild,
    SetDumpable,
    CloseDescriptors,
    LeaveFolder,
    Count
};

/// In the order of Step.
constexpr std::array<const char*, static_cast<std::size_t>(Step::Count)> kCallNames{
    "", "becomeUser", "prepareChild", "prctl", "close_range", "chdir"};

/// What the child says first.
struct SetUp {
    Step failed = Step::None;
    int error = 0;
};

int millisecondsUntil(Clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    return static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0));
}

bool closeRange(int first, unsigned last) noexcept {
    return static_cast<unsigned>(first) > last || ::close_range(static_cast<unsigned>(first), last, 0) == 0;
}

/// The descriptors of the helper are not for a process of the user's, though nothing is executed in it.
bool closeAllButStandardAnd(int kept) noexcept {
    if (kept < kFirstOwnDescriptor) {
        return closeRange(kFirstOwnDescriptor, ~0U);
    }
    return closeRange(kFirstOwnDescriptor, static_cast<unsigned>(kept) - 1) && closeRange(kept + 1, ~0U);
}

/// The limit of a file's size is then told by the failed write, which leaves time to clear away.
void ignoreSizeSignal() noexcept {
    struct sigaction ignored {};
    ignored.sa_handler = SIG_IGN;
    static_cast<void>(::sigaction(SIGXFSZ, &ignored, nullptr));
}

/// In this order: the caller's rights, the child's setup (behind the user, whose change would undo part of
/// it), no look into this memory, which holds what the helper knew, for other processes of that user. Then
/// everything goes that our rights have opened, the current folder too: through /proc/self a path could start
/// there, behind folders that are closed to the caller.
Step becomeCaller(const UserIdentity& caller, int kept, int pipe, pid_t parent) noexcept {
    if (!becomeUser(caller)) {
        return Step::BecomeUser;
    }
    if (!prepareChild({.output = pipe, .discardOutput = true, .endWithCaller = true}, parent)) {
        return Step::PrepareChild;
    }
    ignoreSizeSignal();
    if (::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) != 0) {
        return Step::SetDumpable;
    }
    if (!closeAllButStandardAnd(kept)) {
        return Step::CloseDescriptors;
    }
    return ::chdir("/") == 0 ? Step::None : Step::LeaveFolder;
}

/// Tells first whether it has become the caller.
[[noreturn]] void runChild(const UserIdentity& caller, const CallerWork& work, int pipe,
                           pid_t parent) noexcept {
    const Step failed = becomeCaller(caller, work.kept(), pipe, parent);
    const SetUp report{.failed = failed, .error = failed == Step::None ? 0 : errno};
    if (failed != Step::None) {
        // Standard output may not be the pipe yet, and one that is closed by now is an answer too.
        static_cast<void>(writeWhole(pipe, &report, sizeof report));
        ::_exit(1);
    }
    if (writeWhole(STDOUT_FILENO, &report, sizeof report) == 0) {
        work.run();
    }
    ::_exit(0);
}

std::optional<CallerChild::Failure> failureOf(const SetUp& report) {
    if (report.failed == Step::None) {
        return std::nullopt;
    }
    if (report.failed >= Step::Count) {
        return CallerChild::Failure{.call = "read", .error = EIO};
    }
    return CallerChild::Failure{.call = kCallNames[static_cast<std::size_t>(report.failed)],
                                .error = report.error};
}

void reap(pid_t child) noexcept {
    int status = 0;
    static_cast<void>(reapChild(child, status, 0)); // fails only if the system has reaped it already
}

/// A killed process goes on waiting for a file system of the caller's own until that one answers. We don't.
/// It has its place until then, and for good if there is no thread to wait for it.
void reapLater(pid_t child, std::optional<ReaderPlace>& place) noexcept {
    ZRN_LOG('W', "%s %d of a caller's files doesn't end yet", place ? "Reader" : "Writer", child);
    const std::optional<uid_t> placeOf = place ? std::optional(place->release()) : std::nullopt;
    try {
        std::thread([child, placeOf] {
            const auto kept = placeOf ? std::make_optional<ReaderPlace>(*placeOf) : std::nullopt;
            reap(child);
        }).detach();
    } catch (const std::system_error& error) {
        ZRN_LOG_CODE('E', "std::thread", error.code().value());
    }
}

} // namespace

CallerChild::CallerChild(std::optional<ReaderPlace> place, Clock::duration endLimit)
    : m_place(std::move(place)), m_endLimit(endLimit) {}

std::optional<CallerChild::Failure> CallerChild::start(const UserIdentity& caller, const CallerWork& work,
                                                       Clock::time_point deadline) {
    FileDescriptor input;
    if (const int error = openOutputPipe(m_output, input); error != 0) {
        return Failure{.call = "pipe2", .error = error};
    }
    const pid_t parent = ::getpid();
    m_pid = forkChild();
    if (m_pid == 0) {
        runChild(caller, work, input.get(), parent);
    }
    if (m_pid < 0) {
        return Failure{.call = "fork", .error = errno};
    }
    input.reset(); // so that the child's end is seen
    SetUp report;
    if (const int error = receive(&report, sizeof report, deadline); error != 0) {
        return Failure{.call = nullptr, .error = error};
    }
    return failureOf(report);
}

int CallerChild::receive(void* bytes, std::size_t sizeBytes, Clock::time_point deadline) const {
    char* next = static_cast<char*>(bytes);
    while (sizeBytes > 0) {
        pollfd watched{m_output.get(), POLLIN, 0};
        const int ready = ::poll(&watched, 1, millisecondsUntil(deadline));
        if (ready == 0) {
            return ETIMEDOUT;
        }
        const ssize_t length = ready < 0 ? -1 : ::read(m_output.get(), next, sizeBytes);
        if (length == 0) {
            return EPIPE;
        }
        if (length < 0 && errno != EINTR && errno != EAGAIN) {
            return errno;
        }
        if (length > 0) {
            next += length;
            sizeBytes -= static_cast<std::size_t>(length);
        }
    }
    return 0;
}

void CallerChild::end() noexcept {
    m_output.reset();
    if (m_pid <= 0) {
        return;
    }
    // Even one that has answered, as the caller may have stopped it.
    if (getChildState(m_pid, false) != ChildState::NotOurs) {
        static_cast<void>(::kill(m_pid, SIGKILL));
    }
    if (endsWithin(m_pid, m_endLimit)) {
        reap(m_pid);
    } else {
        reapLater(m_pid, m_place);
    }
    m_pid = -1;
}
