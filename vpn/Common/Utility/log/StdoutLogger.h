#pragma once

#include "Common/Utility/log/Logger.h"

#include <string>

/// Writes each line to standard output: local time, identifier, process id, level and text. The time zone is
/// the one in force when the logger is made. A line goes out whole, also when several threads log at once.
class CStdoutLogger : public ILogger {
public:
    /// @param identifier  copied; null counts as empty.
    explicit CStdoutLogger(const char* identifier);
    uint32_t write(uint32_t priority, const char* text, const char* messageName, uint32_t messageId,
                   int32_t severity) override;

private:
    std::string m_identifier;
};
