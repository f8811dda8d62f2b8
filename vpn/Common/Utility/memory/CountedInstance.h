#pragma once

#include "Common/Utility/threads/ManualLock.h"
#include "Common/Utility/threads/Mutex.h"

#include <cstdint>
#include <memory>
#include <utility>

/// The counting of a reference-counted singleton: the one instance of a class and its references, under a
/// lock of their own. Any thread. The instance lives as long as it is counted, which may be to the very end
/// of the process.
template <typename T, typename Deleter> class CountedInstance {
public:
    using Handle = std::unique_ptr<T, Deleter>;

    /// The instance with one more reference, or null if there is none.
    [[nodiscard]] T* acquire() {
        const LockGuard guard(m_lock);
        if (m_pInstance != nullptr) {
            ++m_references;
        }
        return m_pInstance;
    }
    /// Makes the instance, with one reference.
    /// @param factory  gives a Handle, which may be null; called under the lock.
    /// @return null if there is one already or the factory gave none.
    template <typename Factory> [[nodiscard]] T* make(Factory factory) {
        const LockGuard guard(m_lock);
        if (m_pInstance != nullptr) {
            return nullptr;
        }
        Handle made = factory();
        m_references = made == nullptr ? 0 : 1;
        m_pInstance = made.release();
        return m_pInstance;
    }
    /// acquire, and make if there is none.
    template <typename Factory> [[nodiscard]] T* acquireOrMake(Factory factory) {
        const LockGuard guard(m_lock);
        T* const found = acquire();
        return found != nullptr ? found : make(std::move(factory));
    }
    /// Drops a reference; the last one deletes the instance. A pointer that is not the instance is deleted at
    /// once.
    void release(T* instance) {
        const LockGuard guard(m_lock);
        Handle released(instance);
        if (instance == nullptr || instance != m_pInstance) {
            return;
        }
        if (--m_references == 0) {
            m_pInstance = nullptr;
        } else {
            static_cast<void>(released.release()); // others still hold it
        }
    }
    [[nodiscard]] uint32_t count() {
        const LockGuard guard(m_lock);
        return m_references;
    }

private:
    CManualLock m_lock;
    T* m_pInstance ZRN_GUARDED_BY(m_lock) = nullptr;
    uint32_t m_references ZRN_GUARDED_BY(m_lock) = 0;
};
