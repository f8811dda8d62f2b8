#pragma once

#include <cstdint>
#include <sys/select.h>

/// The descriptors by which one event fires; -1 for none.
struct WaitedDescriptors {
    /// Must be one.
    int pipe = -1;
    /// A further one until it can be read, and one until it can be written.
    int readable = -1;
    int writable = -1;
};

/// The descriptors of the events of one wait: those to wait on before it, and those that are ready after it.
/// For the one thread that waits.
class EventDescriptors {
public:
    EventDescriptors();

    /// @return false for a descriptor that no wait can take: it is negative or FD_SETSIZE or more.
    [[nodiscard]] bool add(const WaitedDescriptors& event);
    /// Waits for the descriptors added. @return as zmt_select.
    [[nodiscard]] int wait(uint32_t timeoutMs);
    /// Whether any of the event is in.
    [[nodiscard]] bool contain(const WaitedDescriptors& event) const;
    /// Takes all of the event out.
    void remove(const WaitedDescriptors& event);

private:
    [[nodiscard]] bool add(int fd, fd_set& set);

    fd_set m_readSet;
    fd_set m_writeSet;
    int m_descriptorsEnd = 0;
};
