#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/CallerProcess.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/process/ChildSetup.h"
#include "Common/Utility/process/OutputPipe.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/ChildEnd.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <poll.h>
#include <sys/prctl.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

using Clock = CallerProcess::Clock;

/// How long the end of a killed child is waited for.
constexpr std::chrono::milliseconds kEndLimit(500);
constexpr int kFirstOwnDescriptor = STDERR_FILENO + 1;

int millisecondsUntil(Clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    return static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0));
}

/// In this order: the caller's rights, the child's setup (behind the user, whose change would undo part of
/// it), no look into this memory for other processes of that user. Then everything goes that our rights have
/// opened, the current folder too: through /proc/self a path could start there, behind folders that are
/// closed to the caller.
bool becomeCaller(const UserIdentity& caller, int pipe, pid_t parent) noexcept {
    const ChildSetup setup{.output = pipe, .discardOutput = true, .endWithCaller = true};
    return becomeUser(caller) && prepareChild(setup, parent) && ::prctl(PR_SET_DUMPABLE, 0) == 0 &&
           ::close_range(kFirstOwnDescriptor, ~0U, 0) == 0 && ::chdir("/") == 0;
}

/// Tells first whether it has become the caller: 0 or an errno.
[[noreturn]] void runChild(const UserIdentity& caller, const CallerWork& work, int pipe,
                           pid_t parent) noexcept {
    if (!becomeCaller(caller, pipe, parent)) {
        const int error = errno;
        // Standard output may not be the pipe yet, and one that is closed by now is an answer too.
        static_cast<void>(writeWhole(pipe, &error, sizeof error));
        ::_exit(1);
    }
    const int ready = 0;
    if (writeWhole(STDOUT_FILENO, &ready, sizeof ready) == 0) {
        work.run();
    }
    ::_exit(0);
}

void reap(pid_t child) noexcept {
    int status = 0;
    static_cast<void>(reapChild(child, status, 0)); // fails only if the system has reaped it already
}

/// A killed process goes on waiting for a file system of the caller's own until that one answers. We don't.
/// It has its place until then, and for good if there is no thread to wait for it.
void reapLater(pid_t reader, uid_t placeOf) noexcept {
    ZRN_LOG('W', "Reader %d of a caller's files doesn't end yet", reader);
    try {
        std::thread([reader, placeOf] {
            const ReaderPlace place(placeOf);
            reap(reader);
        }).detach();
    } catch (const std::system_error& error) {
        ZRN_LOG_CODE('E', "std::thread", error.code().value());
    }
}

} // namespace

CallerProcess::CallerProcess(ReaderPlace place) : m_place(std::move(place)) {}

int CallerProcess::start(const UserIdentity& caller, const CallerWork& work, Clock::time_point deadline) {
    FileDescriptor input;
    if (const int error = openOutputPipe(m_output, input); error != 0) {
        return error;
    }
    const pid_t parent = ::getpid();
    m_pid = forkChild();
    if (m_pid == 0) {
        runChild(caller, work, input.get(), parent);
    }
    if (m_pid < 0) {
        return errno;
    }
    input.reset(); // so that the child's end is seen
    int setUpError = 0;
    const int error = receive(&setUpError, sizeof setUpError, deadline);
    return error != 0 ? error : setUpError;
}

int CallerProcess::receive(void* bytes, std::size_t sizeBytes, Clock::time_point deadline) const {
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

void CallerProcess::end() noexcept {
    m_output.reset();
    if (m_pid <= 0) {
        return;
    }
    // Even one that has answered, as the caller may have stopped it.
    if (getChildState(m_pid, false) != ChildState::NotOurs) {
        static_cast<void>(::kill(m_pid, SIGKILL));
    }
    if (endsWithin(m_pid, kEndLimit)) {
        reap(m_pid);
    } else {
        reapLater(m_pid, m_place.release());
    }
    m_pid = -1;
}

int writeWhole(int descriptor, const void* bytes, std::size_t sizeBytes) noexcept {
    const char* next = static_cast<const char*>(bytes);
    while (sizeBytes > 0) {
        const ssize_t length = ::write(descriptor, next, sizeBytes);
        if (length < 0 && errno != EINTR) {
            return errno;
        }
        if (length > 0) {
            next += length;
            sizeBytes -= static_cast<std::size_t>(length);
        }
    }
    return 0;
}
