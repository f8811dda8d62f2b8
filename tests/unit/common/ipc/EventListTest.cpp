#include "Common/IPC/EventList.h"

#include "tests/unit/common/ipc/Descriptors.h"
#include "tests/unit/common/ipc/ListedEvents.h"

#include <algorithm>
#include <chrono>
#include <gmock/gmock.h>
#include <optional>
#include <string>
#include <sys/socket.h>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

class EventList : public ListedEvents {
protected:
    [[nodiscard]] const std::vector<CCEvent*>& events() const { return EventListTestAccess::events(m_list); }
    [[nodiscard]] uint32_t alwaysCount() const { return EventListTestAccess::alwaysCount(m_list); }
    /// An event that could not make its pipe.
    Event makeBroken(uint32_t eventType) {
        const DescriptorLimit limit(kNoDescriptors);
        uint32_t code = 0;
        auto event = std::make_unique<CCEvent>(code, nullptr, eventType, &m_record, 0, 0);
        EXPECT_EQ(code, EVENT_ERROR_CREATE_FAILED);
        return event;
    }
    /// The list with as many events as it takes. They need descriptors for twice as many pipe ends.
    std::vector<Event> fillList() {
        std::vector<Event> all;
        for (uint64_t name = 0; name < CEventList::kMaximumEvents; ++name) {
            all.push_back(makeUnarmed(name));
        }
        return all;
    }
};

TEST_F(EventList, TakesEvents) {
    const Event first = makeEvent(1, kEventTypeAlways, nullptr);
    const Event second = makeEvent(2, kEventTypeArmed, nullptr);
    EXPECT_EQ(m_list.AddEvent(first.get()), 0U);
    EXPECT_EQ(m_list.AddEvent(second.get()), 0U);
    EXPECT_THAT(events(), ElementsAre(first.get(), second.get()));
    EXPECT_EQ(EventTestAccess::list(*first), &m_list);
    EXPECT_EQ(EventTestAccess::list(*second), &m_list);
    expectSilence();
}

TEST_F(EventList, KeepsThoseAlwaysWaitedOnInFront) {
    const Event armed = makeArmed(1);
    const Event first = makeAlways(2);
    const Event second = makeAlways(3);
    const Event lastArmed = makeArmed(4);
    const Event third = makeAlways(5);
    EXPECT_THAT(events(), ElementsAre(first.get(), second.get(), third.get(), armed.get(), lastArmed.get()));
    EXPECT_EQ(alwaysCount(), 3U);
    signalAll();
    EXPECT_THAT(fired(), ElementsAre(2, 3, 5, 1, 4));
    expectSilence();
}

TEST_F(EventList, RefusesNull) {
    EXPECT_EQ(m_list.AddEvent(nullptr), EVENTLIST_ERROR_BAD_PARAMETER);
    EXPECT_EQ(m_list.RemoveEvent(nullptr), EVENTLIST_ERROR_BAD_PARAMETER);
    expectSilence();
}

TEST_F(EventList, RefusesOneMoreThanItsLimit) {
    const DescriptorLimit limit(kManyDescriptors);
    const std::vector<Event> all = fillList();
    const Event tooMany = makeEvent(1, kEventTypeAlways, nullptr);
    expectSilence();
    EXPECT_EQ(m_list.AddEvent(tooMany.get()), EVENTLIST_ERROR_LIMIT_EXCEEDED);
    EXPECT_EQ(EventTestAccess::list(*tooMany), nullptr);
    EXPECT_EQ(events().size(), 1024U);
    EXPECT_EQ(alwaysCount(), 0U);
    // The limit is looked at first.
    EXPECT_EQ(m_list.AddEvent(nullptr), EVENTLIST_ERROR_LIMIT_EXCEEDED);
    EXPECT_EQ(m_list.AddEvent(all.front().get()), EVENTLIST_ERROR_LIMIT_EXCEEDED);
    expectSilence();
    EXPECT_EQ(m_list.RemoveEvent(all[500].get()), 0U);
    EXPECT_EQ(m_list.AddEvent(tooMany.get()), 0U);
    EXPECT_EQ(events().front(), tooMany.get());
}

