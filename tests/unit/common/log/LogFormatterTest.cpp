#include "Common/Utility/log/LogFormatter.h"

#include <array>
#include <cinttypes>
#include <cstdio>
#include <ctime>
#include <gmock/gmock.h>
#include <memory>
#include <pthread.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using ::testing::Contains;
using ::testing::MatchesRegex;

/// Calls `render` and gives what it may have yielded: one text per second that passed, made by `expected`
/// from the local time "HH:MM:SS".
template <typename Render, typename Expected>
void expectRendered(const Render& render, const Expected& expected) {
    const std::time_t before = std::time(nullptr);
    const std::string rendered = render();
    const std::time_t after = std::time(nullptr);
    std::vector<std::string> possible;
    for (std::time_t second = before; second <= after; ++second) {
        std::tm local{};
        ::localtime_r(&second, &local);
        std::array<char, 16> clock{};
        possible.push_back(expected(
            std::string(clock.data(), std::strftime(clock.data(), clock.size(), "%H:%M:%S", &local))));
    }
    EXPECT_THAT(possible, Contains(rendered));
}

std::string idsOfThisThread() {
    std::array<char, 64> ids{};
    std::snprintf(ids.data(), ids.size(), "TID:0x%08" PRIx64 " PID:0x%x",
                  static_cast<uint64_t>(::pthread_self()), static_cast<unsigned>(::getpid()));
    return ids.data();
}

TEST(BasicLogFormatter, FramesTheLog) {
    CBasicLogFormatter formatter;
    EXPECT_EQ(formatter.getHeader(), "---- Start log\n");
    EXPECT_EQ(formatter.getFooter(), "---- End log\n");
}

TEST(BasicLogFormatter, LineHasTimeThreadAndProcess) {
    CBasicLogFormatter formatter;
    expectRendered([&] { return formatter.format(3, "text"); },
                   [](const std::string& clock) { return clock + " " + idsOfThisThread() + "\n\ttext\n"; });
}

TEST(BasicLogFormatter, IdsAreHexadecimalAndTheThreadsIsFilled) {
    CBasicLogFormatter formatter;
    EXPECT_THAT(formatter.format(3, "text"),
                MatchesRegex("[0-9:]+ TID:0x[0-9a-f]{8,16} PID:0x[1-9a-f][0-9a-f]*\n\ttext\n"));
}

TEST(BasicLogFormatter, NullTextEndsAfterThePrefix) {
    CBasicLogFormatter formatter;
    expectRendered([&] { return formatter.format(3, nullptr); },
                   [](const std::string& clock) { return clock + " " + idsOfThisThread() + "\n\t"; });
}

TEST(PlainFormatter, GivesTheBareTextAndALineFeed) {
    CPlainFormatter formatter;
    EXPECT_EQ(formatter.getHeader(), "");
    EXPECT_EQ(formatter.format(3, "two\nlines"), "two\nlines\n");
    EXPECT_EQ(formatter.format(3, ""), "\n");
    EXPECT_EQ(formatter.getFooter(), "");
}

TEST(PlainFormatter, NullTextGivesNothing) {
    EXPECT_EQ(CPlainFormatter().format(3, nullptr), "");
}

TEST(SimpleHTMLLogFormatter, FramesThePage) {
    CSimpleHTMLLogFormatter formatter;
    EXPECT_EQ(formatter.getHeader(), "<html><head><title>Varnel Trellink Nolvane Log</title></head><body>\n");
    EXPECT_EQ(formatter.getFooter(), "</body></html>\n");
}

TEST(SimpleHTMLLogFormatter, LineHasTimeAndLevelName) {
    CSimpleHTMLLogFormatter formatter;
    constexpr std::array kNames = {"Emergency", "Alert",  "Critical", "Error",
                                   "Warning",   "Notice", "Info",     "Debug"};
    for (uint32_t level = 0; level < kNames.size(); ++level) {
        expectRendered([&] { return formatter.format(level, "text"); },
                       [&](const std::string& clock) {
                           return "<b>" + clock + "</b><i>" + kNames[level] + "</i><br/>\ntext<br/>\n";
                       });
    }
}

TEST(SimpleHTMLLogFormatter, LevelPastTheNamesCountsAsDebug) {
    for (const uint32_t level : {8U, 0xFFFFFFFFU}) {
        EXPECT_THAT(CSimpleHTMLLogFormatter().format(level, "text"), ::testing::HasSubstr("<i>Debug</i>"));
    }
}

TEST(SimpleHTMLLogFormatter, TextIsNotEscaped) {
    EXPECT_THAT(CSimpleHTMLLogFormatter().format(3, "a<b>&c"), ::testing::EndsWith("\na<b>&c<br/>\n"));
}

TEST(SimpleHTMLLogFormatter, NullTextEndsAfterThePrefix) {
    CSimpleHTMLLogFormatter formatter;
    expectRendered([&] { return formatter.format(4, nullptr); },
                   [](const std::string& clock) { return "<b>" + clock + "</b><i>Warning</i><br/>\n"; });
}

TEST(LogFormatter, IsUsedThroughItsInterface) {
    const std::unique_ptr<ILogFormatter> formatter = std::make_unique<CPlainFormatter>();
    EXPECT_EQ(formatter->getHeader() + formatter->format(0, "text") + formatter->getFooter(), "text\n");
}

} // namespace
