#include "Common/Utility/log/StdoutLogger.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/ReturnCodes.h"
#include "tests/unit/common/log/RedirectedStdout.h"

#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <pthread.h>
#include <stdio_ext.h>
#include <sys/wait.h>

namespace {

using ::testing::EndsWith;
using ::testing::MatchesRegex;

std::string stampOf(std::time_t seconds) {
    std::tm local{};
    ::localtime_r(&seconds, &local);
    std::array<char, 32> stamp{};
    return {stamp.data(), std::strftime(stamp.data(), stamp.size(), "%Y-%m-%d %H:%M:%S", &local)};
}

std::string written(CStdoutLogger& logger, uint32_t priority, const char* text, int32_t severity) {
    const RedirectedStdout redirected;
    EXPECT_EQ(logger.write(priority, text, "MID_NAME", 99, severity), 0U);
    return redirected.output();
}

/// The line's level name, between "]: [" and the next bracket.
std::string levelOf(uint32_t priority, int32_t severity) {
    CStdoutLogger logger("id");
    const std::string line = written(logger, priority, "text", severity);
    const std::size_t start = line.find("]: [") + 4;
    return line.substr(start, line.find(']', start) - start);
}

TEST(StdoutLogger, LineHasTimeIdentifierProcessLevelAndText) {
    CStdoutLogger logger("zrn_meroui");
    const std::time_t before = std::time(nullptr);
    const std::string line = written(logger, 7, "[TID=1432598272] Function: getPath", 'E');
    const std::time_t after = std::time(nullptr);
    const std::string rest =
        " zrn_meroui[" + std::to_string(::getpid()) + "]: [ERROR] [TID=1432598272] Function: getPath\n";
    std::vector<std::string> possible;
    for (std::time_t second = before; second <= after; ++second) {
        possible.push_back(stampOf(second) + rest);
    }
    EXPECT_THAT(possible, ::testing::Contains(line));
}

std::string universalStampOf(std::time_t seconds) {
    std::tm broken{};
    ::gmtime_r(&seconds, &broken);
    std::array<char, 32> stamp{};
    return {stamp.data(), std::strftime(stamp.data(), stamp.size(), "%Y-%m-%d %H:%M:%S", &broken)};
}

TEST(StdoutLogger, TimeIsThatOfTheZoneInForceWhenTheLoggerIsMade) {
    struct Zone {
        const char* name;
        std::time_t offsetSeconds;
    };
    // Both loggers write in the same second, unless the machine is slow.
    for (const Zone& zone : {Zone{"XST-11:30", 11 * 3600 + 1800}, Zone{"YST+3:30", -3 * 3600 - 1800}}) {
        ASSERT_EQ(::setenv("TZ", zone.name, 1), 0);
        CStdoutLogger logger("id");
        const std::time_t before = std::time(nullptr) + zone.offsetSeconds;
        const std::string stamp = written(logger, 7, "text", 'E').substr(0, 19);
        const std::time_t after = std::time(nullptr) + zone.offsetSeconds;
        EXPECT_GE(stamp, universalStampOf(before)) << zone.name;
        EXPECT_LE(stamp, universalStampOf(after)) << zone.name;
    }
}

TEST(StdoutLogger, TimeGoesOnFromSecondToSecond) {
    CStdoutLogger logger("id");
    const std::string first = written(logger, 7, "text", 'E').substr(0, 19);
    std::string last = first;
    const std::time_t limit = std::time(nullptr) + 60;
    while (last == first && std::time(nullptr) < limit) {
        last = written(logger, 7, "text", 'E').substr(0, 19);
    }
    EXPECT_GT(last, first);
}

TEST(StdoutLogger, LineFeedsBecomeBlanks) {
    CStdoutLogger logger("id");
    EXPECT_THAT(written(logger, 7, "one\ntwo\n\nthree\n", 'I'), EndsWith("[NOTICE] one two  three \n"));
}

TEST(StdoutLogger, OtherControlCharactersStay) {
    CStdoutLogger logger("id");
    EXPECT_THAT(written(logger, 7, "a\tb\rc", 'I'), EndsWith("[NOTICE] a\tb\rc\n"));
}

TEST(StdoutLogger, EmptyTextStillGivesALine) {
    CStdoutLogger logger("id");
    EXPECT_THAT(written(logger, 7, "", 'W'), EndsWith("]: [WARNING] \n"));
}

TEST(StdoutLogger, NullTextIsRefusedAndNothingIsWritten) {
    CStdoutLogger logger("id");
    const RedirectedStdout redirected;
    EXPECT_EQ(logger.write(7, nullptr, "MID_NAME", 1, 'E'), GLOBAL_ERROR_BAD_PARAMETER);
    EXPECT_EQ(GLOBAL_ERROR_BAD_PARAMETER, 0xFE000002U);
    EXPECT_EQ(redirected.output(), "");
}

TEST(StdoutLogger, NullIdentifierCountsAsEmpty) {
    CStdoutLogger logger(nullptr);
    const std::string line = written(logger, 7, "text", 'E');
    EXPECT_EQ(line.substr(19), " [" + std::to_string(::getpid()) + "]: [ERROR] text\n");
}

TEST(StdoutLogger, IdentifierIsCopied) {
    std::string identifier = "before";
    CStdoutLogger logger(identifier.c_str());
    identifier = "after!";
    EXPECT_EQ(written(logger, 7, "text", 'E').substr(19, 8), " before[");
}

TEST(StdoutLogger, PrioritiesBelowSevenStandForThemselves) {
    EXPECT_EQ(levelOf(0, 'I'), "EMERGENCY");
    EXPECT_EQ(levelOf(1, 'I'), "ALERT");
    EXPECT_EQ(levelOf(2, 'I'), "CRITICAL");
    EXPECT_EQ(levelOf(3, 'I'), "ERROR");
    EXPECT_EQ(levelOf(4, 'I'), "WARNING");
    EXPECT_EQ(levelOf(5, 'E'), "NOTICE");
    EXPECT_EQ(levelOf(6, 'E'), "INFO");
}

TEST(StdoutLogger, OtherPrioritiesTakeTheLevelFromTheSeverity) {
    for (const uint32_t priority : {7U, 8U, 0xFFFFFFFFU}) {
        EXPECT_EQ(levelOf(priority, 'E'), "ERROR");
        EXPECT_EQ(levelOf(priority, 'W'), "WARNING");
        EXPECT_EQ(levelOf(priority, 'T'), "NOTICE");
        EXPECT_EQ(levelOf(priority, 'D'), "DEBUG");
        EXPECT_EQ(levelOf(priority, 'e'), "DEBUG");
        EXPECT_EQ(levelOf(priority, 0), "DEBUG");
        EXPECT_EQ(levelOf(priority, 'E' + 256), "DEBUG");
    }
}

TEST(StdoutLogger, SeverityIIsANoticeAndNotAnInfo) {
    EXPECT_EQ(levelOf(7, 'I'), "NOTICE");
}

TEST(StdoutLogger, TextBeyondTheStreamsBufferStaysWhole) {
    CStdoutLogger logger("id");
    const std::string text(100000, 'x');
    EXPECT_THAT(written(logger, 7, text.c_str(), 'E'), EndsWith("]: [ERROR] " + text + "\n"));
}

TEST(StdoutLogger, KeepsTheOrderWithOtherOutputOfTheProcess) {
    CStdoutLogger logger("id");
    const RedirectedStdout redirected;
    std::fputs("printed before\n", stdout);
    EXPECT_EQ(logger.write(7, "logged", "MID_NAME", 1, 'E'), 0U);
    EXPECT_THAT(redirected.output(), MatchesRegex("printed before\n.* id\\[[0-9]+\\]: \\[ERROR\\] logged\n"));
}

TEST(StdoutLogger, ChildProcessShowsItsOwnId) {
    CStdoutLogger logger("id");
    const RedirectedStdout redirected;
    EXPECT_EQ(logger.write(7, "parent", "MID_NAME", 1, 'E'), 0U);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        ::_exit(logger.write(7, "child", "MID_NAME", 1, 'E') == 0 ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_THAT(redirected.output(), EndsWith(" id[" + std::to_string(child) + "]: [ERROR] child\n"));
}

TEST(StdoutLogger, FailureOfTheStreamIsIgnored) {
    CStdoutLogger logger("id");
    std::fflush(stdout);
    const FileDescriptor former(::dup(STDOUT_FILENO));
    const FileDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    ASSERT_GE(::dup2(full.get(), STDOUT_FILENO), 0);
    const uint32_t code = logger.write(7, "text", "MID_NAME", 1, 'E');
    const std::size_t leftOver = ::__fpending(stdout);
    ASSERT_GE(::dup2(former.get(), STDOUT_FILENO), 0);
    EXPECT_EQ(code, 0U);
    EXPECT_EQ(leftOver, 0U) << "the lost line would turn up in later output";
    std::clearerr(stdout);
}

/// Logs one message through the logger that the variable chooses, and gives what standard output got of it.
std::string loggedWith(const char* value) {
    EXPECT_EQ(value == nullptr ? ::unsetenv("ZRN_LOGGING_OUTPUT") : ::setenv("ZRN_LOGGING_OUTPUT", value, 1),
              0);
    const RedirectedStdout redirected;
    const CLogClient client(nullptr, "zrn_meroui");
    logMessage("getPath", "MEROAction", 44, 'E', "pDC is\n%s", "NULL");
    return redirected.output();
}

std::string threadField() {
    return "[TID=" + std::to_string(static_cast<int>(static_cast<uint64_t>(::pthread_self()))) + "]";
}

TEST(StdoutLogger, IsChosenByTheExactWord) {
    EXPECT_EQ(loggedWith("STDOUT").substr(19),
              " zrn_meroui[" + std::to_string(::getpid()) + "]: [ERROR] " + threadField() +
                  " Function: getPath File: MEROAction Line: 44 pDC is NULL\n");
}

TEST(StdoutLogger, IsNotChosenByAnyOtherWord) {
    for (const char* value : {"stdout", "STDOUT ", " STDOUT", "STDOUT2", "STD", "JOURNAL", ""}) {
        EXPECT_EQ(loggedWith(value), "") << '"' << value << '"';
    }
    EXPECT_EQ(loggedWith(nullptr), "");
}

TEST(StdoutLogger, ChoiceIsMadeOnceAndIdentifierKept) {
    ASSERT_EQ(::setenv("ZRN_LOGGING_OUTPUT", "STDOUT", 1), 0);
    const CLogClient first(nullptr, "first");
    ASSERT_EQ(::setenv("ZRN_LOGGING_OUTPUT", "", 1), 0);
    const CLogClient second(nullptr, "second");
    const RedirectedStdout redirected;
    logMessage("f", "a.cpp", 1, 'I', "text");
    EXPECT_EQ(redirected.output().substr(19, 7), " first[");
}

TEST(StdoutLogger, ReturnCodeLineEndsInOneBlankWhenThereIsNothingMoreToSay) {
    ASSERT_EQ(::setenv("ZRN_LOGGING_OUTPUT", "STDOUT", 1), 0);
    const CLogClient client(nullptr, "zrn_meroui");
    const RedirectedStdout redirected;
    logReturnCode("Execute", "CommandShell", 905, 'E', "CCommandShell::Execute", 0xFEB0000A, nullptr,
                  nullptr);
    EXPECT_THAT(redirected.output(),
                EndsWith("Line: 905 Invoked Function: CCommandShell::Execute Return Code: -22020086 "
                         "(0xFEB0000A) Description: MEROENGINE_ERROR_INTERNAL:Error: MERO encountered an "
                         "unspecified internal error \n"));
}

} // namespace
