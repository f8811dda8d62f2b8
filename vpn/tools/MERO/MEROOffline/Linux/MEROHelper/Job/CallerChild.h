#pragma once

#include "Common/IPC/UserIdentity.h"
#include "Common/Utility/memory/Handles.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/ReaderPlace.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <sys/types.h>

/// What a process does with a user's rights and tells on its standard output, which is a pipe. Between the
/// fork and the process's end another thread may have held any lock: async-signal-safe calls only, and none
/// that takes memory. Descriptors are closed by that end.
class CallerWork {
public:
    /// @param kept  the one descriptor of ours that the process gets to see, behind the standard ones, where
    /// it stays the caller's; -1 for none.
    explicit CallerWork(int kept = -1) : m_kept(kept) {}
    virtual ~CallerWork() = default;
    CallerWork(const CallerWork&) = delete;
    CallerWork& operator=(const CallerWork&) = delete;

    virtual void run() const noexcept = 0;
    [[nodiscard]] int kept() const noexcept { return m_kept; }

private:
    int m_kept;
};

/// A process that has become a user for good, to do what that user could do: what it can't reach isn't
/// reached. No other process of the user's may look into it, it holds nothing open of this one's but what its
/// work keeps, a file that grows to a limit of its size is a failed write there, and it ends with the thread
/// that has started it. It is ended and reaped at the latest by the destructor. Where a file system of the
/// user's holds on to it even after it was killed, it is left, reaped when it does end, and takes its place
/// for that long. One thread at a time.
class CallerChild {
public:
    using Clock = std::chrono::steady_clock;

    /// For a killed process to be gone.
    static constexpr std::chrono::milliseconds kEndLimit{500};

    /// Why there is no process that works: the call that has failed and its errno, or no call and EPIPE for a
    /// process that has gone too early or ETIMEDOUT at the deadline.
    struct Failure {
        const char* call = nullptr;
        int error = 0;
    };

    /// @param place     for one that reads for a user, of whom it takes the place; none for a writer.
    /// @param endLimit  how long the destructor waits for the end of the killed process.
    explicit CallerChild(std::optional<ReaderPlace> place, Clock::duration endLimit = kEndLimit);
    ~CallerChild() { end(); }
    CallerChild(const CallerChild&) = delete;
    CallerChild& operator=(const CallerChild&) = delete;

    /// Starts the process and waits until it is the user's. Once.
    /// @return nothing for success.
    [[nodiscard]] std::optional<Failure> start(const UserIdentity& caller, const CallerWork& work,
                                               Clock::time_point deadline);
    /// Takes so many bytes of what it tells, which is no more to be trusted than any other word of a process
    /// of the user's.
    /// @return 0 or an errno: EPIPE for a process that has gone too early, ETIMEDOUT at the deadline.
    [[nodiscard]] int receive(void* bytes, std::size_t sizeBytes, Clock::time_point deadline) const;

private:
    void end() noexcept;

    pid_t m_pid = -1;
    FileDescriptor m_output;
    std::optional<ReaderPlace> m_place;
    Clock::duration m_endLimit;
};
