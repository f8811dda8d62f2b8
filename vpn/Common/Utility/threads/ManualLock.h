#pragma once

#include <atomic>
#include <cstdint>
#include <pthread.h>

/// Recursive mutex of the common code. Meets the standard's Lockable through lock, try_lock and unlock as
/// well, so that std::lock_guard serves as its scope guard.
class CManualLock {
public:
    /// @param spinCount  accepted for the sake of other platforms and ignored.
    explicit CManualLock(uint32_t spinCount = 500);
    /// Releases the mutex as often as it is held, then destroys it.
    virtual ~CManualLock();
    CManualLock(const CManualLock&) = delete;
    CManualLock& operator=(const CManualLock&) = delete;

    void Lock();
    /// @return true if the lock was taken.
    [[nodiscard]] bool TryLock();
    /// Gives one level of the lock back. Only the holder may call it, but with nothing held it does no harm.
    /// @return how deep the lock is still held.
    uint64_t Unlock();

    void lock() { Lock(); }
    [[nodiscard]] bool try_lock() { return TryLock(); }
    void unlock() { Unlock(); }

private:
    pthread_mutex_t m_mutex{};
    /// Changed only by the holder of m_mutex; atomic because Unlock looks at it without holding anything.
    std::atomic<uint64_t> m_lockCount = 0;
};
