#include "Common/IPC/EventList.h"

#include "Common/Utility/ReturnCodes.h"
#include "tests/support/Processes.h"
#include "tests/unit/common/ipc/Descriptors.h"
#include "tests/unit/common/ipc/EventRecord.h"
#include "tests/unit/common/ipc/Interrupter.h"
#include "tests/unit/common/ipc/LoggedTest.h"
#include "tests/unit/common/ipc/SystemCallHooks.h"

#include <atomic>
#include <chrono>
#include <future>
#include <gmock/gmock.h>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace {

using ::testing::ElementsAre;

constexpr int kThreads = 8;

/// Whether a thread of this process sleeps in a system call.
bool sleeps(pid_t thread) {
    return processState(thread) == 'S';
}

class EventThreads : public LoggedTest {
protected:
    std::unique_ptr<CCEvent> makeEvent(uint64_t name, CEventList* list = nullptr) {
        uint32_t code = 1;
        auto event = std::make_unique<CCEvent>(code, list, kEventTypeAlways, &m_record, name, 0);
        EXPECT_EQ(code, 0U);
        return event;
    }

    SystemCallHooks m_hooks;
    ObjectRecord m_record;
};

/// Fills the pipe of an event from a thread, and then signals once more.
class StalledSignaller {
public:
    explicit StalledSignaller(CCEvent& event) : m_event(event) {
        // A pipe of one page is soon full.
        const int capacity = ::fcntl(event.getReadFd(), F_SETPIPE_SZ, 1);
        EXPECT_GT(capacity, 0);
        m_thread = std::jthread([this, capacity] {
            m_id = ::gettid();
            for (int bytes = 0; bytes < capacity; bytes += 2) {
                EXPECT_EQ(m_event.SetEvent(true), 0U);
            }
            m_isFull = true;
            m_code = m_event.SetEvent(true);
            m_isDone = true;
        });
    }
    /// Waits until the last signal has no room.
    void awaitStall() {
        EXPECT_TRUE(eventually([this] { return m_isFull && sleeps(m_id); }));
        EXPECT_FALSE(m_isDone);
    }
    [[nodiscard]] bool isDone() const { return m_isDone; }
    /// What the last signal gave.
    uint32_t join() {
        m_thread.join();
        return m_code;
    }
    [[nodiscard]] pthread_t handle() { return m_thread.native_handle(); }

private:
    CCEvent& m_event;
    std::atomic<pid_t> m_id = 0;
    std::atomic<bool> m_isFull = false;
    std::atomic<bool> m_isDone = false;
    uint32_t m_code = 1;
    std::jthread m_thread;
};

TEST_F(EventThreads, SignalEndsTheWaitOfAnother) {
    const auto event = makeEvent(1);
    const pid_t waiter = ::gettid();
    const std::jthread signaller([&event, waiter] {
        EXPECT_TRUE(eventually([waiter] { return sleeps(waiter); }));
        EXPECT_EQ(event->SetEvent(true), 0U);
    });
    EXPECT_EQ(event->WaitEvent(kLongMs, nullptr, true), 0U);
    EXPECT_THAT(m_record.calls(), ElementsAre(1));
    expectSilence();
}

TEST_F(EventThreads, SignalThroughTheInterfaceEndsTheWaitOfAList) {
    CEventList list;
    const auto event = makeEvent(1, &list);
    const pid_t waiter = ::gettid();
    const std::jthread signaller([&event, waiter] {
        EXPECT_TRUE(eventually([waiter] { return sleeps(waiter); }));
        ISignalable& signalable = *event;
        EXPECT_EQ(signalable.Signal(), 2);
    });
    EXPECT_EQ(list.WaitOnEvents(kInfiniteTimeoutMs), 0U);
    EXPECT_THAT(m_record.calls(), ElementsAre(1));
    expectSilence();
}

TEST_F(EventThreads, CallbackRunsOnTheThreadThatWaits) {
    const auto event = makeEvent(1);
    std::thread::id called;
    m_record.doAtEachCall([&called](uint64_t /*name*/) { called = std::this_thread::get_id(); });
    std::jthread([&event] { EXPECT_EQ(event->SetEvent(true), 0U); }).join();
    std::thread::id waited;
    std::jthread([&] {
        waited = std::this_thread::get_id();
        EXPECT_EQ(event->WaitEvent(kLongMs, nullptr, true), 0U);
    }).join();
    EXPECT_EQ(called, waited);
}

TEST_F(EventThreads, ManySignalOneThatWaits) {
    constexpr int kRounds = 2000;
    const auto event = makeEvent(1);
    std::atomic<int> failures = 0;
    std::atomic<int> running = kThreads;
    std::vector<std::jthread> threads;
    threads.reserve(kThreads);
    for (int count = 0; count < kThreads; ++count) {
        threads.emplace_back([&] {
            for (int round = 0; round < kRounds; ++round) {
                failures += event->SetEvent(true) == 0 ? 0 : 1;
            }
            --running;
        });
    }
    while (running > 0) {
        const uint32_t code = event->WaitEvent(1, nullptr, true);
        EXPECT_TRUE(code == 0 || code == EVENT_ERROR_WAIT_TIMEOUT) << code;
    }
    threads.clear();
    // What has come since the last wait fires together, and then all is taken.
    static_cast<void>(event->WaitEvent(0, nullptr, true));
    EXPECT_EQ(event->WaitEvent(0, nullptr, true), EVENT_ERROR_WAIT_TIMEOUT);
    EXPECT_EQ(failures, 0);
    EXPECT_GE(m_record.calls().size(), 1U);
    EXPECT_LE(m_record.calls().size(), std::size_t{kThreads} * kRounds);
    expectSilence();
}

