#include "Common/Utility/threads/CThread.h"

#include "Common/Utility/ReturnCodes.h"
#include "tests/support/AddressSpaceLimit.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Sanitizers.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <functional>
#include <future>
#include <gmock/gmock.h>
#include <latch>
#include <memory>
#include <pthread.h>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>

namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;

class Body : public IRunnable {
public:
    explicit Body(std::function<uint32_t()> run) : m_run(std::move(run)) {}
    uint32_t Run() override { return m_run(); }

private:
    std::function<uint32_t()> m_run;
};

/// A body that waits to be cancelled and tells when it began and when it was unwound.
class EndlessBody : public IRunnable {
public:
    uint32_t Run() override {
        const Unwinding unwinding{m_unwound};
        m_started.count_down();
        for (;;) {
            ::pause();
        }
    }
    void waitForStart() const { m_started.wait(); }
    void waitForUnwinding() const { m_unwound->wait(); }

private:
    struct Unwinding {
        std::shared_ptr<std::latch> m_done;
        ~Unwinding() { m_done->count_down(); }
    };
    std::latch m_started{1};
    /// Shared with the thread, which may still be at it when the body is destroyed.
    std::shared_ptr<std::latch> m_unwound = std::make_shared<std::latch>(1);
};

std::string reference(const void* object) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "Reference: '%p'", object);
    return text.data();
}

class CThreadTest : public ::testing::Test {
protected:
    CapturedLog m_log;
    uint32_t m_code = 99;
    uint32_t m_exitCode = 99;
};

TEST_F(CThreadTest, RunsTheBodyAndGivesItsExitCode) {
    pthread_t seen = 0;
    Body body([&] {
        seen = CThread::getCurrentThreadId();
        return 0U;
    });
    CThread thread(m_code, &body);
    EXPECT_EQ(m_code, 0U);
    ASSERT_EQ(thread.Start(), 0U);
    ASSERT_EQ(thread.WaitForCompletion(m_exitCode, -1), 0U);
    EXPECT_EQ(m_exitCode, 0U);
    EXPECT_NE(seen, ::pthread_self());
    EXPECT_EQ(CThread::getCurrentThreadId(), ::pthread_self());
    const auto lines = m_log.lines();
    ASSERT_EQ(lines.size(), 2U) << m_log.dump();
    EXPECT_EQ(lines[0].severity, 'I');
    EXPECT_THAT(lines[0].text, HasSubstr("Function: createThread\n"));
    EXPECT_THAT(lines[0].text, EndsWith("\nA thread has been successfully created, " + reference(&thread) +
                                        ", System ID: '0', Fire and Forget: 'NO'"));
    EXPECT_EQ(lines[1].severity, 'I');
    EXPECT_THAT(lines[1].text, HasSubstr("Function: WaitForCompletion\n"));
    EXPECT_THAT(lines[1].text, EndsWith("\nThread has successfully completed execution, " +
                                        reference(&thread) + ", System ID: '0'"));
}

TEST_F(CThreadTest, ExitCodeOfAllBitsArrivesAndIsLogged) {
    Body body([] { return 0xFFFFFFFFU; });
    CThread thread(m_code, &body);
    ASSERT_EQ(thread.Start(), 0U);
    ASSERT_EQ(thread.WaitForCompletion(m_exitCode), 0U);
    EXPECT_EQ(m_exitCode, 0xFFFFFFFFU);
    EXPECT_TRUE(m_log.containsCode('E', "invokeRun", "IRunnable::Run", 0xFFFFFFFF)) << m_log.dump();
}

