#include "Common/Utility/process/CleanUp.h"

#include "Common/Utility/threads/Condition.h"

#include <list>
#include <memory>
#include <utility>

namespace {

struct Register {
    Mutex lock;
    /// The latest first.
    std::list<CleanUp*> entries ZRN_GUARDED_BY(lock);
    Condition changed;
};

/// Never destroyed, because a thread may still use it while the process is ending.
Register& cleanUps() {
    static Register* const all = std::make_unique<Register>().release();
    return *all;
}

void enter(CleanUp* cleanUp) {
    Register& all = cleanUps();
    const LockGuard guard(all.lock);
    all.entries.push_front(cleanUp);
}

void strike(CleanUp* cleanUp) {
    Register& all = cleanUps();
    const LockGuard guard(all.lock);
    all.entries.remove(cleanUp);
    all.changed.tellAll();
}

} // namespace

CleanUp::CleanUp(std::function<void()> remove) : m_remove(std::move(remove)) {
    enter(this);
}

CleanUp::~CleanUp() {
    strike(this);
}

void runCleanUps() noexcept {
    Register& all = cleanUps();
    const LockGuard guard(all.lock);
    for (const CleanUp* cleanUp : all.entries) {
        cleanUp->m_remove();
    }
    all.entries.clear();
}

bool awaitCleanUps(std::chrono::milliseconds limit) {
    Register& all = cleanUps();
    const LockGuard guard(all.lock);
    return all.changed.waitFor(all.lock, limit,
                               [&all]() ZRN_REQUIRES(all.lock) { return all.entries.empty(); });
}
