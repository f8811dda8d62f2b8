#include "RequestCopy.h"

#include "ChildEnd.h"
#include "ChildSetup.h"
#include "Handles.h"
#include "JobArguments.h"
#include "Log.h"
#include "OutputPipe.h"
#include "ReaderPlace.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <poll.h>
#include <span>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

/// How long the end of a killed child is waited for.
constexpr std::chrono::milliseconds kEndLimit(500);
constexpr int kFirstOwnDescriptor = STDERR_FILENO + 1;

/// What the reading may fail at.
enum class Step : uint32_t {
    None,
    Path,
    Place,
    SetUp,
    Open,
    Look,
    Kind,
    Owner,
    Size,
    Growth,
    Read,
    Start,
    Receive,
    Write
};

const char* textOf(Step step) {
    switch (step) {
    case Step::Path:
        return "not an absolute path";
    case Step::Place:
        return "readers of the user's, or of too many users, are still held up";
    case Step::SetUp:
        return "the reader's setup failed";
    case Step::Open:
        return "open failed";
    case Step::Look:
        return "fstat failed";
    case Step::Kind:
        return "no regular file";
    case Step::Owner:
        return "somebody else's file";
    case Step::Size:
        return "too large";
    case Step::Growth:
        return "grown too large";
    case Step::Read:
        return "read failed";
    case Step::Start:
        return "the reader's start failed";
    case Step::Receive:
        return "the reader gave no answer";
    case Step::Write:
        return "write failed";
    case Step::None:
        break;
    }
    return "nothing failed";
}

/// What the reader says first. If nothing failed, that many bytes follow.
struct Report {
    Step failed = Step::None;
    int error = 0;
    std::size_t sizeBytes = 0;
};

/// Bytes of the file, one more than it may have.
using Buffer = std::vector<char>;

int millisecondsUntil(Clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    return static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0));
}

// Up to readAndReport: what the reader does between fork and its end. Another thread may have held any lock
// at the fork, so all of it is async-signal-safe and allocates nothing. The file's descriptor is no handle:
// the reader's end closes it.

Report failure(Step step, int error) noexcept {
    return {.failed = step, .error = error};
}

/// In this order: the caller's rights, the child's setup (behind the user, whose change would undo part of
/// it), no look into this memory for other processes of that user. Then everything goes that our rights have
/// opened, the current folder too: through /proc/self a path could start there, behind folders that are
/// closed to the caller.
bool setUpReader(const UserIdentity& caller, int pipe, pid_t parent) noexcept {
    const ChildSetup setup{.output = pipe, .discardOutput = true, .endWithCaller = true};
    return becomeUser(caller) && prepareChild(setup, parent) && ::prctl(PR_SET_DUMPABLE, 0) == 0 &&
           ::close_range(kFirstOwnDescriptor, ~0U, 0) == 0 && ::chdir("/") == 0;
}

Step refusalOf(const struct stat& status, uid_t owner) noexcept {
    if (!S_ISREG(status.st_mode)) {
        return Step::Kind;
    }
    if (status.st_uid != owner) {
        return Step::Owner;
    }
    return status.st_size > static_cast<off_t>(kLargestRequestBytes) ? Step::Size : Step::None;
}

/// The file may have grown since its size was looked at.
Report readFile(int file, std::span<char> buffer) noexcept {
    std::size_t size = 0;
    while (size < buffer.size()) {
        const ssize_t length = ::read(file, buffer.data() + size, buffer.size() - size);
        if (length == 0) {
            return {.sizeBytes = size};
        }
        if (length < 0 && errno != EINTR) {
            return failure(Step::Read, errno);
        }
        size += length > 0 ? static_cast<std::size_t>(length) : 0;
    }
    return failure(Step::Growth, 0);
}

