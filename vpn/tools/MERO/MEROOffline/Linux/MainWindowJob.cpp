#include "BackgroundRun.h"
#include "Log.h"
#include "MEROGtkMainWindow.h"
#include "ReturnCodes.h"
#include "UserTexts.h"

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
    m_pDBusClient = std::make_unique<CDBusClient>(m_relay.get());
    // What somebody else has put in the request's place is not for the helper either, which could read it.
    const bool isRequestOwn = requestPath.empty() || m_pReqGenerator == nullptr || m_pReqGenerator->isOwn();
    if (isRequestOwn && m_pDBusClient->RequestHelperStartMERO(requestPath.c_str(), "", m_bundlePath.c_str(),
                                                              m_password.c_str())) {
        return;
    }
    showMessageDialog(GTK_MESSAGE_WARNING, translateText(userText(UserText::TitleWarning)),
                      translateText(userText(UserText::PartialCollection)).c_str());
    ZRN_LOG('I', "Start MERO directly without helper...");
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
