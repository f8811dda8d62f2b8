#include "Common/Utility/log/Log.h"

#include "Common/Utility/log/MessageTable.h"
#include "Common/Utility/ReturnCodes.h"

#include <cstdlib>
#include <gmock/gmock.h>
#include <pthread.h>
#include <string>
#include <vector>

namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;

/// One call of ILogger::write.
struct Written {
    uint32_t priority;
    std::string text;
    std::string messageName;
    uint32_t messageId;
    int32_t severity;
};

/// What loggers of the test leave behind; outlives them.
struct Record {
    std::vector<Written> written;
    int loggersDestroyed = 0;
};

class RecordingLogger : public ILogger {
public:
    explicit RecordingLogger(Record& record) : m_record(record) {}
    ~RecordingLogger() override { ++m_record.loggersDestroyed; }
    RecordingLogger(const RecordingLogger&) = delete;
    RecordingLogger& operator=(const RecordingLogger&) = delete;
    uint32_t write(uint32_t priority, const char* text, const char* messageName, uint32_t messageId,
                   int32_t severity) override {
        m_record.written.push_back({priority, text, messageName, messageId, severity});
        return 0;
    }

private:
    Record& m_record;
};

class LogTest : public ::testing::Test {
protected:
    [[nodiscard]] std::unique_ptr<CLogClient> makeClient() {
        return std::make_unique<CLogClient>(nullptr, "test", std::make_unique<RecordingLogger>(m_record));
    }
    [[nodiscard]] std::string onlyText() const {
        EXPECT_EQ(m_record.written.size(), 1U);
        return m_record.written.empty() ? "" : m_record.written.back().text;
    }

    Record m_record;
};

std::string threadField() {
    return "[TID=" + std::to_string(static_cast<int>(static_cast<uint64_t>(::pthread_self()))) + "]\n";
}

TEST_F(LogTest, MessageHasTheFormOfTheDebugRow) {
    const auto client = makeClient();
    logMessage("getPath", "MEROAction.cpp", 44, 'E', "pDC is %s", "NULL");
    ASSERT_EQ(m_record.written.size(), 1U);
    const Written& line = m_record.written[0];
    EXPECT_EQ(line.text, threadField() + "Function: getPath\nFile: MEROAction.cpp\nLine: 44\npDC is NULL");
    EXPECT_EQ(line.priority, 7U);
    EXPECT_EQ(line.messageName, "MID_DEBUG_MESSAGE");
    EXPECT_EQ(line.messageId, 1U);
    EXPECT_EQ(line.severity, 'E');
}

TEST_F(LogTest, ReturnCodeHasTheFormOfItsRow) {
    const auto client = makeClient();
    logReturnCode("collect", "collector.cpp", 905, 'W', "CCommandShell::Execute", 0xFEB0000A, nullptr,
                  nullptr);
    ASSERT_EQ(m_record.written.size(), 1U);
    const Written& line = m_record.written[0];
    EXPECT_EQ(line.text, threadField() + "Function: collect\nFile: collector.cpp\nLine: 905\n"
                                         "Invoked Function: CCommandShell::Execute\n"
                                         "Return Code: -22020086 (0xFEB0000A)\n"
                                         "Description: MEROENGINE_ERROR_INTERNAL:Error: MERO encountered an "
                                         "unspecified internal error\n");
    EXPECT_EQ(line.priority, 7U);
    EXPECT_EQ(line.messageName, "MID_DEBUG_RETURN_CODE");
    EXPECT_EQ(line.messageId, 3U);
    EXPECT_EQ(line.severity, 'W');
}

TEST_F(LogTest, NullFormatLeavesTheBodyEmpty) {
    const auto client = makeClient();
    const char* const noFormat = nullptr;
    logMessage("f", "a.cpp", 1, 'I', "%s", "left over from before");
    logMessage("f", "a.cpp", 2, 'I', noFormat);
    ASSERT_EQ(m_record.written.size(), 2U);
    EXPECT_EQ(m_record.written[1].text, threadField() + "Function: f\nFile: a.cpp\nLine: 2\n");
}

