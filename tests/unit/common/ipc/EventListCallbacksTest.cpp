#include "Common/IPC/EventList.h"

#include "tests/unit/common/ipc/Descriptors.h"
#include "tests/unit/common/ipc/ListedEvents.h"

#include <gmock/gmock.h>

namespace {

using ::testing::ElementsAre;

/// Callbacks that change the list on which their events stand. Events have their places in `m_events` as
/// names.
class EventListCallbacks : public ListedEvents {
protected:
    /// Events that are always waited on, signalled.
    void makeSignalled(std::size_t number) {
        for (std::size_t name = 0; name < number; ++name) {
            m_events.push_back(makeAlways(name));
        }
        signalAll();
    }
    /// Does this when the event of that name is called, and only once.
    void when(uint64_t name, const std::function<void()>& action) {
        m_record.doAtEachCall([this, name, action](uint64_t called) {
            if (called == name) {
                m_record.doAtEachCall(nullptr);
                action();
            }
        });
    }
    void remove(std::size_t name) { EXPECT_EQ(m_list.RemoveEvent(m_events[name].get()), 0U); }

    std::vector<Event> m_events;
};

TEST_F(EventListCallbacks, MayRemoveTheirOwnEvent) {
    makeSignalled(3);
    when(0, [this] { remove(0); });
    EXPECT_THAT(fired(), ElementsAre(0, 1, 2));
    signalAll();
    EXPECT_THAT(fired(), ElementsAre(1, 2));
}

TEST_F(EventListCallbacks, MayDestroyTheirOwnEvent) {
    makeSignalled(3);
    when(1, [this] { m_events[1].reset(); });
    EXPECT_THAT(fired(), ElementsAre(0, 1, 2));
    signalAll();
    EXPECT_THAT(fired(), ElementsAre(0, 2));
    expectSilence();
}

TEST_F(EventListCallbacks, MayEachDestroyTheirOwnEvent) {
    makeSignalled(5);
    m_record.doAtEachCall([this](uint64_t name) { m_events[name].reset(); });
    EXPECT_THAT(fired(), ElementsAre(0, 1, 2, 3, 4));
    EXPECT_EQ(m_list.WaitOnEvents(kInfiniteTimeoutMs), EVENTLIST_ERROR_BAD_PARAMETER); // nothing is left
}

TEST_F(EventListCallbacks, MayRemoveAnEventThatIsStillToCome) {
    makeSignalled(4);
    when(1, [this] { remove(2); });
    EXPECT_THAT(fired(), ElementsAre(0, 1, 3));
    // It still has its signal.
    EXPECT_EQ(m_events[2]->WaitEvent(0, nullptr, true), 0U);
}

TEST_F(EventListCallbacks, MayDestroyAnEventThatIsStillToCome) {
    makeSignalled(4);
    when(1, [this] { m_events[2].reset(); });
    EXPECT_THAT(fired(), ElementsAre(0, 1, 3));
}

TEST_F(EventListCallbacks, MayDestroyAnEventThatHasHadItsTurn) {
    makeSignalled(4);
    when(1, [this] { m_events[0].reset(); });
    EXPECT_THAT(fired(), ElementsAre(0, 1, 2, 3));
}

TEST_F(EventListCallbacks, MayDestroyAllEvents) {
    makeSignalled(6);
    when(2, [this] {
        for (Event& event : m_events) {
            event.reset();
        }
    });
    EXPECT_THAT(fired(), ElementsAre(0, 1, 2));
    EXPECT_EQ(m_list.WaitOnEvents(0), 0U);
    expectSilence();
}

TEST_F(EventListCallbacks, MayAddEventsThatWaitForTheNextRound) {
    makeSignalled(3);
    when(1, [this] {
        for (uint64_t name = 3; name < 103; ++name) {
            m_events.push_back(makeAlways(name));
            signal(m_events.back());
        }
    });
    EXPECT_THAT(fired(), ElementsAre(0, 1, 2));
    EXPECT_EQ(fired().size(), 100U);
    expectNothing();
}

TEST_F(EventListCallbacks, MayAddAnEventInFrontOfTheirOwn) {
    const Event armed = makeArmed(0);
    const Event nextArmed = makeArmed(1);
    signalAll();
    Event added;
    when(0, [this, &added] { added = makeAlways(2); });
    // Nothing fires twice for having been moved on by one.
    EXPECT_THAT(fired(), ElementsAre(0, 1));
    expectNothing();
}

TEST_F(EventListCallbacks, MayPutTheirOwnEventToTheEnd) {
    makeSignalled(3);
    when(0, [this] {
        remove(0);
        EXPECT_EQ(m_list.AddEvent(m_events[0].get()), 0U);
    });
    EXPECT_THAT(fired(), ElementsAre(0, 1, 2));
    signalAll();
    EXPECT_THAT(fired(), ElementsAre(1, 2, 0));
}

TEST_F(EventListCallbacks, MaySignalTheirOwnEventForTheNextRound) {
    makeSignalled(2);
    when(0, [this] { signal(m_events[0]); });
    EXPECT_THAT(fired(), ElementsAre(0, 1));
    EXPECT_THAT(fired(), ElementsAre(0));
    expectNothing();
}

TEST_F(EventListCallbacks, MaySignalAnotherEventForTheNextRound) {
    m_events.push_back(makeAlways(0));
    m_events.push_back(makeAlways(1));
    signal(m_events[0]);
    when(0, [this] { signal(m_events[1]); });
    EXPECT_THAT(fired(), ElementsAre(0));
    EXPECT_THAT(fired(), ElementsAre(1));
}

TEST_F(EventListCallbacks, MayResetAnotherEventThatFiresAllTheSame) {
    makeSignalled(2);
    when(0, [this] { EXPECT_EQ(m_events[1]->ResetEvent(), 0U); });
    // The wait has seen its signal.
    EXPECT_THAT(fired(), ElementsAre(0, 1));
    expectNothing();
}

TEST_F(EventListCallbacks, MayArmAnEventForTheNextRound) {
    const Event other = makeUnarmed(1);
    const Event event = makeAlways(0);
    signalAll();
    when(0, [&other] { other->arm(); });
    EXPECT_THAT(fired(), ElementsAre(0));
    EXPECT_THAT(fired(), ElementsAre(1));
}

TEST_F(EventListCallbacks, MayArmTheirOwnEventAgain) {
    const Event event = makeArmed(0);
    signal(event);
    when(0, [&event] { event->arm(); });
    EXPECT_THAT(fired(), ElementsAre(0));
    expectNothing();
    signal(event);
    EXPECT_THAT(fired(), ElementsAre(0));
}

TEST_F(EventListCallbacks, MayTakeAwayAFurtherDescriptorThatIsReady) {
    const TestPipe ready;
    ready.fill();
    const TestPipe idle;
    m_events.push_back(makeAlways(0));
    m_events.push_back(makeAlways(1, ready.readEnd.get()));
    signal(m_events[0]);
    when(0, [&] { EXPECT_EQ(m_events[1]->setExtraFd(idle.readEnd.get(), kExtraFdReadable), 0U); });
    EXPECT_THAT(fired(), ElementsAre(0));
    expectNothing();
}

TEST_F(EventListCallbacks, MayGiveAFurtherDescriptorThatSelectCanNotHold) {
    const DescriptorLimit limit(kManyDescriptors);
    const TestPipe pipe;
    pipe.fill();
    const FileDescriptor great(::fcntl(pipe.readEnd.get(), F_DUPFD_CLOEXEC, FD_SETSIZE + 500));
    ASSERT_GE(great.get(), FD_SETSIZE);
    makeSignalled(3);
    when(0, [&] {
        EXPECT_EQ(m_events[1]->setExtraFd(great.get(), kExtraFdReadable), 0U);
        EXPECT_EQ(m_events[2]->setExtraFd(great.get(), kExtraFdWritable), 0U);
    });
    EXPECT_THAT(fired(), ElementsAre(0, 1, 2));
    EXPECT_EQ(m_list.WaitOnEvents(0), EVENT_ERROR_WAIT_FAILED);
}

TEST_F(EventListCallbacks, MayAddAnEventWithoutAPipe) {
    makeSignalled(2);
    Event broken;
    when(0, [&] {
        const DescriptorLimit limit(kNoDescriptors);
        uint32_t code = 0;
        broken = std::make_unique<CCEvent>(code, nullptr, kEventTypeAlways, &m_record, 2, 0);
        EXPECT_EQ(code, EVENT_ERROR_CREATE_FAILED);
        EXPECT_EQ(m_list.AddEvent(broken.get()), 0U);
    });
    EXPECT_THAT(fired(), ElementsAre(0, 1));
    EXPECT_EQ(m_list.WaitOnEvents(0), EVENTLIST_ERROR_BAD_EVENT_PIPE);
}

TEST_F(EventListCallbacks, MayAddAnEventThatSelectCanNotHold) {
    const DescriptorLimit limit(kManyDescriptors);
    makeSignalled(2);
    when(0, [this] {
        const std::vector<FileDescriptor> taken = takeSmallDescriptors();
        m_events.push_back(makeAlways(2));
        signal(m_events.back());
    });
    EXPECT_THAT(fired(), ElementsAre(0, 1));
    EXPECT_EQ(m_list.WaitOnEvents(0), EVENT_ERROR_WAIT_FAILED);
}

TEST_F(EventListCallbacks, MayAddAnEventThatTakesOverADescriptorStillReady) {
    makeSignalled(2);
    const int readFd = m_events[1]->getReadFd();
    when(0, [this] {
        m_events[1].reset();
        m_events.push_back(makeAlways(2));
    });
    // The wait found the number ready, whosever it is by now.
    EXPECT_THAT(fired(), ElementsAre(0, 2));
    EXPECT_EQ(m_events[2]->getReadFd(), readFd);
    expectNothing();
}

TEST_F(EventListCallbacks, MayMoveAnEventToAnotherList) {
    CEventList other;
    makeSignalled(3);
    when(0, [this, &other] {
        remove(1);
        EXPECT_EQ(other.AddEvent(m_events[1].get()), 0U);
    });
    EXPECT_THAT(fired(), ElementsAre(0, 2));
    EXPECT_EQ(other.WaitOnEvents(kLongMs), 0U);
    EXPECT_THAT(m_record.takeCalls(), ElementsAre(1));
    EXPECT_EQ(other.RemoveEvent(m_events[1].get()), 0U);
}

TEST_F(EventListCallbacks, MayWaitForAnotherEventAlone) {
    makeSignalled(2);
    when(0, [this] { EXPECT_EQ(m_events[1]->WaitEvent(kLongMs, nullptr, false), 0U); });
    EXPECT_THAT(fired(), ElementsAre(0, 1));
    expectNothing();
}

} // namespace
