#include "Common/Utility/ReturnCodes.h"
#include "tests/engine/action/ToolTest.h"
#include "tests/engine/pipeline/ProgressLock.h"
#include "tests/support/InChild.h"
#include "tests/support/Processes.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <memory>
#include <stdexcept>

namespace fs = std::filesystem;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr const char* kFirstReport = "Processing VPN logs...";
/// A tool that runs until `go` is there.
constexpr const char* kUntilGo = "while [ ! -e go ]; do sleep 0.05; done";

std::string stillRunning(const std::string& name) {
    return "Still running " + name + ", please be patient as this may take a few minutes...";
}

} // namespace

/// Tools that are started without their output being taken.
class LaunchedTool : public ToolTest {
protected:
    void letGo() const { writeFile("go", ""); }

    /// Starts a tool that runs on, and leaves it behind by an exception out of the first report.
    /// @return its process id, which the tool has to write to `pid`.
    pid_t abandon(ToolRunner& runner, const std::string& commandLine) {
        m_listener.onMessage(kFirstReport, [this] {
            EXPECT_GT(pidIn(path("pid")), 0);
            throw std::runtime_error("abandoned");
        });
        EXPECT_THROW(static_cast<void>(runner.callExtern({}, commandLine, false, {})), std::runtime_error);
        const pid_t left = pidIn(path("pid"));
        EXPECT_EQ(left, runner.m_processId);
        EXPECT_FALSE(hasEnded(left));
        return left;
    }
};

TEST_F(LaunchedTool, GetsItsParametersAsOneArgument) {
    EXPECT_EQ(launch(argumentsTool("note") + " -v  two  /three "), 0u);
    EXPECT_EQ(readFile("arguments"), "1\n[-v  two  /three ]\n");
}

TEST_F(LaunchedTool, GetsAnEmptyArgumentWithoutParameters) {
    EXPECT_EQ(launch(argumentsTool("note")), 0u);
    EXPECT_EQ(readFile("arguments"), "1\n[]\n");
}

TEST_F(LaunchedTool, GetsAnEmptyArgumentBehindABlank) {
    EXPECT_EQ(launch(argumentsTool("note") + " "), 0u);
    EXPECT_EQ(readFile("arguments"), "1\n[]\n");
}

TEST_F(LaunchedTool, LosesOnlyTheFirstBlank) {
    EXPECT_EQ(launch(argumentsTool("note") + "   -v"), 0u);
    EXPECT_EQ(readFile("arguments"), "1\n[  -v]\n");
}

TEST_F(LaunchedTool, HasNoShellToReadItsCommandLine) {
    EXPECT_EQ(launch(argumentsTool("note") + R"( 'a b' "$HOME" $((1+1)) * | cat > x; touch done)"), 0u);
    EXPECT_EQ(readFile("arguments"), "1\n['a b' \"$HOME\" $((1+1)) * | cat > x; touch done]\n");
    EXPECT_FALSE(exists("done"));
    EXPECT_FALSE(exists("x"));
}

TEST_F(LaunchedTool, IsLookedForInItsFolder) {
    static_cast<void>(argumentsTool("note"));
    EXPECT_EQ(launch("note -v", path("tools")), 0u);
    EXPECT_EQ(readFile("arguments"), "1\n[-v]\n");
    fs::remove(path("arguments"));
    EXPECT_EQ(launch("note -v", path("tools/")), 0u);
    EXPECT_TRUE(exists("arguments"));
}

TEST_F(LaunchedTool, KeepsTheFolderPartOfItsCommandLineBelowItsFolder) {
    static_cast<void>(argumentsTool("sub/note"));
    EXPECT_EQ(launch("sub/note", path("tools")), 0u);
    EXPECT_TRUE(exists("arguments"));
}

TEST_F(LaunchedTool, WithAnAbsolutePathIsNotFoundBelowItsFolder) {
    const std::string absolute = argumentsTool("note");
    EXPECT_EQ(launch(absolute, path("tools")), 0u);
    EXPECT_FALSE(exists("arguments"));
    EXPECT_THAT(omitted(), IsEmpty());
    EXPECT_EQ(launch(absolute), 0u);
    EXPECT_TRUE(exists("arguments"));
}

TEST_F(LaunchedTool, WithoutAFolderIsLookedForInThePath) {
    static_cast<void>(argumentsTool("note"));
    setEnvironment("PATH", path("tools") + ":/usr/bin:/bin");
    EXPECT_EQ(launch("note -v"), 0u);
    EXPECT_EQ(readFile("arguments"), "1\n[-v]\n");
}

TEST_F(LaunchedTool, FindsNeitherInputNorOutputOfOurs) {
    const std::string line = tool("look", "seen=$(for fd in 0 1 2; do readlink /proc/$$/fd/$fd; done)\n"
                                          "echo \"$seen\" >where");
    withSilentInput([&] { EXPECT_EQ(launch(line), 0u); });
    EXPECT_EQ(readFile("where"), "/dev/null\n/dev/null\n/dev/null\n");
}

