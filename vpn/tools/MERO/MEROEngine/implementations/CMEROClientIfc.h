#pragma once

#include "tools/MERO/MEROEngine/implementations/MEROStatusInfo.h"

#include <cstdint>

/// Receives the status of jobs. Called on whatever thread a status arises, by engine workers under
/// g_progressLock: an implementation must not block and must not report in turn.
class CMEROClientIfc {
public:
    virtual ~CMEROClientIfc() = default;
    /// @param info    progress and text, valid for the call only; may be null.
    /// @param status  a return code: MEROOFFLINE_ERROR_PROCESSING while a step is under way, 0 or a failure
    /// at the end.
    virtual void updateStatus(const MEROStatusInfo* info, uint64_t status) = 0;
};
