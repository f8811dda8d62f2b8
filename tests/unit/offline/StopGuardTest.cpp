#include "tools/MERO/MEROOffline/Common/StopGuard.h"

#include "Common/Utility/process/CleanUp.h"
#include "Common/Utility/process/StopRequest.h"
#include "tests/support/InChild.h"

#include <future>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr int kEndedByForce = 7;

class StopGuarded : public Sandbox {
protected:
    static StopGuard::Plan plan(milliseconds patience) {
        return {.patience = patience, .onStop = {}, .endProcess = [] { ::_exit(kEndedByForce); }};
    }
    static bool endsByForce(const std::function<void()>& body) {
        const int status = statusInChild(body);
        return WIFEXITED(status) && WEXITSTATUS(status) == kEndedByForce;
    }
    static bool endsByItself(const std::function<void()>& body) { return statusInChild(body) == 0; }
    [[noreturn]] static void waitForEver() {
        for (;;) {
            ::pause();
        }
    }
};

TEST_F(StopGuarded, WorkThatEndsInTimeIsLetEnd) {
    EXPECT_TRUE(endsByItself([] {
        const StopGuard guard(plan(seconds(60)));
        requestStop();
    }));
}

TEST_F(StopGuarded, WorkThatDoesNotEndIsEndedAndClearedUp) {
    const std::string file = writeFile("left", "");
    const auto start = Clock::now();
    EXPECT_TRUE(endsByForce([&file] {
        const StopGuard guard(plan(milliseconds(100)));
        const CleanUp cleanUp([&file] { std::filesystem::remove(file); });
        requestStop();
        waitForEver();
    }));
    EXPECT_FALSE(exists("left"));
    EXPECT_LT(Clock::now() - start, seconds(10));
}

TEST_F(StopGuarded, ClearingUpThatDoesNotEndHoldsNobodyUpForLong) {
    const auto start = Clock::now();
    EXPECT_TRUE(endsByForce([] {
        const StopGuard guard(plan(milliseconds(100)));
        const CleanUp cleanUp([] { waitForEver(); });
        requestStop();
        waitForEver();
    }));
    EXPECT_LT(Clock::now() - start, seconds(20));
}

TEST_F(StopGuarded, WorkHearsOfTheRequestAtOnce) {
    EXPECT_TRUE(endsByItself([] {
        std::promise<void> told;
        StopGuard::Plan hearing = plan(seconds(60));
        hearing.onStop = [&told] { told.set_value(); };
        const StopGuard guard(hearing);
        requestStop();
        told.get_future().wait();
    }));
}

} // namespace
