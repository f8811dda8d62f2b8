#pragma once

#include "Common/Utility/log/Logger.h"

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <memory>

/// A counted claim on the process-wide logger. The first claim installs the logger: the given one, else
/// standard output if ZRN_LOGGING_OUTPUT is exactly "STDOUT", else the systemd journal. The last claim to go
/// removes it, and what is logged afterwards is dropped. Any thread may make and drop claims while others
/// log: the logger goes only when no line is on its way through it.
class CLogClient {
public:
    /// @param returnCodeOut  always set to 0; may be null.
    /// @param identifier     the program's name in the log; ignored when a logger is already installed.
    /// @param logger         a ready-made logger to install when there is none; destroyed when there is one.
    CLogClient(uint32_t* returnCodeOut, const char* identifier, std::unique_ptr<ILogger> logger = nullptr);
    ~CLogClient();
    CLogClient(const CLogClient&) = delete;
    CLogClient& operator=(const CLogClient&) = delete;
};

/// Logs a message. Dropped without a word when no logger is installed. The text is cut at 2048 characters.
/// @param severity  'E', 'W' or 'I' ('T' is a trace); any other letter is recorded as debug.
/// @param format    printf format, or null for an empty text.
[[gnu::format(printf, 5, 6)]] void logMessage(const char* function, const char* file, uint32_t line,
                                              char severity, const char* format, ...);

/// Logs a failed call.
/// @param invokedFunction  the call that failed.
/// @param returnCode       its return code, or the errno of a failed system call.
/// @param description      null to take the code's text from the return-code table ("unknown"
/// if it has none).
/// @param format           printf format of what else there is to say, or null.
[[gnu::format(printf, 8, 9)]] void logReturnCode(const char* function, const char* file, uint32_t line,
                                                 char severity, const char* invokedFunction,
                                                 uint32_t returnCode, const char* description,
                                                 const char* format, ...);

/// Logs the message of a number of the message table, whose row has the format of the arguments.
void logCatalogMessage(uint32_t messageId, int severity, ...);
void logCatalogMessageV(uint32_t messageId, char severity, va_list arguments);
/// For callers outside of this system: the same as a trace, severity 'T'.
void logTrace(uint32_t messageId, ...);

/// Does nothing: verbose lines are switched off in this build of the suite.
[[gnu::format(printf, 6, 7)]] void logVerbose(const char* function, const char* file, uint32_t line,
                                              char severity, const char* label, const char* format, ...);

/// For callers outside of this system: replaces the logger by a new one with another identifier, chosen as at
/// the first claim. Lines logged in between are dropped.
/// @return 0, or GLOBAL_ERROR_NO_INSTANCE when there is no claim.
[[nodiscard]] uint32_t setLogIdentifier(const char* identifier);

/// For callers outside of this system: true while a logger is installed.
[[nodiscard]] bool isLoggerInstalled();

/// The two log calls with the caller's place filled in.
#define ZRN_LOG(severity, ...) logMessage(__func__, __FILE__, __LINE__, severity, __VA_ARGS__)
#define ZRN_LOG_CODE(severity, invokedFunction, returnCode)                                                  \
    logReturnCode(__func__, __FILE__, __LINE__, severity, invokedFunction,                                   \
                  static_cast<uint32_t>(returnCode), nullptr, nullptr)
#define ZRN_LOG_CODE_TEXT(severity, invokedFunction, returnCode, ...)                                        \
    logReturnCode(__func__, __FILE__, __LINE__, severity, invokedFunction,                                   \
                  static_cast<uint32_t>(returnCode), nullptr, __VA_ARGS__)

/// The same for a system call that has failed just now: errno is taken before anything else is looked at.
#define ZRN_LOG_ERRNO(severity, invokedFunction) ZRN_LOG_ERRNO_TEXT(severity, invokedFunction, nullptr)
#define ZRN_LOG_ERRNO_TEXT(severity, invokedFunction, ...)                                                   \
    do {                                                                                                     \
        const int errnoOfTheCall = errno;                                                                    \
        ZRN_LOG_CODE_TEXT(severity, invokedFunction, errnoOfTheCall, __VA_ARGS__);                           \
    } while (false)

/// The same with the name of the function in whose name the line is logged.
#define ZRN_LOG_FOR(function, severity, ...) logMessage(function, __FILE__, __LINE__, severity, __VA_ARGS__)
#define ZRN_LOG_CODE_FOR(function, severity, invokedFunction, returnCode, ...)                               \
    logReturnCode(function, __FILE__, __LINE__, severity, invokedFunction,                                   \
                  static_cast<uint32_t>(returnCode), nullptr, __VA_ARGS__)
