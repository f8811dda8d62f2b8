#pragma once

#include "Common/IPC/UserIdentity.h"
#include "Common/Utility/memory/Handles.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/ReaderPlace.h"

#include <chrono>
#include <cstddef>
#include <sys/types.h>

/// What a process does with a user's rights and tells on its standard output, which is a pipe. Between the
/// fork and the process's end another thread may have held any lock: async-signal-safe calls only, and none
/// that takes memory. Descriptors are closed by that end.
class CallerWork {
public:
    CallerWork() = default;
    virtual ~CallerWork() = default;
    CallerWork(const CallerWork&) = delete;
    CallerWork& operator=(const CallerWork&) = delete;

    virtual void run() const noexcept = 0;
};

/// A process that has become a user for good, to look at that user's files: what it can't reach isn't
/// reached. No other process of the user's may look into it, and it holds nothing open of this one's. It is
/// ended and reaped at the latest by the destructor. Where a file system of the user's holds on to it even
/// after it was killed, it is left, and takes its place for that long. One thread at a time.
class CallerProcess {
public:
    using Clock = std::chrono::steady_clock;

    explicit CallerProcess(ReaderPlace place);
    ~CallerProcess() { end(); }
    CallerProcess(const CallerProcess&) = delete;
    CallerProcess& operator=(const CallerProcess&) = delete;

    // Each gives 0 or an errno: EPIPE for a process that has gone too early, ETIMEDOUT at the deadline.

    /// Starts the process and waits until it is the user's. Once.
    [[nodiscard]] int start(const UserIdentity& caller, const CallerWork& work, Clock::time_point deadline);
    /// Takes so many bytes of what it tells.
    [[nodiscard]] int receive(void* bytes, std::size_t sizeBytes, Clock::time_point deadline) const;

private:
    void end() noexcept;

    pid_t m_pid = -1;
    FileDescriptor m_output;
    ReaderPlace m_place;
};

/// Writes all of it to a descriptor that blocks. Async-signal-safe.
/// @return 0 or an errno.
[[nodiscard]] int writeWhole(int descriptor, const void* bytes, std::size_t sizeBytes) noexcept;
