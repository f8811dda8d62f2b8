#include "Common/Utility/process/StopRequest.h"
#include "Common/Utility/ReturnCodes.h"
#include "tests/engine/action/ToolTest.h"
#include "tests/support/InChild.h"
#include "tests/support/Processes.h"

#include <functional>
#include <gmock/gmock.h>
#include <thread>

namespace {

using ::testing::IsEmpty;

/// Tools of a run that is asked to stop.
class StoppedTool : public ToolTest {
protected:
    /// Has a tool without end run, and stops once that is under way. @return what running it gives.
    [[nodiscard]] uint32_t stopMeanwhile(const std::function<uint32_t(const std::string&)>& runTool) const {
        const std::string endless = tool("endless", "echo $$ >pid; exec sleep 600");
        std::thread stopper([this] {
            EXPECT_GT(pidIn(path("pid")), 0);
            requestStop();
        });
        const uint32_t code = runTool(endless);
        stopper.join();
        return code;
    }
};

TEST_F(StoppedTool, IsNotStarted) {
    inChild([this] {
        requestStop();
        const std::string touching = tool("touching", "touch touched");
        EXPECT_EQ(launch(touching), MEROENGINE_ERROR_ACTION_CANCELED_BY_USER);
        EXPECT_EQ(capture(touching), MEROENGINE_ERROR_ACTION_CANCELED_BY_USER);
        EXPECT_FALSE(exists("touched"));
        EXPECT_FALSE(exists("bundle/out.txt"));
        EXPECT_THAT(omitted(), IsEmpty());
    });
}

TEST_F(StoppedTool, WhoseOutputIsTakenHasNotFailed) {
    inChild([this] {
        EXPECT_EQ(stopMeanwhile([this](const std::string& line) { return capture(line); }),
                  MEROENGINE_ERROR_ACTION_CANCELED_BY_USER);
        EXPECT_THAT(omitted(), IsEmpty());
    });
}

TEST_F(StoppedTool, IsEndedBeforeItsActionIs) {
    inChild([this] {
        EXPECT_EQ(stopMeanwhile([this](const std::string& line) { return launch(line); }),
                  MEROENGINE_ERROR_ACTION_CANCELED_BY_USER);
        EXPECT_FALSE(hasChildren());
        EXPECT_EQ(m_runner.m_processId, 0);
        EXPECT_THAT(omitted(), IsEmpty());
    });
}

} // namespace
