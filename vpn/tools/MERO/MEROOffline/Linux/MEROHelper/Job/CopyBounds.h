#pragma once

#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/FreeSpace.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/SpaceLimits.h"

#include <cstdint>

/// Looks, while a file of a job is copied, at what the copy takes and at what it leaves to others. One
/// thread; a forked child may use it.
class CopyBounds {
public:
    /// Too little would be left free where the copy goes, or the job's files would take too much.
    enum class Breach { None, Space, Size };

    /// @param source  descriptor of the file, the caller's.
    /// @param target  descriptor of the copy, the caller's.
    CopyBounds(const SpaceLimits& limits, int source, int target) noexcept
        : m_limits(limits), m_source(source), m_target(target) {}

    /// Before the first byte: whether the whole copy is within the limits. What the system doesn't
    /// tell is no breach.
    [[nodiscard]] Breach begin() noexcept;
    /// Behind so many more bytes: whether there still is room for the rest. Looks every few mebibytes.
    [[nodiscard]] Breach add(uint64_t bytes) noexcept;

private:
    [[nodiscard]] Breach look() noexcept;

    const SpaceLimits& m_limits;
    int m_source;
    int m_target;
    /// Bytes that are still to be written.
    uint64_t m_rest = 0;
    /// Written since the last look.
    uint64_t m_unseen = 0;
};
