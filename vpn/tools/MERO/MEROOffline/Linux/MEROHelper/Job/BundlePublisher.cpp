#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/BundlePublisher.h"

#include "Common/Utility/files/ReplacementFile.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/memory/Handles.h"
#include "Common/Utility/process/ChildSetup.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/ChildEnd.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/CopyBounds.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <optional>
#include <string_view>
#include <sys/prctl.h>
#include <sys/wait.h>

// What runs in the child, up to its _exit, is on the list of async-signal-safe functions or a plain system
// call, and takes no memory. Its descriptors are no handles: its end closes them.

namespace {

using Clock = std::chrono::steady_clock;

/// For a child to be gone after it was killed, and for the one that clears away what a killed one left.
constexpr std::chrono::seconds kClearAwayLimit(5);
constexpr std::size_t kCopyBytes = std::size_t{64} * 1024;
constexpr int kFirstOwnDescriptor = STDERR_FILENO + 1;

/// All that the child needs, ready before the fork.
struct Publication {
    const UserIdentity& caller;
    int archive; ///< behind the standard descriptors, where the child's setup leaves it alone
    std::string folder;
    std::string targetPath;
    std::string temporaryName;
    const std::optional<SpaceLimits>& space;
    /// Of the target path and the temporary name.
    ReplacementFile& file;
};

/// The calls that can fail. The child tells them by number, as its report is no more to be trusted than any
/// other word of a process of the user's.
enum class Call : unsigned {
    None,
    PrepareChild,
    BecomeUser,
    SetDumpable,
    OpenFolder,
    CreateTemporary,
    ReadArchive,
    WriteBytes,
    SetMode,
    Synchronize,
    Link,
    Rename,
    Unlink,
    CheckTarget,
    CheckSpace,
    CheckSize,
    CheckPath,
    DrawName,
    DuplicateArchive,
    MakePipe,
    Fork,
    WaitForChild,
    ReadReport,
    Count
};

/// In the order of Call.
constexpr std::array<const char*, static_cast<std::size_t>(Call::Count)> kCallNames{
    "",         "prepareChild", "becomeUser", "prctl",  "open",          "openat",
    "pread",    "write",        "fchmod",     "fsync",  "linkat",        "renameat",
    "unlinkat", "fstatat",      "fstatvfs",   "fstat",  "publishBundle", "random_device",
    "fcntl",    "pipe2",        "fork",       "waitid", "read"};

/// What went wrong, which a child writes to its standard output. Call::None is success.
struct Failure {
    Call call;
    int error;

    [[nodiscard]] bool happened() const noexcept { return call != Call::None; }
};

constexpr Failure kNoFailure{.call = Call::None, .error = 0};

Failure failed(Call call) noexcept {
    return {.call = call, .error = errno};
}

/// The descriptors of the helper are not for a process of the user's, though nothing is executed in it.
void closeAllButStandardAnd(int kept) noexcept {
    if (kept > kFirstOwnDescriptor) {
        static_cast<void>(::close_range(kFirstOwnDescriptor, static_cast<unsigned>(kept) - 1, 0));
    }
    static_cast<void>(::close_range(static_cast<unsigned>(kept) + 1, ~0U, 0));
}

/// The limit of a file's size is then told by the failed write, which leaves time to clear away.
void ignoreSizeSignal() noexcept {
    struct sigaction ignored {};
    ignored.sa_handler = SIG_IGN;
    static_cast<void>(::sigaction(SIGXFSZ, &ignored, nullptr));
}

Failure becomeCaller(const Publication& publication, int report, pid_t parent) noexcept {
    if (!prepareChild({.output = report, .discardOutput = true}, parent)) {
        return failed(Call::PrepareChild);
    }
    closeAllButStandardAnd(publication.archive);
    ignoreSizeSignal();
    if (!becomeUser(publication.caller)) {
        return failed(Call::BecomeUser);
    }
    // The memory holds what the helper knew, which no debugger of the user's is to read.
    return ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) == 0 ? kNoFailure : failed(Call::SetDumpable);
}

Failure writeAll(int file, const char* bytes, std::size_t size) noexcept {
    while (size > 0) {
        const ssize_t written = ::write(file, bytes, size);
        if (written < 0 && errno != EINTR) {
            return failed(Call::WriteBytes);
        }
        if (written > 0) {
            bytes += written;
            size -= static_cast<std::size_t>(written);
        }
    }
    return kNoFailure;
}

