#include "Common/IPC/EventList.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/ReturnCodes.h"

#include <algorithm>
#include <limits>
#include <new>
#include <unistd.h>

namespace {

/// Sleeps, or less long if a signal comes.
void sleepFor(uint32_t timeMs) {
    constexpr uint32_t kMicrosecondsPerMillisecond = 1000;
    constexpr uint32_t kLongestMs = std::numeric_limits<useconds_t>::max() / kMicrosecondsPerMillisecond;
    while (timeMs > 0) {
        const uint32_t partMs = std::min(timeMs, kLongestMs);
        if (::usleep(partMs * kMicrosecondsPerMillisecond) != 0) {
            return;
        }
        timeMs -= partMs;
    }
}

} // namespace

CEventList::~CEventList() {
    if (m_events.empty()) {
        return;
    }
    ZRN_LOG('E', "Deletion of event list containing '%zu' events", m_events.size());
    for (CCEvent* const event : m_events) {
        static_cast<void>(event->setEventList(nullptr)); // null is never refused
    }
}

uint32_t CEventList::AddEvent(CCEvent* event) {
    if (m_events.size() == kMaximumEvents) {
        return EVENTLIST_ERROR_LIMIT_EXCEEDED;
    }
    if (event == nullptr) {
        return EVENTLIST_ERROR_BAD_PARAMETER;
    }
    const uint32_t code = event->setEventList(this);
    if (code != 0) {
        ZRN_LOG_CODE('E', "CCEvent::setEventList", code);
        return code;
    }
    try {
        insert(event);
    } catch (const std::bad_alloc&) {
        static_cast<void>(event->setEventList(nullptr)); // null is never refused
        return EVENTLIST_ERROR_MEMALLOC_FAILED;
    }
    return 0;
}

void CEventList::insert(CCEvent* event) {
    if (event->getEventType() != kEventTypeAlways) {
        m_events.push_back(event);
        return;
    }
    m_events.insert(m_events.begin() + m_alwaysCount, event);
    ++m_alwaysCount;
}

uint32_t CEventList::RemoveEvent(CCEvent* event) {
    if (event == nullptr) {
        return EVENTLIST_ERROR_BAD_PARAMETER;
    }
    const auto found = std::find(m_events.begin(), m_events.end(), event);
    if (found == m_events.end()) {
        return EVENTLIST_ERROR_EVENT_NOT_FOUND;
    }
    if (found - m_events.begin() < m_alwaysCount) {
        --m_alwaysCount;
    }
    m_events.erase(found);
    static_cast<void>(event->setEventList(nullptr)); // null is never refused
    return 0;
}

uint32_t CEventList::WaitOnEvents(uint32_t timeoutMs) {
    if (m_events.empty()) {
        if (timeoutMs == kInfiniteTimeoutMs) {
            ZRN_LOG('E', "Cannot do an infinite wait with no events on which to wait");
            return EVENTLIST_ERROR_BAD_PARAMETER;
        }
        sleepFor(timeoutMs);
        return 0;
    }
    EventDescriptors descriptors;
    const uint32_t code = collectDescriptors(descriptors);
    if (code != 0) {
        return code;
    }
    const int ready = descriptors.wait(timeoutMs);
    if (ready == 0) {
        return EVENT_ERROR_WAIT_TIMEOUT;
    }
    if (ready < 0) {
        return EVENT_ERROR_WAIT_FAILED; // logged by the wait
    }
    return processReadyEvents(descriptors);
}

uint32_t CEventList::collectDescriptors(EventDescriptors& descriptors) const {
    for (std::size_t i = 0; i < m_events.size(); ++i) {
        const CCEvent* const event = m_events[i];
        if (event == nullptr) {
            return EVENTLIST_ERROR_NULL_POINTER;
        }
        if (i >= m_alwaysCount && !event->isArmed()) {
            continue;
        }
        if (event->getReadFd() < 0) {
            return EVENTLIST_ERROR_BAD_EVENT_PIPE;
        }
        if (event->getExtraFd() > 0 && event->getExtraFdType() > kExtraFdWritable) {
            return EVENTLIST_ERROR_BAD_EVENT_HANDLE_TYPE;
        }
        if (!descriptors.add(event->getWaitedDescriptors())) {
            ZRN_LOG_FOR("WaitOnEvents", 'E', "Descriptors '%d' and '%d' can't be waited on",
                        event->getReadFd(), event->getExtraFd());
            return EVENT_ERROR_WAIT_FAILED;
        }
    }
    return 0;
}

uint32_t CEventList::processReadyEvents(EventDescriptors& ready) {
    for (std::size_t i = 0; i < m_events.size();) {
        CCEvent* const event = m_events[i];
        if (!ready.contain(event->getWaitedDescriptors())) {
            ++i;
            continue;
        }
        ready.remove(event->getWaitedDescriptors());
        // The callback may destroy the event and move all others.
        const uint32_t code = event->processSignaledEvent(true);
        if (code != 0) {
            ZRN_LOG_CODE_FOR("WaitOnEvents", 'E', "CCEvent::processSignaledEvent", code, nullptr);
            return code;
        }
        // Begun afresh, so that none is left out; those that have had their turn are not ready any more.
        i = 0;
    }
    return 0;
}