TEST_F(LogTest, BodyIsCutAt2048Characters) {
    const auto client = makeClient();
    logMessage("f", "a.cpp", 1, 'I', "%s", std::string(3000, 'x').c_str());
    EXPECT_EQ(onlyText(), threadField() + "Function: f\nFile: a.cpp\nLine: 1\n" + std::string(2048, 'x'));
}

TEST_F(LogTest, BodyOfAReturnCodeIsCutAt2048Characters) {
    const auto client = makeClient();
    logReturnCode("f", "a.cpp", 1, 'I', "g", 2, nullptr, "%s", std::string(3000, 'x').c_str());
    EXPECT_THAT(onlyText(), EndsWith("Description: unknown\n" + std::string(2048, 'x')));
}

TEST_F(LogTest, ReasonBehindALongPathIsNotCutOff) {
    const auto client = makeClient();
    const std::string path(4000, 'x');
    logMessage("f", "a.cpp", 1, 'E', "File: %s, 100%% of %d, error: %s", path.c_str(), 7, "No space left");
    EXPECT_THAT(onlyText(), HasSubstr("Line: 1\nFile: " + std::string(1000, 'x')));
    EXPECT_THAT(onlyText(), EndsWith("x, 100% of 7, error: No space left"));
}

TEST_F(LogTest, PercentSignInFrontOfALetterIsNoTextOfALongLine) {
    const auto client = makeClient();
    const std::string path(4000, 'x');
    logMessage("f", "a.cpp", 1, 'E', "100%%s of %s, error: %s", path.c_str(), "No space left");
    EXPECT_THAT(onlyText(), HasSubstr("Line: 1\n100%s of " + std::string(1000, 'x')));
    EXPECT_THAT(onlyText(), EndsWith("x, error: No space left"));
}

TEST_F(LogTest, ReasonBehindALongPathOfAReturnCodeIsNotCutOff) {
    const auto client = makeClient();
    const std::string path(4000, 'x');
    logReturnCode("f", "a.cpp", 1, 'E', "g", 2, nullptr, "From %s to %s: %s", path.c_str(), path.c_str(),
                  "No space left");
    EXPECT_THAT(onlyText(), HasSubstr("x to x"));
    EXPECT_THAT(onlyText(), EndsWith("x: No space left"));
}

TEST_F(LogTest, TextsOfALineThatFitsAreNotLimited) {
    const auto client = makeClient();
    const std::string path(2040, 'x');
    logMessage("f", "a.cpp", 1, 'E', "%s: %s", path.c_str(), "reason");
    EXPECT_THAT(onlyText(), EndsWith("\n" + path + ": reason"));
}

TEST_F(LogTest, ReasonThatIsTooLongItselfIsCut) {
    const auto client = makeClient();
    logMessage("f", "a.cpp", 1, 'E', "%s: %s", "short", std::string(3000, 'y').c_str());
    EXPECT_THAT(onlyText(), EndsWith("short: " + std::string(2048 - 7, 'y')));
}

TEST_F(LogTest, BodyOf2048CharactersStaysWhole) {
    const auto client = makeClient();
    logMessage("f", "a.cpp", 1, 'I', "%s", (std::string(2047, 'x') + "y").c_str());
    EXPECT_THAT(onlyText(), EndsWith("xy"));
}

TEST_F(LogTest, WholeTextIsCutAt2560Characters) {
    const auto client = makeClient();
    const std::string function(1000, 'f');
    logMessage(function.c_str(), "a.cpp", 1, 'I', "%s", std::string(3000, 'x').c_str());
    const std::string whole =
        threadField() + "Function: " + function + "\nFile: a.cpp\nLine: 1\n" + std::string(2048, 'x');
    EXPECT_EQ(onlyText(), whole.substr(0, 2560));
}