Failure failed(CopyBounds::Breach breach) noexcept {
    switch (breach) {
    case CopyBounds::Breach::Space:
        return {.call = Call::CheckSpace, .error = ENOSPC};
    case CopyBounds::Breach::Size:
        return {.call = Call::CheckSize, .error = EFBIG};
    case CopyBounds::Breach::None:
        break;
    }
    return kNoFailure;
}

/// @param bounds  null for none.
Failure copyBytes(int from, int to, CopyBounds* bounds) noexcept {
    std::array<char, kCopyBytes> bytes{};
    off_t offset = 0;
    Failure breach = bounds == nullptr ? kNoFailure : failed(bounds->begin());
    while (!breach.happened()) {
        const ssize_t count = ::pread(from, bytes.data(), bytes.size(), offset);
        if (count == 0) {
            return kNoFailure;
        }
        if (count < 0 && errno != EINTR) {
            return failed(Call::ReadArchive);
        }
        if (count > 0) {
            const Failure failure = writeAll(to, bytes.data(), static_cast<std::size_t>(count));
            if (failure.happened()) {
                return failure;
            }
            offset += count;
            breach = bounds == nullptr ? kNoFailure : failed(bounds->add(static_cast<uint64_t>(count)));
        }
    }
    return breach;
}

Failure failed(const ReplacementFile::Failure& failure) noexcept {
    static constexpr std::array kCalls{Call::None,    Call::OpenFolder,  Call::CreateTemporary,
                                       Call::SetMode, Call::Synchronize, Call::Link,
                                       Call::Rename};
    return {.call = kCalls[static_cast<std::size_t>(failure.call)], .error = failure.error};
}

Failure copyWithin(const std::optional<SpaceLimits>& limits, int from, int to) noexcept {
    if (!limits) {
        return copyBytes(from, to, nullptr);
    }
    CopyBounds bounds(*limits, from, to);
    return copyBytes(from, to, &bounds);
}

Failure writeFile(const Publication& publication) noexcept {
    ReplacementFile& file = publication.file;
    if (const auto failure = file.create(); failure.happened()) {
        return failed(failure);
    }
    if (const Failure failure = copyWithin(publication.space, publication.archive, file.descriptor());
        failure.happened()) {
        return failure;
    }
    return failed(file.place());
}

/// The user's rights decide about the way to the target, and links on it are the user's own business.
Failure publishAsCaller(const Publication& publication) noexcept {
    if (const int refusal = refusalOfTarget(AT_FDCWD, publication.targetPath.c_str()); refusal != 0) {
        return {.call = Call::CheckTarget, .error = refusal};
    }
    const Failure failure = writeFile(publication);
    publication.file.discard(); // the child's end leaves nothing to do for the object
    return failure;
}

Failure clearAwayAsCaller(const Publication& publication) noexcept {
    const int folder = ::open(publication.folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    return folder >= 0 && ::unlinkat(folder, publication.temporaryName.c_str(), 0) == 0
               ? kNoFailure
               : failed(Call::Unlink);
}

using Work = Failure (*)(const Publication&) noexcept;

[[noreturn]] void runChild(const Publication& publication, Work work, int report, pid_t parent) noexcept {
    Failure failure = becomeCaller(publication, report, parent);
    if (!failure.happened()) {
        failure = work(publication);
    }
    if (!failure.happened()) {
        ::_exit(0);
    }
    const bool told =
        ::write(STDOUT_FILENO, &failure, sizeof failure) == static_cast<ssize_t>(sizeof failure);
    ::_exit(told ? 1 : 2);
}

struct ReportPipe {
    FileDescriptor reader;
    FileDescriptor writer;
};

std::optional<ReportPipe> makeReportPipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        return std::nullopt;
    }
    return ReportPipe{.reader = FileDescriptor(ends[0]), .writer = FileDescriptor(ends[1])};
}

/// How the child ended. `killed` says that its end has left no time to clear away.
struct Outcome {
    Failure failure;
    bool killed;
};

