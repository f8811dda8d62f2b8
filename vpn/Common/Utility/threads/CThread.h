#pragma once

#include <cstdint>
#include <pthread.h>

/// Body of a CThread.
class IRunnable {
public:
    /// @return the thread's exit code.
    virtual uint32_t Run() = 0;
    virtual ~IRunnable() = default;
    /// A heap copy for a fire-and-forget start; null if the class offers none, as here.
    /// @param argument  what the starter gave; each class says what it makes of it.
    [[nodiscard]] virtual IRunnable* clone(void* argument);
    /// Frees a fire-and-forget copy when its body has ended. Here it only logs that nobody does.
    virtual void Destroy();
};

/// A POSIX thread with return codes, a stack size, an exit code and a fire-and-forget mode.
/// One thread starts it, waits for it and destroys it; only isCurrentThread and exitThread are for the
/// started thread as well. Destroying it while its body runs cancels the thread without waiting for its end,
/// so the runnable must outlive the body all the same.
///
/// A class that wants the fire-and-forget mode derives from this one and overrides Run, clone and Destroy.
class CThread : public IRunnable {
public:
    /// @param returnCodeOut   0, or THREAD_ERROR_BAD_PARAMETER, logged, for a null runnable.
    /// @param runnable        the body; not owned.
    /// @param stackSizeBytes  0 for the system's default.
    CThread(uint32_t& returnCodeOut, IRunnable* runnable, uint32_t stackSizeBytes = 0);
    /// Takes over the body and the stack size only; the copy is not started.
    CThread(const CThread& other);
    CThread& operator=(const CThread&) = delete;
    /// Cancels and lets go of a thread that was started and not waited for. See StaticKill.
    ~CThread() override;

    /// 0: the body is in the runnable.
    uint32_t Run() override;
    /// Null: only a derived class can be started to be forgotten.
    [[nodiscard]] CThread* clone(void* argument) override;

    /// Stack size of the next start; 0 for the system's default.
    void setStackSize(uint32_t stackSizeBytes);
    /// Starts a thread in the runnable's Run.
    /// @return 0, THREAD_ERROR_INVALID_STATE when one is already started, THREAD_ERROR_INVALID_STACK_SIZE or
    /// THREAD_ERROR_CREATE_FAILED. After a failure it may be started again.
    [[nodiscard]] uint32_t Start();
    /// For callers outside of this system: starts a thread in the Run of a copy made by clone(argument), and
    /// calls the copy's Destroy when that has ended. This object is not started by it. When the thread can't
    /// be made the copy is destroyed too.
    /// @return as Start, or THREAD_ERROR_NOT_IMPLEMENTED if clone gives null.
    [[nodiscard]] uint32_t startFireAndForget(void* argument = nullptr);
    /// For callers outside of this system: waits for the end of the thread.
    /// @param exitCodeOut  gets what the body returned; left alone on failure.
    /// @param timeoutMs    -1: only an infinite wait is supported.
    /// @return 0, THREAD_ERROR_INVALID_STATE when none is started, THREAD_ERROR_INVALID_CALLER on the thread
    /// itself, THREAD_ERROR_BAD_PARAMETER for another timeout, or THREAD_ERROR_POSIX_JOIN_FAILED.
    [[nodiscard]] uint32_t WaitForCompletion(uint32_t& exitCodeOut, int32_t timeoutMs = -1);

    /// Whether the caller is the started, or the attached, thread.
    [[nodiscard]] bool isCurrentThread() const;
    /// For callers outside of this system: ends the started thread from within, with an exit code, and
    /// doesn't return there.
    /// @return THREAD_ERROR_INVALID_CALLER on any other thread.
    [[nodiscard]] uint32_t exitThread(uint32_t exitCode);
    /// For callers outside of this system: makes the calling thread the one that isCurrentThread and
    /// exitThread know.
    void attachCurrentThread();
    /// The calling thread.
    [[nodiscard]] static pthread_t getCurrentThreadId();

private:
    using StartRoutine = void* (*)(void*);

    [[nodiscard]] uint32_t createThread(StartRoutine startRoutine, void* argument);
    [[nodiscard]] static uint32_t runBody(IRunnable& runnable);
    static void* invokeRun(void* runnable);
    static void* fireAndForgetEntry(void* copy);
    /// Cancels the thread, unless it is to be forgotten, and detaches it. A thread that has ended by itself
    /// and was not waited for draws the warning of an unexpected end as well if the cancel succeeds.
    static void StaticKill(CThread& thread);

    bool m_bStarted = false;
    /// Not owned.
    IRunnable* m_pRunnable;
    uint32_t m_stackSize;
    bool m_bFireAndForget = false;
    pthread_t m_thread = 0;
};
