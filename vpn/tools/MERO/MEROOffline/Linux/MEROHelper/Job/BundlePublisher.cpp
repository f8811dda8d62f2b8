#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/BundlePublisher.h"

#include "Common/Utility/files/HiddenFiles.h"
#include "Common/Utility/files/ReplacementFile.h"
#include "Common/Utility/files/WholeWrite.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/memory/Handles.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/CallerChild.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/CopyBounds.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <optional>
#include <string_view>
#include <unistd.h>
#include <utility>

// What runs in the child is on the list of async-signal-safe functions or a plain system call, and takes no
// memory. Its descriptors are no handles: its end closes them.

namespace {

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
    Count
};

/// In the order of Call.
constexpr std::array<const char*, static_cast<std::size_t>(Call::Count)> kCallNames{
    "",       "open",     "openat",   "pread",   "write",    "fchmod", "fsync",
    "linkat", "renameat", "unlinkat", "fstatat", "fstatvfs", "fstat"};

/// What went wrong, which the child tells. Call::None is success.
struct Failure {
    Call call;
    int error;

    [[nodiscard]] bool happened() const noexcept { return call != Call::None; }
};

constexpr Failure kNoFailure{.call = Call::None, .error = 0};

Failure failed(Call call) noexcept {
    return {.call = call, .error = errno};
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
            const int error = writeWhole(to, bytes.data(), static_cast<std::size_t>(count));
            if (error != 0) {
                return {.call = Call::WriteBytes, .error = error};
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

void leaveNothing(int /*signal*/) noexcept {
    removeHiddenFiles();
    ::_exit(1);
}

/// The end of the helper comes as SIGTERM, which leaves the time for that. As a caught signal it does not
/// free this process from a file system that doesn't answer; SIGKILL does, a little after the helper, if it
/// were there, would have sent it.
bool prepareForTheEnd(int limitMs) noexcept {
    struct sigaction action {};
    action.sa_handler = &leaveNothing;
    sigevent end{};
    end.sigev_notify = SIGEV_SIGNAL;
    end.sigev_signo = SIGKILL;
    constexpr int kMsPerSecond = 1000;
    itimerspec limit{};
    limit.it_value.tv_sec = (limitMs / kMsPerSecond) + 1;
    timer_t timer{};
    return ::timer_create(CLOCK_MONOTONIC, &end, &timer) == 0 &&
           ::timer_settime(timer, 0, &limit, nullptr) == 0 && ::sigaction(SIGTERM, &action, nullptr) == 0;
}

using Deed = Failure (*)(const Publication&) noexcept;

/// Does it and tells how it went.
class PublishWork final : public CallerWork {
public:
    PublishWork(const Publication& publication, Deed deed, int limitMs)
        : CallerWork(publication.archive), m_publication(publication), m_deed(deed), m_limitMs(limitMs) {}

    void run() const noexcept override {
        // Without that the end leaves a hidden file, if anything.
        static_cast<void>(prepareForTheEnd(m_limitMs));
        const Failure failure = m_deed(m_publication);
        // Without a word the deed counts as failed.
        static_cast<void>(writeWhole(STDOUT_FILENO, &failure, sizeof failure));
    }

private:
    const Publication& m_publication;
    Deed m_deed;
    int m_limitMs;
};

/// What the log says, and whether the child has had no time to clear away.
struct Outcome {
    const char* call;
    int error;
    bool silent = false;
    Publishing result = Publishing::Failed;
};

/// A child that gave no answer: at the limit, or as it was killed.
Outcome silenceOf(int error) {
    return {.call = "waitid", .error = error == EPIPE ? EINTR : error, .silent = true};
}

Outcome outcomeOf(const Failure& failure) {
    if (failure.call >= Call::Count) {
        return {.call = "read", .error = EIO};
    }
    const Publishing result = failure.call == Call::None         ? Publishing::Done
                              : failure.call == Call::CheckSpace ? Publishing::WithoutSpace
                              : failure.call == Call::CheckSize  ? Publishing::TooLarge
                                                                 : Publishing::Failed;
    return {
        .call = kCallNames[static_cast<std::size_t>(failure.call)], .error = failure.error, .result = result};
}

/// @param endLimitMs  for the child to be gone after it was killed.
Outcome runAsCaller(const Publication& publication, Deed deed, int limitMs, int endLimitMs) {
    const auto deadline = CallerChild::Clock::now() + std::chrono::milliseconds(limitMs);
    const PublishWork work(publication, deed, limitMs);
    CallerChild child(std::nullopt, std::chrono::milliseconds(endLimitMs));
    if (const auto failed = child.start(publication.caller, work, deadline); failed) {
        return failed->call == nullptr ? silenceOf(failed->error)
                                       : Outcome{.call = failed->call, .error = failed->error};
    }
    Failure told = kNoFailure;
    const int error = child.receive(&told, sizeof told, deadline);
    return error == 0 ? outcomeOf(told) : silenceOf(error);
}

Publishing logWriteFailure(const UserIdentity& caller, const Outcome& outcome) {
    ZRN_LOG_CODE_TEXT('E', outcome.call, outcome.error, "The bundle was not written for user %u.",
                      static_cast<unsigned>(caller.user));
    return outcome.result;
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
        return logWriteFailure(caller, {.call = "publishBundle", .error = EINVAL});
    }
    std::string temporaryName = settings.temporaryName.empty() ? drawHiddenName() : settings.temporaryName;
    if (temporaryName.empty()) {
        return logWriteFailure(caller, {.call = "random_device", .error = errno});
    }
    const FileDescriptor source(::fcntl(archive, F_DUPFD_CLOEXEC, kFirstOwnDescriptor));
    if (!source) {
        return logWriteFailure(caller, {.call = "fcntl", .error = errno});
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
        runAsCaller(publication, publishAsCaller, settings.limitMs, settings.clearAwayLimitMs);
    if (outcome.silent) {
        // Fails without a word where nothing was left, or where the folder is out of reach by now.
        static_cast<void>(runAsCaller(publication, clearAwayAsCaller, settings.clearAwayLimitMs,
                                      settings.clearAwayLimitMs));
    }
    return outcome.result == Publishing::Done ? Publishing::Done : logWriteFailure(caller, outcome);
}