TEST_F(CThreadTest, ExceptionOfTheBodyBecomesACode) {
    Body failing([]() -> uint32_t { throw std::runtime_error("no such luck"); });
    Body strange([]() -> uint32_t { throw 5; }); // NOLINT(misc-throw-by-value-catch-by-reference): odd kind
    for (Body* body : {&failing, &strange}) {
        CThread thread(m_code, body);
        ASSERT_EQ(thread.Start(), 0U);
        ASSERT_EQ(thread.WaitForCompletion(m_exitCode), 0U);
        EXPECT_EQ(m_exitCode, THREAD_ERROR_UNEXPECTED);
    }
    EXPECT_EQ(m_log.count('E', "The body of a thread ended in an exception: no such luck"), 1);
    EXPECT_EQ(m_log.count('E', "The body of a thread ended in an exception of an unknown kind"), 1);
    EXPECT_TRUE(m_log.containsCode('E', "invokeRun", "IRunnable::Run", THREAD_ERROR_UNEXPECTED));
}

TEST_F(CThreadTest, NullRunnableIsRefused) {
    CThread thread(m_code, nullptr);
    EXPECT_EQ(m_code, THREAD_ERROR_BAD_PARAMETER);
    EXPECT_EQ(m_code, 0xFE340002U);
    ASSERT_EQ(m_log.lines().size(), 1U);
    EXPECT_TRUE(m_log.contains('E', "Function: CThread\n"));
    EXPECT_THAT(m_log.lines()[0].text, EndsWith("\nIRunnable is NULL"));
    EXPECT_EQ(thread.Start(), THREAD_ERROR_BAD_PARAMETER);
}

TEST_F(CThreadTest, OwnRunGivesZero) {
    Body body([] { return 5U; });
    CThread thread(m_code, &body);
    EXPECT_EQ(thread.Run(), 0U);
}

TEST_F(CThreadTest, SecondStartIsRefusedUntilTheThreadWasWaitedFor) {
    int runs = 0;
    Body body([&] {
        ++runs;
        return 0U;
    });
    CThread thread(m_code, &body);
    ASSERT_EQ(thread.Start(), 0U);
    EXPECT_EQ(thread.Start(), THREAD_ERROR_INVALID_STATE);
    EXPECT_EQ(thread.startFireAndForget(), THREAD_ERROR_INVALID_STATE);
    EXPECT_EQ(THREAD_ERROR_INVALID_STATE, 0xFE34000DU);
    ASSERT_EQ(thread.WaitForCompletion(m_exitCode), 0U);
    ASSERT_EQ(thread.Start(), 0U);
    ASSERT_EQ(thread.WaitForCompletion(m_exitCode), 0U);
    EXPECT_EQ(runs, 2);
}

TEST_F(CThreadTest, WaitWithoutAStartIsRefused) {
    Body body([] { return 0U; });
    CThread thread(m_code, &body);
    EXPECT_EQ(thread.WaitForCompletion(m_exitCode, -1), THREAD_ERROR_INVALID_STATE);
    EXPECT_EQ(thread.WaitForCompletion(m_exitCode, 1000), THREAD_ERROR_INVALID_STATE);
    EXPECT_EQ(m_exitCode, 99U);
    ASSERT_EQ(thread.Start(), 0U);
    ASSERT_EQ(thread.WaitForCompletion(m_exitCode), 0U);
    EXPECT_EQ(thread.WaitForCompletion(m_exitCode), THREAD_ERROR_INVALID_STATE);
}

TEST_F(CThreadTest, WaitWithATimeoutIsRefusedAndLeavesTheThreadRunning) {
    std::promise<void> release;
    Body body([&] {
        release.get_future().wait();
        return 7U;
    });
    CThread thread(m_code, &body);
    ASSERT_EQ(thread.Start(), 0U);
    for (const int32_t timeoutMs : {1000, 0, -2}) {
        EXPECT_EQ(thread.WaitForCompletion(m_exitCode, timeoutMs), THREAD_ERROR_BAD_PARAMETER);
    }
    EXPECT_EQ(m_exitCode, 99U);
    release.set_value();
    EXPECT_EQ(thread.WaitForCompletion(m_exitCode, -1), 0U);
    EXPECT_EQ(m_exitCode, 7U);
}