TEST_F(LogTest, WholeTextOfAReturnCodeIsCutAt2560Characters) {
    const auto client = makeClient();
    logReturnCode("f", "a.cpp", 1, 'I', std::string(600, 'g').c_str(), 2, nullptr, "%s",
                  std::string(3000, 'x').c_str());
    EXPECT_EQ(onlyText().size(), 2560U);
}

TEST_F(LogTest, PercentSignsInValuesAreNotFormatsAgain) {
    const auto client = makeClient();
    logMessage("f", "a.cpp", 1, 'I', "%s", "100%s%n%d");
    EXPECT_THAT(onlyText(), EndsWith("\n100%s%n%d"));
}

TEST_F(LogTest, GivenDescriptionWinsOverTheTable) {
    const auto client = makeClient();
    logReturnCode("f", "a.cpp", 1, 'E', "g", 0xFEB0000A, "my own words", "File: %s", "/a");
    EXPECT_THAT(onlyText(), EndsWith("\nDescription: my own words\nFile: /a"));
}

TEST_F(LogTest, CodeZeroWithAFormatShowsTheBodyAsDescription) {
    const auto client = makeClient();
    logReturnCode("f", "a.cpp", 1, 'I', "g", 0, nullptr, "copied %d files", 3);
    EXPECT_THAT(onlyText(), EndsWith("\nReturn Code: 0 (0x00000000)\nDescription: copied 3 files\n"));
}

TEST_F(LogTest, CodeZeroWithAnEmptyBodyShowsAnEmptyDescription) {
    const auto client = makeClient();
    logReturnCode("f", "a.cpp", 1, 'I', "g", 0, nullptr, "%s", "");
    EXPECT_THAT(onlyText(), EndsWith("\nDescription: \n"));
}

TEST_F(LogTest, CodeZeroWithoutAFormatIsUnknown) {
    const auto client = makeClient();
    logReturnCode("f", "a.cpp", 1, 'I', "g", 0, nullptr, nullptr);
    EXPECT_THAT(onlyText(), EndsWith("\nReturn Code: 0 (0x00000000)\nDescription: unknown\n"));
}

TEST_F(LogTest, CodeZeroWithADescriptionKeepsTheBodyInItsField) {
    const auto client = makeClient();
    logReturnCode("f", "a.cpp", 1, 'I', "g", 0, "all well", "%s", "body");
    EXPECT_THAT(onlyText(), EndsWith("\nDescription: all well\nbody"));
}

TEST_F(LogTest, ErrnoIsUnknownUnlessADescriptionIsGiven) {
    const auto client = makeClient();
    logReturnCode("f", "a.cpp", 1, 'E', "open", 2, nullptr, "File: %s\nError: %s", "/a",
                  "No such file or directory");
    EXPECT_THAT(onlyText(),
                EndsWith("\nInvoked Function: open\nReturn Code: 2 (0x00000002)\nDescription: unknown\n"
                         "File: /a\nError: No such file or directory"));
    logReturnCode("f", "a.cpp", 1, 'E', "open", 2, "gone", nullptr);
    EXPECT_THAT(m_record.written.back().text, EndsWith("\nDescription: gone\n"));
}

TEST_F(LogTest, CodeOfAnEmptyModuleIsUnknown) {
    const auto client = makeClient();
    logReturnCode("f", "a.cpp", 1, 'E', "g", 0xFE7F0002, nullptr, nullptr);
    EXPECT_THAT(onlyText(), EndsWith("(0xFE7F0002)\nDescription: unknown\n"));
}

TEST_F(LogTest, MacrosFillInTheCallersPlace) {
    const auto client = makeClient();
    const std::string line = std::to_string(__LINE__ + 1);
    ZRN_LOG('W', "%d of %d", 1, 2);
    EXPECT_EQ(m_record.written.at(0).text,
              threadField() + "Function: TestBody\nFile: " __FILE__ "\nLine: " + line + "\n1 of 2");
    ZRN_LOG_CODE('E', "mkdir", 13);
    EXPECT_THAT(m_record.written.at(1).text, HasSubstr("\nInvoked Function: mkdir\nReturn Code: 13 "));
    ZRN_LOG_CODE_TEXT('E', "mkdir", 13, "File: %s", "/a");
    EXPECT_THAT(m_record.written.at(2).text, EndsWith("\nDescription: unknown\nFile: /a"));
}

