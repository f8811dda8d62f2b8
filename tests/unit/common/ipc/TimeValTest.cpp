#include "Common/Utility/time/TimeVal.h"

#include "tests/support/CapturedLog.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <sys/time.h>

namespace {

constexpr int64_t kLargest = std::numeric_limits<int64_t>::max();
constexpr int64_t kSmallest = std::numeric_limits<int64_t>::min();
constexpr int64_t kSecond = 1'000'000;

/// Reads well in a failing test.
std::string text(const TimeVal& time) {
    return std::to_string(time.tv_sec) + "s " + std::to_string(time.tv_usec) + "us";
}

std::string sum(TimeVal left, const TimeVal& right) {
    left += right;
    return text(left);
}

std::string difference(TimeVal left, const TimeVal& right) {
    left -= right;
    return text(left);
}

/// Microseconds since the epoch.
int64_t microsecondsNow() {
    timeval now{};
    EXPECT_EQ(::gettimeofday(&now, nullptr), 0);
    return now.tv_sec * kSecond + now.tv_usec;
}

TimeVal timeOf(int64_t microseconds) {
    return {microseconds / kSecond, microseconds % kSecond};
}

/// What is to be given so many microseconds before the end.
uint32_t expectedRemaining(int64_t microseconds) {
    if (microseconds <= 0) {
        return 0;
    }
    return static_cast<uint32_t>(std::min<int64_t>(microseconds / 1000 + 1, 0xFFFFFFFF));
}

/// Asks for the time left until ends `microseconds` ahead of now, until the clock has stood still for long
/// enough that only one result is right, and gives that.
uint32_t remaining(int64_t microseconds, const char* label = nullptr) {
    constexpr int kMaxAttempts = 1'000'000;
    for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
        const int64_t before = microsecondsNow();
        const uint32_t result = timeOf(before + microseconds).GetMsecsRemaining(label);
        const int64_t passed = microsecondsNow() - before;
        const uint32_t most = expectedRemaining(microseconds);
        const uint32_t least = expectedRemaining(microseconds - passed);
        EXPECT_LE(result, most);
        EXPECT_GE(result, least);
        if (most == least || ::testing::Test::HasFailure()) {
            return result;
        }
    }
    ADD_FAILURE() << "the clock never stood still for long enough";
    return 0;
}

TEST(TimeVal, IsUnsetAtFirst) {
    EXPECT_EQ(text(TimeVal()), "0s 0us");
}

TEST(TimeVal, KeepsWhatItIsMadeOf) {
    EXPECT_EQ(text(TimeVal(7, 1'000'000)), "7s 1000000us");
}

TEST(TimeVal, AdditionLeavesExactlyAMillionMicroseconds) {
    EXPECT_EQ(sum({1, 500'000}, {2, 500'000}), "3s 1000000us");
    EXPECT_EQ(sum({0, 0}, {0, 1'000'000}), "0s 1000000us");
}

TEST(TimeVal, AdditionCarriesFromAMillionAndOneMicroseconds) {
    EXPECT_EQ(sum({1, 500'000}, {2, 500'001}), "4s 1us");
    EXPECT_EQ(sum({0, 999'999}, {0, 999'999}), "1s 999998us");
}

TEST(TimeVal, AdditionCarriesNothingBelow) {
    EXPECT_EQ(sum({1, 499'999}, {2, 500'000}), "3s 999999us");
    EXPECT_EQ(sum({0, 0}, {0, 0}), "0s 0us");
}

TEST(TimeVal, AdditionCarriesAllWholeSeconds) {
    EXPECT_EQ(sum({0, 1'000'000}, {0, 1'000'000}), "2s 0us");
    EXPECT_EQ(sum({1, 3'000'001}, {0, 4'000'000}), "8s 1us");
}

TEST(TimeVal, AdditionSaturatesTheSeconds) {
    EXPECT_EQ(sum({kLargest, 1}, {1, 2}), std::to_string(kLargest) + "s 3us");
    EXPECT_EQ(sum({kLargest - 1, 0}, {1, 0}), std::to_string(kLargest) + "s 0us");
    EXPECT_EQ(sum({kLargest, 0}, {kLargest, 0}), std::to_string(kLargest) + "s 0us");
}