TEST_F(CThreadTest, ThreadCannotWaitForItself) {
    CThread* self = nullptr;
    std::array<uint32_t, 2> codes{};
    uint32_t inner = 99;
    Body body([&] {
        codes = {self->WaitForCompletion(inner, -1), self->WaitForCompletion(inner, 1000)};
        return 0U;
    });
    CThread thread(m_code, &body);
    self = &thread;
    ASSERT_EQ(thread.Start(), 0U);
    ASSERT_EQ(thread.WaitForCompletion(m_exitCode), 0U);
    EXPECT_EQ(codes[0], THREAD_ERROR_INVALID_CALLER);
    EXPECT_EQ(codes[1], 0xFE34000CU);
    EXPECT_EQ(inner, 99U);
    EXPECT_EQ(m_log.count('E', "\nThread attempting to wait for completion of itself, " + reference(&thread) +
                                   ", System ID: '0'"),
              2)
        << m_log.dump();
}

TEST_F(CThreadTest, FailureToJoinIsLoggedAndKeepsTheThreadStarted) {
    if (kThreadSanitizer || kAddressSanitizer) {
        GTEST_SKIP() << "a sanitizer ends the program when a detached thread is joined";
    }
    EndlessBody body;
    {
        std::promise<pthread_t> id;
        Body detaching([&] {
            id.set_value(::pthread_self());
            return body.Run();
        });
        CThread thread(m_code, &detaching);
        ASSERT_EQ(thread.Start(), 0U);
        ASSERT_EQ(::pthread_detach(id.get_future().get()), 0);
        body.waitForStart();
        EXPECT_EQ(thread.WaitForCompletion(m_exitCode), THREAD_ERROR_POSIX_JOIN_FAILED);
        EXPECT_EQ(THREAD_ERROR_POSIX_JOIN_FAILED, 0xFE34000EU);
        EXPECT_TRUE(m_log.containsCode('E', "WaitForCompletion", "pthread_join", EINVAL)) << m_log.dump();
        EXPECT_EQ(m_exitCode, 99U);
        EXPECT_EQ(thread.Start(), THREAD_ERROR_INVALID_STATE);
    }
    body.waitForUnwinding();
}

TEST_F(CThreadTest, DestructionCancelsARunningBodyAndWarns) {
    EndlessBody body;
    auto thread = std::make_unique<CThread>(m_code, &body);
    const std::string line = "\nTerminated unexpectedly running thread, " + reference(thread.get());
    ASSERT_EQ(thread->Start(), 0U);
    body.waitForStart();
    thread.reset();
    body.waitForUnwinding();
    ASSERT_EQ(m_log.lines().size(), 2U) << m_log.dump();
    EXPECT_EQ(m_log.lines()[1].severity, 'W');
    EXPECT_THAT(m_log.lines()[1].text, HasSubstr("Function: StaticKill\n"));
    EXPECT_THAT(m_log.lines()[1].text, EndsWith(line));
}

TEST_F(CThreadTest, DestructionAfterAWaitDoesNotWarn) {
    Body body([] { return 0U; });
    {
        CThread thread(m_code, &body);
        ASSERT_EQ(thread.Start(), 0U);
        ASSERT_EQ(thread.WaitForCompletion(m_exitCode), 0U);
    }
    { const CThread neverStarted(m_code, &body); }
    EXPECT_EQ(m_log.count('W', ""), 0) << m_log.dump();
}

