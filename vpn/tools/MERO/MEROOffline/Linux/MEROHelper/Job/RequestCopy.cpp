#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/RequestCopy.h"

#include "Common/Utility/files/RegularFile.h"
#include "Common/Utility/files/WholeWrite.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/memory/Handles.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/CallerChild.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/JobArguments.h"

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <span>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

/// What the reading may fail at.
enum class Step : uint32_t {
    None,
    Path,
    Place,
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

Report failure(Step step, int error) noexcept {
    return {.failed = step, .error = error};
}

Step refusalOf(const struct stat& status, uid_t owner) noexcept {
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
    FileDescriptor file;
    if (const int error = openRegularFile(path, O_RDONLY | O_NOFOLLOW, file); error != 0) {
        return error == EISDIR || error == EINVAL ? failure(Step::Kind, 0) : failure(Step::Open, error);
    }
    struct stat status {};
    if (::fstat(file.get(), &status) != 0) {
        return failure(Step::Look, errno);
    }
    const Step refusal = refusalOf(status, owner);
    return refusal == Step::None ? readFile(file.get(), buffer) : failure(refusal, 0);
}

/// Tells a report and then the bytes of the file, if nothing has failed.
class Reading final : public CallerWork {
public:
    Reading(const std::string& path, uid_t owner, std::span<char> buffer)
        : m_path(path.c_str()), m_owner(owner), m_buffer(buffer) {}

    void run() const noexcept override {
        const Report report = readRequest(m_path, m_owner, m_buffer);
        if (writeWhole(STDOUT_FILENO, &report, sizeof report) == 0) {
            // The parent counts them.
            static_cast<void>(writeWhole(STDOUT_FILENO, m_buffer.data(), report.sizeBytes));
        }
    }

private:
    const char* m_path;
    uid_t m_owner;
    std::span<char> m_buffer;
};

/// Gives the file's bytes to the caller of this, in the buffer.
Report receiveRequest(const UserIdentity& caller, const std::string& path, Clock::duration limit,
                      Buffer& buffer) {
    std::optional<ReaderPlace> place = ReaderPlace::take(caller.user);
    if (!place) {
        return failure(Step::Place, 0);
    }
    const Clock::time_point deadline = Clock::now() + limit;
    const Reading reading(path, caller.user, buffer);
    CallerChild reader(std::move(place));
    if (const auto failed = reader.start(caller, reading, deadline); failed) {
        return failure(Step::Start, failed->error);
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

Report copyWithReport(const UserIdentity& caller, const std::string& path, int target,
                      Clock::duration limit) {
    if (!path.starts_with('/') || path.find('\0') != std::string::npos) {
        return failure(Step::Path, 0);
    }
    Buffer buffer(kLargestRequestBytes + 1);
    const Report report = receiveRequest(caller, path, limit, buffer);
    if (report.failed != Step::None) {
        return report;
    }
    const int error = writeWhole(target, buffer.data(), report.sizeBytes);
    return error == 0 ? report : failure(Step::Write, error);
}

} // namespace

bool copyRequest(const UserIdentity& caller, const std::string& path, int target,
                 std::chrono::milliseconds limit) {
    const Report report = copyWithReport(caller, path, target, limit);
    if (report.failed == Step::None) {
        return true;
    }
    ZRN_LOG('W', "Request file \"%s\" of user %u refused: %s, errno %d (%s)", shortForLog(path).c_str(),
            caller.user, textOf(report.failed), report.error,
            report.error == 0 ? "none" : std::strerror(report.error));
    return false;
}
