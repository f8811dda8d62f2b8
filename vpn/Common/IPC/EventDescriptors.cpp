#include "Common/IPC/EventDescriptors.h"

#include "Common/Utility/time/zmt_select.h"

#include <algorithm>

namespace {

constexpr int64_t kMillisecondsPerSecond = 1000;
constexpr int64_t kMicrosecondsPerMillisecond = 1000;

/// What lies outside must not get near a set: it would be looked for behind the set's end.
bool fits(int fd) {
    return fd >= 0 && fd < FD_SETSIZE;
}

bool isIn(const fd_set& set, int fd) {
    return fits(fd) && FD_ISSET(fd, &set);
}

void takeOut(fd_set& set, int fd) {
    if (fits(fd)) {
        FD_CLR(fd, &set);
    }
}

} // namespace

EventDescriptors::EventDescriptors() {
    FD_ZERO(&m_readSet);
    FD_ZERO(&m_writeSet);
}

bool EventDescriptors::add(const WaitedDescriptors& event) {
    return add(event.pipe, m_readSet) && (event.readable < 0 || add(event.readable, m_readSet)) &&
           (event.writable < 0 || add(event.writable, m_writeSet));
}

bool EventDescriptors::add(int fd, fd_set& set) {
    if (!fits(fd)) {
        return false;
    }
    FD_SET(fd, &set);
    m_descriptorsEnd = std::max(m_descriptorsEnd, fd + 1);
    return true;
}

int EventDescriptors::wait(uint32_t timeoutMs) {
    const timeval timeout = {timeoutMs / kMillisecondsPerSecond,
                             timeoutMs % kMillisecondsPerSecond * kMicrosecondsPerMillisecond};
    return zmt_select(m_descriptorsEnd, &m_readSet, &m_writeSet, nullptr, &timeout);
}

bool EventDescriptors::contain(const WaitedDescriptors& event) const {
    return isIn(m_readSet, event.pipe) || isIn(m_readSet, event.readable) || isIn(m_writeSet, event.writable);
}

void EventDescriptors::remove(const WaitedDescriptors& event) {
    takeOut(m_readSet, event.pipe);
    takeOut(m_readSet, event.readable);
    takeOut(m_writeSet, event.writable);
}
