#pragma once

#include <pthread.h>

/// A job for a background thread.
class Runnable {
public:
    virtual ~Runnable() = default;
    /// The body. Runs on the thread that was started for it and lets no exception out.
    virtual void run() = 0;
};

/// Plain thread on which the wizard starts its background jobs. Destroying it has no effect on the running
/// thread. One thread starts it, joins it and destroys it.
class Thread {
public:
    /// @param runnable  not owned; must outlive the running thread.
    explicit Thread(Runnable* runnable);
    virtual ~Thread() = default;
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    /// Starts a thread in the runnable's run. A failure to create it is logged; isStarted tells of it.
    void start();
    /// Whether start has made a thread that was not joined yet.
    [[nodiscard]] bool isStarted() const { return m_handle != 0; }
    /// Waits for the thread's end. Returns at once when it was never started, was joined before or is the
    /// caller itself.
    void join();
    /// The calling thread.
    [[nodiscard]] static pthread_t getCurrentThreadId();

private:
    pthread_t m_handle = 0;
    Runnable* m_runnable;
    pthread_t m_id = 0;
};
