#pragma once

#include "Common/IPC/event.h"

#include <cstdint>
#include <sys/select.h>

/// The descriptors of the events of one wait: those to wait on before it, and those that are ready after it.
/// For the one thread that waits.
class EventDescriptors {
public:
    EventDescriptors();

    /// Adds the event's pipe and its further descriptor; the latter not if its type is unknown.
    /// @return false for a descriptor that no wait can take: it is negative or FD_SETSIZE or more.
    [[nodiscard]] bool add(const CCEvent& event);
    /// Waits for the descriptors added. @return as zmt_select.
    [[nodiscard]] int wait(uint32_t timeoutMs);
    /// Whether the event's pipe or its further descriptor is in.
    [[nodiscard]] bool contain(const CCEvent& event) const;
    /// Takes the event's descriptors out.
    void remove(const CCEvent& event);

private:
    [[nodiscard]] bool add(int fd, fd_set& set);

    fd_set m_readSet;
    fd_set m_writeSet;
    int m_descriptorsEnd = 0;
};
