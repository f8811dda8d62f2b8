#include "Common/Utility/threads/Thread.h"

#include "tests/support/CapturedLog.h"
#include "tests/support/NoNewThreads.h"

#include <atomic>
#include <cerrno>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <pthread.h>
#include <stdexcept>
#include <type_traits>

namespace {

class Job : public Runnable {
public:
    explicit Job(std::function<void()> body) : m_body(std::move(body)) {}
    void run() override { m_body(); }

private:
    std::function<void()> m_body;
};

TEST(Thread, RunsTheJobOnAThreadOfItsOwn) {
    pthread_t seen = 0;
    Job job([&] { seen = Thread::getCurrentThreadId(); });
    Thread thread(&job);
    thread.start();
    thread.join();
    EXPECT_NE(seen, pthread_t{0});
    EXPECT_NE(seen, ::pthread_self());
}

TEST(Thread, CurrentIdIsTheCallers) {
    EXPECT_EQ(Thread::getCurrentThreadId(), ::pthread_self());
}

TEST(Thread, JoinWaitsForTheEnd) {
    std::promise<void> release;
    bool ended = false;
    Job job([&] {
        release.get_future().wait();
        ended = true;
    });
    Thread thread(&job);
    thread.start();
    release.set_value();
    thread.join();
    EXPECT_TRUE(ended);
}

TEST(Thread, JoinWithoutAStartReturnsAtOnce) {
    bool ran = false;
    Job job([&] { ran = true; });
    Thread thread(&job);
    thread.join();
    EXPECT_FALSE(ran);
}

TEST(Thread, JoinOnTheThreadItselfReturnsAtOnce) {
    Thread* self = nullptr;
    bool returned = false;
    Job job([&] {
        self->join();
        returned = true;
    });
    Thread thread(&job);
    self = &thread;
    thread.start();
    thread.join();
    EXPECT_TRUE(returned);
}

TEST(Thread, SecondJoinReturnsAtOnce) {
    int runs = 0;
    Job job([&] { ++runs; });
    Thread thread(&job);
    thread.start();
    thread.join();
    thread.join();
    EXPECT_EQ(runs, 1);
}

TEST(Thread, StartsAgainAfterAJoin) {
    int runs = 0;
    Job job([&] { ++runs; });
    Thread thread(&job);
    for (int round = 0; round < 3; ++round) {
        thread.start();
        thread.join();
    }
    EXPECT_EQ(runs, 3);
}

TEST(Thread, DestructionLeavesTheRunningThreadAlone) {
    std::promise<pthread_t> started;
    std::promise<void> release;
    std::atomic<bool> ended = false;
    Job job([&] {
        started.set_value(::pthread_self());
        release.get_future().wait();
        ended = true;
    });
    auto thread = std::make_unique<Thread>(&job);
    thread->start();
    const pthread_t id = started.get_future().get();
    thread.reset();
    EXPECT_FALSE(ended);
    release.set_value();
    EXPECT_EQ(::pthread_join(id, nullptr), 0);
    EXPECT_TRUE(ended);
}

TEST(Thread, ExceptionOfTheJobIsLoggedAndGoesNoFurther) {
    const CapturedLog log;
    Job failing([] { throw std::runtime_error("no such luck"); });
    Job strange([] { throw 5; }); // NOLINT(misc-throw-by-value-catch-by-reference): of no known kind
    for (Job* job : {&failing, &strange}) {
        Thread thread(job);
        thread.start();
        thread.join();
    }
    EXPECT_EQ(log.count('E', "The job of a thread ended in an exception: no such luck"), 1) << log.dump();
    EXPECT_EQ(log.count('E', "The job of a thread ended in an exception of an unknown kind"), 1);
}

TEST(Thread, CancelledJobUnwindsWithoutALine) {
    const CapturedLog log;
    std::promise<pthread_t> started;
    bool unwound = false;
    struct Unwinding {
        bool& seen;
        ~Unwinding() { seen = true; }
    };
    Job job([&] {
        const Unwinding unwinding{unwound};
        started.set_value(::pthread_self());
        for (;;) {
            ::pause();
        }
    });
    Thread thread(&job);
    thread.start();
    ASSERT_EQ(::pthread_cancel(started.get_future().get()), 0);
    thread.join();
    EXPECT_TRUE(unwound);
    EXPECT_TRUE(log.lines().empty()) << log.dump();
}

TEST(Thread, FailureToCreateIsToldAndJoinReturnsAtOnce) {
    const CapturedLog log;
    bool ran = false;
    Job job([&] { ran = true; });
    Thread thread(&job);
    EXPECT_FALSE(thread.isStarted());
    {
        const NoNewThreads limit;
        thread.start();
    }
    EXPECT_FALSE(thread.isStarted());
    thread.join();
    EXPECT_FALSE(ran);
    EXPECT_TRUE(log.containsCode('E', "start", "pthread_create", EAGAIN)) << log.dump();
    EXPECT_EQ(log.lines().size(), 1U);
    thread.start();
    EXPECT_TRUE(thread.isStarted());
    thread.join();
    EXPECT_TRUE(ran);
    EXPECT_FALSE(thread.isStarted());
}

TEST(Thread, HasAVirtualDestructor) {
    EXPECT_TRUE(std::has_virtual_destructor_v<Thread>);
    EXPECT_TRUE(std::has_virtual_destructor_v<Runnable>);
}

} // namespace
