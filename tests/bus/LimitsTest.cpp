#include "tools/MERO/MEROOffline/Linux/DBusClient.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/ServiceSettings.h"

#include <gtest/gtest.h>

namespace {

using std::chrono::minutes;
using std::chrono::seconds;

// What the wizard and the helper wait for each other and for others, as they are used: tests of the waits
// themselves hand in shorter ones.

TEST(Limits, HelperHasItsAnswerWhileTheWizardStillListens) {
    EXPECT_EQ(kHelperCallLimit, seconds(25));
    EXPECT_EQ(ServiceSettings().authorisationLimit, seconds(20));
    EXPECT_LT(2 * ServiceSettings().readerLimit, ServiceSettings().authorisationLimit);
}

TEST(Limits, JobHasItsTime) {
    EXPECT_EQ(ServiceSettings().jobLimit, minutes(30));
    EXPECT_EQ(ServiceSettings().idleLimit, seconds(60));
}

TEST(Limits, WhatDoesNotEndIsLeftSoon) {
    EXPECT_EQ(ServiceSettings().lockLimit, seconds(5));
    EXPECT_EQ(ServiceSettings().readerLimit, seconds(5));
    EXPECT_EQ(ServiceSettings().killLimit, seconds(10));
    EXPECT_EQ(ServiceSettings().leftoverLimit, seconds(3));
}

} // namespace
