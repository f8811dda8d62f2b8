#include "Common/Utility/StoragePath.h"

#include "tests/support/StoragePathAccess.h"

#include <atomic>
#include <barrier>
#include <functional>
#include <gtest/gtest.h>
#include <set>
#include <thread>
#include <vector>

namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 500;
/// In step with each other the threads mostly wait, which takes long where there are few processors.
constexpr int kRoundsInStep = 50;

void onAllThreads(const std::function<void(int)>& work) {
    std::vector<std::jthread> threads;
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&work, i] { work(i); });
    }
}

TEST(StoragePathThreads, ShareOneInstanceWhileAnyHoldsIt) {
    std::vector<CStoragePath*> given(kThreads);
    std::barrier step(kThreads);
    std::atomic<int> failures = 0;
    onAllThreads([&](int self) {
        CStoragePath*& mine = given[static_cast<std::size_t>(self)];
        for (int round = 0; round < kRoundsInStep; ++round) {
            step.arrive_and_wait();
            failures += CStoragePath::CreateSingletonInstance(mine) == 0 ? 0 : 1;
            step.arrive_and_wait(); // now all hold it
            const std::set<CStoragePath*> distinct(given.begin(), given.end());
            failures += distinct.size() == 1 && mine != nullptr ? 0 : 1;
            failures += CStoragePath::getReferenceCount() == kThreads ? 0 : 1;
            step.arrive_and_wait(); // all have looked
            CStoragePath::releaseInstance(mine);
            step.arrive_and_wait(); // none holds it any more
            failures += CStoragePath::getReferenceCount() == 0 ? 0 : 1;
        }
    });
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(CStoragePath::getReferenceCount(), 0U);
}

TEST(StoragePathThreads, MakeAndDropTheInstanceInAnyOrder) {
    std::atomic<int> failures = 0;
    onAllThreads([&failures](int /*self*/) {
        for (int round = 0; round < kRounds; ++round) {
            CStoragePath* made = nullptr;
            failures += CStoragePath::CreateSingletonInstance(made) == 0 && made != nullptr ? 0 : 1;
            CStoragePath* const acquired = CStoragePath::acquireInstance();
            failures += acquired == made ? 0 : 1; // it can't go while it is held here
            CStoragePath::releaseInstance(made);
            failures += acquired->getInstallPath() == "/opt/varnel/corvane/" ? 0 : 1;
            CStoragePath::releaseInstance(acquired);
        }
    });
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(CStoragePath::getReferenceCount(), 0U);
    EXPECT_EQ(CStoragePath::acquireInstance(), nullptr);
}

TEST(StoragePathThreads, AcquireAnInstanceOrNull) {
    std::atomic<int> failures = 0;
    onAllThreads([&failures](int self) {
        for (int round = 0; round < kRounds; ++round) {
            CStoragePath* held = nullptr;
            if (self % 2 == 0) {
                failures += CStoragePath::CreateSingletonInstance(held) == 0 ? 0 : 1;
            } else {
                held = CStoragePath::acquireInstance();
            }
            if (held != nullptr) {
                failures += held->getBinPath() == "/opt/varnel/corvane/bin/" ? 0 : 1;
                failures += CStoragePath::getReferenceCount() > 0 ? 0 : 1;
            }
            CStoragePath::releaseInstance(held);
        }
    });
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(CStoragePath::getReferenceCount(), 0U);
}

TEST(StoragePathThreads, DropForeignInstancesBesideTheShared) {
    CStoragePath* shared = nullptr;
    ASSERT_EQ(CStoragePath::CreateSingletonInstance(shared), 0U);
    onAllThreads([](int /*self*/) {
        for (int round = 0; round < kRounds; ++round) {
            CStoragePath::releaseInstance(StoragePathTestAccess::makeForeign());
        }
    });
    EXPECT_EQ(CStoragePath::getReferenceCount(), 1U);
    EXPECT_EQ(shared->getInstallPath(), "/opt/varnel/corvane/");
    CStoragePath::releaseInstance(shared);
    EXPECT_EQ(CStoragePath::getReferenceCount(), 0U);
}

} // namespace
