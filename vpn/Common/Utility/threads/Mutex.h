#pragma once

#include <mutex>

/// Locks that a compiler can check: what is ZRN_GUARDED_BY one may be touched only while a LockGuard of it is
/// in scope, or in a function that ZRN_REQUIRES it. clang sees to that (-Wthread-safety); others know nothing
/// of it. The attributes have no spelling in brackets that all of clang's releases take, and the library's
/// own locks do not have them: hence macros, and a lock and a guard of our own.
#if defined(__clang__)
#define ZRN_LOCK_ATTRIBUTE(...) __attribute__((__VA_ARGS__))
#else
#define ZRN_LOCK_ATTRIBUTE(...)
#endif
/// Behind the name of a field or variable.
#define ZRN_GUARDED_BY(lock) ZRN_LOCK_ATTRIBUTE(guarded_by(lock))
/// Behind the head of a function.
#define ZRN_REQUIRES(lock) ZRN_LOCK_ATTRIBUTE(requires_capability(lock))

/// std::mutex, for a LockGuard.
class ZRN_LOCK_ATTRIBUTE(capability("mutex")) Mutex {
public:
    void lock() ZRN_LOCK_ATTRIBUTE(acquire_capability()) { m_mutex.lock(); }
    void unlock() ZRN_LOCK_ATTRIBUTE(release_capability()) { m_mutex.unlock(); }

private:
    std::mutex m_mutex;
};

/// Holds a Mutex or a CManualLock for as long as it lives.
template <typename Lock> class ZRN_LOCK_ATTRIBUTE(scoped_lockable) LockGuard {
public:
    explicit LockGuard(Lock& lock) ZRN_LOCK_ATTRIBUTE(acquire_capability(lock)) : m_lock(lock) {
        m_lock.lock();
    }
    ~LockGuard() ZRN_LOCK_ATTRIBUTE(release_capability()) { m_lock.unlock(); }
    LockGuard(const LockGuard&) = delete;
    LockGuard& operator=(const LockGuard&) = delete;

private:
    Lock& m_lock;
};
