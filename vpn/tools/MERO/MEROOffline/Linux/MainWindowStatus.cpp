#include "Common/Utility/ReturnCodes.h"
#include "tools/MERO/MEROEngine/implementations/EngineMessages.h"
#include "tools/MERO/MEROOffline/Linux/Glib/HandlerGuard.h"
#include "tools/MERO/MEROOffline/Linux/MEROGtkMainWindow.h"
#include "tools/MERO/MEROOffline/Linux/Widgets.h"
#include "tools/MERO/MEROOffline/Linux/WizardLanguage.h"

#include <array>
#include <cstdio>

namespace {

constexpr std::size_t kResultTextBytes = 2048;
constexpr uint32_t kHelperExitDelaySeconds = 3;

CMEROGtkMainWindow& windowOf(gpointer window) {
    return *static_cast<CMEROGtkMainWindow*>(window);
}

/// Whether a failed run has told the user more than its status does.
bool saysWhatToDo(const std::string& message) {
    return message == kTooLittleSpace || message == kTooMuchCollected;
}

void setResultIcon(uint64_t status) {
    switch (status) {
    case 0:
        return setIcon("imageResult", "emblem-ok-symbolic", kStyleSuccess);
    case MEROENGINE_ERROR_BUNDLE_INCOMPLETE:
        return setIcon("imageResult", "dialog-warning-symbolic", kStyleFailure);
    default:
        return setIcon("imageResult", "dialog-error-symbolic", kStyleFailure);
    }
}

} // namespace

GSourceFunc CMEROGtkMainWindow::idleHandlerFor(uint64_t status) {
    static constexpr std::array<GSourceFunc, 3> kHandlers = {&onProgressIdle, &onTreeReadyIdle,
                                                             &onRequestReadyIdle};
    static_assert(MEROOFFLINE_ERROR_XML_CONFIG_PARSE_SUCCESS == MEROOFFLINE_ERROR_PROCESSING + 1 &&
                  MEROOFFLINE_ERROR_XML_REQUEST_GENERATE_SUCCESS == MEROOFFLINE_ERROR_PROCESSING + 2);
    const uint64_t index = status - MEROOFFLINE_ERROR_PROCESSING;
    return index < kHandlers.size() ? kHandlers.at(index) : &onResultIdle;
}

void CMEROGtkMainWindow::updateStatus(const MEROStatusInfo* info, uint64_t status) {
    {
        const std::lock_guard guard(m_statusLock);
        if (info != nullptr && info != &m_statusInfo) {
            m_statusInfo = *info;
        }
        m_status = status;
    }
    g_idle_add(idleHandlerFor(status), this);
}

gboolean CMEROGtkMainWindow::onProgressIdle(gpointer window) {
    runHandler(__func__, [&] { windowOf(window).showProgress(); });
    return G_SOURCE_REMOVE;
}

gboolean CMEROGtkMainWindow::onTreeReadyIdle(gpointer window) {
    runHandler(__func__, [&] {
        const CMEROGtkMainWindow& self = windowOf(window);
        if (self.m_pWindow != nullptr && self.m_pFileSelDlg != nullptr) {
            self.m_pFileSelDlg->populate();
        }
    });
    return G_SOURCE_REMOVE;
}

gboolean CMEROGtkMainWindow::onRequestReadyIdle(gpointer window) {
    runHandler(__func__, [&] {
        CMEROGtkMainWindow& self = windowOf(window);
        self.startMERO(self.m_pReqGenerator == nullptr ? "" : self.m_pReqGenerator->getRequestPath());
    });
    return G_SOURCE_REMOVE;
}

gboolean CMEROGtkMainWindow::onResultIdle(gpointer window) {
    runHandler(__func__, [&] { windowOf(window).showResult(); });
    return G_SOURCE_REMOVE;
}

void CMEROGtkMainWindow::showProgress() {
    MEROStatusInfo info;
    {
        const std::lock_guard guard(m_statusLock);
        info = m_statusInfo;
    }
    if (GtkWidget* bar = LookUpWidget("progressBar", GTK_TYPE_PROGRESS_BAR)) {
        gtk_progress_bar_set_fraction(GTK_PROGRESS_BAR(bar), info.m_progress / 100.0);
    }
    const std::string text = shownReport(info.m_message);
    setLabelText("labelFileCollected", text);
    m_spokenProgress.report(text);
}

void CMEROGtkMainWindow::showResult() {
    if (m_pHelperStart != nullptr) {
        m_resultWaits = true;
        return;
    }
    m_spokenProgress.end();
    changePage(static_cast<uint32_t>(WizardPage::Result));
    uint64_t status = 0;
    std::string message;
    {
        const std::lock_guard guard(m_statusLock);
        status = m_status;
        message = m_statusInfo.m_message;
    }
    setResultIcon(status);
    setLabelText("labelResultMsg", resultText(status, message));
    giveFocus("buttonNext");
    if (m_pDBusClient != nullptr) {
        // A helper that never answered is only logged: after a job in this process there is none as a rule.
        static_cast<void>(m_pDBusClient->RequestHelperExit(kHelperExitDelaySeconds));
    }
}

std::string CMEROGtkMainWindow::successText() const {
    const std::string format = translateText(UserText::ResultSuccess);
    char text[kResultTextBytes];
    std::snprintf(text, sizeof text, format.c_str(), m_bundlePath.c_str());
    return text;
}

// Only the text of success is filled in. The one of a failed write goes out with its placeholder: the
// catalogues of the suite were translated and are checked for that text as it stands.
std::string CMEROGtkMainWindow::resultText(uint64_t status, const std::string& message) const {
    switch (status) {
    case 0:
        return successText();
    case MEROENGINE_ERROR_BUNDLE_INCOMPLETE:
        return successText() + "\n\n" + shownReport(message);
    case MEROENGINE_ERROR_INTERNAL:
        return translateText(UserText::ResultInternalError);
    case MEROENGINE_ERROR_WRITE_FAILURE:
        return saysWhatToDo(message) ? shownReport(message) : translateText(UserText::ResultWriteFailure);
    default:
        return translateText(UserText::ResultUnknownError);
    }
}
