#pragma once

#include "Common/Zip/PackProgress.h"

#include <atomic>
#include <cstdint>
#include <string>

/// How far the run of this process is, in files and bytes, for fronts that show more than its reports tell.
/// Any thread.
struct WorkProgress {
    /// Copied into the working folder since the process began.
    std::atomic<uint64_t> filesCopied = 0;
    std::atomic<uint64_t> bytesCopied = 0;
    /// Of the last archive.
    PackProgress packing;
};

/// The one of the process.
[[nodiscard]] WorkProgress& workProgress();
/// Counts a file that was copied.
void countCopied(uint64_t bytes);

/// The text of the step that was reported last in console mode, which prints none of the share 0; empty
/// before the first.
[[nodiscard]] std::string consoleStep();
void setConsoleStep(const std::string& text);
