#include "tools/MERO/MEROOffline/Common/MEROOffline.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/process/Descendants.h"
#include "Common/Utility/ReturnCodes.h"
#include "tools/MERO/MEROEngine/implementations/EngineMessages.h"
#include "tools/MERO/MEROEngine/implementations/MEROEngine.h"
#include "tools/MERO/MEROEngine/implementations/Progress.h"
#include "tools/MERO/MEROEngine/implementations/TidyRun.h"

#include <memory>

namespace {

void reportLostEngine() noexcept {
    try {
        ZRN_LOG_FOR("run", 'E', "The engine could not be started");
        reportProgress(0, kEncounteredError, MEROENGINE_ERROR_INTERNAL);
    } catch (...) {
        // There is no memory to tell it with; the result says so to who asks.
        return;
    }
}

} // namespace

MEROOffline::MEROOffline(CMEROClientIfc* client, const std::string& requestPath, const std::string& configDir,
                         const std::string& bundlePath, std::string_view password, bool clearLogs)
    : m_requestPath(requestPath), m_configDir(configDir), m_bundlePath(bundlePath), m_password(password),
      m_clearLogs(clearLogs) {
    setProgressListener(client);
}

void MEROOffline::run() {
    try {
        // Without it the job goes on all the same: only what a tool leaves running may get away.
        adoptDescendants();
        const auto engine =
            std::make_shared<MEROEngine>(EngineOptions{.requestPath = m_requestPath,
                                                       .installPath = m_configDir,
                                                       .targetPath = m_bundlePath,
                                                       .password = m_password.view(),
                                                       .mode = m_clearLogs ? kModeClearLogs : kModeCollect});
        // The name of a request of the wizard can be guessed.
        engine->setPrivateRequest();
        m_result = runTidily(*engine);
    } catch (...) {
        // The engine guards its own run, so it could not even be made, and has told nobody.
        m_result = MEROENGINE_ERROR_INTERNAL;
        reportLostEngine();
    }
}