TEST(TimeVal, AdditionSaturatesWithTheCarry) {
    EXPECT_EQ(sum({kLargest, 600'000}, {0, 600'000}), std::to_string(kLargest) + "s 200000us");
    EXPECT_EQ(sum({kLargest - 5, 600'000}, {5, 600'000}), std::to_string(kLargest) + "s 200000us");
}

TEST(TimeVal, AdditionOfNegativeSecondsStopsAtTheSmallest) {
    EXPECT_EQ(sum({kSmallest, 0}, {-1, 0}), std::to_string(kSmallest) + "s 0us");
}

TEST(TimeVal, AdditionOfHugeMicrosecondsStopsAtTheLargest) {
    EXPECT_EQ(sum({0, kLargest}, {0, kLargest}),
              std::to_string(kLargest / kSecond) + "s " + std::to_string(kLargest % kSecond) + "us");
}

TEST(TimeVal, IsAddedToItself) {
    TimeVal time(3, 700'000);
    const TimeVal& itself = time;
    time += itself;
    EXPECT_EQ(text(time), "7s 400000us");
}

TEST(TimeVal, SubtractionBorrowsASecond) {
    EXPECT_EQ(difference({5, 100'000}, {3, 200'000}), "1s 900000us");
    EXPECT_EQ(difference({4, 0}, {3, 1}), "0s 999999us");
}

TEST(TimeVal, SubtractionBorrowsNothingWhenItNeedNot) {
    EXPECT_EQ(difference({5, 200'000}, {3, 200'000}), "2s 0us");
    EXPECT_EQ(difference({5, 200'001}, {3, 200'000}), "2s 1us");
    EXPECT_EQ(difference({5, 2}, {5, 1}), "0s 1us");
}

TEST(TimeVal, SubtractionTakesAMillionMicrosecondsAsTheyAre) {
    EXPECT_EQ(difference({5, 1'000'000}, {5, 0}), "0s 1000000us");
    EXPECT_EQ(difference({5, 1'000'000}, {4, 1}), "1s 999999us");
    EXPECT_EQ(difference({6, 0}, {5, 1'000'000}), "0s 0us");
}

TEST(TimeVal, SubtractionNeverGivesLessThanNothing) {
    EXPECT_EQ(difference({3, 0}, {3, 1}), "0s 0us");
    EXPECT_EQ(difference({3, 999'999}, {4, 0}), "0s 0us");
    EXPECT_EQ(difference({0, 0}, {kLargest, 999'999}), "0s 0us");
    EXPECT_EQ(difference({kSmallest, 0}, {kLargest, 0}), "0s 0us");
}

TEST(TimeVal, SubtractionOfAnEqualTimeGivesNothing) {
    EXPECT_EQ(difference({3, 5}, {3, 5}), "0s 0us");
    TimeVal time(3, 700'000);
    const TimeVal& itself = time;
    time -= itself;
    EXPECT_EQ(text(time), "0s 0us");
}

TEST(TimeVal, SubtractionStopsAtTheLargestValue) {
    EXPECT_EQ(difference({kLargest, 5}, {kSmallest, 2}), std::to_string(kLargest) + "s 3us");
}

TEST(TimeVal, OperatorsGiveTheTimeItself) {
    TimeVal time(1, 0);
    EXPECT_EQ(&(time += TimeVal(1, 0)), &time);
    EXPECT_EQ(&(time -= TimeVal(1, 0)), &time);
    EXPECT_EQ(&(time -= TimeVal(9, 0)), &time);
}

TEST(TimeVal, IsComparedBySecondsAndThenByMicroseconds) {
    EXPECT_EQ(TimeVal(1, 5).compare({1, 5}), 0);
    EXPECT_EQ(TimeVal(1, 5).compare({1, 6}), -1);
    EXPECT_EQ(TimeVal(1, 6).compare({1, 5}), 1);
    EXPECT_EQ(TimeVal(1, 999'999).compare({2, 0}), -1);
    EXPECT_EQ(TimeVal(2, 0).compare({1, 999'999}), 1);
    EXPECT_EQ(TimeVal(-1, 0).compare({0, 0}), -1);
    EXPECT_EQ(TimeVal(kLargest, 0).compare({kSmallest, 0}), 1);
}

TEST(TimeVal, IsNotBroughtIntoFormForAComparison) {
    EXPECT_EQ(TimeVal(1, 1'000'000).compare({2, 0}), -1);
}

TEST(TimeVal, TakesTheTimeOfTheClock) {
    TimeVal time(99, 99);
    const int64_t before = microsecondsNow();
    time.setNow();
    const int64_t after = microsecondsNow();
    EXPECT_GE(time.tv_usec, 0);
    EXPECT_LT(time.tv_usec, kSecond);
    EXPECT_GE(time.tv_sec * kSecond + time.tv_usec, before);
    EXPECT_LE(time.tv_sec * kSecond + time.tv_usec, after);
}

TEST(TimeValRemaining, IsEndlessWhenNothingIsSet) {
    EXPECT_EQ(TimeVal().GetMsecsRemaining(nullptr), 0xFFFFFFFFU);
    EXPECT_EQ(TimeVal().GetMsecsRemaining("wait"), 0xFFFFFFFFU);
}

TEST(TimeValRemaining, IsNothingForAnEndInThePast) {
    EXPECT_EQ(remaining(-1), 0U);
    EXPECT_EQ(remaining(-5'000'000), 0U);
    EXPECT_EQ(TimeVal(0, 1).GetMsecsRemaining(nullptr), 0U);
    EXPECT_EQ(TimeVal(1, 0).GetMsecsRemaining(nullptr), 0U);
    EXPECT_EQ(TimeVal(kSmallest, 0).GetMsecsRemaining(nullptr), 0U);
}

TEST(TimeValRemaining, IsNothingAtTheEndItself) {
    EXPECT_EQ(remaining(0), 0U);
}

TEST(TimeValRemaining, IsTwoForAMillisecondAndAHalf) {
    EXPECT_EQ(remaining(1'500), 2U);
}

TEST(TimeValRemaining, IsOneForHalfAMillisecond) {
    EXPECT_EQ(remaining(500), 1U);
    EXPECT_EQ(remaining(999), 1U);
}

TEST(TimeValRemaining, IsOneMoreForWholeMilliseconds) {
    EXPECT_EQ(remaining(1'000), 2U);
    EXPECT_EQ(remaining(250'000), 251U);
}

TEST(TimeValRemaining, BorrowsFromTheSeconds) {
    // At most times of the second one of these has fewer microseconds than now.
    for (int64_t ahead = 100'500; ahead < 2 * kSecond; ahead += 100'000) {
        EXPECT_EQ(remaining(ahead), ahead / 1000 + 1) << ahead;
    }
}

TEST(TimeValRemaining, TakesAMillionMicrosecondsAsASecond) {
    const int64_t before = microsecondsNow();
    const uint32_t result = TimeVal(before / kSecond + 10, 1'000'000).GetMsecsRemaining(nullptr);
    const int64_t after = microsecondsNow();
    const int64_t end = (before / kSecond + 11) * kSecond;
    EXPECT_LE(result, expectedRemaining(end - before));
    EXPECT_GE(result, expectedRemaining(end - after));
}

TEST(TimeValRemaining, FitsUpToTheLastMillisecond) {
    EXPECT_EQ(remaining(int64_t{0xFFFFFFFD} * 1000 + 500), 0xFFFFFFFEU);
    EXPECT_EQ(remaining(int64_t{0xFFFFFFFE} * 1000 + 500), 0xFFFFFFFFU);
}

TEST(TimeValRemaining, IsEndlessForAnEndBeyondThat) {
    EXPECT_EQ(remaining(int64_t{0xFFFFFFFF} * 1000 + 500), 0xFFFFFFFFU);
    EXPECT_EQ(remaining(int64_t{0x100000000} * 1000 + 500), 0xFFFFFFFFU);
    EXPECT_EQ(TimeVal(kLargest, 999'999).GetMsecsRemaining(nullptr), 0xFFFFFFFFU);
}

TEST(TimeValRemaining, WritesNoLineForALabel) {
    const CapturedLog log;
    constexpr std::array labels = {"wait", "", "%s%s%s%n"};
    for (const char* const label : labels) {
        EXPECT_EQ(remaining(-1, label), 0U);
        EXPECT_EQ(remaining(500, label), 1U);
        EXPECT_EQ(remaining(1'500, label), 2U);
    }
    EXPECT_TRUE(log.lines().empty()) << log.dump();
}

TEST(TimeValRemaining, LeavesTheEndAsItIs) {
    const TimeVal end(4'000'000'000, 5);
    EXPECT_GT(end.GetMsecsRemaining(nullptr), 0U);
    EXPECT_EQ(text(end), "4000000000s 5us");
}

} // namespace
