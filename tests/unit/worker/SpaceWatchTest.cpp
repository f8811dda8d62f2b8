#include "tools/MERO/MEROOffline/Linux/MEROHelper/Worker/SpaceWatch.h"

#include "Common/Utility/ReturnCodes.h"
#include "tests/support/Processes.h"
#include "tests/unit/worker/WorkerWorld.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Worker/SpaceUse.h"

#include <chrono>
#include <filesystem>
#include <future>
#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/resource.h>

namespace fs = std::filesystem;
using ::testing::HasSubstr;

namespace {

constexpr uint64_t kMebibyte = uint64_t{1024} * 1024;
constexpr const char* kTooLittle =
    "There is not enough free disk space to create the bundle. Free some space and try again.";
constexpr const char* kTooMuch =
    "The files to collect are too large for one bundle. Choose fewer of them and try again.";

void mountSmall(const std::string& folder, const char* options) {
    fs::create_directories(folder);
    ASSERT_EQ(::mount("small", folder.c_str(), "tmpfs", 0, options), 0) << "errno " << errno;
}

TEST(SpaceLimits, AreWideUnlessTheyAreChosen) {
    const SpaceLimits limits;
    EXPECT_EQ(limits.mostBytes, uint64_t{10} * 1024 * kMebibyte);
    EXPECT_EQ(limits.keptFreeBytes, 200 * kMebibyte);
    EXPECT_EQ(limits.keptFreePercent, 5U);
}

class SpaceUse : public WorkerWorld {};

TEST_F(SpaceUse, KeepsTheLargerOfBytesAndPercentage) {
    inWorld([] {
        const auto keptOf = [](uint64_t bytes, uint32_t percent) {
            return freeSpaceOf("/tmp", {.keptFreeBytes = bytes, .keptFreePercent = percent})->keptBytes;
        };
        EXPECT_EQ(keptOf(kMebibyte, 5), kMebibyte);
        EXPECT_EQ(keptOf(kMebibyte, 50), 4 * kMebibyte);
    });
}

TEST_F(SpaceUse, CountsFilesThatCanStillBeMade) {
    inWorld([] {
        mountSmall("/srv/few", "size=1m,nr_inodes=10");
        const SpaceLimits half{.keptFreeBytes = 0, .keptFreePercent = 50};
        EXPECT_TRUE(freeSpaceOf("/srv/few", half)->hasRoomForFiles);
        for (int number = 0; number < 9; ++number) {
            writeTheirs("/srv/few/" + std::to_string(number), "");
        }
        EXPECT_FALSE(freeSpaceOf("/srv/few", half)->hasRoomForFiles);
    });
}

TEST_F(SpaceUse, IsNoneOfWhatIsNotThere) {
    inWorld([this] {
        EXPECT_FALSE(freeSpaceOf("/srv/missing", {}));
        EXPECT_TRUE(m_log.contains('W', "/srv/missing")) << m_log.dump();
        EXPECT_EQ(bytesBelow("/srv/missing"), 0U);
    });
}

TEST_F(SpaceUse, CountsWhatFilesTakeAndFollowsNoLink) {
    inWorld([] {
        const std::string content(kMebibyte, 'x');
        writeTheirs("/tmp/a/one", content);
        writeTheirs("/tmp/a/b/two", content);
        fs::resize_file(writeTheirs("/tmp/a/sparse", ""), 1024 * kMebibyte);
        fs::create_directory_symlink("/tmp/a", "/tmp/a/b/loop");
        EXPECT_EQ(bytesBelow("/tmp/a"), 2 * kMebibyte);
        EXPECT_EQ(bytesBelow("/tmp/a/b/loop"), 0U);
    });
}

TEST_F(SpaceUse, NeedsTwoDescriptorsHoweverDeepTheFilesLie) {
    inWorld([] {
        std::string folder = "/tmp/deep";
        for (int depth = 0; depth < 100; ++depth) {
            folder += "/d";
        }
        writeTheirs(folder + "/file", std::string(kMebibyte, 'x'));
        const rlimit few{openDescriptors() + 2, openDescriptors() + 2};
        ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
        EXPECT_EQ(bytesBelow("/tmp/deep"), kMebibyte);
    });
}

/// Whole jobs.
class SpaceWatch : public WorkerWorld {
protected:
    /// A job that goes beyond its limits.
    [[nodiscard]] JobResult runTooLarge(const SpaceLimits& limits, const char* message) const {
        WorkOrder job = order();
        job.space = limits;
        JobResult result = run(job);
        EXPECT_EQ(result.outcome().status, MEROENGINE_ERROR_WRITE_FAILURE) << result.log;
        EXPECT_EQ(result.outcome().message, message) << result.log;
        EXPECT_FALSE(fs::exists(job.archivePath));
        return result;
    }
    /// A default item of a tool that prints megabytes and then stays for a while.
    [[nodiscard]] static std::string printingItem(int megabytes) {
        return scriptItem("told", "head -c " + std::to_string(megabytes) + "M /dev/zero; sleep 5");
    }
};

TEST_F(SpaceWatch, EndsAJobAtOnceWhereTooLittleIsFree) {
    inWorld([this] {
        configure(scriptItem("told", "touch /srv/touched"));
        const JobResult result = runTooLarge({.keptFreeBytes = 16 * kMebibyte}, kTooLittle);
        EXPECT_EQ(result.records.size(), 1U);
        EXPECT_THAT(result.log, HasSubstr("In \"/tmp\" "));
        EXPECT_FALSE(fs::exists("/srv/touched"));
        EXPECT_TRUE(fs::is_empty("/tmp"));
    });
}

TEST_F(SpaceWatch, LooksAtTheFileSystemOfTheArchiveToo) {
    inWorld([this] {
        configure(scriptItem("told", "touch /srv/touched"));
        mountSmall(kJobFolder, "size=1m,mode=0700");
        const JobResult result = runTooLarge({.keptFreeBytes = 2 * kMebibyte}, kTooLittle);
        EXPECT_THAT(result.log, HasSubstr("In \"/srv/job\" "));
        EXPECT_FALSE(fs::exists("/srv/touched"));
    });
}

TEST_F(SpaceWatch, EndsAJobOfSparseFiles) {
    inWorld([this] {
        for (const char* name : {"a", "b", "c", "d"}) {
            fs::resize_file(writeTheirs(std::string("/srv/logs/") + name, ""), 1024 * kMebibyte);
        }
        configure(fileItem("large", "/srv/logs/*") + printingItem(0));
        static_cast<void>(runTooLarge({.keptFreeBytes = 4 * kMebibyte}, kTooLittle));
    });
}

TEST_F(SpaceWatch, EndsAJobWhoseToolsFillTheFileSystem) {
    inWorld([this] {
        configure(printingItem(6));
        static_cast<void>(runTooLarge({.keptFreeBytes = 4 * kMebibyte}, kTooLittle));
    });
}

// What has gone since the last look may go once more before the next.
TEST_F(SpaceWatch, EndsAJobThatTakesMoreAtOnceThanIsLeftThen) {
    inWorld([] {
        mountSmall("/srv/small", "size=100m");
        std::promise<void> breached;
        ::SpaceWatch watch({.keptFreeBytes = 20 * kMebibyte, .keptFreePercent = 0}, {"/srv/small"},
                           [&breached] { breached.set_value(); });
        ASSERT_TRUE(watch.start());
        ASSERT_EQ(::mount("small", "/srv/small", "tmpfs", MS_REMOUNT, "size=50m"), 0);
        ASSERT_EQ(breached.get_future().wait_for(std::chrono::seconds(30)), std::future_status::ready);
        EXPECT_STREQ(watch.breach(), kTooLittle);
    });
}

TEST_F(SpaceWatch, EndsAJobThatWritesTooMuch) {
    inWorld([this] {
        // Little enough that the free space is no concern, also if it went on to fall as fast.
        configure(printingItem(2));
        const JobResult result = runTooLarge({.mostBytes = kMebibyte, .keptFreeBytes = 4096}, kTooMuch);
        EXPECT_THAT(result.log, HasSubstr("more than the 1048576 that they may"));
    });
}

TEST_F(SpaceWatch, CountsTheFilesOfAllItsFolders) {
    inWorld([this] {
        configure(printingItem(2) + scriptItem("other", "head -c 2M /dev/zero >/srv/job/other; sleep 5"));
        static_cast<void>(runTooLarge({.mostBytes = 3 * kMebibyte, .keptFreeBytes = 4096}, kTooMuch));
    });
}

TEST_F(SpaceWatch, LetsAJobWithinItsLimitsBe) {
    inWorld([this] {
        configure(scriptItem("told", "head -c 1M /dev/zero; sleep 1; echo end"));
        WorkOrder job = order();
        job.space = {.mostBytes = 4 * kMebibyte, .keptFreeBytes = 4 * kMebibyte, .keptFreePercent = 5};
        EXPECT_EQ(run(job).outcome().status, 0U);
        EXPECT_THAT(bundled("told"), ::testing::EndsWith("end\n"));
    });
}

} // namespace
