#pragma once

#include "Common/Utility/threads/Condition.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/SpaceLimits.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

/// Looks, while a job runs, at what its files take and at what they leave to others. Starts and
/// ends on one thread.
class SpaceWatch {
public:
    /// @param folders  folders of the job's own or in which it makes some: the free space of their file
    ///                 systems is looked at.
    /// @param breached  called once, on the watch's thread, when the job goes beyond the limits.
    SpaceWatch(const SpaceLimits& limits, const std::vector<std::string>& folders,
               std::function<void()> breached);
    /// Ends the watch.
    ~SpaceWatch();
    SpaceWatch(const SpaceWatch&) = delete;
    SpaceWatch& operator=(const SpaceWatch&) = delete;

    /// Looks once at the free space, and if it is enough goes on looking until the end.
    /// @return false, logged, if there is no thread to be had.
    [[nodiscard]] bool start();
    /// Counts all files below a folder to the job. Any thread.
    void count(const std::string& folder);
    /// What to tell the user once the limits don't hold; null while they do. Any thread.
    [[nodiscard]] const char* breach() const { return m_breach; }

private:
    using Clock = std::chrono::steady_clock;
    struct Place {
        std::string folder;
        /// When it was last looked at.
        uint64_t freeBytes = 0;
    };

    void run() noexcept;
    void watch();
    /// @return whether the end has come before the next look is due.
    [[nodiscard]] bool awaitEnd();
    void end();
    /// Each gives a text for the user, or null.
    [[nodiscard]] const char* look();
    [[nodiscard]] const char* lookAtFreeSpace();
    [[nodiscard]] const char* lookAtFiles();

    SpaceLimits m_limits;
    std::vector<Place> m_places;
    std::function<void()> m_breached;
    std::atomic<const char*> m_breach = nullptr;
    /// When the files are counted again.
    Clock::time_point m_nextCount;
    Mutex m_lock;
    std::vector<std::string> m_counted ZRN_GUARDED_BY(m_lock);
    bool m_ended ZRN_GUARDED_BY(m_lock) = false;
    Condition m_end;
    std::thread m_thread;
};