Report readRequest(const char* path, uid_t owner, std::span<char> buffer) noexcept {
    const int file = ::open(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (file < 0) {
        return failure(Step::Open, errno);
    }
    struct stat status {};
    if (::fstat(file, &status) != 0) {
        return failure(Step::Look, errno);
    }
    const Step refusal = refusalOf(status, owner);
    return refusal == Step::None ? readFile(file, buffer) : failure(refusal, 0);
}

/// @return 0 or an errno. For descriptors that block.
int writeAll(int descriptor, const void* bytes, std::size_t sizeBytes) noexcept {
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

[[noreturn]] void readAndReport(const UserIdentity& caller, const char* path, int pipe, pid_t parent,
                                std::span<char> buffer) noexcept {
    if (!setUpReader(caller, pipe, parent)) {
        // Standard output may not be the pipe yet.
        const Report report = failure(Step::SetUp, errno);
        static_cast<void>(
            writeAll(pipe, &report, sizeof report)); // one that is closed by now is an answer too
        ::_exit(1);
    }
    const Report report = readRequest(path, caller.user, buffer);
    if (writeAll(STDOUT_FILENO, &report, sizeof report) == 0) {
        static_cast<void>(writeAll(STDOUT_FILENO, buffer.data(), report.sizeBytes)); // the parent counts them
    }
    ::_exit(0);
}

void reapReader(pid_t reader) noexcept {
    int status = 0;
    static_cast<void>(reapChild(reader, status, 0)); // fails only if the system has reaped it already
}

/// A killed process goes on waiting for a file system of the caller's own until that one answers. We don't.
/// It has its place until then, and for good if there is no thread to wait for it.
void reapLater(pid_t reader, uid_t placeOf) noexcept {
    ZRN_LOG('W', "Reader %d of a request file doesn't end yet", reader);
    try {
        std::thread([reader, placeOf] {
            const ReaderPlace place(placeOf);
            reapReader(reader);
        }).detach();
    } catch (const std::system_error& error) {
        ZRN_LOG_CODE('E', "std::thread", error.code().value());
    }
}

/// The process that reads the file, and the pipe from it. Ended and reaped at the latest by the destructor.
class Reader {
public:
    explicit Reader(ReaderPlace place) : m_place(std::move(place)) {}
    ~Reader() { end(); }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    // Each gives 0 or an errno.
    [[nodiscard]] int start(const UserIdentity& caller, const char* path, std::span<char> buffer);
    [[nodiscard]] int receive(void* bytes, std::size_t sizeBytes, Clock::time_point deadline) const;

private:
    void end() noexcept;

    pid_t m_pid = -1;
    FileDescriptor m_output;
    ReaderPlace m_place;
};

int Reader::start(const UserIdentity& caller, const char* path, std::span<char> buffer) {
    FileDescriptor input;
    if (const int error = openOutputPipe(m_output, input); error != 0) {
        return error;
    }
    const pid_t parent = ::getpid();
    m_pid = forkChild();
    if (m_pid == 0) {
        readAndReport(caller, path, input.get(), parent, buffer);
    }
    return m_pid < 0 ? errno : 0;
}

int Reader::receive(void* bytes, std::size_t sizeBytes, Clock::time_point deadline) const {
    char* next = static_cast<char*>(bytes);
    while (sizeBytes > 0) {
        pollfd watched{m_output.get(), POLLIN, 0};
        const int ready = ::poll(&watched, 1, millisecondsUntil(deadline));
        if (ready == 0) {
            return ETIMEDOUT;
        }
        const ssize_t length = ready < 0 ? -1 : ::read(m_output.get(), next, sizeBytes);
        if (length == 0) {
            return EPIPE; // it has gone too early
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

void Reader::end() noexcept {
    m_output.reset();
    if (m_pid <= 0) {
        return;
    }
    // Even one that has answered, as the caller may have stopped it.
    if (getChildState(m_pid, false) != ChildState::NotOurs) {
        static_cast<void>(::kill(m_pid, SIGKILL));
    }
    if (endsWithin(m_pid, kEndLimit)) {
        reapReader(m_pid);
    } else {
        reapLater(m_pid, m_place.release());
    }
    m_pid = -1;
}

/// Gives the file's bytes to the caller of this, in the buffer.
Report receiveRequest(const UserIdentity& caller, const std::string& path, Buffer& buffer) {
    std::optional<ReaderPlace> place = ReaderPlace::take(caller.user);
    if (!place) {
        return failure(Step::Place, 0);
    }
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(kRequestTimeoutMs);
    Reader reader(*std::move(place));
    if (const int error = reader.start(caller, path.c_str(), buffer); error != 0) {
        return failure(Step::Start, error);
    }
    Report report;
    if (const int error = reader.receive(&report, sizeof report, deadline); error != 0) {
        return failure(Step::Receive, error);
    }
    if (report.failed != Step::None) {
        return report;
    }
    if (report.sizeBytes > kLargestRequestBytes) {
        return failure(Step::Size, 0);
    }
    const int error = reader.receive(buffer.data(), report.sizeBytes, deadline);
    return error == 0 ? report : failure(Step::Receive, error);
}

Report copyWithReport(const UserIdentity& caller, const std::string& path, int target) {
    if (!path.starts_with('/') || path.find('\0') != std::string::npos) {
        return failure(Step::Path, 0);
    }
    Buffer buffer(kLargestRequestBytes + 1);
    const Report report = receiveRequest(caller, path, buffer);
    if (report.failed != Step::None) {
        return report;
    }
    const int error = writeAll(target, buffer.data(), report.sizeBytes);
    return error == 0 ? report : failure(Step::Write, error);
}

} // namespace

bool copyRequest(const UserIdentity& caller, const std::string& path, int target) {
    const Report report = copyWithReport(caller, path, target);
    if (report.failed == Step::None) {
        return true;
    }
    ZRN_LOG('W', "Request file \"%s\" of user %u refused: %s, errno %d (%s)", shortForLog(path).c_str(),
            caller.user, textOf(report.failed), report.error,
            report.error == 0 ? "none" : std::strerror(report.error));
    return false;
}
