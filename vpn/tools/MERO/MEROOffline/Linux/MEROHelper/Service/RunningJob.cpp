#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/RunningJob.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/ReturnCodes.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/BackgroundStep.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/JobCompletion.h"

#include <array>
#include <cerrno>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr std::size_t kReadBytes = 16384;

/// A descriptor that is readable once the process has ended, and leaves its reaping to others.
FileDescriptor watchProcess(pid_t pid) {
    FileDescriptor descriptor(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
    if (!descriptor) {
        ZRN_LOG_CODE('E', "pidfd_open", errno);
    }
    return descriptor;
}

} // namespace

RunningJob::RunningJob(AcceptedJob job, Handlers handlers)
    : m_job(std::move(job)), m_handlers(std::move(handlers)) {}

WorkOrder RunningJob::orderOf() const {
    const JobArguments& arguments = m_job.arguments;
    return {.caller = m_job.caller,
            .requestPath = m_job.requestCopy,
            .installPath = arguments.configFolder,
            .bundlePath = arguments.bundlePath,
            .jobFolder = m_job.folder.path(),
            .archivePath = m_job.folder.entry(kArchiveName),
            .password = arguments.bundlePassword,
            .space = m_settings.spaceLimits,
            .service = ::getpid()};
}

bool RunningJob::start(int lock, const ServiceSettings& settings) {
    m_settings = settings;
    if (m_job.isTargetRefused) {
        finish(refusedTarget());
        return true;
    }
    m_worker = WorkerProcess::start(orderOf(), lock, m_settings.leftoverLimit);
    m_job.arguments.bundlePassword.clear();
    if (!m_worker) {
        return false;
    }
    m_workerEnd = watchProcess(m_worker->pid());
    if (!m_workerEnd) {
        m_worker.reset();
        return false;
    }
    m_progressWatch.start(m_worker->progress(), [this] { readProgress(); });
    m_endWatch.start(m_workerEnd.get(), [this] { onWorkerEnd(); });
    m_limit.start(m_settings.jobLimit, [this] {
        ZRN_LOG('E', "The worker takes too long and is ended");
        endWorker(MEROENGINE_ERROR_EXTERN_ACTION_TIMEOUT);
    });
    return true;
}

void RunningJob::abort(const char* reason) {
    if (m_worker) {
        ZRN_LOG('W', "The job is ended: %s", reason);
        endWorker(MEROENGINE_ERROR_INTERNAL);
    }
}

/// What happened first counts.
void RunningJob::endWorker(uint32_t code) {
    if (!m_endedWith) {
        m_endedWith = code;
        m_worker->kill();
        m_limit.start(m_settings.killLimit, [this] {
            ZRN_LOG('E', "The worker doesn't end and is left to itself");
            onWorkerEnd();
        });
    }
}

bool RunningJob::readProgress() {
    std::array<char, kReadBytes> bytes{};
    const ssize_t length = ::read(m_worker->progress(), bytes.data(), bytes.size());
    if (length > 0) {
        m_reader.append({bytes.data(), static_cast<std::size_t>(length)});
        while (const std::optional<ProgressRecord> record = m_reader.next()) {
            take(*record);
        }
    }
    const bool failed = length < 0 && errno != EAGAIN && errno != EINTR;
    if (failed || m_reader.isBroken()) {
        ZRN_LOG('E', "The worker's progress can't be read");
        endWorker(MEROENGINE_ERROR_INTERNAL);
    }
    if (length == 0 || failed || m_reader.isBroken()) {
        m_progressWatch.stop();
        return false;
    }
    return length > 0;
}

void RunningJob::take(const ProgressRecord& record) {
    if (m_told || m_endedWith) {
        return;
    }
    if (record.status == MEROOFFLINE_ERROR_PROCESSING) {
        m_handlers.step(record);
    } else {
        m_told = record;
    }
}

void RunningJob::onWorkerEnd() {
    m_endWatch.stop();
    m_limit.stop();
    // What is in the pipe now is all that there will be.
    while (readProgress()) {
    }
    m_progressWatch.stop();
    // One that was ended may still hang in a call that nothing ends, and is not waited for.
    const bool leftWell = !m_endedWith && m_worker->reap();
    m_worker.reset();
    if (m_endedWith) {
        finish(failedJob(*m_endedWith));
    } else if (!m_told || !leftWell) {
        ZRN_LOG('E', "The worker has ended without an outcome");
        finish(failedJob(MEROENGINE_ERROR_INTERNAL));
    } else {
        finish(*std::move(m_told));
    }
}

void RunningJob::finish(ProgressRecord outcome) {
    const auto job = std::make_shared<AcceptedJob>(std::move(m_job));
    const auto result = std::make_shared<ProgressRecord>(std::move(outcome));
    runInBackground([job, result, settings = m_settings] { *result = completeJob(*job, *result, settings); },
                    [this, result] {
                        // It may end this object, and the handler with it.
                        const auto handler = std::move(m_handlers.end);
                        handler(*result);
                    });
}
