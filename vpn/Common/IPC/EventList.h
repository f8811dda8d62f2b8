#pragma once

#include "Common/IPC/event.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// Waits without an end, as far as anybody will see. An empty list refuses it.
inline constexpr uint32_t kInfiniteTimeoutMs = 0xFFFFFFFF;

/// The events that one thread waits on at once. Events that are always waited on stand in front of those that
/// are waited on while armed. Not locked: all of it belongs to the thread that waits, on which the callbacks
/// run too. They may change the list and destroy events, but neither destroy the list nor wait on it. The
/// events are not owned.
class CEventList {
public:
    static constexpr std::size_t kMaximumEvents = 1024;

    CEventList() = default;
    /// Takes all events off the list; that there were any is logged.
    ~CEventList();
    CEventList(const CEventList&) = delete;
    CEventList& operator=(const CEventList&) = delete;

    /// @return 0, EVENTLIST_ERROR_LIMIT_EXCEEDED, EVENTLIST_ERROR_BAD_PARAMETER for null, the event's
    /// own objection (CCEvent::setEventList), or EVENTLIST_ERROR_MEMALLOC_FAILED. Only with 0 is the
    /// event on the list.
    [[nodiscard]] uint32_t AddEvent(CCEvent* event);
    /// @return 0, EVENTLIST_ERROR_BAD_PARAMETER for null, or EVENTLIST_ERROR_EVENT_NOT_FOUND.
    [[nodiscard]] uint32_t RemoveEvent(CCEvent* event);
    /// Waits until one of the events fires, and calls the callbacks of all that have, in the list's order.
    /// A further descriptor that several events share fires the first of them only. An empty list sleeps, and
    /// a signal ends that.
    /// An event that a callback puts on the list is waited on from the next call on; but it fires in this one
    /// if a descriptor of it is ready here still, as one can be whose number an event destroyed by a callback
    /// had before.
    /// @param timeoutMs  kInfiniteTimeoutMs is about 49.7 days.
    /// @return 0; EVENT_ERROR_WAIT_TIMEOUT; EVENT_ERROR_WAIT_FAILED, logged, also for a descriptor of
    /// FD_SETSIZE or more, which select can't take; the first failing event's code, behind which nothing is
    /// processed; EVENTLIST_ERROR_BAD_PARAMETER for an endless wait for nothing; or
    /// EVENTLIST_ERROR_NULL_POINTER, EVENTLIST_ERROR_BAD_EVENT_PIPE or EVENTLIST_ERROR_BAD_EVENT_HANDLE_TYPE
    /// for an event that can't be waited on.
    [[nodiscard]] uint32_t WaitOnEvents(uint32_t timeoutMs);

private:
    friend struct EventListTestAccess;

    void insert(CCEvent* event);
    /// Gives 0 or the code with which the wait is refused.
    [[nodiscard]] uint32_t collectDescriptors(EventDescriptors& descriptors) const;
    [[nodiscard]] uint32_t processReadyEvents(EventDescriptors& ready);

    /// How many events that are always waited on stand at the front.
    uint32_t m_alwaysCount = 0;
    std::vector<CCEvent*> m_events;
};
