#pragma once

#include "Common/Utility/threads/Condition.h"
#include "Common/Utility/threads/Mutex.h"
#include "tools/MERO/MEROEngine/implementations/WorkProgress.h"

#include <chrono>
#include <cstddef>
#include <string>
#include <thread>

/// What a job is at, for one line of a terminal: its step, files and bytes done, and while it packs also of
/// how many, the rate and the time that is left. What doesn't fit is left out, the least important first.
/// @param step     text of the step.
/// @param packing  how long the packing has lasted so far.
/// @param columns  of the terminal; a line has one less, so that it never goes over to the next.
[[nodiscard]] std::string progressText(const std::string& step, const WorkProgress& work,
                                       std::chrono::milliseconds packing, std::size_t columns);

/// Shows on standard error, for as long as it lives, what the job of this process is at, and takes that off
/// the terminal in the end. Shows nothing where standard error is no terminal, and nothing of a job that is
/// done within a moment. On the main thread.
class ProgressLine {
public:
    /// @param isWanted  whether there is to be a line at all.
    explicit ProgressLine(bool isWanted);
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

private:
    void run();
    void paint(std::chrono::milliseconds packing);

    Mutex m_lock;
    Condition m_isOverChanged;
    bool m_isOver ZRN_GUARDED_BY(m_lock) = false;
    bool m_isPainted = false;
    std::thread m_thread;
};
