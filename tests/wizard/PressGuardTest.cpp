#include "tools/MERO/MEROOffline/Linux/PressGuard.h"

#include <gtest/gtest.h>

namespace {

constexpr int64_t kDoubleClickMs = 400;
constexpr uint16_t kReturn = 36;
constexpr uint16_t kSpace = 65;

/// A guard whose page came into view at 1000 ms.
class Presses : public testing::Test {
protected:
    Presses() { m_guard.showPage(1000); }
    bool press(int64_t nowMs) const { return m_guard.admitsPress(nowMs, kDoubleClickMs); }
    bool key(uint16_t keycode, int64_t nowMs) { return m_guard.admitsKey(keycode, nowMs, kDoubleClickMs); }
    PressGuard m_guard;
};

TEST_F(Presses, AreMeantForAPageOnceADoubleClickIsOver) {
    EXPECT_FALSE(press(1000));
    EXPECT_FALSE(press(1400));
    EXPECT_TRUE(press(1401));
    EXPECT_FALSE(key(kReturn, 1400));
    EXPECT_TRUE(key(kSpace, 1401));
}

TEST_F(Presses, AreMeantForNoPageThatIsNotInView) {
    m_guard.changePage();
    EXPECT_FALSE(press(9000));
    EXPECT_FALSE(key(kReturn, 9000));
    m_guard.showPage(9100);
    EXPECT_FALSE(press(9500));
    EXPECT_TRUE(press(9501));
    EXPECT_FALSE(PressGuard().admitsPress(9501, kDoubleClickMs));
}

TEST_F(Presses, OfAHeldKeyPressOnce) {
    EXPECT_TRUE(key(kReturn, 2000));
    EXPECT_FALSE(key(kReturn, 2660));
    m_guard.changePage();
    m_guard.showPage(2700);
    for (int64_t now = 2700; now < 12000; now += 30) {
        EXPECT_FALSE(key(kReturn, now)) << now;
    }
    m_guard.releaseKey(kReturn);
    EXPECT_TRUE(key(kReturn, 12000));
}

TEST_F(Presses, OfAKeyHeldSinceBeforeTheFirstPageAreNone) {
    for (int64_t now = 1000; now < 3000; now += 30) {
        EXPECT_FALSE(key(kReturn, now)) << now;
    }
}

TEST_F(Presses, OfOneKeyDontCountForAnother) {
    EXPECT_TRUE(key(kReturn, 2000));
    EXPECT_TRUE(key(kSpace, 2010));
    m_guard.releaseKey(kSpace);
    EXPECT_FALSE(key(kReturn, 2020));
    EXPECT_TRUE(key(kSpace, 2030));
}

TEST_F(Presses, OfAKeyThatWasLetGoElsewhereCount) {
    EXPECT_TRUE(key(kReturn, 2000));
    EXPECT_TRUE(key(kReturn, 5001));
}

} // namespace
