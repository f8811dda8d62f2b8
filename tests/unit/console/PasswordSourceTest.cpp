#include "tools/MERO/MEROConsole/PasswordSource.h"

#include "tests/support/HeapWatch.h"
#include "tests/support/LeaseHolder.h"
#include "tests/support/Sandbox.h"

namespace {

/// Longer than what fits into a string object, and nowhere but where a password is.
constexpr const char* kSecret = "correct horse battery staple";

class PasswordSource : public Sandbox {};

TEST_F(PasswordSource, LeavesNoPasswordInMemoryThatItGivesBack) {
    const std::string file = writeFile("password", "correct horse battery staple\nanother line\n");
    const HeapWatch watch(kSecret);
    {
        const auto password = std::make_unique<WipedString>();
        std::string reason;
        ASSERT_TRUE(readPassword(file, *password, reason)) << reason;
        EXPECT_EQ(password->view(), kSecret);
    }
    EXPECT_GT(HeapWatch::blocksFreed(), 0);
    EXPECT_EQ(HeapWatch::secretsFreed(), 0);
}

TEST_F(PasswordSource, LeavesNoPartOfATextThatIsRefused) {
    const std::string line = std::string(kSecret) + std::string(kMaximumPasswordBytes, 'x');
    const std::string file = writeFile("password", line);
    const HeapWatch watch(kSecret);
    {
        WipedString password;
        std::string reason;
        EXPECT_FALSE(readPassword(file, password, reason));
        EXPECT_TRUE(password.empty());
        EXPECT_EQ(reason.find(kSecret), std::string::npos);
    }
    EXPECT_EQ(HeapWatch::secretsFreed(), 0);
}

TEST_F(PasswordSource, WaitsForWhoHoldsALeaseOnTheFile) {
    const std::string file = writeFile("password", "a word\n");
    const LeaseHolder holder(file);
    if (!holder.isHeld()) {
        GTEST_SKIP() << "this file system knows no leases";
    }
    WipedString password;
    std::string reason;
    EXPECT_TRUE(readPassword(file, password, reason)) << reason;
    EXPECT_EQ(password.view(), "a word");
}

} // namespace
