#include "tests/engine/pipeline/EngineRun.h"

#include <array>
#include <filesystem>
#include <gmock/gmock.h>
#include <iterator>

namespace {

/// How many processors this program is told of.
int g_processors = 1;

std::size_t threads() {
    const std::filesystem::directory_iterator all("/proc/self/task");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

} // namespace

// Stands before the library's function of this name, which std::thread asks.
extern "C" int get_nprocs() {
    return g_processors;
}

/// Whole runs on machines of several sizes.
class PoolSize : public EngineRun {
protected:
    PoolSize() {
        writeConfiguration("a.xml", group("A", item("a", writeFile("logs/a", "a"))));
        m_listener.onMessage("Processing about a...", [this] { m_threads = threads(); });
    }

    /// How many threads a run has beside those that there were before.
    [[nodiscard]] std::size_t collectingThreads() {
        const std::size_t before = threads();
        EXPECT_EQ(run(), 0U);
        return m_threads - before;
    }

private:
    std::size_t m_threads = 0;
};

TEST_F(PoolSize, IsThatOfTheMachineAndAtMostSix) {
    constexpr std::array<std::pair<int, std::size_t>, 6> sizes{
        {{1, 1}, {2, 2}, {3, 3}, {6, 6}, {7, 6}, {64, 6}}};
    for (const auto& [processors, expected] : sizes) {
        g_processors = processors;
        EXPECT_EQ(collectingThreads(), expected) << processors;
    }
}

TEST_F(PoolSize, IsOneWhereTheProcessorsCannotBeCounted) {
    g_processors = 0;
    EXPECT_EQ(collectingThreads(), 1U);
}
