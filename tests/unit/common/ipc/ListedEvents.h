#pragma once

#include "Common/IPC/EventList.h"
#include "Common/Utility/ReturnCodes.h"
#include "tests/unit/common/ipc/EventRecord.h"
#include "tests/unit/common/ipc/EventTestAccess.h"
#include "tests/unit/common/ipc/LoggedTest.h"
#include "tests/unit/common/ipc/SystemCallHooks.h"

#include <gtest/gtest.h>
#include <memory>
#include <vector>

/// Fixture with a list and events on it, each of which reports its name to one record.
class ListedEvents : public LoggedTest {
protected:
    using Event = std::unique_ptr<CCEvent>;

    /// An event on a list, the fixture's unless another or null is given.
    Event makeEvent(uint64_t name, uint32_t eventType, CEventList* list, int extraFd = -1,
                    uint32_t extraFdType = kExtraFdReadable) {
        uint32_t code = 1;
        auto event =
            std::make_unique<CCEvent>(code, list, eventType, &m_record, name, 0, extraFd, extraFdType);
        EXPECT_EQ(code, 0U);
        return event;
    }
    Event makeAlways(uint64_t name, int extraFd = -1, uint32_t extraFdType = kExtraFdReadable) {
        return makeEvent(name, kEventTypeAlways, &m_list, extraFd, extraFdType);
    }
    Event makeArmed(uint64_t name) {
        Event event = makeUnarmed(name);
        event->arm();
        return event;
    }
    Event makeUnarmed(uint64_t name) { return makeEvent(name, kEventTypeArmed, &m_list); }

    static void signal(const Event& event) { EXPECT_EQ(event->SetEvent(true), 0U); }
    void signalAll() {
        for (CCEvent* const event : EventListTestAccess::events(m_list)) {
            EXPECT_EQ(event->SetEvent(true), 0U);
        }
    }
    /// Waits for events that are signalled, and gives the names of those that were called.
    std::vector<uint64_t> fired() {
        EXPECT_EQ(m_list.WaitOnEvents(kLongMs), 0U);
        return m_record.takeCalls();
    }
    /// Expects that nothing fires.
    void expectNothing() {
        EXPECT_EQ(m_list.WaitOnEvents(0), EVENT_ERROR_WAIT_TIMEOUT);
        EXPECT_TRUE(m_record.takeCalls().empty());
    }

    // A test's own events go before these.
    SystemCallHooks m_hooks;
    ObjectRecord m_record;
    CEventList m_list;
};
