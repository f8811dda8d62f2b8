#pragma once

#include "Common/IPC/event.h"
#include "Common/IPC/EventList.h"

#include <gtest/gtest.h>

/// Looks into an event.
struct EventTestAccess {
    static int writeFd(const CCEvent& event) { return event.m_writeFd.get(); }
    static const CEventList* list(const CCEvent& event) { return event.m_pEventList; }
    /// Gives an event with an object a function too.
    static void setFunction(CCEvent& event, EventCallbackFunction function) {
        event.m_pCallbackFunction = function;
    }
};

/// Looks into a list.
struct EventListTestAccess {
    static const std::vector<CCEvent*>& events(const CEventList& list) { return list.m_events; }
    static uint32_t alwaysCount(const CEventList& list) { return list.m_alwaysCount; }
    static void addNull(CEventList& list) { list.m_events.push_back(nullptr); }
    static void removeNull(CEventList& list) { list.m_events.pop_back(); }
};