TEST_F(LogTest, CatalogMessageUsesItsRow) {
    const auto client = makeClient();
    logCatalogMessage(0, 'W', "plain text");
    ASSERT_EQ(m_record.written.size(), 1U);
    EXPECT_EQ(m_record.written[0].text, "plain text");
    EXPECT_EQ(m_record.written[0].messageName, "MID_UNKNOWN");
    EXPECT_EQ(m_record.written[0].priority, 5U);
    EXPECT_EQ(m_record.written[0].severity, 'W');
}

TEST_F(LogTest, TraceHasSeverityT) {
    const auto client = makeClient();
    logTrace(5, "label", "a.cpp", 7, "f", "text");
    ASSERT_EQ(m_record.written.size(), 1U);
    EXPECT_EQ(m_record.written[0].text, "[label] a.cpp:7(f) text");
    EXPECT_EQ(m_record.written[0].messageName, "MID_VERBOSE_MESSAGE");
    EXPECT_EQ(m_record.written[0].severity, 'T');
}

TEST_F(LogTest, MessageNumberWithoutARowGivesAnEmptyText) {
    const auto client = makeClient();
    logCatalogMessage(0, 'E', "left over from before");
    logCatalogMessage(6, 'E', "not shown");
    ASSERT_EQ(m_record.written.size(), 2U);
    EXPECT_EQ(m_record.written[1].text, "");
    EXPECT_EQ(m_record.written[1].messageName, "UNKNOWN");
    EXPECT_EQ(m_record.written[1].messageId, 6U);
    EXPECT_EQ(m_record.written[1].priority, 7U);
}

TEST_F(LogTest, VerboseLinesAreSwitchedOff) {
    const auto client = makeClient();
    logVerbose("f", "a.cpp", 1, 'I', "label", "Notification event wait timeout is '%u' milliseconds, '%s'",
               5U, "x");
    EXPECT_TRUE(m_record.written.empty());
}

TEST_F(LogTest, ClientSetsItsReturnCodeToZero) {
    uint32_t code = 77;
    const CLogClient client(&code, "test", std::make_unique<RecordingLogger>(m_record));
    EXPECT_EQ(code, 0U);
}

TEST_F(LogTest, SecondClientKeepsTheLoggerWorkingUntilItGoesToo) {
    auto first = makeClient();
    auto second = std::make_unique<CLogClient>(nullptr, "other");
    first.reset();
    EXPECT_TRUE(isLoggerInstalled());
    EXPECT_EQ(m_record.loggersDestroyed, 0);
    logMessage("f", "a.cpp", 1, 'I', "still here");
    EXPECT_THAT(onlyText(), EndsWith("still here"));
    second.reset();
    EXPECT_FALSE(isLoggerInstalled());
    EXPECT_EQ(m_record.loggersDestroyed, 1);
}

TEST_F(LogTest, LoggerOfALaterClientIsDestroyedUnused) {
    const auto first = makeClient();
    Record unused;
    const CLogClient second(nullptr, "other", std::make_unique<RecordingLogger>(unused));
    logMessage("f", "a.cpp", 1, 'I', "text");
    EXPECT_TRUE(unused.written.empty());
    EXPECT_EQ(unused.loggersDestroyed, 1);
    EXPECT_EQ(m_record.written.size(), 1U);
}

