#include "tests/engine/pipeline/EngineRun.h"
#include "tests/support/HeapWatch.h"
#include "tools/MERO/MEROOffline/Common/MEROOffline.h"

#include <gmock/gmock.h>

namespace {

/// Longer than what fits into a string object, and nowhere but where a password is.
constexpr const char* kSecret = "correct horse battery staple";

} // namespace

/// Runs whose memory must not show the password once they have given it back.
class PasswordMemory : public EngineRun {
protected:
    PasswordMemory() { writeThreeItems(); }
};

TEST_F(PasswordMemory, OfTheEngineIsWiped) {
    const std::string password = kSecret;
    {
        const HeapWatch watch(kSecret);
        EXPECT_EQ(engine({}, password)->run(), 0U);
    }
    EXPECT_GT(HeapWatch::blocksFreed(), 100);
    EXPECT_EQ(HeapWatch::secretsFreed(), 0);
    unpack("out.zip", password);
}

TEST_F(PasswordMemory, OfARunThatFailsIsWiped) {
    const std::string password = kSecret;
    const std::string missing = path("missing.xml");
    const HeapWatch watch(kSecret);
    EXPECT_NE(engine(missing, password)->run(), 0U);
    EXPECT_EQ(HeapWatch::secretsFreed(), 0);
}

TEST_F(PasswordMemory, OfTheRunInTheWizardsProcessIsWiped) {
    const std::string request;
    const std::string folder = path("inst");
    const std::string target = path("out.zip");
    {
        const HeapWatch watch(kSecret);
        MEROOffline offline(&m_listener, request, folder, target, kSecret, false);
        offline.run();
        EXPECT_EQ(offline.getResult(), 0U);
    }
    EXPECT_EQ(HeapWatch::secretsFreed(), 0);
}
