#include "tools/MERO/MEROOffline/Linux/ProgressPage.h"

#include "tools/MERO/MEROOffline/Linux/Accessibility.h"
#include "tools/MERO/MEROOffline/Linux/Glib/HandlerGuard.h"
#include "tools/MERO/MEROOffline/Linux/Widgets.h"
#include "tools/MERO/MEROOffline/Linux/WizardLanguage.h"

#include <utility>

namespace {

constexpr const char* kText = "labelFileCollected";
constexpr std::array kChanging = {"progressBar", kText};

} // namespace

void ProgressPage::setUp() {
    showText("labelProgressMsg", UserText::ProgressPatience);
    breakWithoutHyphens(kText);
}

void ProgressPage::show(const MEROStatusInfo& info) {
    if (GtkWidget* bar = LookUpWidget("progressBar", GTK_TYPE_PROGRESS_BAR)) {
        gtk_progress_bar_set_fraction(GTK_PROGRESS_BAR(bar), info.m_progress / 100.0);
    }
    m_text = shownReport(info.m_message);
    setLabelText(kText, m_text);
    m_isUntold = true;
    if (m_timer == 0) {
        speak();
    }
}

void ProgressPage::end() {
    if (m_timer != 0) {
        g_source_remove(std::exchange(m_timer, 0));
    }
    m_isUntold = false;
    letGo();
}

void ProgressPage::speak() {
    if (m_text != m_announced) {
        m_announced = m_text;
        announce(kText, m_text);
    }
    m_isUntold = false;
    holdBack();
    m_timer = g_timeout_add(static_cast<guint>(m_quiet.count()), &onTimeToSpeak, this);
}

// The share and the text are looked up as they are; only that they have changed is told later.
void ProgressPage::holdBack() {
    for (std::size_t index = 0; index < kChanging.size(); ++index) {
        if (GtkWidget* widget = LookUpWidget(kChanging.at(index))) {
            m_heldBack.at(index) = shareRef(gtk_widget_get_accessible(widget));
            g_object_freeze_notify(G_OBJECT(m_heldBack.at(index).get()));
        }
    }
}

void ProgressPage::letGo() {
    for (GObjectHandle<AtkObject>& object : m_heldBack) {
        // What outlives its widget has nothing more to tell, and could not say what it is asked for then.
        if (object != nullptr && gtk_accessible_get_widget(GTK_ACCESSIBLE(object.get())) != nullptr) {
            g_object_thaw_notify(G_OBJECT(object.get()));
        }
        object.reset();
    }
}

gboolean ProgressPage::onTimeToSpeak(gpointer self) {
    runHandler(__func__, [&] {
        auto& progress = *static_cast<ProgressPage*>(self);
        progress.m_timer = 0;
        progress.letGo();
        if (progress.m_isUntold) {
            progress.speak();
        }
    });
    return G_SOURCE_REMOVE;
}
