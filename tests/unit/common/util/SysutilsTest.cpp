#include "Common/Utility/sysutils.h"

#include "Common/Utility/ReturnCodes.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/InChild.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <sys/time.h>

namespace {

std::tm fifthOfMarch() {
    std::tm time{};
    time.tm_year = 126;
    time.tm_mon = 2;
    time.tm_mday = 5;
    time.tm_wday = 4;
    time.tm_hour = 9;
    time.tm_min = 7;
    time.tm_sec = 3;
    return time;
}

uint32_t wallClockMsecs() {
    timeval now{};
    ::gettimeofday(&now, nullptr);
    return static_cast<uint32_t>(now.tv_sec * 1000 + now.tv_usec / 1000);
}

std::string formatted(const char* format, std::time_t seconds) {
    std::tm local{};
    ::localtime_r(&seconds, &local);
    std::array<char, 128> text{};
    return {text.data(), std::strftime(text.data(), text.size(), format, &local)};
}

/// Calls `make` within one second of the clock, and gives that second.
template <typename Make> std::time_t withinOneSecond(Make make) {
    std::time_t before = 0;
    do {
        before = std::time(nullptr);
        make();
    } while (std::time(nullptr) != before);
    return before;
}

class TimeStrings : public Sandbox {
protected:
    void useZone(const char* zone) {
        setEnvironment("TZ", zone);
        ::tzset();
    }
    void TearDown() override {
        setEnvironment("TZ", std::nullopt);
        ::tzset();
    }
};

TEST(Clock, CountsMillisecondsInThirtyTwoBits) {
    const uint32_t before = wallClockMsecs();
    const uint32_t now = getTimeMsecs();
    const uint32_t after = wallClockMsecs();
    // Differences, because the count wraps.
    EXPECT_LE(now - before, after - before);
}

TEST(Clock, CountsSeconds) {
    const std::time_t before = std::time(nullptr);
    const std::time_t now = getTimeSecs();
    EXPECT_GE(now, before);
    EXPECT_LE(now, std::time(nullptr));
}

TEST(Clock, SleepsAtLeastAsLongAsAsked) {
    const auto start = std::chrono::steady_clock::now();
    sleepMsecs(30);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30));
}

TEST(Clock, SleepsNotMuchLongerThanAsked) {
    const auto start = std::chrono::steady_clock::now();
    sleepMsecs(300);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(2500));
}

TEST(Clock, TakesTheMicrosecondsOfASleepInThirtyTwoBits) {
    const auto start = std::chrono::steady_clock::now();
    sleepMsecs(4294968); // 704 microseconds beyond the wrap
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::minutes(1));
}

TEST_F(TimeStrings, LocalTimeIsTheZonesTime) {
    useZone("XYZ-5:30");
    std::tm local{};
    const std::time_t now = withinOneSecond([&local] { EXPECT_EQ(getLocalTime(&local), 0U); });
    constexpr std::time_t kAhead = 19800;
    EXPECT_EQ(::timegm(&local), now + kAhead);
}

TEST_F(TimeStrings, LocalTimeRefusesNull) {
    EXPECT_EQ(getLocalTime(nullptr), GLOBAL_ERROR_BAD_PARAMETER);
    EXPECT_EQ(GLOBAL_ERROR_BAD_PARAMETER, 0xFE000002U);
}

TEST_F(TimeStrings, StampHasMonthDayHourAndMinuteWithLeadingZeros) {
    EXPECT_EQ(getTimeString(1, fifthOfMarch()), "_0305_0907");
}

TEST_F(TimeStrings, StampOfTheYearsLastMinute) {
    std::tm time = fifthOfMarch();
    time.tm_mon = 11;
    time.tm_mday = 31;
    time.tm_hour = 23;
    time.tm_min = 59;
    EXPECT_EQ(getTimeString(1, time), "_1231_2359");
}

TEST_F(TimeStrings, SecondKindIsAsctimesWithItsLineFeed) {
    EXPECT_EQ(getTimeString(2, fifthOfMarch()), "Thu Mar  5 09:07:03 2026\n");
}

TEST_F(TimeStrings, SecondKindIsEmptyForAYearThatDoesNotFit) {
    std::tm time = fifthOfMarch();
    time.tm_year = 2000000000;
    EXPECT_EQ(getTimeString(2, time), "");
}

TEST_F(TimeStrings, ThirdKindNamesTheZone) {
    useZone("XYZ-3");
    std::string text;
    const std::time_t now = withinOneSecond([&text] { text = getTimeString(3); });
    EXPECT_EQ(text, formatted("%a %b %d %H:%M:%S %Y %Z", now));
    EXPECT_TRUE(text.ends_with(" XYZ")) << text;
}

