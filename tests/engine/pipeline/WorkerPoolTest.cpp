#include "tools/MERO/MEROEngine/implementations/WorkerPool.h"

#include "tests/support/CapturedLog.h"
#include "tests/support/NoNewThreads.h"
#include "tests/support/Sanitizers.h"

#include <atomic>
#include <cerrno>
#include <gtest/gtest.h>
#include <latch>
#include <mutex>
#include <optional>
#include <set>
#include <thread>

namespace {

constexpr uint32_t kThreads = 6;
constexpr int kTasks = 100;

TEST(WorkerPool, WorksOnAllItsThreadsAtOnce) {
    const CapturedLog log;
    WorkerPool pool(kThreads);
    EXPECT_EQ(pool.threadCount(), kThreads);
    std::latch all(kThreads);
    std::mutex lock;
    std::set<std::thread::id> seen;
    for (uint32_t task = 0; task < kThreads; ++task) {
        pool.post([&] {
            {
                const std::lock_guard guard(lock);
                seen.insert(std::this_thread::get_id());
            }
            all.arrive_and_wait();
        });
    }
    pool.join();
    EXPECT_EQ(seen.size(), kThreads);
    EXPECT_FALSE(seen.contains(std::this_thread::get_id()));
    EXPECT_TRUE(log.lines().empty()) << log.dump();
}

TEST(WorkerPool, EndsWithoutAnyTask) {
    WorkerPool pool(kThreads);
    pool.join();
    const WorkerPool unused(kThreads);
}

TEST(WorkerPool, GoesOnWithTheThreadsThatItHas) {
    if (kThreadSanitizer) {
        GTEST_SKIP() << "room for just one thread can't be told where the sanitizer maps memory beside each";
    }
    const CapturedLog log;
    std::optional<WorkerPool> pool;
    {
        // The first finds room for its stack, the second doesn't.
        const NoNewThreads limit(std::size_t{150} << 20U);
        pool.emplace(kThreads);
    }
    EXPECT_EQ(pool->threadCount(), 1U);
    std::atomic<int> done = 0;
    for (int task = 0; task < kTasks; ++task) {
        pool->post([&] { ++done; });
    }
    pool->join();
    EXPECT_EQ(done, kTasks);
    EXPECT_TRUE(log.containsCode('W', "WorkerPool", "pthread_create", EAGAIN)) << log.dump();
}

TEST(WorkerPool, WorksOnTheCallersThreadWithoutAny) {
    const CapturedLog log;
    std::optional<WorkerPool> pool;
    {
        const NoNewThreads limit;
        pool.emplace(kThreads);
    }
    EXPECT_EQ(pool->threadCount(), 0U);
    int done = 0;
    for (int task = 0; task < kTasks; ++task) {
        pool->post([&, caller = std::this_thread::get_id()] {
            EXPECT_EQ(std::this_thread::get_id(), caller);
            ++done;
        });
    }
    pool->join();
    EXPECT_EQ(done, kTasks);
    EXPECT_TRUE(log.contains('W', "The work is done by 0 threads")) << log.dump();
}

} // namespace
