#include "Common/Utility/log/SDJournalLogger.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/ReturnCodes.h"
#include "tests/unit/common/log/JournalSocket.h"
#include "tests/unit/common/log/RedirectedStdout.h"

#include <cstdlib>
#include <gmock/gmock.h>
#include <pthread.h>
#define SD_JOURNAL_SUPPRESS_LOCATION // NOLINT(cppcoreguidelines-macro-usage): the header's own switch
#include <systemd/sd-journal.h>

namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;

class JournalLogger : public ::testing::Test {
protected:
    void SetUp() override {
        std::string reason;
        if (!journalDatagrams([] {}, reason)) {
            GTEST_SKIP() << "no place for a journal of the test's own here: " << reason;
        }
    }
    static std::vector<std::string> sentBy(const std::function<void()>& body) {
        std::string reason;
        return journalDatagrams(body, reason).value();
    }
    static std::vector<std::string> written(uint32_t priority, const char* text, int32_t severity,
                                            const char* identifier = "zrn_meroui") {
        return sentBy([=] {
            CSDJournalLogger logger(identifier);
            exitUnless(logger.write(priority, text, "MID_NAME", 99, severity) == 0);
        });
    }
    /// The value of the PRIORITY field.
    static std::string priorityOf(uint32_t priority, int32_t severity) {
        const std::string datagram = written(priority, "text", severity).at(0);
        const std::size_t start = datagram.find("\nPRIORITY=") + 10;
        return datagram.substr(start, datagram.find('\n', start) - start);
    }
    /// For the child, where a failed expectation would go unheard; the parent sees its exit status.
    static void exitUnless(bool condition) {
        if (!condition) {
            ::_exit(2);
        }
    }
};

TEST_F(JournalLogger, SendsExactlyThreeFieldsInOneDatagram) {
    EXPECT_THAT(written(7, "[TID=1] Function: getPath", 'E'),
                ElementsAre("MESSAGE=[TID=1] Function: getPath\nPRIORITY=3\nSYSLOG_IDENTIFIER=zrn_meroui\n"));
}

TEST_F(JournalLogger, LineFeedsBecomeBlanks) {
    EXPECT_THAT(written(7, "\none\ntwo\n\nthree", 'I'),
                ElementsAre("MESSAGE= one two  three\nPRIORITY=5\nSYSLOG_IDENTIFIER=zrn_meroui\n"));
}

TEST_F(JournalLogger, TrailingBlankIsHandedToTheLibraryAsItIs) {
    const auto bareCall = [] {
        exitUnless(::sd_journal_send("MESSAGE=%s", "text ", "PRIORITY=%i", 3, "SYSLOG_IDENTIFIER=%s", "id",
                                     nullptr) == 0);
    };
    // Some versions of the library send it, others take it off.
    EXPECT_EQ(written(7, "text\n", 'E', "id"), sentBy(bareCall));
}

TEST_F(JournalLogger, PercentSignsOfTheTextAreKept) {
    EXPECT_THAT(written(7, "100%s%n%d", 'W'),
                ElementsAre("MESSAGE=100%s%n%d\nPRIORITY=4\nSYSLOG_IDENTIFIER=zrn_meroui\n"));
}

TEST_F(JournalLogger, EmptyTextIsSent) {
    EXPECT_THAT(written(7, "", 'E'), ElementsAre("MESSAGE=\nPRIORITY=3\nSYSLOG_IDENTIFIER=zrn_meroui\n"));
}

TEST_F(JournalLogger, NullIdentifierCountsAsEmpty) {
    EXPECT_THAT(written(7, "text", 'E', nullptr),
                ElementsAre("MESSAGE=text\nPRIORITY=3\nSYSLOG_IDENTIFIER=\n"));
}

TEST_F(JournalLogger, NullTextIsRefusedAndNothingIsSent) {
    EXPECT_THAT(sentBy([] {
                    CSDJournalLogger logger("id");
                    exitUnless(logger.write(7, nullptr, "MID_NAME", 1, 'E') == GLOBAL_ERROR_BAD_PARAMETER);
                }),
                IsEmpty());
}

