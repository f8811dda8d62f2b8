#include "tools/MERO/MEROOffline/Linux/ProgressPage.h"

#include "tools/MERO/MEROEngine/implementations/WorkProgress.h"
#include "tools/MERO/MEROOffline/Linux/Accessibility.h"
#include "tools/MERO/MEROOffline/Linux/Glib/HandlerGuard.h"
#include "tools/MERO/MEROOffline/Linux/Widgets.h"
#include "tools/MERO/MEROOffline/Linux/WizardLanguage.h"

#include <algorithm>
#include <utility>

namespace {

constexpr const char* kText = "labelFileCollected";
/// The share at which packing begins. The bar goes on from there by what has been packed, as far as this
/// process knows: of a helper's archive it knows nothing.
constexpr uint32_t kPackingPercent = 96;
constexpr guint kLookMs = 200;
constexpr std::array kChanging = {"progressBar", kText};

void setShare(double share) {
    if (GtkWidget* bar = LookUpWidget("progressBar", GTK_TYPE_PROGRESS_BAR)) {
        gtk_progress_bar_set_fraction(GTK_PROGRESS_BAR(bar), share);
    }
}

void stopTimer(guint& timer) {
    if (timer != 0) {
        g_source_remove(std::exchange(timer, 0));
    }
}

} // namespace

void ProgressPage::setUp() {
    showText("labelProgressMsg", UserText::ProgressPatience);
    breakWithoutHyphens(kText);
}

void ProgressPage::show(const MEROStatusInfo& info) {
    setShare(info.m_progress / 100.0);
    stopTimer(m_packTimer);
    if (info.m_progress == kPackingPercent) {
        m_packTimer = g_timeout_add(kLookMs, &onTimeToLook, nullptr);
    }
    m_text = shownReport(info.m_message);
    setLabelText(kText, m_text);
    m_isUntold = true;
    if (m_timer == 0) {
        speak();
    }
}

gboolean ProgressPage::onTimeToLook(gpointer /*unused*/) {
    runHandler(__func__, [] {
        const PackProgress& packing = workProgress().packing;
        if (const uint64_t bytes = packing.bytes; bytes > 0) {
            const double part = static_cast<double>(std::min<uint64_t>(packing.bytesDone, bytes)) /
                                static_cast<double>(bytes);
            setShare((kPackingPercent + (100 - kPackingPercent) * part) / 100.0);
        }
    });
    return G_SOURCE_CONTINUE;
}

void ProgressPage::end() {
    stopTimer(m_timer);
    stopTimer(m_packTimer);
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
