#pragma once

#include "Common/Utility/log/Log.h"

#include <mutex>
#include <string>
#include <vector>

/// One line that reached the logger.
struct LogLine {
    char severity;
    /// The finished text, with its line feeds.
    std::string text;
};

/// Installs a logger that keeps every line, for as long as the object lives. The process must have no logger
/// yet.
class CapturedLog {
public:
    CapturedLog();
    ~CapturedLog();
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    [[nodiscard]] std::vector<LogLine> lines() const;
    /// How many lines of this severity hold `part`; '*' takes any severity.
    [[nodiscard]] int count(char severity, const std::string& part) const;
    [[nodiscard]] bool contains(char severity, const std::string& part) const {
        return count(severity, part) > 0;
    }
    /// A line of logReturnCode: by this function, for this invoked call and code.
    [[nodiscard]] bool containsCode(char severity, const std::string& function, const std::string& invoked,
                                    uint32_t code) const;
    /// All lines, for the message of a failing test.
    [[nodiscard]] std::string dump() const;

private:
    class Keeper;
    struct Lines {
        mutable std::mutex lock;
        std::vector<LogLine> kept;
    };
    std::shared_ptr<Lines> m_lines;
    std::unique_ptr<CLogClient> m_client;
};
