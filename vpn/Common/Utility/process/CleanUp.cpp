#include "Common/Utility/process/CleanUp.h"

#include <condition_variable>
#include <list>
#include <memory>
#include <mutex>
#include <utility>

namespace {

struct Register {
    std::mutex lock;
    /// The latest first.
    std::list<CleanUp*> entries;
    std::condition_variable changed;
};

/// Never destroyed, because a thread may still use it while the process is ending.
Register& cleanUps() {
    static Register* const entries = std::make_unique<Register>().release();
    return *entries;
}

} // namespace

CleanUp::CleanUp(std::function<void()> remove) : m_remove(std::move(remove)) {
    const std::lock_guard<std::mutex> guard(cleanUps().lock);
    cleanUps().entries.push_front(this);
}

CleanUp::~CleanUp() {
    const std::lock_guard<std::mutex> guard(cleanUps().lock);
    cleanUps().entries.remove(this);
    cleanUps().changed.notify_all();
}

void runCleanUps() noexcept {
    const std::lock_guard<std::mutex> guard(cleanUps().lock);
    for (const CleanUp* cleanUp : cleanUps().entries) {
        cleanUp->m_remove();
    }
    cleanUps().entries.clear();
}

bool awaitCleanUps(std::chrono::milliseconds limit) {
    std::unique_lock<std::mutex> guard(cleanUps().lock);
    return cleanUps().changed.wait_for(guard, limit, [] { return cleanUps().entries.empty(); });
}
