#include "tests/support/HeapWatch.h"
#include "tests/wizard/WizardFixture.h"

namespace {

/// Longer than what fits into a string object, and nowhere but where a password is.
constexpr const char* kSecret = "correct horse battery staple";
const std::string kTyped = kSecret;
const std::string kMistyped = "correct horse battery stapel";

class WindowMemory : public Wizard {
protected:
    static void enter(const std::string& confirmation) {
        type("entryPassword", kTyped);
        type("entryConfirmPassword", confirmation);
        click("buttonNext");
    }
};

TEST_F(WindowMemory, ShowsNoPasswordThatItGaveBack) {
    walkTo(WizardPage::Encryption);
    setActive("checkbuttonEncryption", true);
    {
        const HeapWatch watch(kSecret);
        enter(kMistyped);
        ASSERT_EQ(page(), static_cast<int>(WizardPage::Encryption));
        enter(kTyped);
        ASSERT_EQ(page(), static_cast<int>(WizardPage::Progress));
        m_window.reset();
        settle();
    }
    EXPECT_GT(HeapWatch::blocksFreed(), 0);
    EXPECT_EQ(HeapWatch::secretsFreed(), 0);
    ASSERT_EQ(recordedJobs().size(), 1U);
    EXPECT_TRUE(recordedJobs().front().password == kSecret);
}

} // namespace