TEST_F(CThreadTest, StackSizeThatIsRefusedLeavesItReadyForAnother) {
    int runs = 0;
    Body body([&] {
        ++runs;
        return 0U;
    });
    CThread thread(m_code, &body, 1);
    EXPECT_EQ(thread.Start(), THREAD_ERROR_INVALID_STACK_SIZE);
    EXPECT_EQ(THREAD_ERROR_INVALID_STACK_SIZE, 0xFE34000BU);
    ASSERT_EQ(m_log.lines().size(), 1U) << m_log.dump();
    EXPECT_TRUE(m_log.contains('E', "Function: createThread\n"));
    EXPECT_THAT(m_log.lines()[0].text, EndsWith("\nInvalid stack size"));
    EXPECT_EQ(thread.WaitForCompletion(m_exitCode), THREAD_ERROR_INVALID_STATE);
    thread.setStackSize(1U << 20U);
    ASSERT_EQ(thread.Start(), 0U);
    ASSERT_EQ(thread.WaitForCompletion(m_exitCode), 0U);
    EXPECT_EQ(runs, 1);
}

TEST_F(CThreadTest, StackHasTheSizeAskedFor) {
    std::size_t stackSize = 0;
    Body body([&] {
        pthread_attr_t attributes;
        EXPECT_EQ(::pthread_getattr_np(::pthread_self(), &attributes), 0);
        EXPECT_EQ(::pthread_attr_getstacksize(&attributes, &stackSize), 0);
        ::pthread_attr_destroy(&attributes);
        return 0U;
    });
    CThread thread(m_code, &body, 1U << 20U);
    ASSERT_EQ(thread.Start(), 0U);
    ASSERT_EQ(thread.WaitForCompletion(m_exitCode), 0U);
    EXPECT_EQ(stackSize, std::size_t{1} << 20U);
}

TEST_F(CThreadTest, FailureToCreateIsLoggedAndLeavesItNotStarted) {
    int runs = 0;
    Body body([&] {
        ++runs;
        return 0U;
    });
    CThread thread(m_code, &body, 0xFFFF0000);
    {
        const AddressSpaceLimit limit;
        EXPECT_EQ(thread.Start(), THREAD_ERROR_CREATE_FAILED);
    }
    EXPECT_EQ(THREAD_ERROR_CREATE_FAILED, 0xFE34000AU);
    EXPECT_TRUE(m_log.containsCode('E', "createThread", "pthread_create", EAGAIN)) << m_log.dump();
    EXPECT_EQ(m_log.lines().size(), 1U);
    thread.setStackSize(0);
    ASSERT_EQ(thread.Start(), 0U);
    ASSERT_EQ(thread.WaitForCompletion(m_exitCode), 0U);
    EXPECT_EQ(runs, 1);
}

TEST_F(CThreadTest, CopyTakesTheBodyAndIsNotStarted) {
    int runs = 0;
    Body body([&] { return static_cast<uint32_t>(++runs); });
    CThread thread(m_code, &body);
    ASSERT_EQ(thread.Start(), 0U);
    CThread copy(thread);
    EXPECT_EQ(copy.WaitForCompletion(m_exitCode), THREAD_ERROR_INVALID_STATE);
    ASSERT_EQ(thread.WaitForCompletion(m_exitCode), 0U);
    ASSERT_EQ(copy.Start(), 0U);
    ASSERT_EQ(copy.WaitForCompletion(m_exitCode), 0U);
    EXPECT_EQ(m_exitCode, 2U);
}

TEST_F(CThreadTest, CopyTakesTheStackSize) {
    Body body([] { return 0U; });
    const CThread thread(m_code, &body, 1);
    CThread copy(thread);
    EXPECT_EQ(copy.Start(), THREAD_ERROR_INVALID_STACK_SIZE);
}

TEST_F(CThreadTest, KnowsItsOwnThread) {
    CThread* self = nullptr;
    bool inside = false;
    Body body([&] {
        inside = self->isCurrentThread();
        return 0U;
    });
    CThread thread(m_code, &body);
    self = &thread;
    EXPECT_FALSE(thread.isCurrentThread());
    ASSERT_EQ(thread.Start(), 0U);
    EXPECT_FALSE(thread.isCurrentThread());
    ASSERT_EQ(thread.WaitForCompletion(m_exitCode), 0U);
    EXPECT_TRUE(inside);
}

