#pragma once

#include "Common/Utility/threads/ThreadGroup.h"

#include <boost/asio/thread_pool.hpp>
#include <cstdint>
#include <functional>

/// Runs tasks on a pool of threads. Where the system has fewer threads than asked for, those that there are
/// do the work, and without any it is done by whoever waits. One thread makes it, posts and waits.
class WorkerPool {
public:
    /// Starts the threads; those that can't be started are logged.
    explicit WorkerPool(uint32_t threads);
    /// Waits for the tasks under way. Those that have not begun are dropped, unless join has been called.
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    /// How many threads have been started.
    [[nodiscard]] std::size_t threadCount() const { return m_threads.size(); }
    /// @param task  runs once, on any thread of the pool. Lets no exception out.
    void post(std::function<void()> task);
    /// Waits until all tasks have ended. No task may be posted from here on.
    void join();

private:
    /// Without threads of its own: when the system refuses one of those, their constructor waits for the
    /// others for ever.
    boost::asio::thread_pool m_pool{0};
    ThreadGroup m_threads;
};
