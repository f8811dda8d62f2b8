#include "BuildVersion.h"
#include "tools/MERO/MEROOffline/Linux/BundleTypePage.h"
#include "tools/MERO/MEROOffline/Linux/Glib/HandlerGuard.h"
#include "tools/MERO/MEROOffline/Linux/Mark.h"
#include "tools/MERO/MEROOffline/Linux/MEROGtkMainWindow.h"
#include "tools/MERO/MEROOffline/Linux/ResultPage.h"
#include "tools/MERO/MEROOffline/Linux/Widgets.h"
#include "tools/MERO/MEROOffline/Linux/WindowGrowth.h"
#include "tools/MERO/MEROOffline/Linux/WizardLanguage.h"

// The window's part that sets up what stands on it and on its pages.

void CMEROGtkMainWindow::setUpWidgets() {
    const std::string title = translateText(UserText::WindowTitle) + " " + kBuildVersion;
    gtk_window_set_title(GTK_WINDOW(m_pWindow), title.c_str());
    setUpNavigation(m_pWindow, G_CALLBACK(&onNextClicked), G_CALLBACK(&onBackClicked), this);
    showMark("imageHeader", m_programFolder);
    widenWithText(GTK_WINDOW(m_pWindow));
    for (uint32_t page = 0; page <= static_cast<uint32_t>(WizardPage::Target); ++page) {
        if (!isPagePostponed(page)) {
            setUpPage(page);
        }
    }
    setMarkLater();
}

void CMEROGtkMainWindow::setUpPage(uint32_t page) {
    // While one is set up, a widget that it lacks is looked for on the others, which are built for that.
    if (!m_pagesSetUp.insert(page).second) {
        return;
    }
    switch (static_cast<WizardPage>(page)) {
    case WizardPage::Welcome:
        showMark("imageWelcome", m_programFolder);
        showText("labelMEROIntro", UserText::Intro);
        showText("labelWizardPurpose", UserText::WizardPurpose);
        break;
    case WizardPage::BundleType:
        BundleTypePage::setUp();
        break;
    case WizardPage::Encryption:
        m_encryptionPage.setUp([this] { onNextClicked(nullptr, this); });
        break;
    case WizardPage::Progress:
        ProgressPage::setUp();
        break;
    case WizardPage::Result:
        ResultPage::setUp();
        break;
    case WizardPage::FileSelection:
        showText("labelFileSelect", UserText::SelectFiles);
        showText("labelCustomHeader", UserText::SelectFiles);
        break;
    case WizardPage::Target:
        m_targetPage.setUp();
        break;
    }
}

/// Reading all of its sizes takes a tenth of the time in which the window comes to the screen.
void CMEROGtkMainWindow::setMarkLater() {
    g_idle_add_full(
        G_PRIORITY_LOW,
        [](gpointer window) -> gboolean {
            runHandler("setMarkLater", [&] {
                const CMEROGtkMainWindow& self = *static_cast<CMEROGtkMainWindow*>(window);
                setWindowMark(GTK_WINDOW(self.m_pWindow), self.m_programFolder);
            });
            return G_SOURCE_REMOVE;
        },
        this, nullptr);
}
