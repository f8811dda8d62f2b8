#pragma once

#include "Common/Utility/ReturnCodes.h"
#include "tools/MERO/MEROEngine/implementations/CMEROClientIfc.h"
#include "tools/MERO/MEROEngine/implementations/MEROStatusInfo.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>

/// The engine's reports, and the process-wide state behind them.

/// Good configuration files of the current run.
extern std::atomic<uint32_t> g_configCount;
/// Ended collection tasks plus 1; never reset, so a second run in one process starts
/// with a higher percentage.
extern std::atomic<uint32_t> g_configsDone;
/// Held while a percentage is computed and reported by a worker.
extern std::mutex g_progressLock;
/// Reports go to standard output instead of the listener. Set by a front without a window
/// before a run starts.
extern std::atomic<bool> g_consoleMode;

/// Installs the object that gets the reports; null for none. It must outlive every run.
void setProgressListener(CMEROClientIfc* listener);
[[nodiscard]] CMEROClientIfc* getProgressListener();
/// A copy of the percentage and message last reported.
[[nodiscard]] MEROStatusInfo getProgressState();

/// Sends a status to the listener, or prints it in console mode. A percent of 0 and an empty message leave
/// what was reported last. Any thread.
/// @param code  MEROOFFLINE_ERROR_PROCESSING for a step, 0 for the successful end,
/// MEROENGINE_ERROR_BUNDLE_INCOMPLETE for one whose bundle lacks files, else a final failure.
void reportProgress(int percent, const std::string& message, uint32_t code);

/// True for the codes of runs whose bundle stands at its target, whole or not.
[[nodiscard]] constexpr bool isBundleMade(uint32_t code) {
    return code == 0 || code == MEROENGINE_ERROR_BUNDLE_INCOMPLETE;
}

/// Percentage of a running collection: (configsDone * 92 - 92) / g_configCount as a float, truncated; 0 for
/// no configurations.
[[nodiscard]] int computeProgress(uint32_t configsDone);