TEST_F(CThreadTest, ExitThreadEndsTheThreadWithItsCode) {
    CThread* self = nullptr;
    bool cameBack = false;
    Body body([&]() -> uint32_t {
        const uint32_t code = self->exitThread(0xFEB00013);
        cameBack = true;
        return code;
    });
    CThread thread(m_code, &body);
    self = &thread;
    ASSERT_EQ(thread.Start(), 0U);
    ASSERT_EQ(thread.WaitForCompletion(m_exitCode), 0U);
    EXPECT_EQ(m_exitCode, 0xFEB00013U);
    EXPECT_FALSE(cameBack);
    EXPECT_EQ(m_log.count('E', ""), 0) << m_log.dump();
}

TEST_F(CThreadTest, ExitThreadIsRefusedOnAnyOtherThread) {
    Body body([] { return 0U; });
    CThread thread(m_code, &body);
    EXPECT_EQ(thread.exitThread(1), THREAD_ERROR_INVALID_CALLER);
    ASSERT_EQ(thread.Start(), 0U);
    EXPECT_EQ(thread.exitThread(1), THREAD_ERROR_INVALID_CALLER);
    ASSERT_EQ(thread.WaitForCompletion(m_exitCode), 0U);
    EXPECT_EQ(m_exitCode, 0U);
}

TEST_F(CThreadTest, AttachedThreadIsItsOwn) {
    Body body([] { return 0U; });
    CThread thread(m_code, &body);
    thread.attachCurrentThread();
    EXPECT_TRUE(thread.isCurrentThread());
    bool elsewhere = true;
    std::thread([&] { elsewhere = thread.isCurrentThread(); }).join();
    EXPECT_FALSE(elsewhere);
    EXPECT_EQ(thread.WaitForCompletion(m_exitCode), THREAD_ERROR_INVALID_STATE);
}

TEST_F(CThreadTest, AttachedThreadEndsThroughExitThread) {
    Body body([] { return 0U; });
    CThread thread(m_code, &body);
    const auto entry = [](void* attached) -> void* {
        static_cast<CThread*>(attached)->attachCurrentThread();
        static_cast<void>(static_cast<CThread*>(attached)->exitThread(7)); // doesn't return
        return nullptr;
    };
    pthread_t id = 0;
    ASSERT_EQ(::pthread_create(&id, nullptr, entry, &thread), 0);
    void* exitValue = nullptr;
    ASSERT_EQ(::pthread_join(id, &exitValue), 0);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(exitValue), 7U);
}

/// What the copies of a job tell the test. Shared, as a copy's thread may outlive the test's interest.
struct JobRecord {
    std::latch ran{1};
    std::latch release{1};
    std::latch destroyed{1};
    int clones = 0;
};

/// A job for the fire-and-forget mode; the argument of a start is a shared_ptr to the record.
class ForgottenJob : public CThread {
public:
    ForgottenJob(uint32_t& codeOut, uint32_t result, uint32_t copyStackSize = 0)
        : CThread(codeOut, this), m_result(result), m_copyStackSize(copyStackSize) {}
    uint32_t Run() override {
        if (m_record != nullptr) {
            m_record->ran.count_down();
            m_record->release.wait();
        }
        return m_result;
    }
    CThread* clone(void* argument) override {
        auto copy = std::make_unique<ForgottenJob>(*this);
        copy->m_record = *static_cast<std::shared_ptr<JobRecord>*>(argument);
        ++copy->m_record->clones;
        copy->setStackSize(m_copyStackSize);
        return copy.release();
    }
    void Destroy() override {
        const std::shared_ptr<JobRecord> record = m_record;
        // The other half of clone: the copy owns itself.
        std::unique_ptr<ForgottenJob>(this).reset();
        record->destroyed.count_down();
    }

private:
    uint32_t m_result;
    uint32_t m_copyStackSize;
    std::shared_ptr<JobRecord> m_record;
};

