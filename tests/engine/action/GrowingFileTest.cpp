#include "tests/engine/action/ActionTest.h"

#include <atomic>
#include <fstream>
#include <gmock/gmock.h>
#include <thread>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {
constexpr std::size_t kStartBytes = 256UL * 1024UL;
}

class GrowingFile : public ActionTest {};

TEST_F(GrowingFile, IsCopiedOnceUpToItsEndOfThatMoment) {
    const std::string source = writeFile("logs/app.log", std::string(kStartBytes, 'x'));
    std::atomic<bool> stop{false};
    std::atomic<bool> growing{false};
    std::thread writer([&] {
        std::ofstream stream(source, std::ios::binary | std::ios::app);
        while (!stop) {
            stream << 'x' << std::flush;
            growing = true;
        }
    });
    while (!growing) {
        std::this_thread::yield();
    }
    const auto collected =
        collect("<file_copy_action><action><loc>" + source + "</loc></action></file_copy_action>");
    stop = true;
    writer.join();
    EXPECT_THAT(pathsOf(collected), ElementsAre(path("bundle") + "//app.log"));
    EXPECT_THAT(omitted(), IsEmpty());
    const std::string copy = readFile("bundle/app.log");
    EXPECT_GT(copy.size(), kStartBytes);
    EXPECT_EQ(static_cast<double>(copy.size()), collected.front().fileSize);
    EXPECT_EQ(copy.find_first_not_of('x'), std::string::npos);
}
