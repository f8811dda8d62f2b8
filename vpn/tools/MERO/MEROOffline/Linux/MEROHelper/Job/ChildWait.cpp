#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/ChildWait.h"

#include "Common/Utility/process/ChildSetup.h"

#include <poll.h>

namespace {

constexpr int kPollMs = 2;

} // namespace

bool endsWithin(pid_t child, std::chrono::steady_clock::duration limit) noexcept {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (getChildState(child, false) == ChildState::Running) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        static_cast<void>(::poll(nullptr, 0, kPollMs)); // an interruption only looks again earlier
    }
    return true;
}
