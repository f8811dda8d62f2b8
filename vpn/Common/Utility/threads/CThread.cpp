#include "Common/Utility/threads/CThread.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/ReturnCodes.h"

#include <cxxabi.h>
#include <exception>
#include <memory>

namespace {

/// Log lines have a place for the system's id of a thread, which POSIX doesn't give out.
constexpr int kNoSystemId = 0;

/// Attributes of a thread to be made.
class ThreadAttributes {
public:
    ThreadAttributes() { ::pthread_attr_init(&m_attributes); }
    ~ThreadAttributes() { ::pthread_attr_destroy(&m_attributes); }
    ThreadAttributes(const ThreadAttributes&) = delete;
    ThreadAttributes& operator=(const ThreadAttributes&) = delete;

    [[nodiscard]] bool setStackSize(uint32_t stackSizeBytes) {
        return ::pthread_attr_setstacksize(&m_attributes, stackSizeBytes) == 0;
    }
    [[nodiscard]] const pthread_attr_t* get() const { return &m_attributes; }

private:
    pthread_attr_t m_attributes{};
};

// Exit codes travel through the pointer that a thread's body returns.
void* toExitValue(uint32_t exitCode) {
    return reinterpret_cast<void*>(static_cast<uintptr_t>(exitCode));
}

uint32_t fromExitValue(void* exitValue) {
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(exitValue));
}

} // namespace

IRunnable* IRunnable::clone(void* /*argument*/) {
    return nullptr;
}

void IRunnable::Destroy() {
    ZRN_LOG('E', "IRunnable::Destroy not Implemented");
}

CThread::CThread(uint32_t& returnCodeOut, IRunnable* runnable, uint32_t stackSizeBytes)
    : m_pRunnable(runnable), m_stackSize(stackSizeBytes) {
    returnCodeOut = 0;
    if (runnable == nullptr) {
        ZRN_LOG('E', "IRunnable is NULL");
        returnCodeOut = THREAD_ERROR_BAD_PARAMETER;
    }
}

CThread::CThread(const CThread& other) // NOLINT(bugprone-copy-constructor-init): the base has no fields
    : m_pRunnable(other.m_pRunnable), m_stackSize(other.m_stackSize) {}

CThread::~CThread() {
    StaticKill(*this);
}

uint32_t CThread::Run() {
    return 0;
}

CThread* CThread::clone(void* /*argument*/) {
    return nullptr;
}

void CThread::setStackSize(uint32_t stackSizeBytes) {
    m_stackSize = stackSizeBytes;
}

uint32_t CThread::Start() {
    if (m_pRunnable == nullptr) {
        return THREAD_ERROR_BAD_PARAMETER;
    }
    return createThread(invokeRun, m_pRunnable);
}

uint32_t CThread::startFireAndForget(void* argument) {
    if (m_bStarted) {
        return THREAD_ERROR_INVALID_STATE;
    }
    CThread* const copy = clone(argument);
    if (copy == nullptr) {
        return THREAD_ERROR_NOT_IMPLEMENTED;
    }
    copy->m_bFireAndForget = true;
    const uint32_t code = copy->createThread(fireAndForgetEntry, copy);
    if (code != 0) {
        // No body will run, so nobody else frees the copy.
        copy->Destroy();
    }
    return code;
}

uint32_t CThread::createThread(StartRoutine startRoutine, void* argument) {
    if (m_bStarted) {
        return THREAD_ERROR_INVALID_STATE;
    }
    m_bStarted = true;
    ThreadAttributes attributes;
    if (m_stackSize != 0 && !attributes.setStackSize(m_stackSize)) {
        m_bStarted = false;
        ZRN_LOG('E', "Invalid stack size");
        return THREAD_ERROR_INVALID_STACK_SIZE;
    }
    // A forgotten copy may be gone before the line below is written, so nothing of it is looked at any more.
    const char* const forgotten = m_bFireAndForget ? "YES" : "NO";
    const int failure = ::pthread_create(&m_thread, attributes.get(), startRoutine, argument);
    if (failure != 0) {
        m_bStarted = false;
        ZRN_LOG_CODE('E', "pthread_create", failure);
        return THREAD_ERROR_CREATE_FAILED;
    }
    ZRN_LOG('I',
            "A thread has been successfully created, Reference: '%p', System ID: '%d', "
            "Fire and Forget: '%s'",
            static_cast<void*>(this), kNoSystemId, forgotten);
    return 0;
}

// The runtime has no object to bind to the reference to a forced unwinding, and nothing looks at it.
__attribute__((no_sanitize("null"))) uint32_t CThread::runBody(IRunnable& runnable) {
    try {
        return runnable.Run();
    } catch (const abi::__forced_unwind&) {
        // The way in which a cancelled or exiting thread leaves; it must go on.
        throw;
    } catch (const std::exception& failure) {
        ZRN_LOG('E', "The body of a thread ended in an exception: %s", failure.what());
    } catch (...) {
        ZRN_LOG('E', "The body of a thread ended in an exception of an unknown kind");
    }
    return THREAD_ERROR_UNEXPECTED;
}

void* CThread::invokeRun(void* runnable) {
    const uint32_t code = runBody(*static_cast<IRunnable*>(runnable));
    if (code != 0) {
        ZRN_LOG_CODE('E', "IRunnable::Run", code);
    }
    return toExitValue(code);
}

void* CThread::fireAndForgetEntry(void* copy) {
    auto* const thread = static_cast<CThread*>(copy);
    void* const exitValue = invokeRun(static_cast<IRunnable*>(thread));
    thread->Destroy();
    return exitValue;
}

uint32_t CThread::WaitForCompletion(uint32_t& exitCodeOut, int32_t timeoutMs) {
    if (!m_bStarted) {
        return THREAD_ERROR_INVALID_STATE;
    }
    if (isCurrentThread()) {
        ZRN_LOG('E', "Thread attempting to wait for completion of itself, Reference: '%p', System ID: '%d'",
                static_cast<void*>(this), kNoSystemId);
        return THREAD_ERROR_INVALID_CALLER;
    }
    if (timeoutMs != -1) {
        return THREAD_ERROR_BAD_PARAMETER;
    }
    void* exitValue = nullptr;
    const int failure = ::pthread_join(m_thread, &exitValue);
    if (failure != 0) {
        ZRN_LOG_CODE('E', "pthread_join", failure);
        return THREAD_ERROR_POSIX_JOIN_FAILED;
    }
    exitCodeOut = fromExitValue(exitValue);
    m_bStarted = false;
    ZRN_LOG('I', "Thread has successfully completed execution, Reference: '%p', System ID: '%d'",
            static_cast<void*>(this), kNoSystemId);
    return 0;
}

bool CThread::isCurrentThread() const {
    return ::pthread_equal(::pthread_self(), m_thread) != 0;
}

uint32_t CThread::exitThread(uint32_t exitCode) {
    if (!isCurrentThread()) {
        return THREAD_ERROR_INVALID_CALLER;
    }
    ::pthread_exit(toExitValue(exitCode));
}

void CThread::attachCurrentThread() {
    m_thread = ::pthread_self();
}

pthread_t CThread::getCurrentThreadId() {
    return ::pthread_self();
}

void CThread::StaticKill(CThread& thread) {
    if (!thread.m_bStarted) {
        return;
    }
    if (!thread.m_bFireAndForget && ::pthread_cancel(thread.m_thread) == 0) {
        ZRN_LOG('W', "Terminated unexpectedly running thread, Reference: '%p'", static_cast<void*>(&thread));
    }
    ::pthread_detach(thread.m_thread);
    thread.m_bStarted = false;
    thread.m_thread = 0;
}
