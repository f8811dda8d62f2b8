#include "tools/MERO/MEROOffline/Common/StopGuard.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/process/OutputPipe.h"
#include "Common/Utility/process/StopRequest.h"
#include "Common/Utility/threads/Condition.h"
#include "tools/MERO/MEROEngine/implementations/TidyRun.h"

#include <array>
#include <cerrno>
#include <memory>
#include <poll.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace {

/// For what may itself wait for a file system that does not answer.
constexpr std::chrono::seconds kForceLimit{3};

struct ForcedEnd {
    Mutex lock;
    Condition done;
    bool isDone ZRN_GUARDED_BY(lock) = false;
};

/// On a thread of its own, so that it can be given up.
void endByForce() {
    const auto shared = std::make_shared<ForcedEnd>();
    ForcedEnd& end = *shared;
    std::thread([shared, &end] {
        endRunsByForce();
        const LockGuard guard(end.lock);
        end.isDone = true;
        end.done.tellAll();
    }).detach();
    const LockGuard guard(end.lock);
    if (!end.done.waitFor(end.lock, kForceLimit, [&end]() ZRN_REQUIRES(end.lock) { return end.isDone; })) {
        ZRN_LOG('E', "What the run has left can't be removed in time.");
    }
}

} // namespace

StopGuard::StopGuard(Plan plan) : m_plan(std::move(plan)) {
    // Made here at the latest, so that a signal handler finds it.
    if (stopDescriptor() < 0) {
        ZRN_LOG('W', "A stop can't be waited for.");
        return;
    }
    if (const int error = openOutputPipe(m_ended, m_working); error != 0) {
        ZRN_LOG_CODE('W', "pipe2", error);
        return;
    }
    try {
        m_thread = std::thread([this] { watch(); });
    } catch (const std::system_error& error) {
        ZRN_LOG_CODE('W', "std::thread", error.code().value());
    }
}

StopGuard::~StopGuard() {
    // A word, since the end of the pipe alone would not be seen behind a close that fails.
    [[maybe_unused]] const ssize_t written = ::write(m_working.get(), "", 1);
    m_working.reset();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

bool StopGuard::waitForEnd(int other, int timeoutMs) const {
    std::array<pollfd, 2> watched{{{m_ended.get(), POLLIN, 0}, {other, POLLIN, 0}}};
    while (::poll(watched.data(), watched.size(), timeoutMs) < 0 && errno == EINTR) {
    }
    return watched[0].revents != 0;
}

void StopGuard::watch() const {
    if (waitForEnd(stopDescriptor(), -1)) {
        return;
    }
    if (m_plan.onStop) {
        m_plan.onStop();
    }
    if (waitForEnd(-1, static_cast<int>(m_plan.patience.count()))) {
        return;
    }
    ZRN_LOG('W', "The run doesn't come to its end and is ended.");
    try {
        endByForce();
    } catch (const std::system_error& error) {
        ZRN_LOG_CODE('E', "std::thread", error.code().value());
    }
    m_plan.endProcess();
}
