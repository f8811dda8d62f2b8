#include "Common/Utility/threads/ManualLock.h"

#include <array>
#include <gtest/gtest.h>
#include <mutex>
#include <new>
#include <pthread.h>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

/// Whether another thread gets the lock; it gives it back at once.
bool otherThreadGets(CManualLock& lock) {
    bool taken = false;
    std::thread([&] {
        taken = lock.TryLock();
        if (taken) {
            lock.Unlock();
        }
    }).join();
    return taken;
}

TEST(ManualLock, UnlockWithNothingHeldGivesZero) {
    CManualLock lock(500);
    EXPECT_EQ(lock.Unlock(), 0U);
    EXPECT_EQ(lock.Unlock(), 0U);
    lock.Lock();
    EXPECT_FALSE(otherThreadGets(lock));
    EXPECT_EQ(lock.Unlock(), 0U);
    EXPECT_TRUE(otherThreadGets(lock));
}

TEST(ManualLock, HolderLocksAgainAndOneUnlockLeavesItHeld) {
    CManualLock lock(500);
    lock.Lock();
    lock.Lock();
    EXPECT_EQ(lock.Unlock(), 1U);
    EXPECT_FALSE(otherThreadGets(lock));
    EXPECT_EQ(lock.Unlock(), 0U);
    EXPECT_TRUE(otherThreadGets(lock));
}

TEST(ManualLock, TryLockIsRecursiveForTheHolder) {
    CManualLock lock;
    EXPECT_TRUE(lock.TryLock());
    EXPECT_TRUE(lock.TryLock());
    EXPECT_FALSE(otherThreadGets(lock));
    EXPECT_EQ(lock.Unlock(), 1U);
    EXPECT_EQ(lock.Unlock(), 0U);
}

TEST(ManualLock, RefusedTryLockDoesNotCount) {
    CManualLock lock;
    lock.Lock();
    EXPECT_FALSE(otherThreadGets(lock));
    EXPECT_FALSE(otherThreadGets(lock));
    EXPECT_EQ(lock.Unlock(), 0U);
}

TEST(ManualLock, SpinCountIsIgnored) {
    for (const uint32_t spinCount : {0U, 500U, 0xFFFFFFFFU}) {
        CManualLock lock(spinCount);
        lock.Lock();
        EXPECT_FALSE(otherThreadGets(lock));
        EXPECT_EQ(lock.Unlock(), 0U);
    }
}

/// What is left of the mutex of a lock that was destroyed while held `depth` times. The mutex stands right
/// behind the pointer to the virtual functions.
std::string mutexAfterDestruction(int depth) {
    alignas(CManualLock) std::array<char, sizeof(CManualLock)> place{};
    auto* const lock = new (place.data()) CManualLock;
    for (int count = 0; count < depth; ++count) {
        lock->Lock();
    }
    lock->~CManualLock();
    return {place.data() + sizeof(void*), sizeof(pthread_mutex_t)};
}

TEST(ManualLock, IsReleasedWhenDestroyedWhileHeld) {
    // The C library leaves a mutex that is still held as it was, and marks any other.
    EXPECT_EQ(mutexAfterDestruction(3), mutexAfterDestruction(0));
}

TEST(ManualLock, ServesTheStandardGuards) {
    CManualLock lock;
    {
        const std::lock_guard guard(lock);
        EXPECT_FALSE(otherThreadGets(lock));
        const std::unique_lock again(lock, std::try_to_lock);
        EXPECT_TRUE(again.owns_lock());
    }
    EXPECT_TRUE(otherThreadGets(lock));
}

TEST(ManualLock, IsDestroyedThroughAVirtualDestructor) {
    EXPECT_TRUE(std::has_virtual_destructor_v<CManualLock>);
    EXPECT_FALSE(std::is_copy_constructible_v<CManualLock>);
}

TEST(ManualLock, KeepsThreadsApart) {
    constexpr int kThreads = 8;
    constexpr int kRounds = 2000;
    CManualLock lock;
    // A plain counter: only the lock keeps the additions from getting lost.
    int counter = 0;
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int number = 0; number < kThreads; ++number) {
        threads.emplace_back([&] {
            for (int round = 0; round < kRounds; ++round) {
                const std::lock_guard outer(lock);
                const std::lock_guard inner(lock);
                ++counter;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(counter, kThreads * kRounds);
    EXPECT_EQ(lock.Unlock(), 0U);
}

} // namespace
