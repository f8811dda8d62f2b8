#pragma once

#include "Common/Utility/threads/Thread.h"

#include <memory>

/// One run of a job on a thread of its own. Nobody waits for such a thread, so the run itself keeps what its
/// thread uses: the window may let go of a job, or go away, while the job still runs.
class BackgroundRun final : public Runnable {
public:
    /// Starts the job's run on a new thread.
    /// @param job      kept until its run has returned.
    /// @param context  whatever else the thread uses, kept as long; may be null.
    /// @return the started thread; destroying it has no effect on the run. Null when there is no thread to be
    /// had: the job doesn't run then.
    [[nodiscard]] static std::unique_ptr<Thread> start(std::shared_ptr<Runnable> job,
                                                       std::shared_ptr<void> context);
    /// The same for a job that takes no time to speak of: without a thread it runs on the caller's, before
    /// this returns null.
    [[nodiscard]] static std::unique_ptr<Thread> startOrRun(const std::shared_ptr<Runnable>& job,
                                                            const std::shared_ptr<void>& context);
    /// Waits until every run of the process has come to its end.
    static void awaitAll();
    /// True while any run of the process has not come to its end.
    [[nodiscard]] static bool anyUnderWay();

    /// Called by the started thread, once; destroys this object.
    void run() override;

private:
    BackgroundRun(std::shared_ptr<Runnable> job, std::shared_ptr<void> context);

    std::shared_ptr<Runnable> m_job;
    std::shared_ptr<void> m_context;
};
