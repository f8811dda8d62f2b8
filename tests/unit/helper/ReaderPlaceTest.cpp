#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/ReaderPlace.h"

#include <gtest/gtest.h>
#include <utility>
#include <vector>

namespace {

/// All that a user may have.
void takeAllOf(uid_t user, std::vector<ReaderPlace>& places) {
    for (std::size_t number = 0; number < kMostReadersOfUser; ++number) {
        std::optional<ReaderPlace> place = ReaderPlace::take(user);
        ASSERT_TRUE(place) << user << " " << number;
        places.push_back(*std::move(place));
    }
}

TEST(ReaderPlace, AUserMayHaveTwo) {
    EXPECT_EQ(kMostReadersOfUser, 2U);
    std::vector<ReaderPlace> places;
    takeAllOf(1000, places);
    EXPECT_FALSE(ReaderPlace::take(1000));
    places.pop_back();
    EXPECT_TRUE(ReaderPlace::take(1000));
}

TEST(ReaderPlace, OneUsersAreNoOtherUsers) {
    std::vector<ReaderPlace> places;
    takeAllOf(1000, places);
    takeAllOf(0, places);
    EXPECT_FALSE(ReaderPlace::take(1000));
}

TEST(ReaderPlace, AllUsersTogetherHaveABound) {
    std::vector<ReaderPlace> places;
    for (uid_t user = 1; places.size() < kMostReaders; ++user) {
        ASSERT_NO_FATAL_FAILURE(takeAllOf(user, places));
    }
    EXPECT_EQ(places.size(), 128U);
    EXPECT_FALSE(ReaderPlace::take(0));
    places.pop_back();
    EXPECT_TRUE(ReaderPlace::take(0));
}

TEST(ReaderPlace, StaysTakenUntilItIsTakenOverAndGivenBack) {
    std::vector<ReaderPlace> places;
    takeAllOf(1000, places);
    const uid_t user = places.back().release();
    EXPECT_EQ(user, 1000U);
    places.pop_back();
    EXPECT_FALSE(ReaderPlace::take(1000));
    {
        const ReaderPlace again(user);
        EXPECT_FALSE(ReaderPlace::take(1000));
    }
    EXPECT_TRUE(ReaderPlace::take(1000));
}

} // namespace
