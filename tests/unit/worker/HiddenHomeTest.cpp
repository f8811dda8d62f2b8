#include "tests/support/SystemCallFilter.h"
#include "tests/unit/worker/WorkerWorld.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Worker/ClosedFolders.h"

#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/mount.h>

namespace fs = std::filesystem;
using ::testing::HasSubstr;

namespace {

/// Which argument of mount(2) has the flags.
constexpr std::size_t kMountFlags = 3;

} // namespace

/// Systems that can't keep links from being followed.
class HiddenHome : public WorkerWorld {
protected:
    /// Runs a job that would collect from the home by its path and by its variable.
    [[nodiscard]] JobResult runWithout(const std::function<void()>& takeAway) const {
        writeTheirs(kWorldHome + "/by-path.log", "in the home");
        writeTheirs(kWorldHome + "/by-name.log", "in the home");
        configure(fileItem("path", kWorldHome + "/by-path.log") + fileItem("name", "$HOME/by-name.log") +
                  scriptItem("home", "stat -c '%n %a %u' \"${1%/}\"; ls -A \"$1\"", "$HOME/"));
        return StartedWorker(order(), m_log, takeAway).finish();
    }
    static void expectEmptyHome() {
        EXPECT_THAT(bundled("home"), HasSubstr("\n/srv/job/home 700 0\n"));
        EXPECT_EQ(bundle().count("by-name.log"), 0U);
    }
    static void expectHomeHidden(const JobResult& result) {
        EXPECT_EQ(result.outcome().status, 0U) << result.log;
        expectEmptyHome();
        EXPECT_EQ(bundle().count("by-path.log"), 0U);
        EXPECT_THAT(result.log,
                    HasSubstr("The home \"/srv/home/caller\" is left out of the view: this system "
                              "can't keep its links from being followed"));
        EXPECT_THAT(result.log,
                    HasSubstr("Links in \"/tmp\" are followed: this system can't keep them from it"));
    }
};

TEST_F(HiddenHome, IsEmptyWhereTheKernelRefusesTheFlag) {
    inWorld([this] {
        expectHomeHidden(
            runWithout([] { replaceSystemCallWith(SYS_mount, EINVAL, kMountFlags, MS_NOSYMFOLLOW); }));
    });
}

TEST_F(HiddenHome, IsEmptyWhereTheKernelIgnoresTheFlag) {
    inWorld([this] {
        expectHomeHidden(
            runWithout([] { replaceSystemCallWith(SYS_mount, 0, kMountFlags, MS_NOSYMFOLLOW); }));
    });
}

TEST_F(HiddenHome, IsEmptyWhereMountsCannotBeMadePrivate) {
    inWorld([this] {
        expectHomeHidden(
            runWithout([] { replaceSystemCallWith(SYS_mount, EINVAL, kMountFlags, MS_PRIVATE); }));
    });
}

TEST_F(HiddenHome, GetsAnEmptyFolderForItWhereNothingCanBeMounted) {
    inWorld([this] {
        const JobResult result = runWithout([] { replaceSystemCall(SYS_mount, EPERM); });
        EXPECT_EQ(result.outcome().status, 0U) << result.log;
        expectEmptyHome();
        EXPECT_THAT(result.log, HasSubstr("Links that users have made are followed: no mounts of our own can "
                                          "be had"));
        EXPECT_THAT(result.log, HasSubstr("The home \"/srv/home/caller\" is left out of the view"));
    });
}

TEST_F(HiddenHome, GetsAnEmptyFolderForItWhereThereIsNoMountNamespace) {
    inWorld([this] {
        const JobResult result = runWithout([] { replaceSystemCall(SYS_unshare, EPERM); });
        EXPECT_EQ(result.outcome().status, 0U) << result.log;
        expectEmptyHome();
        EXPECT_THAT(result.log, HasSubstr("no mounts of our own can be had"));
    });
}

TEST_F(HiddenHome, IsNotMountedOverWithoutANamespaceOfItsOwn) {
    inWorld([] {
        writeTheirs(kWorldHome + "/plain.log", "plain");
        // The test's own mounts would be changed.
        replaceSystemCall(SYS_unshare, EPERM);
        EXPECT_FALSE(closeFolders(worldCaller(), kJobFolder));
        EXPECT_TRUE(fs::exists(kWorldHome + "/plain.log"));
    });
}

TEST_F(HiddenHome, CannotBeWrittenTo) {
    inWorld([] {
        replaceSystemCallWith(SYS_mount, EINVAL, kMountFlags, MS_NOSYMFOLLOW);
        EXPECT_FALSE(closeFolders(worldCaller(), kJobFolder));
        EXPECT_TRUE(fs::is_empty(kWorldHome));
        EXPECT_NE(::mkdir((kWorldHome + "/new").c_str(), 0700), 0);
        EXPECT_EQ(errno, EROFS);
    });
}
