#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <thread>
#include <vector>

/// How many cores this process may use; at least 1.
[[nodiscard]] uint32_t usableCores();

/// Threads that do the same work side by side, as many as the system has up to a number. One thread starts
/// and joins them.
class ThreadGroup {
public:
    ThreadGroup() = default;
    /// Waits for the threads.
    ~ThreadGroup() { join(); }
    ThreadGroup(const ThreadGroup&) = delete;
    ThreadGroup& operator=(const ThreadGroup&) = delete;

    /// Starts threads in a function; those that can't be started are logged.
    /// @param function  in whose name that is logged.
    /// @param body      runs once on each thread, and lets no exception out.
    void start(const char* function, uint32_t count, const std::function<void()>& body);
    /// How many threads have been started.
    [[nodiscard]] std::size_t size() const { return m_threads.size(); }
    /// Waits for the threads' end. May be called again.
    void join();

private:
    std::vector<std::thread> m_threads;
};