TEST_F(LogTest, CallsWithoutAClientAreDropped) {
    EXPECT_FALSE(isLoggerInstalled());
    logMessage("f", "a.cpp", 1, 'E', "before");
    makeClient().reset();
    logMessage("f", "a.cpp", 1, 'E', "after");
    logReturnCode("f", "a.cpp", 1, 'E', "g", 0xFEB0000A, nullptr, nullptr);
    EXPECT_TRUE(m_record.written.empty());
    EXPECT_EQ(m_record.loggersDestroyed, 1);
}

TEST_F(LogTest, LoggerComesBackWithAClientAfterTheLastOne) {
    makeClient().reset();
    const auto client = makeClient();
    logMessage("f", "a.cpp", 1, 'I', "again");
    EXPECT_EQ(m_record.written.size(), 1U);
}

TEST_F(LogTest, IdentifierCannotBeSetWithoutAClient) {
    EXPECT_EQ(setLogIdentifier("other"), GLOBAL_ERROR_NO_INSTANCE);
    EXPECT_EQ(GLOBAL_ERROR_NO_INSTANCE, 0xFE00000AU);
    EXPECT_FALSE(isLoggerInstalled());
}

TEST_F(LogTest, SettingTheIdentifierReplacesTheLogger) {
    ASSERT_EQ(::setenv("ZRN_LOGGING_OUTPUT", "STDOUT", 1), 0);
    const auto client = makeClient();
    EXPECT_EQ(setLogIdentifier("other"), 0U);
    EXPECT_EQ(m_record.loggersDestroyed, 1);
    EXPECT_TRUE(isLoggerInstalled());
    ::testing::internal::CaptureStdout();
    logMessage("f", "a.cpp", 1, 'I', "text");
    EXPECT_THAT(::testing::internal::GetCapturedStdout(), HasSubstr(" other["));
    EXPECT_TRUE(m_record.written.empty());
}

/// A logger that has no memory for the line.
class ExhaustedLogger : public ILogger {
public:
    uint32_t write(uint32_t /*priority*/, const char* /*text*/, const char* /*messageName*/,
                   uint32_t /*messageId*/, int32_t /*severity*/) override {
        throw std::bad_alloc();
    }
};

TEST_F(LogTest, LackOfMemoryInTheLoggerNeverReachesTheCaller) {
    const CLogClient client(nullptr, "test", std::make_unique<ExhaustedLogger>());
    EXPECT_NO_THROW(logMessage("f", "a.cpp", 1, 'E', "lost"));
}

/// A logger that refuses every line.
class RefusingLogger : public ILogger {
public:
    explicit RefusingLogger(int& calls) : m_calls(calls) {}
    uint32_t write(uint32_t /*priority*/, const char* /*text*/, const char* /*messageName*/,
                   uint32_t /*messageId*/, int32_t /*severity*/) override {
        ++m_calls;
        return GLOBAL_ERROR_UNEXPECTED;
    }

private:
    int& m_calls;
};

TEST_F(LogTest, FailureOfTheLoggerIsIgnored) {
    int calls = 0;
    const CLogClient client(nullptr, "test", std::make_unique<RefusingLogger>(calls));
    logMessage("f", "a.cpp", 1, 'E', "one");
    logMessage("f", "a.cpp", 1, 'E', "two");
    EXPECT_EQ(calls, 2);
}

/// Logs while static objects are taken down, from a destructor that runs after the last client's.
struct LastWords {
    ~LastWords() { logMessage("f", "a.cpp", 1, 'E', "nobody hears this"); }
};

TEST(LogDeathTest, LoggingAfterTheLastStaticClientIsHarmless) {
    EXPECT_EXIT(
        {
            static const LastWords lastWords;
            static const CLogClient client(nullptr, "test");
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST(LogDeathTest, LoggingAtExitWithAClientThatNeverGoesIsHarmless) {
    EXPECT_EXIT(
        {
            static const LastWords lastWords;
            // A claim that nobody ends outlives the shared state, and nobody takes its logger down.
            static const CLogClient* const kept = std::make_unique<CLogClient>(nullptr, "test").release();
            static_cast<void>(kept);
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "");
}

} // namespace
