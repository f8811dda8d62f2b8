#include "Common/Utility/ReturnCodes.h"
#include "tests/engine/pipeline/EngineRun.h"

#include <gmock/gmock.h>

using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// Runs whose archive is written elsewhere than to the target path.
class ArchivePath : public EngineRun {
protected:
    ArchivePath() { writeThreeItems(); }

    [[nodiscard]] uint32_t runWith(const std::string& archivePath) const {
        const std::shared_ptr<MEROEngine> job = engine();
        job->setArchivePath(archivePath);
        return job->run();
    }
};

TEST_F(ArchivePath, GetsTheBundleAndTheTargetGetsNone) {
    makeFolder("elsewhere");
    EXPECT_EQ(runWith(path("elsewhere/archive.zip")), 0U);
    EXPECT_FALSE(exists("out.zip"));
    unpack("elsewhere/archive.zip");
    EXPECT_EQ(bundled("one.log"), "one");
}

TEST_F(ArchivePath, GetsNoExtension) {
    EXPECT_EQ(runWith(path("archive")), 0U);
    EXPECT_TRUE(exists("archive"));
    EXPECT_FALSE(exists("archive.zip"));
}

TEST_F(ArchivePath, IsNotWhatTheSummaryNames) {
    EXPECT_EQ(runWith(path("archive")), 0U);
    unpack("archive");
    EXPECT_THAT(bundled("summary.txt"), HasSubstr("\nBundle on client computer:    " + path("out.zip")));
}

TEST_F(ArchivePath, LeavesTheTargetToAnEmptyOne) {
    EXPECT_EQ(runWith({}), 0U);
    unpack("out.zip");
    EXPECT_EQ(bundled("one.log"), "one");
}

TEST_F(ArchivePath, FailsTheRunWhereNothingCanBeWritten) {
    EXPECT_EQ(runWith(path("missing/archive")), MEROENGINE_ERROR_WRITE_FAILURE);
    EXPECT_EQ(m_listener.reports().back(),
              (Report{96, "Internal Error: failed to zip the bundle...", MEROENGINE_ERROR_WRITE_FAILURE}));
    EXPECT_FALSE(exists("out.zip"));
    EXPECT_THAT(leftFolders(), IsEmpty());
}
