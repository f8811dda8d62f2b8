#include "StdoutLogger.h"

#include "LogLevel.h"
#include "ReturnCodes.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <unistd.h>

namespace {

/// Holds the stream's lock, so that no other thread's output comes between a line and its flush.
class StdoutLock {
public:
    StdoutLock() { ::flockfile(stdout); }
    ~StdoutLock() { ::funlockfile(stdout); }
    StdoutLock(const StdoutLock&) = delete;
    StdoutLock& operator=(const StdoutLock&) = delete;
};

void appendTime(std::string& line) {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    std::array<char, sizeof "-2147481748-12-31 23:59:60"> stamp{};
    line.append(stamp.data(), std::strftime(stamp.data(), stamp.size(), "%Y-%m-%d %H:%M:%S", &local));
}

} // namespace

CStdoutLogger::CStdoutLogger(const char* identifier)
    : m_identifier(identifier == nullptr ? "" : identifier) {
    // localtime_r keeps to the zone that the process has seen last.
    ::tzset();
}

uint32_t CStdoutLogger::write(uint32_t priority, const char* text, const char* /*messageName*/,
                              uint32_t /*messageId*/, int32_t severity) {
    if (text == nullptr) {
        return GLOBAL_ERROR_BAD_PARAMETER;
    }
    std::string line;
    line.reserve(512);
    appendTime(line);
    line.append(" ").append(m_identifier).append("[").append(std::to_string(::getpid())).append("]: [");
    line.append(levelName(levelOfLine(priority, severity))).append("] ");
    appendOnOneLine(line, text);
    line += '\n';

    // The line goes out in one piece and at once. A failure is dropped: there is nowhere to report it.
    const StdoutLock lock;
    static_cast<void>(::fwrite_unlocked(line.data(), 1, line.size(), stdout));
    static_cast<void>(::fflush_unlocked(stdout));
    return 0;
}
