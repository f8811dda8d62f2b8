#include "Common/Utility/ReturnCodes.h"
#include "tests/wizard/Contrast.h"
#include "tests/wizard/WizardFixture.h"
#include "tools/MERO/MEROEngine/implementations/WorkProgress.h"

#include <cmath>

namespace {

/// What the bar itself takes below its text.
constexpr int kBarHeight = 10;

class ProgressPage : public Wizard {
protected:
    static bool isSpinning() {
        gboolean active = FALSE;
        g_object_get(LookUpWidget("spinnerProgress", GTK_TYPE_SPINNER), "active", &active, nullptr);
        return active != FALSE;
    }
};

TEST_F(ProgressPage, HasASpinnerThatTurnsWhileTheJobRuns) {
    walkTo(WizardPage::Encryption);
    EXPECT_FALSE(isSpinning());
    click("buttonNext");
    EXPECT_TRUE(isSpinning());
    EXPECT_TRUE(gtk_widget_get_mapped(LookUpWidget("spinnerProgress")));
    m_window->updateStatus(nullptr, MEROOFFLINE_ERROR_PROCESSING);
    settle();
    EXPECT_TRUE(isSpinning());
    m_window->updateStatus(nullptr, 0);
    settle();
    EXPECT_FALSE(isSpinning());
}

TEST_F(ProgressPage, FollowsThePackingBetweenItsTwoReports) {
    walkTo(WizardPage::Progress);
    GtkProgressBar* const bar = GTK_PROGRESS_BAR(LookUpWidget("progressBar"));
    const auto awaitShare = [&](double share) {
        waitUntil([&] { return std::abs(gtk_progress_bar_get_fraction(bar) - share) < 0.0001; });
    };
    PackProgress& packing = workProgress().packing;
    packing.bytesDone = 0;
    packing.bytes = 200;
    const MEROStatusInfo info{.m_progress = 96, .m_message = "Zipping the bundle, please wait..."};
    m_window->updateStatus(&info, MEROOFFLINE_ERROR_PROCESSING);
    awaitShare(0.96);
    packing.bytesDone = 100;
    awaitShare(0.98);
    packing.bytesDone = 250; // what is read twice counts twice
    awaitShare(1.0);
    packing.bytes = 0;
}

TEST_F(ProgressPage, HasAShareThatCanBeReadInEveryLook) {
    walkTo(WizardPage::Progress);
    GtkWidget* const window = LookUpWidget("windowMain");
    GtkWidget* const bar = LookUpWidget("progressBar");
    const MEROStatusInfo info{.m_progress = 58, .m_message = "Processing Network..."};
    m_window->updateStatus(&info, MEROOFFLINE_ERROR_PROCESSING);
    settle();
    for (const Look& look : kLooks) {
        putOn(window, look);
        const GdkRectangle text{0, 0, gtk_widget_get_allocated_width(bar),
                                gtk_widget_get_allocated_height(bar) - kBarHeight};
        ASSERT_GT(text.height, 0);
        EXPECT_GE(contrastOf(window, bar, &text), kLegibleContrast) << nameOf(look);
    }
}

} // namespace
