#include "Common/Utility/log/Log.h"

#include "Common/Utility/log/LoggerChoice.h"
#include "Common/Utility/log/MessageTable.h"
#include "Common/Utility/log/SDJournalLogger.h"
#include "Common/Utility/log/StdoutLogger.h"
#include "Common/Utility/ReturnCodes.h"
#include "Common/Utility/text/BoundedString.h"
#include "Common/Utility/text/LimitedFormat.h"
#include "Common/Utility/threads/ManualLock.h"
#include "Common/Utility/threads/Mutex.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <new>
#include <pthread.h>
#include <string_view>
#include <thread>
#include <utility>

namespace {

constexpr uint32_t kBodySize = 2049;
constexpr uint32_t kTextSize = 2561;

using Body = std::array<char, kBodySize>;
thread_local Body t_messageBody;
thread_local Body t_returnCodeBody;
thread_local std::array<char, kTextSize> t_text;
thread_local uint64_t t_threadId = 0;

/// What the claims share.
struct LogState {
    LogState() = default;
    ~LogState();
    LogState(const LogState&) = delete;
    LogState& operator=(const LogState&) = delete;

    CManualLock m_lock;
    uint32_t m_clientCount ZRN_GUARDED_BY(m_lock) = 0;
    std::unique_ptr<ILogger> m_logger ZRN_GUARDED_BY(m_lock);
};

LogState& logState() {
    static LogState state;
    return state;
}

// The write path takes no lock: it sees the shared state through these, which need no destructor and so serve
// the last static destructor too. g_pLogger views LogState::m_logger.
std::atomic<ILogger*> g_pLogger = nullptr;
std::atomic<uint32_t> g_linesUnderWay = 0;
std::atomic<const ReturnCodeModule*> g_returnCodeTable = nullptr;
std::atomic<uint32_t> g_returnCodeModules = 0;

/// Counts a line that is on its way through the logger, so that the logger isn't deleted under it.
class LineUnderWay {
public:
    LineUnderWay() { g_linesUnderWay.fetch_add(1); }
    ~LineUnderWay() { g_linesUnderWay.fetch_sub(1); }
    LineUnderWay(const LineUnderWay&) = delete;
    LineUnderWay& operator=(const LineUnderWay&) = delete;
};

void installLogger(LogState& state, std::unique_ptr<ILogger> logger) ZRN_REQUIRES(state.m_lock) {
    state.m_logger = std::move(logger);
    g_pLogger = state.m_logger.get();
}

/// Hides the logger from the write path and takes it out of the state.
std::unique_ptr<ILogger> takeLogger(LogState& state) ZRN_REQUIRES(state.m_lock) {
    g_pLogger = nullptr;
    return std::move(state.m_logger);
}

/// Deletes a logger that takeLogger gave, once no line is under way in it.
void deleteLogger(std::unique_ptr<ILogger> logger) {
    constexpr auto kPollInterval = std::chrono::milliseconds(1);
    constexpr int kMaxPolls = 1000;
    for (int polls = 0; g_linesUnderWay != 0; ++polls) {
        if (polls == kMaxPolls) {
            // A line is stuck, in a full pipe that nobody reads for instance. That must not keep the process
            // from ending, and the logger is still in use: leave it to the end of the process.
            static_cast<void>(logger.release());
            return;
        }
        std::this_thread::sleep_for(kPollInterval);
    }
}

/// A claim that never goes leaves the logger to the end of the process, where static objects may still log.
LogState::~LogState() {
    deleteLogger(takeLogger(*this));
}

int threadIdForLine() {
    if (t_threadId == 0) {
        t_threadId = static_cast<uint64_t>(::pthread_self());
    }
    return static_cast<int>(t_threadId);
}

void formatBody(Body& body, const char* format, va_list arguments) {
    body[0] = '\0';
    if (format == nullptr) {
        return;
    }
    va_list again;
    va_copy(again, arguments);
    if (formatBoundedV(body.data(), kBodySize, format, arguments) >= static_cast<int>(kBodySize)) {
        if (const LimitedFormat limited(format, kBodySize - 1); limited.get() != nullptr) {
            static_cast<void>(formatBoundedV(body.data(), kBodySize, limited.get(), again));
        }
    }
    va_end(again);
}

} // namespace