TEST_F(CThreadTest, FireAndForgetRunsACopyAndDestroysIt) {
    auto record = std::make_shared<JobRecord>();
    ForgottenJob job(m_code, 0);
    ASSERT_EQ(job.startFireAndForget(&record), 0U);
    record->ran.wait();
    EXPECT_EQ(job.WaitForCompletion(m_exitCode), THREAD_ERROR_INVALID_STATE) << "only the copy is started";
    record->release.count_down();
    record->destroyed.wait();
    EXPECT_EQ(record->clones, 1);
    ASSERT_EQ(m_log.lines().size(), 1U) << m_log.dump();
    EXPECT_EQ(m_log.lines()[0].severity, 'I');
    EXPECT_THAT(m_log.lines()[0].text, EndsWith(", System ID: '0', Fire and Forget: 'YES'"));
}

TEST_F(CThreadTest, ForgottenThreadOutlivesItsStarterAndIsNotCancelled) {
    auto record = std::make_shared<JobRecord>();
    {
        ForgottenJob job(m_code, 0);
        ASSERT_EQ(job.startFireAndForget(&record), 0U);
    }
    record->ran.wait();
    record->release.count_down();
    record->destroyed.wait();
    EXPECT_EQ(m_log.count('W', ""), 0) << m_log.dump();
}

TEST_F(CThreadTest, FailureOfAForgottenBodyIsLogged) {
    auto record = std::make_shared<JobRecord>();
    ForgottenJob job(m_code, 5);
    ASSERT_EQ(job.startFireAndForget(&record), 0U);
    record->release.count_down();
    record->destroyed.wait();
    EXPECT_TRUE(m_log.containsCode('E', "invokeRun", "IRunnable::Run", 5)) << m_log.dump();
}

TEST_F(CThreadTest, FireAndForgetIsRefusedWhileStarted) {
    auto record = std::make_shared<JobRecord>();
    ForgottenJob job(m_code, 3);
    ASSERT_EQ(job.Start(), 0U);
    EXPECT_EQ(job.startFireAndForget(&record), THREAD_ERROR_INVALID_STATE);
    EXPECT_EQ(record->clones, 0);
    ASSERT_EQ(job.WaitForCompletion(m_exitCode), 0U);
    EXPECT_EQ(m_exitCode, 3U);
}

TEST_F(CThreadTest, CopyThatCannotBeStartedIsDestroyed) {
    auto record = std::make_shared<JobRecord>();
    ForgottenJob job(m_code, 0, 1);
    EXPECT_EQ(job.startFireAndForget(&record), THREAD_ERROR_INVALID_STACK_SIZE);
    record->destroyed.wait();
    EXPECT_EQ(record->clones, 1);
}

TEST_F(CThreadTest, DefaultCloneStartsNothing) {
    int runs = 0;
    Body body([&] {
        ++runs;
        return 0U;
    });
    EXPECT_EQ(body.clone(nullptr), nullptr);
    CThread thread(m_code, &body);
    EXPECT_EQ(thread.startFireAndForget(), THREAD_ERROR_NOT_IMPLEMENTED);
    EXPECT_EQ(THREAD_ERROR_NOT_IMPLEMENTED, 0xFE340001U);
    EXPECT_TRUE(m_log.lines().empty()) << m_log.dump();
    // Still free to be started.
    ASSERT_EQ(thread.Start(), 0U);
    ASSERT_EQ(thread.WaitForCompletion(m_exitCode), 0U);
    EXPECT_EQ(runs, 1);
}

TEST_F(CThreadTest, DefaultDestroyOnlyLogs) {
    Body body([] { return 0U; });
    body.Destroy();
    ASSERT_EQ(m_log.lines().size(), 1U);
    EXPECT_EQ(m_log.lines()[0].severity, 'E');
    EXPECT_THAT(m_log.lines()[0].text, HasSubstr("Function: Destroy\n"));
    EXPECT_THAT(m_log.lines()[0].text, EndsWith("\nIRunnable::Destroy not Implemented"));
}

} // namespace