TEST_F(LaunchedTool, FindsItsInputAtAnEnd) {
    const std::string line = tool("reader", "cat >read; touch done");
    withSilentInput([&] { EXPECT_EQ(launch(line), 0u); });
    EXPECT_TRUE(exists("done"));
    EXPECT_EQ(readFile("read"), "");
}

TEST_F(LaunchedTool, MayPrintAsMuchAsItLikes) {
    EXPECT_EQ(launch(tool("loud", "head -c 5000000 /dev/zero; head -c 5000000 /dev/zero >&2; touch done")),
              0u);
    EXPECT_TRUE(exists("done"));
}

TEST_F(LaunchedTool, MaySignalItsGroupWithoutReachingUs) {
    EXPECT_EQ(launch(tool("loud", "trap '' TERM; kill -TERM 0; touch done")), 0u);
    EXPECT_TRUE(exists("done"));
}

TEST_F(LaunchedTool, LeavesAFileForAnOutputThatIsNotTakenAlone) {
    EXPECT_EQ(m_runner.callExtern({}, "echo text", false, path("bundle/out.txt")), 0u);
    EXPECT_FALSE(exists("bundle/out.txt"));
}

TEST_F(LaunchedTool, IsStartedAlsoWhenThereIsNoFileForItsOutput) {
    EXPECT_EQ(m_runner.callExtern(path("tools"), argumentsTool("note").substr(path("tools/").size()) + " a b",
                                  true, {}),
              0u);
    EXPECT_EQ(readFile("arguments"), "1\n[a b]\n");
}

struct GoodEnding {
    const char* name;
    const char* commandLine;
};

class LaunchedToolEnding : public LaunchedTool, public ::testing::WithParamInterface<GoodEnding> {};

TEST_P(LaunchedToolEnding, IsNoFailure) {
    writeFile("plain.txt", "not a program");
    static_cast<void>(tool("three", "exit 3"));
    EXPECT_EQ(launch(GetParam().commandLine), 0u);
    EXPECT_THAT(omitted(), IsEmpty());
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
    EXPECT_EQ(m_runner.m_processId, 0);
    EXPECT_NE(m_runner.m_pProcess, nullptr);
    EXPECT_FALSE(hasChildren());
}

INSTANTIATE_TEST_SUITE_P(Kinds, LaunchedToolEnding,
                         ::testing::Values(GoodEnding{"Success", "true"},
                                           GoodEnding{"ExitCode", "tools/three"},
                                           GoodEnding{"MissingProgram", "no-such-tool -v"},
                                           GoodEnding{"MissingFile", "./no-such-tool"},
                                           GoodEnding{"NotExecutable", "./plain.txt -v"},
                                           GoodEnding{"Folder", "./tools"}, GoodEnding{"NoCommandLine", ""},
                                           GoodEnding{"LeadingBlank", " true"}),
                         [](const auto& ending) { return std::string(ending.param.name); });

TEST_F(LaunchedTool, ThatASignalEndsHasFailed) {
    m_listener.onMessage(kFirstReport, [this] { letGo(); });
    EXPECT_EQ(launch(tool("killed", std::string(kUntilGo) + "; kill -KILL $$")), 0xFE2B002Du);
    EXPECT_THAT(omitted(), IsEmpty()) << "it was started, and its output may be there";
    EXPECT_EQ(m_runner.m_processId, 0);
    EXPECT_FALSE(hasChildren());
}

TEST_F(LaunchedTool, ThatEndsJustBetweenTwoRoundsHasFailed) {
    m_listener.onMessage(kFirstReport, [this] {
        letGo();
        EXPECT_TRUE(eventually([this] { return hasEnded(m_runner.m_processId); }));
    });
    EXPECT_EQ(launch(tool("late", kUntilGo)), 0xFE2B002Du) << "the last wait timed out";
    EXPECT_EQ(m_listener.messages(), std::vector<std::string>{kFirstReport});
    EXPECT_FALSE(hasChildren());
    EXPECT_EQ(m_runner.m_processId, 0) << "by now the number may be somebody else's";
}

TEST_F(LaunchedTool, IsReportedEachSecondFirstByItsItemAndThenByItsName) {
    const std::string name = tool("slow", std::string(kUntilGo) + "; sleep 0.3");
    std::vector<std::chrono::steady_clock::time_point> times;
    const auto start = std::chrono::steady_clock::now();
    m_listener.onMessage(kFirstReport, [&] { times.push_back(std::chrono::steady_clock::now()); });
    m_listener.onMessage(stillRunning(name), [&] {
        times.push_back(std::chrono::steady_clock::now());
        if (times.size() == 3) {
            letGo();
        }
    });
    EXPECT_EQ(launch(name + " -v some more"), 0u);
    const std::vector<Report> reports = m_listener.reports();
    ASSERT_GE(reports.size(), 4u);
    EXPECT_EQ(reports.front(), step(46, kFirstReport));
    EXPECT_THAT(std::vector<Report>(reports.begin() + 1, reports.end()), Each(step(46, stillRunning(name))));
    constexpr std::chrono::milliseconds kShortestSlice{950};
    EXPECT_GE(times[0] - start, kShortestSlice);
    EXPECT_GE(times[1] - times[0], kShortestSlice);
    EXPECT_GE(times[2] - times[1], kShortestSlice);
}

