#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/TargetCheck.h"

#include "tests/support/CapturedLog.h"
#include "tests/support/Processes.h"
#include "tests/unit/helper/StuckFileSystem.h"
#include "tests/unit/helper/UsersSandbox.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/ReaderPlace.h"

#include <chrono>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

class TargetCheck : public UsersSandbox {
protected:
    static void expectFine(const std::string& target) {
        const CapturedLog log;
        EXPECT_EQ(checkTarget(ordinaryUser(), target), TargetState::Fine);
        EXPECT_TRUE(log.lines().empty()) << log.dump();
        EXPECT_FALSE(hasChildren());
    }

    static void expectRefused(const std::string& target, int reason) {
        const CapturedLog log;
        EXPECT_EQ(checkTarget(ordinaryUser(), target), TargetState::Refused);
        EXPECT_EQ(log.lines().size(), 1U) << log.dump();
        EXPECT_TRUE(log.contains('W', "Return Code: " + std::to_string(reason) + " ")) << log.dump();
        EXPECT_FALSE(hasChildren());
    }
};

TEST_F(TargetCheck, TakesWhatABundleCanReplace) {
    expectFine(path("missing.zip"));
    expectFine(path("missing/a.zip"));
    expectFine(writeFile("there.zip", "x"));
    fs::create_symlink(path("nowhere"), path("link.zip"));
    expectFine(path("link.zip"));
}

TEST_F(TargetCheck, RefusesWhatItCanNot) {
    expectRefused(makeFolder("folder.zip"), EISDIR);
    ASSERT_EQ(::mkfifo(path("pipe.zip").c_str(), 0600), 0);
    expectRefused(path("pipe.zip"), ENXIO);
    expectRefused("/dev/null", ENXIO);
    fs::create_symlink(path("pipe.zip"), path("link.zip"));
    expectRefused(path("link.zip"), ENXIO);
    const FileDescriptor listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(static_cast<char*>(address.sun_path), "socket.zip");
    ASSERT_EQ(::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    expectRefused(path("socket.zip"), ENXIO);
}

TEST_F(TargetCheck, TellsNothingOfWhatTheCallerCanNotSee) {
    const std::string folder = makeFolder("closed");
    ASSERT_EQ(::chmod(folder.c_str(), 0700), 0);
    ASSERT_EQ(::mkfifo(path("closed/pipe.zip").c_str(), 0666), 0);
    expectFine(path("closed/pipe.zip"));
}

TEST_F(TargetCheck, SeesNothingWhileTheUsersReadersAreHeldUp) {
    std::vector<std::optional<ReaderPlace>> places;
    for (std::size_t place = 0; place < kMostReadersOfUser; ++place) {
        places.push_back(ReaderPlace::take(kUser));
    }
    const CapturedLog log;
    EXPECT_EQ(checkTarget(ordinaryUser(), path("a.zip")), TargetState::Unseen);
    EXPECT_TRUE(log.contains('W', "Nobody can look at the target")) << log.dump();
    places.pop_back();
    expectFine(path("a.zip"));
}

TEST_F(TargetCheck, LeavesAFileSystemThatNeverAnswersToThePublishing) {
    withStuckFolder(makeFolder("stuck"), [](StuckFileSystem& stuck, const std::string& target) {
        std::thread server([&stuck] { EXPECT_TRUE(stuck.takeQuestion()); });
        const CapturedLog log;
        const Clock::time_point start = Clock::now();
        EXPECT_EQ(checkTarget(ordinaryUser(), target, std::chrono::seconds(1)), TargetState::Fine);
        EXPECT_LT(Clock::now() - start, kReaderLimit);
        server.join();
        EXPECT_TRUE(log.contains('W', "can't be told")) << log.dump();
        stuck.abandon();
        EXPECT_TRUE(eventually([] { return !hasChildren(); }));
    });
}

} // namespace