TEST_F(EventList, LeavesAnEventThatItRefusesInService) {
    const DescriptorLimit limit(kManyDescriptors);
    const std::vector<Event> all = fillList();
    uint32_t code = 0;
    CCEvent event(code, &m_list, kEventTypeAlways, &m_record, 7, 0);
    EXPECT_EQ(code, EVENTLIST_ERROR_LIMIT_EXCEEDED);
    EXPECT_EQ(EventTestAccess::list(event), nullptr);
    EXPECT_GE(event.getReadFd(), 0);
    expectCode("basicConstructor", "CEventList::AddEvent", EVENTLIST_ERROR_LIMIT_EXCEEDED);
    expectCode("CCEvent", "CCEvent::basicConstructor", EVENTLIST_ERROR_LIMIT_EXCEEDED);
    expectLines(2);
    EXPECT_EQ(event.SetEvent(true), 0U);
    EXPECT_EQ(event.processSignaledEvent(true), 0U);
    EXPECT_THAT(m_record.calls(), ElementsAre(7));
}

TEST_F(EventList, RefusesAnEventWithoutACallback) {
    uint32_t code = 1;
    CCEvent event(code);
    ASSERT_EQ(code, 0U);
    EXPECT_EQ(m_list.AddEvent(&event), EVENT_ERROR_NO_CALLBACK);
    EXPECT_THAT(events(), IsEmpty());
    EXPECT_EQ(EventTestAccess::list(event), nullptr);
    expectCode("AddEvent", "CCEvent::setEventList", EVENT_ERROR_NO_CALLBACK);
    expectLines(1);
}

TEST_F(EventList, RefusesAStandAloneEvent) {
    const Event event = makeEvent(1, kEventTypeStandAlone, nullptr);
    EXPECT_EQ(m_list.AddEvent(event.get()), EVENT_ERROR_EVENT_TYPE_INVALID_FOR_LISTS);
    EXPECT_THAT(events(), IsEmpty());
    EXPECT_EQ(EventTestAccess::list(*event), nullptr);
    expectCode("AddEvent", "CCEvent::setEventList", EVENT_ERROR_EVENT_TYPE_INVALID_FOR_LISTS);
    expectLines(1);
}

TEST_F(EventList, RefusesAnEventThatIsOnAList) {
    CEventList other;
    const Event event = makeAlways(1);
    EXPECT_EQ(m_list.AddEvent(event.get()), EVENT_ERROR_EVENT_IS_ALREADY_ON_A_LIST);
    EXPECT_EQ(other.AddEvent(event.get()), EVENT_ERROR_EVENT_IS_ALREADY_ON_A_LIST);
    EXPECT_THAT(events(), ElementsAre(event.get()));
    EXPECT_EQ(alwaysCount(), 1U);
    EXPECT_THAT(EventListTestAccess::events(other), IsEmpty());
    expectCode("AddEvent", "CCEvent::setEventList", EVENT_ERROR_EVENT_IS_ALREADY_ON_A_LIST);
    expectLines(2);
}

TEST_F(EventList, ClosesTheGapOfAnEventThatGoes) {
    const Event first = makeAlways(1);
    const Event second = makeAlways(2);
    const Event third = makeAlways(3);
    const Event armed = makeArmed(4);
    const Event lastArmed = makeArmed(5);
    EXPECT_EQ(m_list.RemoveEvent(second.get()), 0U);
    EXPECT_THAT(events(), ElementsAre(first.get(), third.get(), armed.get(), lastArmed.get()));
    EXPECT_EQ(alwaysCount(), 2U);
    EXPECT_EQ(EventTestAccess::list(*second), nullptr);
    EXPECT_EQ(m_list.RemoveEvent(armed.get()), 0U);
    EXPECT_THAT(events(), ElementsAre(first.get(), third.get(), lastArmed.get()));
    EXPECT_EQ(alwaysCount(), 2U);
    const Event fourth = makeAlways(6);
    EXPECT_THAT(events(), ElementsAre(first.get(), third.get(), fourth.get(), lastArmed.get()));
    expectSilence();
}

