#include "Common/Utility/process/StopRequest.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <sys/eventfd.h>
#include <unistd.h>

namespace {

std::atomic<bool> g_isRequested{false};
/// An event counter that is above 0 once the wish was made; -1 before somebody asks for it. A process without
/// such waits needs no descriptor.
std::atomic<int> g_descriptor{-1};

static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<int>::is_always_lock_free,
              "a signal handler can wait for no lock");

void wake(int descriptor) noexcept {
    // It fails for a counter at its end only, which is readable already.
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t outcome = ::write(descriptor, &one, sizeof one);
}

} // namespace

// The wish is noted before the descriptor is looked for, and the descriptor is made known before the wish is
// looked at: one of the two sees the other, whatever comes first.

void requestStop() noexcept {
    const int error = errno;
    g_isRequested = true;
    if (const int descriptor = g_descriptor; descriptor >= 0) {
        wake(descriptor);
    }
    errno = error;
}

bool isStopRequested() noexcept {
    return g_isRequested;
}

int stopDescriptor() noexcept {
    int known = g_descriptor;
    if (known >= 0) {
        return known;
    }
    const int made = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (made < 0) {
        return -1;
    }
    if (!g_descriptor.compare_exchange_strong(known, made)) {
        static_cast<void>(::close(made)); // another thread was faster
        return known;
    }
    if (g_isRequested) {
        wake(made);
    }
    return made;
}