std::unique_ptr<ILogger> chooseLogger(const char* identifier) {
    const char* const output = std::getenv("ZRN_LOGGING_OUTPUT");
    if (output != nullptr && std::string_view(output) == "STDOUT") {
        return std::make_unique<CStdoutLogger>(identifier);
    }
    return std::make_unique<CSDJournalLogger>(identifier);
}

CLogClient::CLogClient(uint32_t* returnCodeOut, const char* identifier, std::unique_ptr<ILogger> logger) {
    LogState& state = logState();
    const LockGuard guard(state.m_lock);
    ++state.m_clientCount;
    g_returnCodeTable = getReturnCodeTable();
    g_returnCodeModules = kReturnCodeModuleCount;
    if (state.m_logger == nullptr) {
        installLogger(state, logger != nullptr ? std::move(logger) : chooseLogger(identifier));
    }
    if (returnCodeOut != nullptr) {
        *returnCodeOut = 0;
    }
}

CLogClient::~CLogClient() {
    LogState& state = logState();
    std::unique_ptr<ILogger> formerLogger;
    {
        const LockGuard guard(state.m_lock);
        if (state.m_clientCount == 0 || --state.m_clientCount != 0) {
            return;
        }
        formerLogger = takeLogger(state);
    }
    deleteLogger(std::move(formerLogger));
}

uint32_t setLogIdentifier(const char* identifier) {
    LogState& state = logState();
    const LockGuard guard(state.m_lock);
    if (state.m_clientCount == 0) {
        return GLOBAL_ERROR_NO_INSTANCE;
    }
    deleteLogger(takeLogger(state));
    installLogger(state, chooseLogger(identifier));
    return 0;
}

bool isLoggerInstalled() {
    LogState& state = logState();
    const LockGuard guard(state.m_lock);
    return state.m_logger != nullptr;
}

void logMessage(const char* function, const char* file, uint32_t line, char severity, const char* format,
                ...) {
    va_list arguments;
    va_start(arguments, format);
    formatBody(t_messageBody, format, arguments);
    va_end(arguments);
    logCatalogMessage(kMessageDebug, severity, threadIdForLine(), function, file, line, t_messageBody.data());
}

void logReturnCode(const char* function, const char* file, uint32_t line, char severity,
                   const char* invokedFunction, uint32_t returnCode, const char* description,
                   const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    formatBody(t_returnCodeBody, format, arguments);
    va_end(arguments);
    if (returnCode != 0 && description == nullptr) {
        description = getReturnCodeDescription(returnCode, g_returnCodeTable, g_returnCodeModules);
    }
    const char* lastField = t_returnCodeBody.data();
    if (format != nullptr && description == nullptr && returnCode == 0) {
        // There is no failure to describe, so what the caller says is the description.
        description = std::exchange(lastField, "");
    }
    logCatalogMessage(kMessageDebugReturnCode, severity, threadIdForLine(), function, file, line,
                      invokedFunction, returnCode, returnCode,
                      description != nullptr ? description : "unknown", lastField);
}

void logCatalogMessageV(uint32_t messageId, char severity, va_list arguments) {
    const MessageRecord& row = *getMessageRecord(messageId);
    static_cast<void>(formatBoundedV(t_text.data(), kTextSize, row.format, arguments));
    if (g_pLogger == nullptr) {
        return;
    }
    const LineUnderWay lineUnderWay;
    // Looked at again: only from here on is the logger sure to stay.
    ILogger* const pLogger = g_pLogger;
    if (pLogger == nullptr) {
        return;
    }
    try {
        // Logging never fails its caller.
        static_cast<void>(pLogger->write(row.priority, t_text.data(), row.name, messageId, severity));
    } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): no memory for the line, so it is lost
    }
}

// An int and not a char: a parameter that promotes can not start an argument list.
void logCatalogMessage(uint32_t messageId, int severity, ...) {
    va_list arguments;
    va_start(arguments, severity);
    logCatalogMessageV(messageId, static_cast<char>(severity), arguments);
    va_end(arguments);
}

void logTrace(uint32_t messageId, ...) {
    va_list arguments;
    va_start(arguments, messageId);
    logCatalogMessageV(messageId, 'T', arguments);
    va_end(arguments);
}

void logVerbose(const char* /*function*/, const char* /*file*/, uint32_t /*line*/, char /*severity*/,
                const char* /*label*/, const char* /*format*/, ...) {}
