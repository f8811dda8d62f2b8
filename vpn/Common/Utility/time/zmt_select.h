#pragma once

#include <sys/select.h>

/// select that a signal neither ends nor prolongs. Any thread.
/// @param timeout  left as it is. Null polls: it never blocks.
/// @return what select returned; 0 when a signal came and the time has gone, in which case the sets hold what
/// the caller put into them; or -1, logged, with errno set.
[[nodiscard]] int zmt_select(int nfds, fd_set* readFds, fd_set* writeFds, fd_set* exceptFds,
                             const timeval* timeout);