TEST_F(JournalLogger, PrioritiesBelowSevenStandForThemselves) {
    for (uint32_t priority = 0; priority < 7; ++priority) {
        EXPECT_EQ(priorityOf(priority, 'E'), std::to_string(priority));
    }
}

TEST_F(JournalLogger, OtherPrioritiesTakeTheLevelFromTheSeverity) {
    EXPECT_EQ(priorityOf(7, 'E'), "3");
    EXPECT_EQ(priorityOf(7, 'W'), "4");
    EXPECT_EQ(priorityOf(7, 'I'), "5");
    EXPECT_EQ(priorityOf(7, 'T'), "5");
    EXPECT_EQ(priorityOf(7, 'x'), "7");
    EXPECT_EQ(priorityOf(7, 0), "7");
    EXPECT_EQ(priorityOf(8, 'E'), "3");
    EXPECT_EQ(priorityOf(0xFFFFFFFF, 'W'), "4");
}

TEST_F(JournalLogger, LinesKeepTheirOrder) {
    EXPECT_THAT(sentBy([] {
                    CSDJournalLogger logger("id");
                    exitUnless(logger.write(3, "one", "MID_NAME", 1, 'E') == 0);
                    exitUnless(logger.write(4, "two", "MID_NAME", 1, 'E') == 0);
                }),
                ElementsAre("MESSAGE=one\nPRIORITY=3\nSYSLOG_IDENTIFIER=id\n",
                            "MESSAGE=two\nPRIORITY=4\nSYSLOG_IDENTIFIER=id\n"));
}

/// Logs one message through the logger that the variable chooses, and gives what the journal got of it.
std::vector<std::string> loggedWith(const char* value) {
    std::string reason;
    return journalDatagrams(
               [=] {
                   if (value == nullptr) {
                       ::unsetenv("ZRN_LOGGING_OUTPUT");
                   } else {
                       ::setenv("ZRN_LOGGING_OUTPUT", value, 1);
                   }
                   const RedirectedStdout redirected;
                   const CLogClient client(nullptr, "zrn_meroui");
                   logMessage("getPath", "MEROAction", 44, 'I', "pDC is\n%s", "NULL");
               },
               reason)
        .value();
}

TEST_F(JournalLogger, IsChosenByAnyWordButTheOneForStandardOutput) {
    const std::string line =
        "MESSAGE=[TID=" + std::to_string(static_cast<int>(static_cast<uint64_t>(::pthread_self()))) +
        "] Function: getPath File: MEROAction Line: 44 pDC is NULL\nPRIORITY=5\n"
        "SYSLOG_IDENTIFIER=zrn_meroui\n";
    for (const char* value : {"stdout", "STDOUT ", " STDOUT", "STDOUT2", "STD", ""}) {
        EXPECT_THAT(loggedWith(value), ElementsAre(line)) << '"' << value << '"';
    }
    EXPECT_THAT(loggedWith(nullptr), ElementsAre(line));
    EXPECT_THAT(loggedWith("STDOUT"), IsEmpty());
}

TEST_F(JournalLogger, LongestTextIsSentWhole) {
    const std::vector<std::string> datagrams = sentBy([] {
        ::unsetenv("ZRN_LOGGING_OUTPUT");
        const CLogClient client(nullptr, "id");
        logMessage(std::string(1000, 'f').c_str(), "a.cpp", 1, 'E', "%s", std::string(3000, 'x').c_str());
    });
    ASSERT_EQ(datagrams.size(), 1U);
    const std::string message = datagrams[0].substr(0, datagrams[0].find('\n'));
    EXPECT_EQ(message.size(), std::string("MESSAGE=").size() + 2560);
    EXPECT_THAT(datagrams[0], EndsWith("xx\nPRIORITY=3\nSYSLOG_IDENTIFIER=id\n"));
}

TEST_F(JournalLogger, JournalThatCannotBeReachedFailsNoCaller) {
    EXPECT_THAT(sentBy([] {
                    exitUnless(::unlink("/run/systemd/journal/socket") == 0);
                    CSDJournalLogger logger("id");
                    exitUnless(logger.write(7, "text", "MID_NAME", 1, 'E') == 0);
                }),
                IsEmpty());
}

} // namespace
