#pragma once

#include "Common/Utility/threads/Mutex.h"

#include <atomic>
#include <cstdint>
#include <pthread.h>

/// Recursive mutex of the common code. Meets the standard's Lockable through lock, try_lock and unlock as
/// well, and LockGuard is its scope guard.
class ZRN_LOCK_ATTRIBUTE(capability("mutex")) CManualLock {
public:
    /// @param spinCount  accepted for the sake of other platforms and ignored.
    explicit CManualLock(uint32_t spinCount = 500);
    /// Releases the mutex as often as it is held, then destroys it.
    virtual ~CManualLock();
    CManualLock(const CManualLock&) = delete;
    CManualLock& operator=(const CManualLock&) = delete;

    void Lock() ZRN_LOCK_ATTRIBUTE(acquire_capability());
    /// @return true if the lock was taken.
    [[nodiscard]] bool TryLock() ZRN_LOCK_ATTRIBUTE(try_acquire_capability(true));
    /// Gives one level of the lock back. Only the holder may call it, but with nothing held it does no harm.
    /// @return how deep the lock is still held.
    uint64_t Unlock() ZRN_LOCK_ATTRIBUTE(release_capability());

    void lock() ZRN_LOCK_ATTRIBUTE(acquire_capability()) { Lock(); }
    [[nodiscard]] bool try_lock() ZRN_LOCK_ATTRIBUTE(try_acquire_capability(true)) { return TryLock(); }
    void unlock() ZRN_LOCK_ATTRIBUTE(release_capability()) { Unlock(); }

private:
    pthread_mutex_t m_mutex{};
    /// Changed only by the holder of m_mutex; atomic because Unlock looks at it without holding anything.
    std::atomic<uint64_t> m_lockCount = 0;
};
