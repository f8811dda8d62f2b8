#include "Common/Utility/log/StdoutLogger.h"

#include "Common/Utility/log/LogLevel.h"
#include "Common/Utility/ReturnCodes.h"

#include <array>
#include <atomic>
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

/// How often the time zone was read; lines that were stamped under another reading are stamped anew.
std::atomic<uint32_t> g_zoneReadings = 0;

/// The last stamp that a thread made. Lines come many to a second, and breaking the time down is what would
/// cost most about one.
struct Stamp {
    std::time_t second = -1;
    uint32_t zoneReading = 0;
    std::size_t length = 0;
    std::array<char, sizeof "-2147481748-12-31 23:59:60"> text{};
};
thread_local Stamp t_stamp;

void appendTime(std::string& line) {
    const std::time_t now = std::time(nullptr);
    const uint32_t zoneReading = g_zoneReadings;
    if (now != t_stamp.second || zoneReading != t_stamp.zoneReading) {
        std::tm local{};
        ::localtime_r(&now, &local);
        t_stamp.length = std::strftime(t_stamp.text.data(), t_stamp.text.size(), "%Y-%m-%d %H:%M:%S", &local);
        t_stamp.second = now;
        t_stamp.zoneReading = zoneReading;
    }
    line.append(t_stamp.text.data(), t_stamp.length);
}

} // namespace

CStdoutLogger::CStdoutLogger(const char* identifier) : m_identifier(identifier == nullptr ? "" : identifier) {
    // localtime_r keeps to the zone that the process has seen last.
    ::tzset();
    ++g_zoneReadings;
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
