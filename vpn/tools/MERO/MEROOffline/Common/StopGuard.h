#pragma once

#include "Common/Utility/memory/Handles.h"

#include <chrono>
#include <functional>
#include <thread>

/// Sees to it that a process which was asked to stop ends: it waits on a thread of its own for the request,
/// and if the guarded work has not ended within a time from then on, ends it by force and then the process.
class StopGuard {
public:
    struct Plan {
        /// From the request to the end by force.
        std::chrono::milliseconds patience;
        /// Called on the request, on the guard's thread; empty for nothing to do.
        std::function<void()> onStop;
        /// Ends the process, on the guard's thread. Must not return.
        std::function<void()> endProcess;
    };
    /// Without a thread to be had, which is logged, the work ends by itself or not at all.
    explicit StopGuard(Plan plan);
    /// The guarded work has ended. Doesn't return while an end by force is under way.
    ~StopGuard();
    StopGuard(const StopGuard&) = delete;
    StopGuard& operator=(const StopGuard&) = delete;

private:
    void watch() const;
    /// @return whether the work has ended by then; a negative time waits without end for that or `other`.
    [[nodiscard]] bool waitForEnd(int other, int timeoutMs) const;

    Plan m_plan;
    /// Readable once the work has ended: its other end is closed then.
    FileDescriptor m_ended;
    FileDescriptor m_working;
    std::thread m_thread;
};