TEST_F(TimeStrings, AnyOtherKindIsTheLocalesForm) {
    for (const int kind : {0, 4, -1, 1000}) {
        EXPECT_EQ(getTimeString(kind, fifthOfMarch()), "Thu Mar  5 09:07:03 2026") << kind;
    }
}

TEST_F(TimeStrings, AllKindsTakeTheLocalTimeOfNow) {
    useZone("XYZ+11");
    const std::array forms = {"%c", "_%m%d_%H%M", "%a %b %e %H:%M:%S %Y\n", "%a %b %d %H:%M:%S %Y %Z"};
    for (int kind = 0; kind < 4; ++kind) {
        std::string text;
        const std::time_t now = withinOneSecond([&] { text = getTimeString(kind); });
        EXPECT_EQ(text, formatted(forms[static_cast<std::size_t>(kind)], now));
    }
}

TEST_F(TimeStrings, FormatsNowIntoABuffer) {
    useZone("XYZ-3");
    std::array<char, 64> buffer{};
    const std::time_t now = withinOneSecond(
        [&buffer] { EXPECT_EQ(TimeNowToString("%H:%M:%S %Z", buffer.data(), buffer.size()), 0U); });
    EXPECT_EQ(std::string(buffer.data()), formatted("%H:%M:%S %Z", now));
}

TEST_F(TimeStrings, FormattingRefusesNullAndZeroArguments) {
    const CapturedLog log;
    std::array<char, 8> buffer = {'k', 'e', 'p', 't'};
    EXPECT_EQ(TimeNowToString(nullptr, buffer.data(), buffer.size()), GLOBAL_ERROR_BAD_PARAMETER);
    EXPECT_EQ(TimeNowToString("%H", nullptr, 8), GLOBAL_ERROR_BAD_PARAMETER);
    EXPECT_EQ(TimeNowToString("%H", buffer.data(), 0), GLOBAL_ERROR_BAD_PARAMETER);
    EXPECT_STREQ(buffer.data(), "kept");
    EXPECT_TRUE(log.lines().empty()) << log.dump();
}

TEST_F(TimeStrings, FormattingIntoTooSmallABufferEmptiesItAndIsLogged) {
    const CapturedLog log;
    std::array<char, 4> buffer = {'o', 'l', 'd'};
    EXPECT_EQ(TimeNowToString("%H:%M:%S", buffer.data(), buffer.size()), GLOBAL_ERROR_UNEXPECTED);
    EXPECT_STREQ(buffer.data(), "");
    EXPECT_TRUE(log.containsCode('E', "TimeNowToString", "_tcsftime", GLOBAL_ERROR_UNEXPECTED)) << log.dump();
    EXPECT_TRUE(log.contains('E', "%H:%M:%S")) << log.dump();
    EXPECT_EQ(log.count('*', ""), 1);
}

TEST_F(TimeStrings, FormattingThatWritesNothingIsAFailure) {
    const CapturedLog log;
    std::array<char, 4> buffer = {'o', 'l', 'd'};
    EXPECT_EQ(TimeNowToString("", buffer.data(), buffer.size()), GLOBAL_ERROR_UNEXPECTED);
    EXPECT_STREQ(buffer.data(), "");
    EXPECT_EQ(log.count('E', "Invoked Function: _tcsftime\n"), 1) << log.dump();
}

class FileTests : public Sandbox {
protected:
    CapturedLog m_log;

    void expectSilence() const { EXPECT_TRUE(m_log.lines().empty()) << m_log.dump(); }
    void expectOneLine(char severity, const std::string& text) const {
        EXPECT_EQ(m_log.count('*', ""), 1) << m_log.dump();
        EXPECT_TRUE(m_log.contains(severity, text)) << m_log.dump();
    }
};

TEST_F(FileTests, RemovesAFile) {
    const std::string file = writeFile("file", "text");
    EXPECT_EQ(removeFile(file.c_str()), 0);
    EXPECT_FALSE(exists("file"));
}

TEST_F(FileTests, RemovesALinkAndLeavesItsTarget) {
    writeFile("file", "text");
    ASSERT_EQ(::symlink("file", "link"), 0);
    EXPECT_EQ(removeFile("link"), 0);
    EXPECT_FALSE(exists("link"));
    EXPECT_EQ(readFile("file"), "text");
}

TEST_F(FileTests, RemovingGivesAnErrno) {
    EXPECT_EQ(removeFile(nullptr), 22);
    EXPECT_EQ(removeFile("missing"), ENOENT);
    EXPECT_EQ(removeFile(""), ENOENT);
    makeFolder("folder");
    EXPECT_EQ(removeFile("folder"), EISDIR);
    EXPECT_TRUE(exists("folder"));
    expectSilence();
}

