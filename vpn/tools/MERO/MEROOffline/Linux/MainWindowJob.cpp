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
    // A custom bundle needs a request file, and nothing writes one yet.
    ZRN_LOG_CODE_TEXT('E', "GenerateReqXML", MEROENGINE_ERROR_NOT_IMPLEMENTED,
                      "No request can be written for a custom bundle");
    updateStatus(nullptr, MEROENGINE_ERROR_NOT_IMPLEMENTED);
}

void CMEROGtkMainWindow::startMERO(const std::string& requestPath) {
    showMessageDialog(GTK_MESSAGE_WARNING, translateText(userText(UserText::TitleWarning)),
                      translateText(userText(UserText::PartialCollection)).c_str());
    ZRN_LOG('I', "Start MERO directly without helper...");
    m_pOffline.reset();
    m_pOfflineThread.reset();
    m_pOffline =
        std::make_shared<MEROOffline>(m_relay.get(), requestPath, "", m_bundlePath, m_password, false);
    m_pOfflineThread = BackgroundRun::start(m_pOffline, m_relay);
}
