#include "Common/Utility/ReturnCodes.h"
#include "tests/engine/action/ToolTest.h"
#include "tests/support/Processes.h"
#include "tools/MERO/MEROEngine/implementations/Progress.h"

#include <atomic>
#include <ctime>
#include <gmock/gmock.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

/// What clock() says in this program, in place of the processor time that it has used.
std::atomic<std::clock_t> g_processorTime{0};

constexpr std::clock_t kSecond = 1'000'000;
constexpr std::clock_t kLimit = 1200 * kSecond;

} // namespace

// The engine is a part of this program, so that it finds this one instead of the C library's.
clock_t clock() noexcept {
    return g_processorTime;
}

/// The limit of a tool, in processor time of the whole process.
class ToolLimit : public ToolTest {
protected:
    ToolLimit() { g_processorTime = 0; }

    /// Lets the processor time jump at the first report of a tool, which has to have written this file.
    void jumpTo(std::clock_t time, const std::string& file = "pid") {
        m_listener.onMessage("Processing VPN logs...", [this, time, file] {
            EXPECT_GT(pidIn(path(file)), 0);
            g_processorTime = time;
        });
    }

    [[nodiscard]] std::string endless() const { return tool("endless", "echo $$ >pid; exec sleep 600"); }
};

TEST_F(ToolLimit, EndsATool) {
    jumpTo(kLimit);
    const std::string name = endless();
    EXPECT_EQ(launch(name + " -v"), 0xFEB00014u);
    EXPECT_TRUE(m_log.contains('E', "Executable " + name + " timed out after 1200 seconds of activity."))
        << m_log.dump();
    EXPECT_TRUE(m_log.contains('E', "Function: callExtern\n")) << m_log.dump();
    EXPECT_THAT(m_log.lines(), SizeIs(1)) << m_log.dump();
    EXPECT_THAT(m_listener.reports(), SizeIs(1));
    EXPECT_TRUE(hasEnded(pidIn(path("pid"))));
    EXPECT_FALSE(hasChildren());
    EXPECT_EQ(m_runner.m_processId, 0);
    EXPECT_THAT(omitted(), IsEmpty());
}

TEST_F(ToolLimit, IsReachedAtItsLastUnitOnly) {
    int reports = 0;
    const std::string name = endless();
    jumpTo(kLimit - 1);
    m_listener.onMessage("Still running " + name + ", please be patient as this may take a few minutes...",
                         [&reports] { g_processorTime = kLimit - 1 + (++reports == 2 ? 1 : 0); });
    EXPECT_EQ(launch(name), 0xFEB00014u);
    EXPECT_EQ(reports, 2);
    EXPECT_EQ(m_listener.reports().size(), 3u);
}

TEST_F(ToolLimit, CountsFromTheStartOfTheTool) {
    g_processorTime = 5 * kLimit;
    EXPECT_EQ(launch("true"), 0u);
    jumpTo(6 * kLimit + 34 * kSecond + kSecond / 2);
    EXPECT_EQ(launch(endless()), 0xFEB00014u);
    EXPECT_TRUE(m_log.contains('E', " timed out after 1234 seconds of activity.")) << m_log.dump();
}

TEST_F(ToolLimit, IsFarForAToolThatSleepsWhileWeIdle) {
    EXPECT_EQ(launch("sleep 1.3"), 0u);
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
}

TEST_F(ToolLimit, DoesNotHoldForAToolWhoseOutputIsTaken) {
    g_processorTime = kLimit;
    EXPECT_EQ(capture("echo text"), 0u);
    EXPECT_EQ(captured(), banner("echo text") + "text\n");
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
}

TEST_F(ToolLimit, EndsAToolThatIgnoresSigterm) {
    jumpTo(kLimit);
    EXPECT_EQ(launch(tool("deaf", "trap '' TERM; echo $$ >pid; while :; do sleep 0.1; done")), 0xFEB00014u);
    EXPECT_TRUE(hasEnded(pidIn(path("pid"))));
}

TEST_F(ToolLimit, EndsTheChildrenOfAToolWithIt) {
    jumpTo(kLimit, "child");
    EXPECT_EQ(launch(tool("parent", "sh -c 'echo $$ >child; exec sleep 600' & wait")), 0xFEB00014u);
    EXPECT_TRUE(eventually([this] { return hasEnded(pidIn(path("child"))); }));
}

TEST_F(ToolLimit, LeavesTheOutputSoFarAndTheOtherInstructionsGoOn) {
    jumpTo(kLimit);
    static_cast<void>(tool("writer", "echo so far >so_far.txt; echo $$ >pid; exec sleep 600"));
    const auto collected =
        collect("<use_extern_action><action><path>" + path("tools") + "</path><args>writer</args><temp_out>" +
                path("so_far.txt") +
                "</temp_out></action><action><args>echo next</args><stdout/></action></use_extern_action>");
    EXPECT_THAT(pathsOf(collected), ElementsAre(path("bundle/echo_result.txt")));
    EXPECT_TRUE(m_log.containsCode('E', "performExternalAction", "MEROAction::callExtern", 0xFEB00014))
        << m_log.dump();
    EXPECT_TRUE(m_log.containsCode('E', "Perform", "MEROAction::performExternalAction", 0xFEB00014))
        << m_log.dump();
    EXPECT_EQ(readFile("so_far.txt"), "so far\n");
    EXPECT_FALSE(exists("bundle/so_far.txt"));
    EXPECT_THAT(omitted(), IsEmpty());
    EXPECT_TRUE(hasEnded(pidIn(path("pid"))));
}