TEST_F(FileTests, RemovingFromAProtectedFolderGivesAnErrno) {
    writeFile("folder/file", "text");
    ASSERT_EQ(::chmod("folder", 0555), 0);
    asOrdinaryUser([] { EXPECT_EQ(removeFile("folder/file"), EACCES); });
    EXPECT_TRUE(exists("folder/file"));
    ASSERT_EQ(::chmod("folder", 0755), 0);
}

TEST_F(FileTests, ARegularFileExistsAndAFolderDoesNotExistAsAFile) {
    writeFile("file", "");
    makeFolder("folder");
    ASSERT_EQ(::mkfifo("pipe", 0600), 0);
    EXPECT_TRUE(fileExists("file"));
    EXPECT_FALSE(fileExists("folder"));
    EXPECT_FALSE(fileExists("pipe"));
    EXPECT_FALSE(fileExists("/dev/null"));
    expectSilence();
}

TEST_F(FileTests, AFolderExistsAndAFileDoesNotExistAsAFolder) {
    writeFile("file", "");
    makeFolder("folder");
    EXPECT_TRUE(directoryExists("folder"));
    EXPECT_TRUE(directoryExists("folder/"));
    EXPECT_FALSE(directoryExists("file"));
    expectSilence();
}

TEST_F(FileTests, LinksStandForTheirTargets) {
    writeFile("file", "text");
    makeFolder("folder");
    ASSERT_EQ(::symlink("file", "to-file"), 0);
    ASSERT_EQ(::symlink("folder", "to-folder"), 0);
    ASSERT_EQ(::symlink("missing", "to-nothing"), 0);
    EXPECT_TRUE(fileExists("to-file"));
    EXPECT_TRUE(fileIsReadable("to-file"));
    EXPECT_TRUE(directoryExists("to-folder"));
    EXPECT_FALSE(fileExists("to-nothing"));
    EXPECT_FALSE(pathExists("to-nothing"));
    expectSilence();
}

TEST_F(FileTests, WhatIsMissingIsNoFailure) {
    for (const char* const missing : {"missing", "missing/deeper", ""}) {
        EXPECT_FALSE(fileExists(missing));
        EXPECT_FALSE(directoryExists(missing));
        EXPECT_FALSE(fileIsReadable(missing));
        EXPECT_FALSE(pathExists(missing));
    }
    expectSilence();
}

TEST_F(FileTests, AFailedStatOfAFileIsLogged) {
    writeFile("file", "text");
    EXPECT_FALSE(fileExists("file/below"));
    EXPECT_TRUE(m_log.containsCode('E', "fileExists", "_tstat", ENOTDIR)) << m_log.dump();
    expectOneLine('E', "File: file/below\nError: Not a directory");
}

TEST_F(FileTests, AFailedStatOfAFolderIsLogged) {
    writeFile("file", "text");
    EXPECT_FALSE(directoryExists("file/below"));
    EXPECT_TRUE(m_log.containsCode('E', "directoryExists", "_tstat", ENOTDIR)) << m_log.dump();
    expectOneLine('E', "Directory: file/below\nError: Not a directory");
}

TEST_F(FileTests, AFailedStatOfAFileToReadIsLogged) {
    ASSERT_EQ(::symlink("loop", "loop"), 0);
    EXPECT_FALSE(fileIsReadable("loop"));
    EXPECT_TRUE(m_log.containsCode('E', "fileIsReadable", "_tstat", ELOOP)) << m_log.dump();
    expectOneLine('E', "File: loop\nError: Too many levels of symbolic links");
}

TEST_F(FileTests, AnOverlongNameIsLogged) {
    EXPECT_FALSE(fileExists(std::string(300, 'n').c_str()));
    EXPECT_TRUE(m_log.containsCode('E', "fileExists", "_tstat", ENAMETOOLONG)) << m_log.dump();
}

TEST_F(FileTests, AClosedFolderIsLogged) {
    writeFile("closed/file", "text");
    ASSERT_EQ(::chmod("closed", 0), 0);
    asOrdinaryUser([this] {
        EXPECT_FALSE(fileExists("closed/file"));
        EXPECT_FALSE(directoryExists("closed/file"));
        EXPECT_FALSE(fileIsReadable("closed/file"));
        EXPECT_FALSE(pathExists("closed/file"));
        for (const char* const function : {"fileExists", "directoryExists", "fileIsReadable"}) {
            EXPECT_TRUE(m_log.containsCode('E', function, "_tstat", EACCES)) << m_log.dump();
        }
        EXPECT_EQ(m_log.count('*', ""), 3) << m_log.dump();
    });
    ASSERT_EQ(::chmod("closed", 0700), 0);
}

