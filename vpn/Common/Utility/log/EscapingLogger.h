#pragma once

#include "Common/Utility/log/Logger.h"

#include <memory>
#include <string>
#include <string_view>

/// A text in which no byte acts on a terminal or breaks a reader of UTF-8: each byte of a control character
/// (C0 but for the line feed, DEL, C1) and each that is no part of a character is written as in "\x1B". Line
/// feeds stay; the loggers make one line of a text.
[[nodiscard]] std::string escapeForLog(std::string_view text);

/// Hands each line on to another logger with its text escaped. For programs whose log holds texts of others
/// whom they don't trust.
class CEscapingLogger : public ILogger {
public:
    explicit CEscapingLogger(std::unique_ptr<ILogger> logger);
    uint32_t write(uint32_t priority, const char* text, const char* messageName, uint32_t messageId,
                   int32_t severity) override;

private:
    std::unique_ptr<ILogger> m_pLogger;
};
