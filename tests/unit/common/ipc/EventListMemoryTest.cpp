#include "Common/IPC/EventList.h"

#include "Common/Utility/ReturnCodes.h"
#include "tests/unit/common/ipc/EventTestAccess.h"
#include "tests/unit/common/ipc/HeapLimit.h"

#include <array>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace {

void ignore(uint64_t /*arg1*/, uint32_t /*arg2*/) {}

std::unique_ptr<CCEvent> makeEvent(uint32_t eventType) {
    uint32_t code = 1;
    auto event = std::make_unique<CCEvent>(code, nullptr, eventType, &ignore, 0, 0);
    EXPECT_EQ(code, 0U);
    return event;
}

class EventListMemory : public ::testing::TestWithParam<uint32_t> {};

TEST_P(EventListMemory, RunsOutWithoutAHalfAddedEvent) {
    CEventList list;
    const auto event = makeEvent(GetParam());
    uint32_t code = 0;
    {
        const HeapLimit outOfMemory(0);
        code = list.AddEvent(event.get());
    }
    EXPECT_EQ(code, EVENTLIST_ERROR_MEMALLOC_FAILED);
    EXPECT_EQ(EventTestAccess::list(*event), nullptr);
    EXPECT_TRUE(EventListTestAccess::events(list).empty());
    EXPECT_EQ(EventListTestAccess::alwaysCount(list), 0U);
    EXPECT_EQ(list.RemoveEvent(event.get()), EVENTLIST_ERROR_EVENT_NOT_FOUND);
    EXPECT_EQ(list.AddEvent(event.get()), 0U);
}

TEST_P(EventListMemory, RunsOutWithoutHarmToTheEventsOnTheList) {
    CEventList list;
    std::array<std::unique_ptr<CCEvent>, 20> events;
    int failures = 0;
    for (auto& event : events) {
        event = makeEvent(GetParam());
        uint32_t code = 0;
        {
            const HeapLimit outOfMemory(0);
            code = list.AddEvent(event.get());
        }
        if (code != 0) {
            EXPECT_EQ(code, EVENTLIST_ERROR_MEMALLOC_FAILED);
            ++failures;
            code = list.AddEvent(event.get());
        }
        EXPECT_EQ(code, 0U);
    }
    EXPECT_GT(failures, 1);
    const std::vector<CCEvent*>& listed = EventListTestAccess::events(list);
    ASSERT_EQ(listed.size(), events.size());
    for (std::size_t place = 0; place < events.size(); ++place) {
        EXPECT_EQ(listed[place], events[place].get()) << place;
    }
    EXPECT_EQ(EventListTestAccess::alwaysCount(list), GetParam() == kEventTypeAlways ? events.size() : 0);
}

TEST(EventMemory, RunsOutForAnEventThatPutsItselfOnAList) {
    CEventList list;
    uint32_t code = 0;
    {
        const HeapLimit outOfMemory(0);
        const CCEvent event(code, &list, kEventTypeAlways, &ignore, 0, 0);
    }
    EXPECT_EQ(code, EVENTLIST_ERROR_MEMALLOC_FAILED);
    EXPECT_TRUE(EventListTestAccess::events(list).empty());
}

INSTANTIATE_TEST_SUITE_P(BothTypes, EventListMemory, ::testing::Values(kEventTypeAlways, kEventTypeArmed));

} // namespace
