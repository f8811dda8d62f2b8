#include "Common/Utility/sysutils.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/ReturnCodes.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

constexpr int kKindStamp = 1;
constexpr int kKindAsctime = 2;
constexpr int kKindWithZone = 3;

std::string formatTime(const char* format, const std::tm& localTime) {
    std::array<char, 100> buffer{};
    return {buffer.data(), std::strftime(buffer.data(), buffer.size(), format, &localTime)};
}

std::string asctimeText(const std::tm& localTime) {
    // The size that asctime_r asks for; it gives null for a year that doesn't fit.
    std::array<char, 26> buffer{};
    // NOLINTNEXTLINE(bugprone-unsafe-functions): strftime's names follow the locale
    const char* const text = ::asctime_r(&localTime, buffer.data());
    return text == nullptr ? std::string() : std::string(text);
}

/// stat, with the errno as result, and EFAULT for null.
int inspect(const char* path, struct stat& attributesOut) {
    if (path == nullptr) {
        return EFAULT;
    }
    return ::stat(path, &attributesOut) == 0 ? 0 : errno;
}

/// Logs a failed stat in the name of the caller; that a path doesn't exist is no failure.
void logFailedStat(const char* function, uint32_t line, const char* kind, const char* path, int failure) {
    if (failure != ENOENT) {
        logReturnCode(function, __FILE__, line, 'E', "_tstat", static_cast<uint32_t>(failure), nullptr,
                      "%s: %s\nError: %s", kind, path == nullptr ? "(null)" : path, std::strerror(failure));
    }
}

} // namespace

uint32_t getTimeMsecs() {
    timeval now{};
    if (::gettimeofday(&now, nullptr) != 0) {
        return 0;
    }
    return static_cast<uint32_t>(now.tv_sec) * 1000U + static_cast<uint32_t>(now.tv_usec / 1000);
}

time_t getTimeSecs() {
    return std::time(nullptr);
}

uint32_t getLocalTime(std::tm* tmOut) {
    if (tmOut == nullptr) {
        return GLOBAL_ERROR_BAD_PARAMETER;
    }
    const std::time_t now = std::time(nullptr);
    ::localtime_r(&now, tmOut);
    return 0;
}

uint32_t TimeNowToString(const char* format, char* buffer, uint32_t sizeBytes) {
    if (format == nullptr || buffer == nullptr || sizeBytes == 0) {
        return GLOBAL_ERROR_BAD_PARAMETER;
    }
    std::tm now{};
    static_cast<void>(getLocalTime(&now)); // fails for null only
    if (std::strftime(buffer, sizeBytes, format, &now) == 0) {
        ZRN_LOG_CODE_TEXT('E', "_tcsftime", GLOBAL_ERROR_UNEXPECTED, "%s", format);
        buffer[0] = '\0';
        return GLOBAL_ERROR_UNEXPECTED;
    }
    return 0;
}

std::string getTimeString(int kind) {
    std::tm now{};
    static_cast<void>(getLocalTime(&now)); // fails for null only
    return getTimeString(kind, now);
}

std::string getTimeString(int kind, const std::tm& localTime) {
    switch (kind) {
    case kKindStamp:
        return formatTime("_%m%d_%H%M", localTime);
    case kKindAsctime:
        return asctimeText(localTime);
    case kKindWithZone:
        return formatTime("%a %b %d %H:%M:%S %Y %Z", localTime);
    default:
        return formatTime("%c", localTime);
    }
}

void sleepMsecs(uint32_t milliseconds) {
    // A signal may end the sleep early; the callers poll and can live with that.
    static_cast<void>(::usleep(milliseconds * 1000U));
}

int removeFile(const char* name) {
    if (name == nullptr) {
        return EINVAL;
    }
    return ::unlink(name) == 0 ? 0 : errno;
}

bool fileExists(const char* path) {
    struct stat attributes {};
    if (const int failure = inspect(path, attributes); failure != 0) {
        logFailedStat(__func__, __LINE__, "File", path, failure);
        return false;
    }
    return S_ISREG(attributes.st_mode);
}

bool directoryExists(const char* path) {
    struct stat attributes {};
    if (const int failure = inspect(path, attributes); failure != 0) {
        logFailedStat(__func__, __LINE__, "Directory", path, failure);
        return false;
    }
    return S_ISDIR(attributes.st_mode);
}

bool fileIsReadable(const char* path) {
    struct stat attributes {};
    if (const int failure = inspect(path, attributes); failure != 0) {
        logFailedStat(__func__, __LINE__, "File", path, failure);
        return false;
    }
    if (!S_ISREG(attributes.st_mode) || (attributes.st_mode & S_IRUSR) == 0) {
        ZRN_LOG('W', "File (%s) is not readable or is not a regular file.", path);
        return false;
    }
    if (attributes.st_size == 0) {
        ZRN_LOG('W', "File (%s) is empty.", path);
        return false;
    }
    return true;
}

bool pathExists(const char* path) {
    struct stat attributes {};
    return inspect(path, attributes) == 0;
}

bool install_sighdlr(int signalNumber, SignalHandler handler, SignalHandler* previousOut) {
    struct sigaction action {};
    action.sa_handler = handler;
    ::sigemptyset(&action.sa_mask);
    struct sigaction previous {};
    if (::sigaction(signalNumber, &action, &previous) != 0) {
        const int failure = errno;
        ZRN_LOG_CODE_TEXT('E', "sigaction", failure, "Failed to install signal handler (%s). Signal# = %d.",
                          std::strerror(failure), signalNumber);
        return false;
    }
    if (previousOut != nullptr) {
        *previousOut = previous.sa_handler;
    }
    return true;
}
