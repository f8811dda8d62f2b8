#include "Common/Utility/process/CleanUp.h"

#include <gmock/gmock.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(CleanUp, IsDoneOnceFromTheLatestToTheFirst) {
    std::vector<std::string> done;
    const CleanUp first([&done] { done.emplace_back("first"); });
    const CleanUp latest([&done] { done.emplace_back("latest"); });
    runCleanUps();
    runCleanUps();
    EXPECT_THAT(done, ElementsAre("latest", "first"));
}

TEST(CleanUp, IsTakenBackByItsMaker) {
    std::vector<std::string> done;
    {
        const CleanUp gone([&done] { done.emplace_back("gone"); });
    }
    runCleanUps();
    EXPECT_THAT(done, IsEmpty());
}

TEST(CleanUp, IsWaitedFor) {
    using namespace std::chrono_literals;
    auto cleanUp = std::make_unique<CleanUp>([] {});
    EXPECT_FALSE(awaitCleanUps(1ms));
    const std::jthread maker([&cleanUp] { cleanUp.reset(); });
    EXPECT_TRUE(awaitCleanUps(30s));
}