TEST_F(LaunchedTool, IsReportedWithoutALongWait) {
    const auto start = std::chrono::steady_clock::now();
    m_listener.onMessage(kFirstReport, [this] { letGo(); });
    EXPECT_EQ(launch(tool("slow", std::string(kUntilGo) + "; sleep 0.3")), 0u);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(8));
}

TEST_F(LaunchedTool, IsNotNamedByAReportIfItEndsInTheFirstRound) {
    EXPECT_EQ(launch("sleep 0.1"), 0u);
    EXPECT_THAT(m_listener.messages(), Each(kFirstReport));
    EXPECT_LE(m_listener.reports().size(), 1u);
}

TEST_F(LaunchedTool, HoldsTheLockOfTheProgressDuringAReport) {
    bool locked = false;
    m_listener.onMessage(kFirstReport, [&] {
        locked = isProgressLocked();
        letGo();
    });
    EXPECT_EQ(launch(tool("slow", std::string(kUntilGo) + "; sleep 0.3")), 0u);
    EXPECT_TRUE(locked);
    EXPECT_FALSE(isProgressLocked());
}

TEST_F(LaunchedTool, LeavesNoDescriptorBehind) {
    const std::size_t before = openDescriptors();
    for (int run = 0; run < 20; ++run) {
        EXPECT_EQ(launch("true"), 0u);
    }
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(LaunchedTool, FailsWhenItCannotBeStarted) {
    withoutNewProcesses([this] {
        EXPECT_EQ(launch("ping -c 1"), 0xFE2B003Au);
        EXPECT_TRUE(m_log.containsCode('E', "callExtern", "CProcessApi::Launch", 0xFE2B003A)) << m_log.dump();
        EXPECT_EQ(launch("nameonly"), 0xFE2B003Au);
        EXPECT_EQ(launch(""), 0xFE2B003Au);
        EXPECT_EQ(launch(" blank first"), 0xFE2B003Au);
        EXPECT_THAT(omitted(), ElementsAre(failedRow("ping"), failedRow("nameonly"), failedRow(""),
                                           failedRow(" blank first")));
        EXPECT_THAT(m_listener.reports(), IsEmpty());
    });
}

TEST_F(LaunchedTool, EndsWhenTheNextOneOfItsActionStarts) {
    const pid_t first = abandon(m_runner, tool("endless", "echo $$ >pid; exec sleep 600"));
    EXPECT_EQ(capture(tool("next", "kill -0 $(cat pid) 2>/dev/null || echo alone")), 0u);
    EXPECT_EQ(captured(), banner(path("tools/next")) + "alone\n");
    EXPECT_TRUE(hasEnded(first));
    EXPECT_EQ(m_runner.m_processId, 0);
    EXPECT_FALSE(hasChildren());
}

/// The tool that an action still has when it goes away.
class LeftTool : public LaunchedTool {
protected:
    /// Starts a tool by an action of its own, which then ends. @return how long its end took.
    std::chrono::steady_clock::duration endWithItsAction(const std::string& commandLine) {
        auto action = std::make_unique<ToolRunner>(m_info);
        const pid_t left = abandon(*action, commandLine);
        const auto start = std::chrono::steady_clock::now();
        action.reset();
        EXPECT_TRUE(hasEnded(left));
        EXPECT_FALSE(hasChildren());
        return std::chrono::steady_clock::now() - start;
    }
};

TEST_F(LeftTool, EndsWithItsAction) {
    const auto duration = endWithItsAction(tool("endless", "echo $$ >pid; exec sleep 600"));
    EXPECT_LT(duration, std::chrono::seconds(4)) << "SIGTERM is enough";
}

TEST_F(LeftTool, EndsWithItsActionAlsoIfItIgnoresSigterm) {
    const auto duration =
        endWithItsAction(tool("deaf", "trap '' TERM; echo $$ >pid; while :; do sleep 0.1; done"));
    EXPECT_GE(duration, std::chrono::seconds(4)) << "it has time to tidy up";
    EXPECT_LT(duration, std::chrono::seconds(30));
}

TEST_F(LeftTool, MayTidyUpBeforeItEnds) {
    static_cast<void>(endWithItsAction(
        tool("tidy", "trap 'touch tidied; exit' TERM; echo $$ >pid; while :; do sleep 0.1; done")));
    EXPECT_TRUE(exists("tidied"));
}

TEST_F(LeftTool, TakesItsOwnChildrenWithIt) {
    static_cast<void>(endWithItsAction(tool("parent", "sh -c 'echo $$ >child; exec sleep 600' &\n"
                                                      "while [ ! -s child ]; do sleep 0.05; done\n"
                                                      "echo $$ >pid; wait")));
    const pid_t child = pidIn(path("child"));
    EXPECT_TRUE(eventually([&] { return hasEnded(child); }));
}

TEST_F(LeftTool, EndsWithTheActionAlsoWhenItIsStopped) {
    static_cast<void>(endWithItsAction(tool("stopped", "echo $$ >pid; kill -STOP $$")));
}
