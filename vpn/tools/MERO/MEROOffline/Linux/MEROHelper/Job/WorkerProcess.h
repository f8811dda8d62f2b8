#pragma once

#include "Common/Utility/memory/Handles.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/WorkOrder.h"

#include <chrono>
#include <memory>
#include <sys/types.h>

/// Argument that makes the program a worker.
inline constexpr const char* kWorkerArgument = "--worker";
/// Descriptors that a worker starts with beside the standard ones, which lead nowhere (standard output and
/// standard error are the service's): the order to be read, and the pipe for progress.
inline constexpr int kOrderDescriptor = 3;
inline constexpr int kProgressDescriptor = 4;
/// And the lock of the one running helper, held on to for as long as the worker runs.
inline constexpr int kLockDescriptor = 5;

/// The process of one job: this very program, started anew as a worker. It leads a session and a process
/// group of its own and gets an environment of nothing but PATH and, if this process has them, LANG and the
/// choice of the log; how it goes on is the worker's part. Main thread, on whose end the worker is ended.
class WorkerProcess {
public:
    /// Starts the worker and hands the order over.
    /// @param lock      descriptor of the helper's lock, of which the worker gets a copy; -1 for none.
    /// @param endLimit  how long the destructor waits for the end of the killed worker.
    /// @return null, logged, if that fails; nothing runs then.
    [[nodiscard]] static std::unique_ptr<WorkerProcess> start(const WorkOrder& order, int lock,
                                                              std::chrono::milliseconds endLimit);
    /// Kills the worker's process group and reaps the worker, if it was not reaped. One that still doesn't
    /// end in time, as it waits for a file system, is left, which the log says.
    ~WorkerProcess();
    WorkerProcess(const WorkerProcess&) = delete;
    WorkerProcess& operator=(const WorkerProcess&) = delete;

    [[nodiscard]] pid_t pid() const { return m_pid; }
    /// Readable, doesn't block, at its end when the worker has closed it.
    [[nodiscard]] int progress() const { return m_progress.get(); }
    /// SIGKILL to the worker's process group. Nothing once the worker was reaped.
    void kill() noexcept;
    /// Waits for the worker's end, however long that takes, kills what is left of its group and reaps it.
    /// @return whether it left by itself with status 0; false again for one that was reaped before.
    [[nodiscard]] bool reap() noexcept;

private:
    WorkerProcess(pid_t pid, FileDescriptor progress, std::chrono::milliseconds endLimit);
    void killGroup() const noexcept;

    pid_t m_pid;
    FileDescriptor m_progress;
    std::chrono::milliseconds m_endLimit;
    bool m_reaped = false;
};
