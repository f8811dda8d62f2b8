#include "tests/support/HeapWatch.h"
#include "tests/support/Pipe.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/JobArguments.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/WorkOrder.h"

#include <gtest/gtest.h>

namespace {

/// Longer than what fits into a string object, and nowhere but where a password is.
constexpr const char* kSecret = "correct horse battery staple";

TEST(JobMemory, OfACallIsWiped) {
    const HeapWatch watch(kSecret);
    {
        std::vector<JobEntry> entries;
        entries.push_back({"MEROBundlePassword", WipedString(kSecret)});
        entries.push_back({"MEROBundlePath", WipedString("/home/somebody/out.zip")});
        const CheckedJob job = checkJobArguments(entries, false);
        ASSERT_TRUE(std::holds_alternative<JobArguments>(job));
        EXPECT_EQ(std::get<JobArguments>(job).bundlePassword.view(), kSecret);
    }
    EXPECT_GT(HeapWatch::blocksFreed(), 2);
    EXPECT_EQ(HeapWatch::secretsFreed(), 0);
}

TEST(JobMemory, OfACallThatIsRefusedIsWiped) {
    const HeapWatch watch(kSecret);
    {
        std::vector<JobEntry> entries;
        // Any value may turn out to be the password, and one may be sent under another key by mistake.
        entries.push_back({"MEROBundlePath", WipedString(kSecret)});
        entries.push_back({"MEROConfigDir", WipedString(kSecret)});
        EXPECT_TRUE(std::holds_alternative<JobRefusal>(checkJobArguments(entries, false)));
    }
    EXPECT_EQ(HeapWatch::secretsFreed(), 0);
}

TEST(JobMemory, OfAnOrderIsWiped) {
    const HeapWatch watch(kSecret);
    {
        WorkOrder order;
        order.password = WipedString(kSecret);
        order.service = 4711;
        Pipe pipe;
        ASSERT_TRUE(writeWorkOrder(pipe.writer.get(), order));
        pipe.writer.reset();
        const std::optional<WorkOrder> passed = readWorkOrder(pipe.reader.get());
        ASSERT_TRUE(passed);
        EXPECT_EQ(passed->password.view(), kSecret);
    }
    EXPECT_GT(HeapWatch::blocksFreed(), 2);
    EXPECT_EQ(HeapWatch::secretsFreed(), 0);
}

} // namespace