TEST_F(EventList, TakesAnEventAgain) {
    CEventList other;
    const Event event = makeAlways(1);
    EXPECT_EQ(m_list.RemoveEvent(event.get()), 0U);
    EXPECT_EQ(m_list.AddEvent(event.get()), 0U);
    EXPECT_EQ(m_list.RemoveEvent(event.get()), 0U);
    EXPECT_EQ(other.AddEvent(event.get()), 0U);
    EXPECT_THAT(events(), IsEmpty());
    EXPECT_EQ(alwaysCount(), 0U);
    EXPECT_EQ(other.RemoveEvent(event.get()), 0U);
    expectSilence();
}

TEST_F(EventList, DoesNotFindAForeignEvent) {
    CEventList other;
    const Event none = makeEvent(1, kEventTypeAlways, nullptr);
    const Event foreign = makeEvent(2, kEventTypeAlways, &other);
    const Event own = makeAlways(3);
    EXPECT_EQ(m_list.RemoveEvent(none.get()), EVENTLIST_ERROR_EVENT_NOT_FOUND);
    EXPECT_EQ(m_list.RemoveEvent(foreign.get()), EVENTLIST_ERROR_EVENT_NOT_FOUND);
    EXPECT_EQ(EventTestAccess::list(*foreign), &other);
    EXPECT_EQ(m_list.RemoveEvent(own.get()), 0U);
    EXPECT_EQ(m_list.RemoveEvent(own.get()), EVENTLIST_ERROR_EVENT_NOT_FOUND);
    expectSilence();
}

TEST_F(EventList, LosesAnEventThatIsDestroyed) {
    const Event first = makeAlways(1);
    Event second = makeAlways(2);
    const Event third = makeArmed(3);
    second.reset();
    EXPECT_THAT(events(), ElementsAre(first.get(), third.get()));
    EXPECT_EQ(alwaysCount(), 1U);
    expectSilence();
}

TEST_F(EventList, LetsItsEventsGoWhenItIsDestroyed) {
    auto list = std::make_unique<CEventList>();
    const Event first = makeEvent(1, kEventTypeAlways, list.get());
    const Event second = makeEvent(2, kEventTypeArmed, list.get());
    list.reset();
    expectMessage("~CEventList", "Deletion of event list containing '2' events");
    expectLines(1);
    EXPECT_EQ(EventTestAccess::list(*first), nullptr);
    EXPECT_EQ(EventTestAccess::list(*second), nullptr);
    signal(first);
    EXPECT_EQ(first->WaitEvent(kLongMs, nullptr, true), 0U);
    EXPECT_EQ(m_list.AddEvent(first.get()), 0U);
    EXPECT_EQ(m_list.AddEvent(second.get()), 0U);
}

TEST_F(EventList, GoesWithoutAWordWhenItIsEmpty) {
    auto list = std::make_unique<CEventList>();
    makeEvent(1, kEventTypeAlways, list.get()).reset();
    list.reset();
    expectSilence();
}

TEST_F(EventList, RefusesAnEndlessWaitForNothing) {
    EXPECT_EQ(m_list.WaitOnEvents(kInfiniteTimeoutMs), EVENTLIST_ERROR_BAD_PARAMETER);
    expectMessage("WaitOnEvents", "Cannot do an infinite wait with no events on which to wait");
    expectLines(1);
}

TEST_F(EventList, SleepsWhenItIsEmpty) {
    constexpr auto kTime = std::chrono::milliseconds(50);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(m_list.WaitOnEvents(static_cast<uint32_t>(kTime.count())), 0U);
    EXPECT_GE(std::chrono::steady_clock::now() - start, kTime);
    EXPECT_EQ(m_list.WaitOnEvents(0), 0U);
    expectSilence();
}

TEST_F(EventList, WaitsNotMuchLongerThanItsTime) {
    constexpr uint32_t kTimeMs = 300;
    constexpr auto kLimit = std::chrono::milliseconds(2500);
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(m_list.WaitOnEvents(kTimeMs), 0U) << "it sleeps when it is empty";
    EXPECT_LT(std::chrono::steady_clock::now() - start, kLimit);
    const Event event = makeAlways(1);
    start = std::chrono::steady_clock::now();
    EXPECT_EQ(m_list.WaitOnEvents(kTimeMs), EVENT_ERROR_WAIT_TIMEOUT);
    EXPECT_LT(std::chrono::steady_clock::now() - start, kLimit);
}

