#pragma once

#include <cstdint>

/// Where finished log texts go. One is installed for the whole process by CLogClient and is
/// called by any thread.
class ILogger {
public:
    /// Records one line.
    /// @param priority     level 0 to 6, or 7 and above to take it from the severity letter.
    /// @param text         the finished text; line feeds in it become blanks.
    /// @param messageName  name of the message's row; not used by the loggers here.
    /// @param messageId    number of the message's row; not used by the loggers here.
    /// @param severity     the severity letter as a number.
    /// @return 0, or GLOBAL_ERROR_BAD_PARAMETER for a null text. Failures of the medium are not told.
    virtual uint32_t write(uint32_t priority, const char* text, const char* messageName, uint32_t messageId,
                           int32_t severity) = 0;
    virtual ~ILogger() = default;
};
