#include "Common/Utility/time/zmt_select.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/time/TimeVal.h"

#include <cerrno>

namespace {

TimeVal endOf(const timeval& timeout) {
    TimeVal end;
    end.setNow();
    end += TimeVal(timeout.tv_sec, timeout.tv_usec);
    return end;
}

/// 0, 0 once the end has come.
TimeVal timeUntil(const TimeVal& end) {
    TimeVal now;
    now.setNow();
    TimeVal left = end;
    left -= now;
    return left;
}

int selectAgainUntil(const TimeVal& end, int nfds, fd_set* readFds, fd_set* writeFds, fd_set* exceptFds,
                     timeval remaining) {
    for (;;) {
        const int ready = ::select(nfds, readFds, writeFds, exceptFds, &remaining);
        if (ready != -1 || errno != EINTR) {
            return ready;
        }
        const TimeVal left = timeUntil(end);
        if (left.compare(TimeVal()) == 0) {
            return 0;
        }
        remaining = {left.tv_sec, left.tv_usec};
    }
}

int poll(int nfds, fd_set* readFds, fd_set* writeFds, fd_set* exceptFds) {
    int ready = -1;
    do {
        timeval none{};
        ready = ::select(nfds, readFds, writeFds, exceptFds, &none);
    } while (ready == -1 && errno == EINTR);
    return ready;
}

} // namespace

int zmt_select(int nfds, fd_set* readFds, fd_set* writeFds, fd_set* exceptFds, const timeval* timeout) {
    const int ready = timeout == nullptr
                          ? poll(nfds, readFds, writeFds, exceptFds)
                          : selectAgainUntil(endOf(*timeout), nfds, readFds, writeFds, exceptFds, *timeout);
    if (ready == -1) {
        const int error = errno;
        ZRN_LOG('E', "zmt_select failed with errno: %d", error);
        errno = error;
    }
    return ready;
}
