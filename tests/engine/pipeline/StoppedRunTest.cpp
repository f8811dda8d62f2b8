#include "Common/Utility/process/StopRequest.h"
#include "Common/Utility/ReturnCodes.h"
#include "tests/engine/pipeline/EngineRun.h"
#include "tests/support/Processes.h"

#include <chrono>
#include <filesystem>
#include <future>
#include <gmock/gmock.h>
#include <string>
#include <unistd.h>

namespace fs = std::filesystem;
using ::testing::IsEmpty;

namespace {

using Clock = std::chrono::steady_clock;

/// What a run may take to end, tools that have to be killed included.
constexpr std::chrono::seconds kEndLimit{8};
constexpr off_t kLargeFileBytes = off_t{1} << 40;

} // namespace

/// Runs that are asked to stop. The request can't be taken back: each test has a process of its own.
class StoppedRun : public EngineRun {
protected:
    void collect(const std::string& instructions) const {
        writeConfiguration("a.xml", group("A", "<file id=\"a\"><default>true</default><description>about a"
                                               "</description><mero><os opsys=\"linux\">" +
                                                   instructions + "</os></mero></file>"));
    }
    void collectTool(const std::string& name, const std::string& script, const std::string& more) const {
        static_cast<void>(writeTool(path("tools/" + name), script));
        collect("<use_extern_action><action><path>" + path("tools") + "</path><args>" + name + " -x</args>" +
                more + "</action></use_extern_action>");
    }

    /// Runs the job and stops it as soon as `isReached` says so.
    void stopWhen(const std::function<bool()>& isReached) {
        std::future<uint32_t> code = std::async(std::launch::async, [this] { return run(); });
        EXPECT_TRUE(eventually(isReached));
        const Clock::time_point start = Clock::now();
        requestStop();
        EXPECT_EQ(code.get(), MEROENGINE_ERROR_ACTION_CANCELED_BY_USER);
        EXPECT_LT(Clock::now() - start, kEndLimit);
        expectNoBundle();
    }

    void expectNoBundle() const {
        const Report last = m_listener.reports().back();
        EXPECT_EQ(last.message, "MERO was stopped before the bundle was complete...");
        EXPECT_EQ(last.code, MEROENGINE_ERROR_ACTION_CANCELED_BY_USER);
        EXPECT_THAT(leftFolders(), IsEmpty());
        EXPECT_FALSE(exists("out.zip"));
        EXPECT_FALSE(hasChildren());
    }

    /// A tool whose output is kept is a child of the shell that the run has reaped: the kernel ends it a
    /// moment after the signal that nobody can ignore.
    void expectToolEnds() const {
        const pid_t tool = pidIn(path("pid"));
        EXPECT_TRUE(eventually([tool] { return hasEnded(tool); }));
    }

    /// Bytes of the files in the working folders of this test.
    [[nodiscard]] uintmax_t bytesCopied() const {
        uintmax_t bytes = 0;
        std::error_code ignored;
        for (const std::string& folder : workingFolders()) {
            for (const auto& entry : fs::directory_iterator("/tmp/" + folder, ignored)) {
                bytes += entry.file_size(ignored);
            }
        }
        return bytes;
    }
};

TEST_F(StoppedRun, EndsBeforeItHasBegunToCollect) {
    collectTool("tool", "touch made", "<stdout/>");
    requestStop();
    EXPECT_EQ(run(), MEROENGINE_ERROR_ACTION_CANCELED_BY_USER);
    expectNoBundle();
    EXPECT_FALSE(exists("made"));
}

TEST_F(StoppedRun, EndsInTheMiddleOfAFile) {
    ASSERT_EQ(::truncate(writeFile("large.log", "").c_str(), kLargeFileBytes), 0);
    collect("<file_copy_action><action><loc>" + path("large.log") + "</loc></action></file_copy_action>");
    stopWhen([this] { return bytesCopied() > 0; });
}

TEST_F(StoppedRun, EndsAToolWhoseOutputIsKeptAndThatIgnoresSignals) {
    collectTool("deaf", "trap '' TERM INT HUP\necho $$ >pid\nwhile :; do sleep 1; done", "<stdout/>");
    stopWhen([this] { return pidIn(path("pid")) != 0; });
    expectToolEnds();
}

TEST_F(StoppedRun, EndsAToolThatHasClosedItsOutput) {
    collectTool("closed", "exec >&- 2>&-\necho $$ >pid\nsleep 600", "<stdout/>");
    stopWhen([this] { return pidIn(path("pid")) != 0; });
    expectToolEnds();
}

TEST_F(StoppedRun, EndsAToolThatItOnlyWaitsFor) {
    collectTool("deaf", "trap '' TERM INT HUP\necho $$ >pid\nwhile :; do sleep 1; done", "");
    stopWhen([this] { return pidIn(path("pid")) != 0; });
    EXPECT_TRUE(hasEnded(pidIn(path("pid"))));
}

TEST_F(StoppedRun, LetsAToolClearUp) {
    collectTool("tidy",
                "trap 'sleep 0.2; rm -f scratch; exit' TERM\ntouch scratch\necho $$ >pid\n"
                "while :; do sleep 0.1; done",
                "<stdout/>");
    stopWhen([this] { return pidIn(path("pid")) != 0; });
    EXPECT_FALSE(exists("scratch"));
}

TEST_F(StoppedRun, StartsNoFurtherTool) {
    collect("<use_extern_action><action><args>" + writeTool(path("tools/first"), "echo $$ >pid\nsleep 600") +
            "</args><stdout/></action><action><args>" + writeTool(path("tools/second"), "touch made") +
            "</args></action></use_extern_action>");
    stopWhen([this] { return pidIn(path("pid")) != 0; });
    EXPECT_FALSE(exists("made"));
}
