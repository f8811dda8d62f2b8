#include "Common/Utility/log/LogLevel.h"

#include <algorithm>
#include <array>

namespace {

constexpr int kError = 3;
constexpr int kWarning = 4;
constexpr int kNotice = 5;
constexpr int kDebug = 7;

constexpr std::array kLevelNames = {"EMERGENCY", "ALERT", "CRITICAL", "ERROR", "WARNING", "NOTICE", "INFO"};

} // namespace

int levelOfLine(uint32_t priority, int32_t severity) {
    if (priority < kLevelNames.size()) {
        return static_cast<int>(priority);
    }
    switch (severity) {
    case 'E':
        return kError;
    case 'W':
        return kWarning;
    case 'I': // A notice and not an info: filters of the suite's logs are set to show it.
    case 'T':
        return kNotice;
    default:
        return kDebug;
    }
}

const char* levelName(int level) {
    return level >= 0 && static_cast<std::size_t>(level) < kLevelNames.size()
               ? kLevelNames[static_cast<std::size_t>(level)]
               : "DEBUG";
}

void appendOnOneLine(std::string& line, const char* text) {
    const auto start = static_cast<std::ptrdiff_t>(line.size());
    line += text;
    std::replace(line.begin() + start, line.end(), '\n', ' ');
}