TEST_F(EventList, WaitLastsForItsTime) {
    constexpr auto kTime = std::chrono::milliseconds(50);
    const Event event = makeAlways(1);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(m_list.WaitOnEvents(static_cast<uint32_t>(kTime.count())), EVENT_ERROR_WAIT_TIMEOUT);
    EXPECT_GE(std::chrono::steady_clock::now() - start, kTime);
    EXPECT_THAT(m_record.calls(), IsEmpty());
    expectSilence();
}

TEST_F(EventList, WaitsForTimeAloneWhenNoneIsArmed) {
    const Event event = makeUnarmed(1);
    int asked = 0;
    m_hooks.onSelect = [&asked](const SelectCall& call) -> std::optional<int> {
        ++asked;
        EXPECT_EQ(call.descriptorsEnd, 0);
        return std::nullopt;
    };
    EXPECT_EQ(m_list.WaitOnEvents(1), EVENT_ERROR_WAIT_TIMEOUT);
    EXPECT_EQ(asked, 1);
}

TEST_F(EventList, WaitAsksForSecondsAndMicroseconds) {
    const Event event = makeAlways(1);
    std::vector<std::pair<int64_t, int64_t>> asked;
    m_hooks.onSelect = [&](const SelectCall& call) -> std::optional<int> {
        asked.emplace_back(call.timeout->tv_sec, call.timeout->tv_usec);
        EXPECT_EQ(call.exceptFds, nullptr);
        EXPECT_EQ(call.descriptorsEnd, event->getReadFd() + 1);
        return 0;
    };
    EXPECT_EQ(m_list.WaitOnEvents(0), EVENT_ERROR_WAIT_TIMEOUT);
    EXPECT_EQ(m_list.WaitOnEvents(2'001), EVENT_ERROR_WAIT_TIMEOUT);
    EXPECT_EQ(m_list.WaitOnEvents(kInfiniteTimeoutMs), EVENT_ERROR_WAIT_TIMEOUT);
    EXPECT_THAT(asked, ElementsAre(Pair(0, 0), Pair(2, 1000), Pair(4'294'967, 295'000)));
}

TEST_F(EventList, EndlessWaitEndsWithASignal) {
    const Event event = makeAlways(1);
    signal(event);
    EXPECT_EQ(m_list.WaitOnEvents(kInfiniteTimeoutMs), 0U);
    EXPECT_THAT(m_record.calls(), ElementsAre(1));
}

TEST_F(EventList, FiresOnceForManySignals) {
    const Event event = makeAlways(1);
    for (int count = 0; count < 20; ++count) {
        signal(event);
    }
    EXPECT_THAT(fired(), ElementsAre(1));
    expectNothing();
    expectSilence();
}

TEST_F(EventList, FiresAllThatAreSignalled) {
    const Event first = makeAlways(1);
    const Event second = makeAlways(2);
    const Event third = makeAlways(3);
    signal(third);
    signal(first);
    EXPECT_THAT(fired(), ElementsAre(1, 3));
    expectNothing();
    signal(second);
    EXPECT_THAT(fired(), ElementsAre(2));
}

TEST_F(EventList, DoesNotWaitOnWhatIsNotArmed) {
    const Event event = makeUnarmed(1);
    signal(event);
    expectNothing();
    // Nor does it fire when another does.
    const Event other = makeAlways(2);
    signal(other);
    EXPECT_THAT(fired(), ElementsAre(2));
    // Its signal is kept.
    event->arm();
    EXPECT_THAT(fired(), ElementsAre(1));
}

TEST_F(EventList, DisarmsWhatFires) {
    const Event event = makeArmed(1);
    signal(event);
    EXPECT_THAT(fired(), ElementsAre(1));
    EXPECT_FALSE(event->isArmed());
    signal(event);
    expectNothing();
    event->arm();
    EXPECT_THAT(fired(), ElementsAre(1));
}

TEST_F(EventList, WaitsOnTheFirstKindWithoutArming) {
    const Event event = makeAlways(1);
    EXPECT_FALSE(event->isArmed());
    for (int count = 0; count < 3; ++count) {
        signal(event);
        EXPECT_THAT(fired(), ElementsAre(1));
    }
}

TEST_F(EventList, FiresForFurtherDescriptors) {
    const TestPipe pipe;
    const Event reading = makeAlways(1, pipe.readEnd.get(), kExtraFdReadable);
    expectNothing();
    pipe.fill();
    EXPECT_THAT(fired(), ElementsAre(1));
    EXPECT_THAT(fired(), ElementsAre(1)); // what made it ready is still there
    const Event writing = makeAlways(2, pipe.writeEnd.get(), kExtraFdWritable);
    EXPECT_THAT(fired(), ElementsAre(1, 2));
    pipe.drain();
    EXPECT_THAT(fired(), ElementsAre(2));
    expectSilence();
}

TEST_F(EventList, FiresOnceForItsPipeAndItsFurtherDescriptor) {
    const TestPipe pipe;
    pipe.fill();
    const Event event = makeAlways(1, pipe.readEnd.get());
    signal(event);
    EXPECT_THAT(fired(), ElementsAre(1));
}

TEST_F(EventList, FiresTheFirstOfThoseThatShareADescriptor) {
    const TestPipe pipe;
    pipe.fill();
    const Event first = makeAlways(1, pipe.readEnd.get());
    const Event second = makeAlways(2, pipe.readEnd.get());
    EXPECT_THAT(fired(), ElementsAre(1));
    signal(second);
    EXPECT_THAT(fired(), ElementsAre(1, 2));
}

TEST_F(EventList, TellsReadingFromWritingOnOneDescriptor) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    const FileDescriptor nearEnd(ends[0]);
    const FileDescriptor farEnd(ends[1]);
    const Event reading = makeAlways(1, nearEnd.get(), kExtraFdReadable);
    const Event writing = makeAlways(2, nearEnd.get(), kExtraFdWritable);
    EXPECT_THAT(fired(), ElementsAre(2));
    ASSERT_EQ(::write(farEnd.get(), "a", 1), 1);
    EXPECT_THAT(fired(), ElementsAre(1, 2));
}

TEST_F(EventList, RefusesToWaitOnANullEntry) {
    const Event event = makeAlways(1);
    signal(event);
    EventListTestAccess::addNull(m_list);
    EXPECT_EQ(m_list.WaitOnEvents(kLongMs), EVENTLIST_ERROR_NULL_POINTER);
    EventListTestAccess::removeNull(m_list);
    EXPECT_THAT(fired(), ElementsAre(1));
    expectSilence();
}

TEST_F(EventList, RefusesToWaitOnAnEventWithoutAPipe) {
    const Event good = makeAlways(1);
    const Event broken = makeBroken(kEventTypeAlways);
    expectLines(3); // those of its creation
    EXPECT_EQ(m_list.AddEvent(broken.get()), 0U);
    signal(good);
    EXPECT_EQ(m_list.WaitOnEvents(kLongMs), EVENTLIST_ERROR_BAD_EVENT_PIPE);
    EXPECT_THAT(m_record.calls(), IsEmpty());
    expectLines(3);
}

TEST_F(EventList, WaitsBesideAnEventWithoutAPipeThatIsNotArmed) {
    const Event good = makeAlways(1);
    const Event broken = makeBroken(kEventTypeArmed);
    EXPECT_EQ(m_list.AddEvent(broken.get()), 0U);
    signal(good);
    EXPECT_THAT(fired(), ElementsAre(1));
    broken->arm();
    EXPECT_EQ(m_list.WaitOnEvents(kLongMs), EVENTLIST_ERROR_BAD_EVENT_PIPE);
}

TEST_F(EventList, RefusesToWaitOnAFurtherDescriptorOfAnUnknownType) {
    constexpr uint32_t kUnknown = 2;
    const TestPipe pipe;
    const Event good = makeAlways(1);
    const Event odd = makeAlways(2, pipe.readEnd.get(), kUnknown);
    signal(good);
    EXPECT_EQ(m_list.WaitOnEvents(kLongMs), EVENTLIST_ERROR_BAD_EVENT_HANDLE_TYPE);
    EXPECT_THAT(m_record.calls(), IsEmpty());
    EXPECT_EQ(odd->setExtraFd(pipe.readEnd.get(), kExtraFdReadable), 0U);
    EXPECT_THAT(fired(), ElementsAre(1));
    expectSilence();
}

TEST_F(EventList, DoesNotMindTheTypeOfNoFurtherDescriptor) {
    const Event none = makeAlways(1, 0, 7);
    const Event negative = makeAlways(2, -1, 7);
    signalAll();
    EXPECT_THAT(fired(), ElementsAre(1, 2));
}

TEST_F(EventList, WaitFailsWhenSelectDoes) {
    const Event good = makeAlways(1);
    const Event bad = makeAlways(2);
    EXPECT_EQ(bad->setExtraFd(closedDescriptor(), kExtraFdWritable), 0U);
    signal(good);
    EXPECT_EQ(m_list.WaitOnEvents(kLongMs), EVENT_ERROR_WAIT_FAILED);
    expectMessage("zmt_select", "zmt_select failed with errno: 9");
    expectLines(1);
    EXPECT_THAT(m_record.calls(), IsEmpty());
}

TEST_F(EventList, CanNotWaitOnADescriptorThatSelectCanNotHold) {
    const DescriptorLimit limit(kManyDescriptors);
    const TestPipe pipe;
    const FileDescriptor great(::fcntl(pipe.writeEnd.get(), F_DUPFD_CLOEXEC, FD_SETSIZE));
    ASSERT_GE(great.get(), FD_SETSIZE);
    const Event good = makeAlways(1);
    const Event bad = makeAlways(2, great.get(), kExtraFdWritable);
    signal(good);
    EXPECT_EQ(m_list.WaitOnEvents(kLongMs), EVENT_ERROR_WAIT_FAILED);
    expectMessage("WaitOnEvents", "Descriptors '" + std::to_string(bad->getReadFd()) + "' and '" +
                                      std::to_string(great.get()) + "' can't be waited on");
    expectLines(1);
    EXPECT_THAT(m_record.calls(), IsEmpty());
}

TEST_F(EventList, CanNotWaitOnAPipeThatSelectCanNotHold) {
    const DescriptorLimit limit(kManyDescriptors);
    const std::vector<FileDescriptor> taken = takeSmallDescriptors();
    const Event event = makeUnarmed(1);
    ASSERT_GE(event->getReadFd(), FD_SETSIZE);
    signal(event);
    expectNothing();
    event->arm();
    EXPECT_EQ(m_list.WaitOnEvents(kLongMs), EVENT_ERROR_WAIT_FAILED);
    expectLines(1);
}

TEST_F(EventList, WaitsOnAsManyEventsAsSelectCanHold) {
    std::vector<Event> all;
    const DescriptorLimit limit(kManyDescriptors);
    for (uint64_t name = 0; all.empty() || all.back()->getReadFd() + 4 < FD_SETSIZE; ++name) {
        all.push_back(makeAlways(name));
    }
    ASSERT_GT(all.size(), 300U);
    signalAll();
    const std::vector<uint64_t> names = fired();
    ASSERT_EQ(names.size(), all.size());
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
    expectNothing();
}

TEST_F(EventList, FiresNothingThatIsNotReady) {
    const Event event = makeAlways(1);
    m_hooks.onSelect = [](const SelectCall& call) -> std::optional<int> {
        FD_ZERO(call.readFds);
        return 1;
    };
    EXPECT_EQ(m_list.WaitOnEvents(kLongMs), 0U);
    EXPECT_THAT(m_record.calls(), IsEmpty());
}

TEST_F(EventList, EndsAtAnEventThatCanNotBeProcessed) {
    const Event first = makeAlways(1);
    const Event failing = makeAlways(2);
    const Event third = makeAlways(3);
    signalAll();
    m_hooks.onRead = [&failing](int fd) -> std::optional<ssize_t> {
        return fd == failing->getReadFd() ? std::optional<ssize_t>(failWith(EIO)) : std::nullopt;
    };
    EXPECT_EQ(m_list.WaitOnEvents(kLongMs), EVENT_ERROR_RESET_FAILED);
    EXPECT_THAT(m_record.takeCalls(), ElementsAre(1));
    expectCode("ResetEvent", "::read", EIO);
    expectCode("processSignaledEvent", "CCEvent::ResetEvent", EVENT_ERROR_RESET_FAILED);
    expectCode("WaitOnEvents", "CCEvent::processSignaledEvent", EVENT_ERROR_RESET_FAILED);
    expectLines(3);
    m_hooks.onRead = nullptr;
    EXPECT_THAT(fired(), ElementsAre(2, 3));
}

} // namespace
