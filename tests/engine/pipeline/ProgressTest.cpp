#include "tools/MERO/MEROEngine/implementations/Progress.h"

#include "Common/Utility/ReturnCodes.h"
#include "tests/engine/pipeline/RecordingListener.h"
#include "tools/MERO/MEROEngine/implementations/MEROEngine.h"

#include <climits>
#include <gmock/gmock.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr uint32_t kStep = MEROOFFLINE_ERROR_PROCESSING;

/// What a report prints in console mode.
std::string printed(int percent, const std::string& message, uint32_t code) {
    g_consoleMode = true;
    ::testing::internal::CaptureStdout();
    reportProgress(percent, message, code);
    std::string text = ::testing::internal::GetCapturedStdout();
    g_consoleMode = false;
    return text;
}

} // namespace

TEST(ReportProgress, HandsPercentMessageAndCodeToTheListener) {
    const RecordingListener listener;
    reportProgress(4, "Reading instructions ...", kStep);
    EXPECT_THAT(listener.reports(), ElementsAre(Report{4, "Reading instructions ...", kStep}));
    EXPECT_EQ(getProgressState().m_progress, 4u);
    EXPECT_EQ(getProgressState().m_message, "Reading instructions ...");
}

TEST(ReportProgress, RepeatsTheLastPercentAndMessageWithTheNewCode) {
    const RecordingListener listener;
    reportProgress(100, "MERO has finished... ", kStep);
    reportProgress(0, "", 0);
    EXPECT_THAT(listener.reports(), ElementsAre(Report{100, "MERO has finished... ", kStep},
                                                Report{100, "MERO has finished... ", 0}));
}

TEST(ReportProgress, KeepsThePercentForZeroAndTheMessageForAnEmptyOne) {
    const RecordingListener listener;
    reportProgress(7, "first", kStep);
    reportProgress(0, "second", kStep);
    reportProgress(9, "", kStep);
    EXPECT_THAT(listener.reports(), ElementsAre(step(7, "first"), step(7, "second"), step(9, "second")));
}

TEST(ReportProgress, DoesNothingWithoutAListener) {
    setProgressListener(nullptr);
    EXPECT_EQ(getProgressListener(), nullptr);
    reportProgress(50, "unheard", kStep);
    EXPECT_EQ(getProgressState().m_progress, 0u);
    EXPECT_EQ(getProgressState().m_message, "");
}

TEST(ReportProgress, PrintsAStepInPlaceOnTheConsole) {
    EXPECT_EQ(printed(4, "Reading instructions ...", kStep),
              "\rReading instructions ..." + std::string(90 - 24, ' ') + "   4%");
    EXPECT_EQ(printed(100, "MERO has finished... ", kStep),
              "\rMERO has finished... " + std::string(90 - 21, ' ') + " 100%");
}

TEST(ReportProgress, CutsALongStepAtNinetyBytesOnTheConsole) {
    EXPECT_EQ(printed(12, std::string(89, 'x').append("\xC3\xA4 and more"), kStep),
              "\r" + std::string(89, 'x') + "\xC3  12%");
}

TEST(ReportProgress, PrintsNoStepWithoutPercentOrMessageOnTheConsole) {
    EXPECT_EQ(printed(0, "Processing ...", kStep), "");
    EXPECT_EQ(printed(5, "", kStep), "");
}

TEST(ReportProgress, PrintsTheEndOnLinesOfItsOwnOnTheConsole) {
    EXPECT_EQ(printed(0, "", 0), "\r\n\r\n");
    EXPECT_EQ(printed(0, "Internal Error: all configs failed...", MEROENGINE_ERROR_INTERNAL),
              "\r\nInternal Error: all configs failed...\r\n");
    const std::string longText(200, 'y');
    EXPECT_EQ(printed(3, longText, MEROENGINE_ERROR_INTERNAL), "\r\n" + longText + "\r\n");
}

TEST(ReportProgress, PassesTheListenerByInConsoleMode) {
    const RecordingListener listener;
    static_cast<void>(printed(4, "text", kStep));
    EXPECT_THAT(listener.reports(), IsEmpty());
    EXPECT_EQ(getProgressState().m_message, "");
}

TEST(ReportProgress, LetsTheListenerReadTheState) {
    RecordingListener listener;
    std::string seen;
    listener.onMessage("text", [&seen] { seen = getProgressState().m_message; });
    reportProgress(1, "text", kStep);
    EXPECT_EQ(seen, "text");
}

TEST(ComputeProgress, IsZeroWithoutConfigurations) {
    g_configCount = 0;
    EXPECT_EQ(computeProgress(1), 0);
    EXPECT_EQ(computeProgress(7), 0);
}

TEST(ComputeProgress, GoesFromZeroToNinetyTwo) {
    g_configCount = 3;
    EXPECT_EQ(computeProgress(1), 0);
    EXPECT_EQ(computeProgress(2), 30);
    EXPECT_EQ(computeProgress(3), 61);
    EXPECT_EQ(computeProgress(4), 92);
}

TEST(ComputeProgress, GoesOnWhereTheFormerRunOfTheProcessEnded) {
    g_configCount = 1;
    EXPECT_EQ(computeProgress(3), 184);
}

TEST(ComputeProgress, DividesInSinglePrecision) {
    // As a float this count is 2^24, and the quotient exactly 92; in double precision it stays below.
    g_configCount = 16777217;
    EXPECT_EQ(computeProgress(16777217), 92);
}

TEST(ComputeProgress, StartsWithOneTaskDone) {
    EXPECT_EQ(g_configsDone.load(), 1u);
}

TEST(CollectorThreadCount, IsOnePerProcessorAndAtMostSix) {
    EXPECT_EQ(collectorThreadCount(1), 1u);
    EXPECT_EQ(collectorThreadCount(2), 2u);
    EXPECT_EQ(collectorThreadCount(5), 5u);
    EXPECT_EQ(collectorThreadCount(6), 6u);
    EXPECT_EQ(collectorThreadCount(8), 6u);
    EXPECT_EQ(collectorThreadCount(INT_MAX), 6u);
}

TEST(CollectorThreadCount, IsOneWhenThePlatformCannotCount) {
    EXPECT_EQ(collectorThreadCount(0), 1u);
    EXPECT_EQ(collectorThreadCount(static_cast<uint32_t>(-1)), 1u);
    EXPECT_EQ(collectorThreadCount(0x80000000u), 1u);
}
