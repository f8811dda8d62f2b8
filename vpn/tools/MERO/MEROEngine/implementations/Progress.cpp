#include "tools/MERO/MEROEngine/implementations/Progress.h"

#include "Common/Utility/ReturnCodes.h"
#include "Common/Utility/threads/Mutex.h"
#include "tools/MERO/MEROEngine/implementations/WorkProgress.h"

#include <cstdio>
#include <memory>

std::atomic<uint32_t> g_configCount{0};
std::atomic<uint32_t> g_configsDone{1};
std::mutex g_progressLock;
std::atomic<bool> g_consoleMode{false};

namespace {

/// The share of the bar that collecting takes; the rest is the archive's.
constexpr int64_t kCollectionPercent = 92;

struct ReportState {
    /// Never held while a listener runs.
    Mutex lock;
    CMEROClientIfc* listener ZRN_GUARDED_BY(lock) = nullptr;
    MEROStatusInfo progress ZRN_GUARDED_BY(lock);
};

/// Never destroyed, because a worker may still report while the process is ending.
ReportState& reportState() {
    static ReportState* const state = std::make_unique<ReportState>().release();
    return *state;
}

void printReport(int percent, const std::string& message, uint32_t code) {
    if (code == MEROOFFLINE_ERROR_PROCESSING && !message.empty()) {
        setConsoleStep(message);
    }
    if (code != MEROOFFLINE_ERROR_PROCESSING) {
        static_cast<void>(std::printf("\r\n%s\r\n", message.c_str()));
    } else if (percent != 0 && !message.empty()) {
        static_cast<void>(std::printf("\r%-90.90s %3d%%", message.c_str(), percent));
    }
    // A console that went away is no reason to end a job, so the results of all three are dropped.
    static_cast<void>(std::fflush(stdout));
}

} // namespace

void setProgressListener(CMEROClientIfc* listener) {
    ReportState& state = reportState();
    const LockGuard guard(state.lock);
    state.listener = listener;
}

CMEROClientIfc* getProgressListener() {
    ReportState& state = reportState();
    const LockGuard guard(state.lock);
    return state.listener;
}

MEROStatusInfo getProgressState() {
    ReportState& state = reportState();
    const LockGuard guard(state.lock);
    return state.progress;
}

void reportProgress(int percent, const std::string& message, uint32_t code) {
    if (g_consoleMode) {
        printReport(percent, message, code);
        return;
    }
    ReportState& state = reportState();
    CMEROClientIfc* listener = nullptr;
    MEROStatusInfo progress;
    {
        const LockGuard guard(state.lock);
        listener = state.listener;
        if (listener == nullptr) {
            return;
        }
        if (percent != 0) {
            state.progress.m_progress = static_cast<uint32_t>(percent);
        }
        if (!message.empty()) {
            state.progress.m_message = message;
        }
        progress = state.progress;
    }
    listener->updateStatus(&progress, code);
}

int computeProgress(uint32_t configsDone) {
    const uint32_t configCount = g_configCount;
    if (configCount == 0) {
        return 0;
    }
    // Single precision on purpose: every front of the suite computes the same steps of the bar.
    const int64_t share = (static_cast<int64_t>(configsDone) * kCollectionPercent) - kCollectionPercent;
    const float quotient = static_cast<float>(share) / static_cast<float>(configCount);
    return static_cast<int>(static_cast<int64_t>(quotient));
}