Outcome killLateChild(pid_t child) {
    static_cast<void>(::kill(child, SIGKILL)); // not reaped yet, so the number is still its own
    int status = 0;
    if (endsWithin(child, kClearAwayLimit)) {
        static_cast<void>(reapChild(child, status, 0));
    }
    return {.failure = {.call = Call::WaitForChild, .error = ETIMEDOUT}, .killed = true};
}

Failure readReport(int reader) {
    Failure failure{};
    const bool whole = ::read(reader, &failure, sizeof failure) == static_cast<ssize_t>(sizeof failure);
    const bool known = failure.happened() && failure.call < Call::Count;
    return whole && known ? failure : Failure{.call = Call::ReadReport, .error = EIO};
}

Outcome awaitChild(pid_t child, int reader, Clock::duration limit) {
    if (!endsWithin(child, limit)) {
        return killLateChild(child);
    }
    int status = 0;
    if (reapChild(child, status, 0) != child) {
        return {.failure = failed(Call::WaitForChild), .killed = true};
    }
    if (WIFSIGNALED(status)) {
        return {.failure = {.call = Call::WaitForChild, .error = EINTR}, .killed = true};
    }
    return {.failure = WEXITSTATUS(status) == 0 ? kNoFailure : readReport(reader), .killed = false};
}

Outcome runAsCaller(const Publication& publication, Work work, Clock::duration limit) {
    const std::optional<ReportPipe> report = makeReportPipe();
    if (!report) {
        return {.failure = failed(Call::MakePipe), .killed = false};
    }
    const pid_t parent = ::getpid();
    const pid_t child = forkChild();
    if (child < 0) {
        return {.failure = failed(Call::Fork), .killed = false};
    }
    if (child == 0) {
        runChild(publication, work, report->writer.get(), parent);
    }
    return awaitChild(child, report->reader.get(), limit);
}

Publishing logWriteFailure(const UserIdentity& caller, const Failure& failure) {
    ZRN_LOG_CODE_TEXT('E', kCallNames[static_cast<std::size_t>(failure.call)], failure.error,
                      "The bundle was not written for user %u.", static_cast<unsigned>(caller.user));
    switch (failure.call) {
    case Call::CheckSpace:
        return Publishing::WithoutSpace;
    case Call::CheckSize:
        return Publishing::TooLarge;
    default:
        return Publishing::Failed;
    }
}

/// A name that a string of C would cut short would lead elsewhere.
bool isTargetPath(const std::string& path, std::string_view name) {
    return path.starts_with('/') && path.find('\0') == std::string::npos && !name.empty() && name != "." &&
           name != "..";
}

} // namespace

Publishing publishBundle(const UserIdentity& caller, int archive, const std::string& targetPath,
                         const PublishSettings& settings) {
    const std::size_t nameStart = targetPath.rfind('/') + 1; // 0 if there is none
    const std::string_view name = std::string_view(targetPath).substr(nameStart);
    if (!isTargetPath(targetPath, name)) {
        return logWriteFailure(caller, {.call = Call::CheckPath, .error = EINVAL});
    }
    std::string temporaryName = settings.temporaryName.empty() ? drawHiddenName() : settings.temporaryName;
    if (temporaryName.empty()) {
        return logWriteFailure(caller, failed(Call::DrawName));
    }
    const FileDescriptor source(::fcntl(archive, F_DUPFD_CLOEXEC, kFirstOwnDescriptor));
    if (!source) {
        return logWriteFailure(caller, failed(Call::DuplicateArchive));
    }
    ReplacementFile file(targetPath, temporaryName);
    const Publication publication{.caller = caller,
                                  .archive = source.get(),
                                  .folder = targetPath.substr(0, nameStart),
                                  .targetPath = targetPath,
                                  .temporaryName = std::move(temporaryName),
                                  .space = settings.space,
                                  .file = file};
    const Outcome outcome =
        runAsCaller(publication, publishAsCaller, std::chrono::milliseconds(settings.limitMs));
    if (outcome.killed) {
        // Fails without a word where nothing was left, or where the folder is out of reach by now.
        static_cast<void>(runAsCaller(publication, clearAwayAsCaller, kClearAwayLimit));
    }
    return outcome.failure.happened() ? logWriteFailure(caller, outcome.failure) : Publishing::Done;
}
