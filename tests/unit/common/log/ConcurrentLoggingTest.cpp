#include "Common/Utility/log/Log.h"
#include "tests/support/CapturedLog.h"
#include "tests/unit/common/log/RedirectedStdout.h"

#include <atomic>
#include <cstdlib>
#include <future>
#include <gmock/gmock.h>
#include <latch>
#include <pthread.h>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int kThreads = 8;
constexpr int kLines = 300;

/// Runs `body(number)` on every thread, all let go at once, and waits for them.
template <typename Body> void onAllThreads(const Body& body) {
    std::latch ready(kThreads);
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int number = 0; number < kThreads; ++number) {
        threads.emplace_back([&, number] {
            ready.arrive_and_wait();
            body(number);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

std::string threadField() {
    return "[TID=" + std::to_string(static_cast<int>(static_cast<uint64_t>(::pthread_self()))) + "]";
}

/// Texts of many lengths, each of them known by its number.
std::string textOf(int number, int line) {
    return "line " + std::to_string(number) + "." + std::to_string(line) + " " +
           std::string(static_cast<std::size_t>(line) * 7 % 2000, static_cast<char>('a' + number));
}

/// Collects strings from several threads.
class StringSet {
public:
    void add(std::string text) {
        const std::lock_guard guard(m_lock);
        m_texts.insert(std::move(text));
    }
    [[nodiscard]] const std::multiset<std::string>& all() const { return m_texts; }

private:
    std::mutex m_lock;
    std::multiset<std::string> m_texts;
};

TEST(ConcurrentLogging, LinesOnStandardOutputStayWhole) {
    ASSERT_EQ(::setenv("ZRN_LOGGING_OUTPUT", "STDOUT", 1), 0);
    const CLogClient client(nullptr, "zrn_meroui");
    const RedirectedStdout redirected;
    StringSet expected;
    onAllThreads([&](int number) {
        for (int line = 0; line < kLines; ++line) {
            const std::string text = textOf(number, line);
            logMessage("f", "a.cpp", 1, 'I', "%s", text.c_str());
            expected.add(" zrn_meroui[" + std::to_string(::getpid()) + "]: [NOTICE] " + threadField() +
                         " Function: f File: a.cpp Line: 1 " + text);
        }
    });
    std::multiset<std::string> found;
    std::istringstream lines(redirected.output());
    for (std::string line; std::getline(lines, line);) {
        ASSERT_GT(line.size(), 19U);
        EXPECT_THAT(line.substr(0, 19),
                    ::testing::MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}"));
        found.insert(line.substr(19));
    }
    EXPECT_TRUE(found == expected.all()) << found.size() << " lines";
}

TEST(ConcurrentLogging, ThreadsNeverShareABuffer) {
    const CapturedLog log;
    StringSet expected;
    onAllThreads([&](int number) {
        for (int line = 0; line < kLines; ++line) {
            const std::string text = textOf(number, line);
            if (line % 2 == 0) {
                logMessage("f", "a.cpp", 1, 'I', "%s", text.c_str());
                expected.add(threadField() + "\nFunction: f\nFile: a.cpp\nLine: 1\n" + text);
            } else {
                logReturnCode("f", "a.cpp", 1, 'E', "open", 2, nullptr, "%s", text.c_str());
                expected.add(threadField() +
                             "\nFunction: f\nFile: a.cpp\nLine: 1\nInvoked Function: open\n"
                             "Return Code: 2 (0x00000002)\nDescription: unknown\n" +
                             text);
            }
        }
    });
    std::multiset<std::string> found;
    for (const LogLine& line : log.lines()) {
        found.insert(line.text);
    }
    EXPECT_TRUE(found == expected.all()) << found.size() << " lines";
}

/// Counts the lines that reach it, and those that reach it too late.
class MortalLogger : public ILogger {
public:
    struct Counts {
        std::atomic<int> lines = 0;
        std::atomic<int> loggersAlive = 0;
        std::atomic<int> lateLines = 0;
    };
    explicit MortalLogger(Counts& counts) : m_counts(counts) { ++m_counts.loggersAlive; }
    ~MortalLogger() override {
        m_alive = false;
        --m_counts.loggersAlive;
    }
    MortalLogger(const MortalLogger&) = delete;
    MortalLogger& operator=(const MortalLogger&) = delete;
    uint32_t write(uint32_t /*priority*/, const char* /*text*/, const char* /*messageName*/,
                   uint32_t /*messageId*/, int32_t /*severity*/) override {
        ++m_counts.lines;
        std::this_thread::yield();
        m_counts.lateLines += m_alive ? 0 : 1;
        return 0;
    }

private:
    Counts& m_counts;
    std::atomic<bool> m_alive = true;
};

TEST(ConcurrentLogging, ClientsComeAndGoUnderTheLinesOfOthers) {
    MortalLogger::Counts counts;
    onAllThreads([&](int number) {
        for (int round = 0; round < 100; ++round) {
            if (number < 2) {
                const CLogClient client(nullptr, "test", std::make_unique<MortalLogger>(counts));
                logMessage("f", "a.cpp", 1, 'I', "from a claimant");
            } else {
                logMessage("f", "a.cpp", 1, 'I', "from a bystander");
            }
        }
    });
    EXPECT_FALSE(isLoggerInstalled());
    EXPECT_EQ(counts.loggersAlive, 0);
    EXPECT_EQ(counts.lateLines, 0);
    EXPECT_GE(counts.lines, 200) << "whoever holds a claim is heard";
}

TEST(ConcurrentLogging, IdentifierChangesUnderTheLinesOfOthers) {
    ASSERT_EQ(::setenv("ZRN_LOGGING_OUTPUT", "STDOUT", 1), 0);
    const CLogClient client(nullptr, "id0");
    const RedirectedStdout redirected;
    onAllThreads([](int number) {
        for (int round = 0; round < 50; ++round) {
            if (number == 0) {
                EXPECT_EQ(setLogIdentifier(("id" + std::to_string(round % 10)).c_str()), 0U);
            } else {
                logMessage("f", "a.cpp", 1, 'I', "text");
            }
        }
    });
    std::istringstream lines(redirected.output());
    for (std::string line; std::getline(lines, line);) {
        EXPECT_THAT(line, ::testing::ContainsRegex("^[-0-9]+ [:0-9]+ id[0-9]\\[[0-9]+\\]: \\[NOTICE\\] "
                                                   "\\[TID=-?[0-9]+\\] Function: f File: a.cpp Line: 1 "
                                                   "text$"));
    }
    logMessage("f", "a.cpp", 1, 'I', "the last word");
    EXPECT_THAT(redirected.output(), ::testing::HasSubstr(" id9["));
}

/// A logger whose medium takes nothing until it is released.
class StuckLogger : public ILogger {
public:
    uint32_t write(uint32_t /*priority*/, const char* /*text*/, const char* /*messageName*/,
                   uint32_t /*messageId*/, int32_t /*severity*/) override {
        entered.set_value();
        release.get_future().wait();
        return 0;
    }
    std::promise<void> entered;
    std::promise<void> release;
};

TEST(ConcurrentLogging, StuckLineKeepsNobodyFromDroppingTheLastClaim) {
    auto logger = std::make_unique<StuckLogger>();
    StuckLogger* const stuck = logger.get();
    auto client = std::make_unique<CLogClient>(nullptr, "test", std::move(logger));
    std::thread writer([] { logMessage("f", "a.cpp", 1, 'I', "stuck"); });
    stuck->entered.get_future().wait();
    client.reset();
    EXPECT_FALSE(isLoggerInstalled());
    stuck->release.set_value();
    writer.join();
    // It was left to the end of the process, since the line was still in it.
    const std::unique_ptr<StuckLogger> leftBehind(stuck);
}

} // namespace
