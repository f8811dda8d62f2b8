#pragma once

#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/ReaderPlace.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/SpaceLimits.h"

#include <chrono>

/// The helper's times and bounds.
struct ServiceSettings {
    /// A former helper that is being killed needs a moment for its end, and for that of its worker.
    std::chrono::milliseconds lockLimit = std::chrono::seconds(5);
    /// An authorisation that is not given this long after the call came in is none. The wizard waits for its
    /// answer for 25 seconds.
    std::chrono::milliseconds authorisationLimit = std::chrono::seconds(20);
    /// For the caller's request, and for the target as the caller sees it, to be read.
    std::chrono::milliseconds readerLimit = kReaderLimit;
    /// A worker that takes longer is ended.
    std::chrono::milliseconds jobLimit = std::chrono::minutes(30);
    /// A worker that is still there this long after it was killed is left to itself.
    std::chrono::milliseconds killLimit = std::chrono::seconds(10);
    /// For what a job has left running to be gone after it was killed. A file system of the caller's may hold
    /// on to it.
    std::chrono::milliseconds leftoverLimit = std::chrono::seconds(3);
    /// The helper ends after this long without a job.
    std::chrono::milliseconds idleLimit = std::chrono::seconds(60);
    SpaceLimits spaceLimits;
};
