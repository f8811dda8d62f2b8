#pragma once

#include "Common/Utility/log/Logger.h"

#include <string>

/// Sends each line to the systemd journal in one call, with the fields
/// MESSAGE, PRIORITY and SYSLOG_IDENTIFIER.
class CSDJournalLogger : public ILogger {
public:
    /// @param identifier  copied; null counts as empty.
    explicit CSDJournalLogger(const char* identifier);
    uint32_t write(uint32_t priority, const char* text, const char* messageName, uint32_t messageId,
                   int32_t severity) override;

private:
    std::string m_identifier;
};
