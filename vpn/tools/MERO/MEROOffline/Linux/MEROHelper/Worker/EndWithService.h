#pragma once

#include <sys/types.h>

/// The end of the service is the end of its worker and of all that this one has started: nobody would look
/// after them any more.

/// Has this process told by SIGTERM when the thread that started it ends, and what its tools leave running
/// fall to it. The signal is held back in this thread and in those that it starts until
/// endWithService is called. For a process with one thread.
/// @return false, logged, if the service has ended already or that can't be had.
[[nodiscard]] bool awaitServiceEnd(pid_t service);

/// From here on a SIGTERM ends the descendants of this process and the process itself. Starts a thread for
/// that, which stays to the end of the process.
/// @return false, logged, if there is no thread to be had.
[[nodiscard]] bool endWithService();

/// Ends what this process has started and forbids it to start more: the last thing that it does. If the
/// service has ended meanwhile this does not return, but the process ends. Once only.
void endWork() noexcept;
