#include "Common/Utility/log/Log.h"
#include "Common/Utility/ReturnCodes.h"
#include "tools/MERO/MEROOffline/Linux/BackgroundRun.h"
#include "tools/MERO/MEROOffline/Linux/Glib/HandlerGuard.h"
#include "tools/MERO/MEROOffline/Linux/MEROGtkMainWindow.h"
#include "tools/MERO/MEROOffline/Linux/WizardLanguage.h"

#include <utility>

void CMEROGtkMainWindow::startBundleJob() {
    if (m_typicalBundle) {
        startMERO("");
        return;
    }
    // The former request file has to be gone before a new one, which may have the same name, is written.
    m_pReqGenerator.reset();
    m_pReqThread.reset();
    m_pReqGenerator = std::make_shared<GenerateReqXML>(m_relay.get());
    m_pReqThread = BackgroundRun::startOrRun(m_pReqGenerator, m_relay);
}

void CMEROGtkMainWindow::startMERO(const std::string& requestPath) {
    m_pDBusClient.reset();
    giveUpHelperStart();
    m_pHelperStart = std::make_shared<HelperStart>(
        m_relay,
        HelperStart::Job{.requestPath = requestPath,
                         .bundlePath = m_bundlePath,
                         .password = m_password,
                         // What somebody else has put in the request's place is not for the helper either,
                         // which could read it.
                         .isForTheHelper =
                             requestPath.empty() || m_pReqGenerator == nullptr || m_pReqGenerator->isOwn()},
        [relay = m_relay] { relay->post(&onHelperAnsweredIdle); });
    m_pHelperThread = BackgroundRun::start(m_pHelperStart, m_relay);
    if (m_pHelperThread == nullptr) {
        // On this thread the window would be dead for as long as the answer takes.
        m_pHelperStart.reset();
        startDirectly(requestPath);
    }
}

void CMEROGtkMainWindow::giveUpHelperStart() {
    if (m_pHelperStart != nullptr) {
        m_pHelperStart->giveUp();
        m_pHelperStart.reset();
    }
    m_resultWaits = false;
}

gboolean CMEROGtkMainWindow::onHelperAnsweredIdle(gpointer window) {
    runHandler(__func__, [&] { static_cast<CMEROGtkMainWindow*>(window)->takeHelperAnswer(); });
    return G_SOURCE_REMOVE;
}

void CMEROGtkMainWindow::takeHelperAnswer() {
    if (m_pHelperStart == nullptr || !m_pHelperStart->isAnswered()) {
        return; // to a question that was given up for another
    }
    const std::shared_ptr<HelperStart> start = std::exchange(m_pHelperStart, nullptr);
    m_pDBusClient = start->takeClient();
    if (!start->isTaken()) {
        startDirectly(start->requestPath());
    }
    if (std::exchange(m_resultWaits, false)) {
        showResult();
    }
}

void CMEROGtkMainWindow::startDirectly(const std::string& requestPath) {
    showMessageDialog(GTK_MESSAGE_WARNING, translateText(UserText::TitleWarning),
                      translateText(UserText::PartialCollection).c_str());
    ZRN_LOG_FOR("startMERO", 'I', "Start MERO directly without helper...");
    m_pOffline.reset();
    m_pOfflineThread.reset();
    m_pOffline =
        std::make_shared<MEROOffline>(m_relay.get(), requestPath, "", m_bundlePath, m_password, false);
    m_pOfflineThread = BackgroundRun::start(m_pOffline, m_relay);
    if (m_pOfflineThread == nullptr) {
        // On this thread the window would be dead for as long as the job takes.
        updateStatus(nullptr, MEROENGINE_ERROR_INTERNAL);
    }
}
