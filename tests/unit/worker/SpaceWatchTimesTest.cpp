#include "tests/support/Sandbox.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Worker/SpaceWatch.h"

#include <chrono>
#include <future>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr uint64_t kMebibyte = uint64_t{1024} * 1024;

/// How soon the watch sees what a job writes. The limits are generous: they are for intervals ten times as
/// long.
class SpaceWatchTimes : public Sandbox {
protected:
    /// Watches the private folder, and writes too much to it after a while.
    /// @return how long that was unseen.
    [[nodiscard]] Clock::duration timeUnseen(milliseconds after) const {
        const std::string large = path("large");
        std::filesystem::remove(large);
        std::promise<void> breached;
        SpaceWatch watch({.mostBytes = kMebibyte, .keptFreeBytes = 0, .keptFreePercent = 0}, {path()},
                         [&breached] { breached.set_value(); });
        watch.count(path());
        EXPECT_TRUE(watch.start());
        // What the job does meanwhile is not watched for.
        std::this_thread::sleep_for(after);
        const auto start = Clock::now();
        writeFile("large", std::string(3 * kMebibyte, 'x'));
        EXPECT_EQ(breached.get_future().wait_for(seconds(60)), std::future_status::ready);
        return Clock::now() - start;
    }
};

TEST_F(SpaceWatchTimes, FirstLookComesSoon) {
    Clock::duration unseen{};
    for (int job = 0; job < 25; ++job) {
        unseen += timeUnseen(milliseconds(0));
    }
    EXPECT_LT(unseen, milliseconds(25 * 150));
}

TEST_F(SpaceWatchTimes, NextCountComesSoon) {
    Clock::duration unseen{};
    for (int job = 0; job < 4; ++job) {
        unseen += timeUnseen(milliseconds(100));
    }
    EXPECT_LT(unseen, seconds(4));
}

} // namespace