TEST_F(EventThreads, NoSignalGetsLost) {
    constexpr int kRounds = 200;
    CEventList list;
    std::vector<std::unique_ptr<CCEvent>> events;
    std::vector<std::atomic<int>> seen(kThreads);
    m_record.doAtEachCall([&seen](uint64_t name) {
        ++seen[name];
        seen[name].notify_one();
    });
    for (std::size_t name = 0; name < kThreads; ++name) {
        events.push_back(makeEvent(name, &list));
    }
    std::vector<std::jthread> threads;
    for (std::size_t name = 0; name < kThreads; ++name) {
        // Each signals again when it has been answered.
        threads.emplace_back([&, name] {
            for (int round = 0; round < kRounds; ++round) {
                EXPECT_EQ(events[name]->SetEvent(true), 0U);
                seen[name].wait(round);
            }
        });
    }
    const auto answered = [&seen] {
        int all = 0;
        for (const std::atomic<int>& one : seen) {
            all += one;
        }
        return all;
    };
    while (answered() < kThreads * kRounds) {
        ASSERT_EQ(list.WaitOnEvents(kLongMs), 0U);
    }
    threads.clear();
    EXPECT_EQ(answered(), kThreads * kRounds);
    EXPECT_EQ(list.WaitOnEvents(0), EVENT_ERROR_WAIT_TIMEOUT);
}

TEST_F(EventThreads, FullPipeStallsTheSignallerUntilItIsTaken) {
    const auto event = makeEvent(1);
    StalledSignaller signaller(*event);
    signaller.awaitStall();
    EXPECT_EQ(event->WaitEvent(kLongMs, nullptr, true), 0U);
    EXPECT_EQ(signaller.join(), 0U);
    // The signal that had no room came behind those that were taken, or together with the last of them.
    static_cast<void>(event->WaitEvent(0, nullptr, true));
    EXPECT_EQ(event->WaitEvent(0, nullptr, true), EVENT_ERROR_WAIT_TIMEOUT);
    expectSilence();
}

TEST_F(EventThreads, FullPipeIsFreedByAReset) {
    const auto event = makeEvent(1);
    StalledSignaller signaller(*event);
    signaller.awaitStall();
    EXPECT_EQ(event->ResetEvent(), 0U);
    EXPECT_EQ(signaller.join(), 0U);
    expectSilence();
}

TEST_F(EventThreads, StalledSignallerIsToldOfASignalOfTheSystem) {
    const auto event = makeEvent(1);
    StalledSignaller signaller(*event);
    signaller.awaitStall();
    {
        const Interrupter interrupter(signaller.handle());
        EXPECT_TRUE(eventually([&signaller] { return signaller.isDone(); }));
    }
    EXPECT_EQ(signaller.join(), EVENT_ERROR_SET_FAILED);
    expectCode("SetEvent", "::write", EINTR);
    expectLines(1);
}

/// Counts how often select is interrupted.
void countInterruptions(SystemCallHooks& hooks, std::atomic<int>& interruptions) {
    hooks.onSelect = [&interruptions](const SelectCall& call) {
        const int result = callSelect(call);
        interruptions += result == -1 && errno == EINTR ? 1 : 0;
        return std::optional(result);
    };
}

TEST_F(EventThreads, WaitIsNotEndedBySignalsOfTheSystem) {
    std::atomic<int> interruptions = 0;
    countInterruptions(m_hooks, interruptions);
    const auto event = makeEvent(1);
    const Interrupter interrupter(::pthread_self());
    const std::jthread signaller([&] {
        EXPECT_TRUE(eventually([&interruptions] { return interruptions >= 3; }));
        EXPECT_EQ(event->SetEvent(true), 0U);
    });
    EXPECT_EQ(event->WaitEvent(kLongMs, nullptr, true), 0U);
    EXPECT_THAT(m_record.calls(), ElementsAre(1));
    expectSilence();
}

TEST_F(EventThreads, WaitIsNotProlongedBySignalsOfTheSystem) {
    constexpr auto kTime = std::chrono::milliseconds(300);
    std::atomic<int> interruptions = 0;
    countInterruptions(m_hooks, interruptions);
    CEventList list;
    const auto event = makeEvent(1, &list);
    const auto start = std::chrono::system_clock::now();
    {
        // Each of its signals comes long before the time has gone, so a wait that began anew would not end.
        const Interrupter interrupter(::pthread_self());
        EXPECT_EQ(list.WaitOnEvents(static_cast<uint32_t>(kTime.count())), EVENT_ERROR_WAIT_TIMEOUT);
    }
    EXPECT_GE(std::chrono::system_clock::now() - start, kTime);
    EXPECT_GE(interruptions, 1);
    expectSilence();
}

TEST_F(EventThreads, EmptyListSleepsLongUntilASignalOfTheSystem) {
    // In microseconds it would not fit 32 bits, and leave less than a millisecond.
    constexpr uint32_t kVeryLongMs = 4'294'968;
    CEventList list;
    std::promise<uint32_t> promise;
    std::future<uint32_t> result = promise.get_future();
    std::jthread sleeper([&] { promise.set_value(list.WaitOnEvents(kVeryLongMs)); });
    EXPECT_EQ(result.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    {
        const Interrupter interrupter(sleeper.native_handle());
        EXPECT_TRUE(eventually(
            [&result] { return result.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
    }
    sleeper.join();
    EXPECT_EQ(result.get(), 0U);
    expectSilence();
}

} // namespace
