#include "Common/Utility/threads/ManualLock.h"

CManualLock::CManualLock(uint32_t /*spinCount*/) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&m_mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

CManualLock::~CManualLock() {
    for (uint64_t held = m_lockCount.load(std::memory_order_relaxed); held > 0; --held) {
        pthread_mutex_unlock(&m_mutex);
    }
    pthread_mutex_destroy(&m_mutex);
}

void CManualLock::Lock() {
    pthread_mutex_lock(&m_mutex);
    m_lockCount.fetch_add(1, std::memory_order_relaxed);
}

bool CManualLock::TryLock() {
    if (pthread_mutex_trylock(&m_mutex) != 0) {
        return false;
    }
    m_lockCount.fetch_add(1, std::memory_order_relaxed);
    return true;
}

uint64_t CManualLock::Unlock() {
    if (m_lockCount.load(std::memory_order_relaxed) == 0) {
        return 0;
    }
    const uint64_t stillHeld = m_lockCount.fetch_sub(1, std::memory_order_relaxed) - 1;
    pthread_mutex_unlock(&m_mutex);
    return stillHeld;
}
