#pragma once

#include "Common/Utility/memory/Handles.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/ProgressRecord.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/WorkerProcess.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/AcceptedJob.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/DescriptorWatch.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/ServiceSettings.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/Timer.h"

#include <functional>
#include <memory>
#include <optional>

/// A job from the start of its worker to the end of all that it has left. Main thread.
class RunningJob {
public:
    struct Handlers {
        /// A step of the worker.
        std::function<void(const ProgressRecord&)> step;
        /// Called once, as the last thing, when nothing of the job is there any more but the bundle: the
        /// outcome. May end this object.
        std::function<void(const ProgressRecord&)> end;
    };

    RunningJob(AcceptedJob job, Handlers handlers);
    /// Once started it must stay until its end.
    ~RunningJob() = default;
    RunningJob(const RunningJob&) = delete;
    RunningJob& operator=(const RunningJob&) = delete;

    /// One whose target was refused only ends.
    /// @param lock  kept open by the worker, so that it is held as long as anything of the job runs.
    /// @return false, logged, if there is no worker: then there will be no end either.
    [[nodiscard]] bool start(int lock, const ServiceSettings& settings);
    /// Ends the worker; no bundle is published unless that is under way already.
    void abort(const char* reason);

private:
    [[nodiscard]] WorkOrder orderOf() const;
    /// @return whether there may be more to read.
    bool readProgress();
    void take(const ProgressRecord& record);
    void endWorker(uint32_t code);
    void onWorkerEnd();
    void finish(ProgressRecord outcome);

    AcceptedJob m_job;
    Handlers m_handlers;
    ServiceSettings m_settings;
    std::unique_ptr<WorkerProcess> m_worker;
    /// Readable once the worker has ended.
    FileDescriptor m_workerEnd;
    ProgressReader m_reader;
    /// What the worker has told, if it has told an outcome.
    std::optional<ProgressRecord> m_told;
    /// Why the worker was ended, if it was.
    std::optional<uint32_t> m_endedWith;
    DescriptorWatch m_progressWatch;
    DescriptorWatch m_endWatch;
    Timer m_limit;
};
