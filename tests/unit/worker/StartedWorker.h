#pragma once

#include "tests/support/CapturedLog.h"
#include "tests/support/Pipe.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/ProgressRecord.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/WorkOrder.h"

#include <functional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

/// What became of a job.
struct JobResult {
    /// All that was told, in order.
    std::vector<ProgressRecord> records;
    /// Whether nothing but records came.
    bool wellFormed = false;
    /// Status of the worker's end, as of waitpid.
    int status = -1;
    /// The worker's log.
    std::string log;

    /// The one outcome, which must be the last record; fails the test otherwise.
    [[nodiscard]] ProgressRecord outcome() const;
};

/// A worker in a child process of the test, whose service is the test.
class StartedWorker {
public:
    /// @param log      the test's; gets the worker's lines in the child.
    /// @param prepare  called in the child before it becomes a worker.
    StartedWorker(const WorkOrder& order, const CapturedLog& log, const std::function<void()>& prepare = {});
    /// @param order  bytes that are sent as the order.
    StartedWorker(std::string_view order, const CapturedLog& log, const std::function<void()>& prepare = {});
    /// Kills a worker that was not waited for.
    ~StartedWorker();
    StartedWorker(const StartedWorker&) = delete;
    StartedWorker& operator=(const StartedWorker&) = delete;

    [[nodiscard]] pid_t pid() const { return m_pid; }
    /// Nobody reads what the worker tells from here on.
    void stopListening() { m_progress.reader.reset(); }
    /// Waits for the worker's end.
    [[nodiscard]] JobResult finish();

private:
    void start(int orderPipe, const CapturedLog& log, const std::function<void()>& prepare);

    pid_t m_pid = -1;
    Pipe m_progress;
    Pipe m_log;
};