TEST_F(FileTests, NullIsNoFile) {
    EXPECT_FALSE(pathExists(nullptr));
    expectSilence();
    EXPECT_FALSE(fileExists(nullptr));
    EXPECT_FALSE(directoryExists(nullptr));
    EXPECT_FALSE(fileIsReadable(nullptr));
    EXPECT_EQ(m_log.count('E', "(null)\nError: Bad address"), 3) << m_log.dump();
}

TEST_F(FileTests, AFileWithContentIsReadable) {
    writeFile("file", "x");
    EXPECT_TRUE(fileIsReadable("file"));
    expectSilence();
}

TEST_F(FileTests, AnEmptyFileIsNotReadable) {
    writeFile("file", "");
    EXPECT_FALSE(fileIsReadable("file"));
    expectOneLine('W', "File (file) is empty.");
}

TEST_F(FileTests, AFileThatItsOwnerMayNotReadIsNotReadable) {
    writeFile("file", "text");
    ASSERT_EQ(::chmod("file", 0377), 0);
    EXPECT_FALSE(fileIsReadable("file"));
    expectOneLine('W', "File (file) is not readable or is not a regular file.");
}

TEST_F(FileTests, AFolderAndAPipeAreNotReadable) {
    makeFolder("folder");
    ASSERT_EQ(::mkfifo("pipe", 0600), 0);
    EXPECT_FALSE(fileIsReadable("folder"));
    EXPECT_FALSE(fileIsReadable("pipe"));
    EXPECT_TRUE(m_log.contains('W', "File (folder) is not readable or is not a regular file."));
    EXPECT_TRUE(m_log.contains('W', "File (pipe) is not readable or is not a regular file."));
    EXPECT_EQ(m_log.count('*', ""), 2) << m_log.dump();
}

TEST_F(FileTests, APathOfAnyKindExists) {
    writeFile("file", "");
    ASSERT_EQ(::mkfifo("pipe", 0600), 0);
    EXPECT_TRUE(pathExists("file"));
    EXPECT_TRUE(pathExists("pipe"));
    EXPECT_TRUE(pathExists("."));
    EXPECT_FALSE(pathExists("file/below"));
    expectSilence();
}

volatile std::sig_atomic_t g_received = 0;
void receive(int signalNumber) {
    g_received = signalNumber;
}

TEST(SignalHandlers, ReceiveTheSignal) {
    ASSERT_TRUE(install_sighdlr(SIGUSR1, receive, nullptr));
    ASSERT_EQ(::raise(SIGUSR1), 0);
    EXPECT_EQ(g_received, SIGUSR1);
    ASSERT_TRUE(install_sighdlr(SIGUSR1, SIG_DFL, nullptr));
}

TEST(SignalHandlers, GiveTheFormerHandlerBack) {
    SignalHandler former = receive;
    ASSERT_TRUE(install_sighdlr(SIGUSR2, SIG_IGN, &former));
    EXPECT_EQ(former, SIG_DFL);
    ASSERT_TRUE(install_sighdlr(SIGUSR2, receive, &former));
    EXPECT_EQ(former, SIG_IGN);
    ASSERT_TRUE(install_sighdlr(SIGUSR2, SIG_DFL, &former));
    EXPECT_EQ(former, &receive);
}

TEST(SignalHandlers, HaveNoFlagsAndAnEmptyMask) {
    ASSERT_TRUE(install_sighdlr(SIGUSR1, receive, nullptr));
    struct sigaction installed {};
    ASSERT_EQ(::sigaction(SIGUSR1, nullptr, &installed), 0);
    constexpr int kAllFlags = SA_NOCLDSTOP | SA_NOCLDWAIT | SA_NODEFER | SA_ONSTACK |
                              static_cast<int>(SA_RESETHAND) | SA_RESTART | SA_SIGINFO;
    EXPECT_EQ(installed.sa_flags & kAllFlags, 0);
    for (int signalNumber = 1; signalNumber < NSIG; ++signalNumber) {
        EXPECT_NE(::sigismember(&installed.sa_mask, signalNumber), 1) << signalNumber;
    }
    ASSERT_TRUE(install_sighdlr(SIGUSR1, SIG_DFL, nullptr));
}

TEST(SignalHandlers, CannotBeInstalledForTheKillSignal) {
    const CapturedLog log;
    SignalHandler former = receive;
    EXPECT_FALSE(install_sighdlr(SIGKILL, receive, &former));
    EXPECT_EQ(former, &receive);
    EXPECT_TRUE(log.containsCode('E', "install_sighdlr", "sigaction", EINVAL)) << log.dump();
    EXPECT_TRUE(log.contains('E', "Failed to install signal handler (Invalid argument). Signal# = 9."))
        << log.dump();
}

} // namespace
