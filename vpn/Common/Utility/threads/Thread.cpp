#include "Common/Utility/threads/Thread.h"

#include "Common/Utility/log/Log.h"

#include <cxxabi.h>
#include <exception>

namespace {

// The runtime has no object to bind to the reference to a forced unwinding, and nothing looks at it.
__attribute__((no_sanitize("null"))) void* threadEntry(void* runnable) {
    try {
        static_cast<Runnable*>(runnable)->run();
    } catch (const abi::__forced_unwind&) {
        // The way in which a cancelled thread leaves; it must go on.
        throw;
    } catch (const std::exception& failure) {
        ZRN_LOG('E', "The job of a thread ended in an exception: %s", failure.what());
    } catch (...) {
        ZRN_LOG('E', "The job of a thread ended in an exception of an unknown kind");
    }
    return nullptr;
}

} // namespace

Thread::Thread(Runnable* runnable) : m_runnable(runnable) {}

void Thread::start() {
    // The new thread may ask for its own handle, which therefore goes straight into the field.
    const int failure = ::pthread_create(&m_handle, nullptr, threadEntry, m_runnable);
    if (failure != 0) {
        ZRN_LOG_CODE('E', "pthread_create", failure);
        // The field may hold anything now; join must not wait for it.
        m_handle = 0;
    }
    m_id = m_handle;
}

void Thread::join() {
    if (m_handle == 0 || ::pthread_equal(m_handle, ::pthread_self()) != 0) {
        return;
    }
    // A thread can be joined once; whoever asks again finds it ended.
    ::pthread_join(m_handle, nullptr);
    m_handle = 0;
}

pthread_t Thread::getCurrentThreadId() {
    return ::pthread_self();
}
