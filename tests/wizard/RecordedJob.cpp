#include "tests/wizard/RecordedJob.h"

#include "Common/Utility/ReturnCodes.h"
#include "tools/MERO/MEROEngine/implementations/Progress.h"
#include "tools/MERO/MEROOffline/Common/MEROOffline.h"

#include <condition_variable>
#include <mutex>

namespace {

struct Gate {
    std::mutex lock;
    std::condition_variable changed;
    bool closed = false;
    int waiting = 0;
};

Gate& gate() {
    static Gate instance;
    return instance;
}

} // namespace

std::vector<RecordedJob>& recordedJobs() {
    static std::vector<RecordedJob> jobs;
    return jobs;
}

HeldJobs::HeldJobs() {
    const std::lock_guard guard(gate().lock);
    gate().closed = true;
}

HeldJobs::~HeldJobs() {
    release();
}

void HeldJobs::waitForOne() {
    std::unique_lock lock(gate().lock);
    gate().changed.wait(lock, [] { return gate().waiting > 0; });
}

void HeldJobs::release() {
    std::unique_lock lock(gate().lock);
    gate().closed = false;
    gate().changed.notify_all();
    gate().changed.wait(lock, [] { return gate().waiting == 0; });
}

MEROOffline::MEROOffline(CMEROClientIfc* client, const std::string& requestPath, const std::string& configDir,
                         const std::string& bundlePath, std::string_view password, bool clearLogs)
    : m_requestPath(requestPath), m_configDir(configDir), m_bundlePath(bundlePath), m_password(password),
      m_clearLogs(clearLogs) {
    setProgressListener(client);
    recordedJobs().push_back({requestPath, configDir, bundlePath, std::string(password), m_clearLogs});
}

void MEROOffline::run() {
    CMEROClientIfc* const client = getProgressListener();
    std::unique_lock lock(gate().lock);
    if (!gate().closed) {
        return;
    }
    ++gate().waiting;
    gate().changed.notify_all();
    gate().changed.wait(lock, [] { return !gate().closed; });
    // As a worker that has fetched the listener before it was taken out.
    const MEROStatusInfo late{.m_progress = 77, .m_message = "late " + m_bundlePath};
    client->updateStatus(&late, MEROOFFLINE_ERROR_PROCESSING);
    --gate().waiting;
    gate().changed.notify_all();
}
