#include "tools/MERO/MEROEngine/implementations/TidyRun.h"

#include "Common/Utility/process/StopRequest.h"
#include "Common/Utility/ReturnCodes.h"
#include "tests/engine/pipeline/EngineRun.h"
#include "tests/support/Processes.h"
#include "tools/MERO/MEROEngine/implementations/RunFolder.h"

#include <filesystem>
#include <future>
#include <gmock/gmock.h>
#include <string>

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Runs whose bundle has a sub-folder, which the engine alone leaves behind.
class TidyRun : public EngineRun {
protected:
    TidyRun() {
        writeConfiguration("a.xml", "<fileGroup directoryName=\"sub\"><title>A</title>" +
                                        item("one", writeFile("logs/one.log", "one")) + "</fileGroup>");
    }

    [[nodiscard]] uint32_t runTidy() const { return runTidily(*engine()); }
};

TEST_F(TidyRun, RemovesWhatTheEngineLeaves) {
    EXPECT_EQ(run(), 0u);
    EXPECT_EQ(leftFolders().size(), 1u) << "the engine alone";
    fs::remove_all("/tmp/" + *leftFolders().begin());
    EXPECT_EQ(runTidy(), 0u);
    EXPECT_THAT(workingFolders(), IsEmpty());
    unpack();
    EXPECT_EQ(bundled("sub/one.log"), "one");
}

TEST_F(TidyRun, RemovesItAfterAFailureToo) {
    m_target = path("none/out.zip");
    EXPECT_EQ(runTidy(), MEROENGINE_ERROR_WRITE_FAILURE);
    EXPECT_THAT(workingFolders(), IsEmpty());
}

TEST_F(TidyRun, KeepsTheWholeFolderOnDemand) {
    std::string kept;
    EXPECT_EQ(runTidily(*engine(), FolderAfterRun::Kept, &kept), 0u);
    EXPECT_THAT(leftFolders(), ElementsAre(fs::path(kept).filename().string()));
    EXPECT_TRUE(fs::exists(kept + "/summary.txt"));
    EXPECT_TRUE(fs::exists(kept + "/sub/one.log"));
}

TEST_F(TidyRun, LeavesAFolderThatIsNotItsOwnAnyMore) {
    std::string taken;
    m_listener.onMessage("Zipping the bundle, please wait...", [&] {
        taken = "/tmp/" + *workingFolders().begin();
        fs::rename(taken, taken + "_moved");
        fs::create_directories(taken + "/of another");
    });
    static_cast<void>(runTidy());
    EXPECT_TRUE(fs::exists(taken + "/of another"));
    EXPECT_TRUE(m_log.contains('W', "it is not the folder of this run any more")) << m_log.dump();
    fs::remove_all(taken);
    fs::remove_all(taken + "_moved");
}

TEST_F(TidyRun, HoldsItsFolderUntilItIsGone) {
    const auto one = engine();
    const std::shared_ptr<RunFolder> folder = one->runFolder();
    EXPECT_EQ(one->run(), 0u);
    EXPECT_THAT(leftFolders(), IsEmpty()) << "nobody else may take it for a left-over one";
    EXPECT_EQ(workingFolders().size(), 1u);
    EXPECT_TRUE(folder->remove());
    EXPECT_THAT(workingFolders(), IsEmpty());
    EXPECT_TRUE(folder->remove()) << "once more";
}

TEST_F(TidyRun, IsRemovedByForceWhileItIsStillUnderWay) {
    std::promise<void> go;
    std::promise<void> isThere;
    m_listener.onMessage("Zipping the bundle, please wait...", [&] {
        isThere.set_value();
        go.get_future().wait();
    });
    std::future<uint32_t> code = std::async(std::launch::async, [this] { return runTidy(); });
    isThere.get_future().wait();
    EXPECT_EQ(workingFolders().size(), 1u);
    endRunsByForce();
    EXPECT_THAT(workingFolders(), IsEmpty());
    EXPECT_TRUE(isStopRequested());
    go.set_value();
    code.wait();
}
