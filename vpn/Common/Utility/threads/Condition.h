#pragma once

#include "Common/Utility/threads/Mutex.h"

#include <chrono>
#include <condition_variable>

/// What threads wait for while others change what a Mutex guards. Any thread.
class Condition {
public:
    /// Has all who wait look again.
    void tellAll() noexcept { m_condition.notify_all(); }
    /// Has one of them look again.
    void tellOne() noexcept { m_condition.notify_one(); }
    /// Gives the lock back until it is told to look again, or without that: look before and after.
    void wait(Mutex& lock) ZRN_REQUIRES(lock) { m_condition.wait(lock); }
    /// Gives the lock back for as long as it waits.
    /// @param holds  called under the lock: whether what is waited for is so.
    /// @return the last that it has given, at the limit at the latest.
    template <typename Predicate>
    [[nodiscard]] bool waitFor(Mutex& lock, std::chrono::milliseconds limit, Predicate holds)
        ZRN_REQUIRES(lock) {
        return m_condition.wait_for(lock, limit, holds);
    }

private:
    std::condition_variable_any m_condition;
};
