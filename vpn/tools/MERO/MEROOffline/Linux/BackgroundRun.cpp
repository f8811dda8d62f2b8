#include "tools/MERO/MEROOffline/Linux/BackgroundRun.h"

#include <atomic>
#include <utility>

namespace {

/// Runs that have started and not ended.
std::atomic<int> g_runsUnderWay{0};

} // namespace

BackgroundRun::BackgroundRun(std::shared_ptr<Runnable> job, std::shared_ptr<void> context)
    : m_job(std::move(job)), m_context(std::move(context)) {}

std::unique_ptr<Thread> BackgroundRun::start(std::shared_ptr<Runnable> job, std::shared_ptr<void> context) {
    std::unique_ptr<BackgroundRun> run(new BackgroundRun(std::move(job), std::move(context)));
    auto thread = std::make_unique<Thread>(run.get());
    ++g_runsUnderWay;
    thread->start();
    if (!thread->isStarted()) {
        --g_runsUnderWay;
        return nullptr;
    }
    // The thread owns the run from here on and may have ended it already.
    static_cast<void>(run.release());
    return thread;
}

std::unique_ptr<Thread> BackgroundRun::startOrRun(const std::shared_ptr<Runnable>& job,
                                                  const std::shared_ptr<void>& context) {
    auto thread = start(job, context);
    if (thread == nullptr) {
        job->run();
    }
    return thread;
}

void BackgroundRun::awaitAll() {
    for (int underWay = g_runsUnderWay; underWay != 0; underWay = g_runsUnderWay) {
        g_runsUnderWay.wait(underWay);
    }
}

bool BackgroundRun::anyUnderWay() {
    return g_runsUnderWay != 0;
}

void BackgroundRun::run() {
    const std::unique_ptr<BackgroundRun> self(this);
    m_job->run();
    m_job.reset();
    m_context.reset();
    // Last, since the process may end as soon as nothing is under way.
    --g_runsUnderWay;
    g_runsUnderWay.notify_all();
}
