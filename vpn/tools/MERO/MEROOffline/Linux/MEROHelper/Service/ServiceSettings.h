#pragma once

#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/SpaceLimits.h"

#include <chrono>

/// The helper's times and bounds.
struct ServiceSettings {
    /// An authorisation that is not given this long after the call came in is none. The wizard waits for its
    /// answer for 25 seconds.
    std::chrono::milliseconds authorisationLimit = std::chrono::seconds(20);
    /// A worker that takes longer is ended.
    std::chrono::milliseconds jobLimit = std::chrono::minutes(30);
    /// The helper ends after this long without a job.
    std::chrono::milliseconds idleLimit = std::chrono::seconds(60);
    SpaceLimits spaceLimits;
};
