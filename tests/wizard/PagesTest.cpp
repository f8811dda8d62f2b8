#include "Common/Utility/ReturnCodes.h"
#include "tests/wizard/WizardFixture.h"
#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"

#include <gmock/gmock.h>
#include <set>

namespace {

using testing::ElementsAre;

using Pages = Wizard;

constexpr char kPartialCollection[] =
    "MERO will only collect partial diagnostic information. For a complete log "
    "collection, authenticate as an administrator.";

TEST_F(Pages, StartOnTheWelcomePageWithoutBack) {
    open();
    EXPECT_FALSE(m_window->isExitRequested());
    EXPECT_EQ(page(), 0);
    EXPECT_EQ(label("labelHeaderTitle"), "Meroscope (MERO)");
    EXPECT_FALSE(visible("buttonBack"));
    EXPECT_TRUE(sensitive("buttonNext"));
    EXPECT_TRUE(sensitive("buttonCancel"));
    GtkWidget* window = LookUpWidget("windowMain", GTK_TYPE_WINDOW);
    EXPECT_TRUE(gtk_widget_get_mapped(window));
    EXPECT_STREQ(gtk_window_get_title(GTK_WINDOW(window)), "Varnel Corvane - MERO " WIZARD_VERSION);
    EXPECT_EQ(m_log->count('*', ""), 0) << m_log->dump();
}

TEST_F(Pages, StandInAWindowThatGetsItsIconBehindItsFirstPicture) {
    open();
    auto* const window = GTK_WINDOW(LookUpWidget("windowMain", GTK_TYPE_WINDOW));
    const auto sizes = [window] {
        const ListHandle icons(gtk_window_get_icon_list(window));
        std::set<int> all;
        for (const GList* icon = icons.get(); icon != nullptr; icon = icon->next) {
            all.insert(gdk_pixbuf_get_width(GDK_PIXBUF(icon->data)));
        }
        return all;
    };
    waitUntil([&sizes] { return !sizes().empty(); });
    EXPECT_THAT(sizes(), ElementsAre(16, 24, 32, 48, 64, 96, 128));
}

TEST_F(Pages, ShowTheirFixedTexts) {
    open();
    const std::pair<const char*, const char*> texts[] = {
        {"labelButtonBack", "Back"},
        {"labelButtonNext", "Next"},
        {"labelButtonCancel", "Cancel"},
        {"labelMEROIntro", "MERO is a tool that helps to bundle the appropriate log files and diagnostic "
                           "information that can be used for analyzing and debugging the Varnel Corvane."},
        {"labelWizardPurpose",
         "This wizard will guide you through the steps required to create the diagnostic "
         "bundle.  To continue, click Next."},
        {"labelSelectBundleType", "Select a bundle option."},
        {"radiobuttonBundleTypical", "Typical"},
        {"radiobuttonBundleCustom", "Custom"},
        {"labelTypicalOption", "Typical log files and diagnostic information will be included in the bundle. "
                               "(Bundle will be saved to Desktop)"},
        {"labelCustomOption",
         "Choose which log files and diagnostic information to be included in the bundle."},
        {"checkbuttonEncryption", "Enable Bundle Encryption"},
        {"checkbuttonMaskPassword", "Mask Password"},
        {"labelPassword", "Encryption Password"},
        {"labelConfirmPassword", "Confirm Password"},
        {"labelPasswordNotMatch", "Passwords entered do not match"},
        {"labelFileSelect", "Select the files to be collected."},
        {"labelCustomHeader", "Select the files to be collected."},
        {"labelSelectFileLocation", "Select target bundle location."},
        {"labelBrowse", "Browse..."},
        {"labelComment", "Enter any comments for the bundle."},
        {"labelProgressMsg", "Please be patient while MERO is creating the bundle.  This may take several "
                             "minutes..."},
    };
    for (const auto& [id, text] : texts) {
        EXPECT_EQ(label(id), text) << id;
    }
}

TEST_F(Pages, OfTheTypicalWalkLeadToAJobWithoutRequest) {
    open();
    click("buttonNext");
    EXPECT_EQ(page(), 1);
    EXPECT_EQ(label("labelHeaderTitle"), "Bundle Creation Option");
    EXPECT_TRUE(visible("buttonBack"));
    click("buttonNext");
    EXPECT_EQ(page(), 2);
    EXPECT_EQ(label("labelHeaderTitle"), "Bundle Encryption Option");
    click("buttonNext");
    EXPECT_EQ(page(), 3);
    EXPECT_EQ(label("labelHeaderTitle"), "Bundle Creation Progress");
    EXPECT_FALSE(sensitive("buttonBack"));
    EXPECT_FALSE(sensitive("buttonNext"));
    EXPECT_TRUE(sensitive("buttonCancel"));

    ASSERT_EQ(recordedJobs().size(), 1U);
    const RecordedJob& job = recordedJobs().front();
    EXPECT_EQ(job.requestPath, "");
    EXPECT_EQ(job.configDir, "");
    EXPECT_EQ(job.password, "");
    EXPECT_FALSE(job.clearLogs);
    EXPECT_EQ(job.bundlePath, path("Desktop/") + label("labelFileLocation"));
    EXPECT_EQ(m_window->getComments(), "");
}

TEST_F(Pages, WarnThatAJobOfTheirOwnCollectsLess) {
    walkTo(WizardPage::Progress);
    GtkWidget* dialog = messageDialog();
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialogText(), kPartialCollection);
    EXPECT_STREQ(gtk_window_get_title(GTK_WINDOW(dialog)), "Warning");
    EXPECT_TRUE(gtk_window_get_modal(GTK_WINDOW(dialog)));
    EXPECT_TRUE(gtk_window_get_destroy_with_parent(GTK_WINDOW(dialog)));
    EXPECT_EQ(gtk_window_get_transient_for(GTK_WINDOW(dialog)), GTK_WINDOW(LookUpWidget("windowMain")));
    GtkMessageType type{};
    g_object_get(dialog, "message-type", &type, nullptr);
    EXPECT_EQ(type, GTK_MESSAGE_WARNING);
    EXPECT_TRUE(m_log->contains('I', "Start MERO directly without helper...")) << m_log->dump();
    EXPECT_TRUE(m_log->contains('I', "Function: startMERO\n")) << m_log->dump();

    gtk_dialog_response(GTK_DIALOG(dialog), GTK_RESPONSE_OK);
    settle();
    EXPECT_EQ(messageDialog(), nullptr);
}

TEST_F(Pages, OfTheCustomWalkPassFilesAndTarget) {
    open();
    click("buttonNext");
    setActive("radiobuttonBundleCustom", true);
    next();
    EXPECT_EQ(page(), 5);
    EXPECT_EQ(label("labelHeaderTitle"), "File Selection");
    EXPECT_TRUE(sensitive("buttonBack"));
    EXPECT_TRUE(sensitive("buttonNext"));
    GtkWidget* view = gtk_bin_get_child(GTK_BIN(LookUpWidget("scrolledwindowFileSelDlg")));
    ASSERT_TRUE(GTK_IS_TREE_VIEW(view));
    EXPECT_TRUE(gtk_widget_get_mapped(view));
    EXPECT_FALSE(gtk_tree_view_get_headers_visible(GTK_TREE_VIEW(view)));
    click("buttonNext");
    EXPECT_EQ(page(), 6);
    EXPECT_EQ(label("labelHeaderTitle"), "Target Bundle Location and Comments");
    click("buttonNext");
    EXPECT_EQ(page(), 2);
    EXPECT_EQ(m_log->count('*', ""), 0) << m_log->dump();
}

TEST_F(Pages, GoBackAlongTheTypicalWalk) {
    walkTo(WizardPage::Encryption);
    click("buttonBack");
    EXPECT_EQ(page(), 1);
    click("buttonBack");
    EXPECT_EQ(page(), 0);
    EXPECT_FALSE(visible("buttonBack"));
    click("buttonBack");
    EXPECT_EQ(page(), 0);
}

TEST_F(Pages, GoBackAlongTheCustomWalk) {
    walkTo(WizardPage::Encryption, false);
    for (const int expected : {6, 5, 1, 0}) {
        click("buttonBack");
        EXPECT_EQ(page(), expected);
    }
}

TEST_F(Pages, FindTheSameTreeWhenTheyComeBackToIt) {
    walkTo(WizardPage::FileSelection, false);
    GtkWidget* view = gtk_bin_get_child(GTK_BIN(LookUpWidget("scrolledwindowFileSelDlg")));
    click("buttonBack");
    click("buttonNext");
    EXPECT_EQ(page(), 5);
    EXPECT_EQ(gtk_bin_get_child(GTK_BIN(LookUpWidget("scrolledwindowFileSelDlg"))), view);
}

TEST_F(Pages, FollowTheTypicalWalkAfterAChangeOfMind) {
    walkTo(WizardPage::Target, false);
    click("buttonBack");
    click("buttonBack");
    setActive("radiobuttonBundleTypical", true);
    click("buttonNext");
    EXPECT_EQ(page(), 2);
    click("buttonBack");
    EXPECT_EQ(page(), 1);
}

TEST_F(Pages, BundleTypesExcludeEachOther) {
    open();
    EXPECT_TRUE(gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(LookUpWidget("radiobuttonBundleTypical"))));
    setActive("radiobuttonBundleCustom", true);
    EXPECT_FALSE(gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(LookUpWidget("radiobuttonBundleTypical"))));
}

TEST_F(Pages, NextOnTheProgressPageWouldShowTheResultAndBackDoesNothing) {
    walkTo(WizardPage::Progress);
    click("buttonBack");
    EXPECT_EQ(page(), 3);
    click("buttonNext");
    EXPECT_EQ(page(), 4);
}

TEST_F(Pages, ResultOffersNothingButFinish) {
    walkTo(WizardPage::Progress);
    m_window->changePage(4);
    EXPECT_EQ(label("labelHeaderTitle"), "Bundle Creation Result");
    EXPECT_EQ(label("labelButtonNext"), "Finish");
    EXPECT_TRUE(sensitive("buttonNext"));
    EXPECT_FALSE(sensitive("buttonBack"));
    EXPECT_FALSE(sensitive("buttonCancel"));
    click("buttonBack");
    EXPECT_EQ(page(), 4);
    expectQuits([] { click("buttonNext"); });
}

TEST_F(Pages, CancelQuitsWhileAJobRuns) {
    HeldJobs held;
    walkTo(WizardPage::Progress);
    held.waitForOne();
    expectQuits([] { click("buttonCancel"); });
}

TEST_F(Pages, ClosingTheWindowQuits) {
    open();
    expectQuits([] { gtk_window_close(GTK_WINDOW(LookUpWidget("windowMain"))); });
}

TEST_F(Pages, BeyondTheLastAreADeadEnd) {
    open();
    for (const uint32_t number : {7U, 4000000000U}) {
        m_window->changePage(number);
        EXPECT_EQ(page(), 0);
        EXPECT_EQ(label("labelHeaderTitle"), "Meroscope (MERO)");
        click("buttonNext");
        click("buttonBack");
        EXPECT_EQ(page(), 0);
    }
    EXPECT_EQ(m_log->count('*', ""), 0) << m_log->dump();
}

TEST_F(Pages, StayWhenTheBundleTypeCannotBeRead) {
    openWithout("radiobuttonBundleTypical");
    click("buttonNext");
    click("buttonNext");
    EXPECT_EQ(label("labelHeaderTitle"), "Bundle Creation Option");
    EXPECT_EQ(page(), 1);
}

TEST_F(Pages, ChangeInMindOnlyWithoutANotebook) {
    openWithout("notebookPages");
    EXPECT_TRUE(m_log->contains('E', "Failed to load the notebook")) << m_log->dump();
    click("buttonNext");
    EXPECT_EQ(label("labelHeaderTitle"), "Bundle Creation Option");
    EXPECT_EQ(m_log->count('E', "Failed to load the notebook"), 2) << m_log->dump();
}

TEST_F(Pages, EnterIsNextByDefault) {
    open();
    GtkWidget* window = LookUpWidget("windowMain", GTK_TYPE_WINDOW);
    EXPECT_EQ(gtk_window_get_default_widget(GTK_WINDOW(window)), LookUpWidget("buttonNext"));
    gtk_window_activate_default(GTK_WINDOW(window));
    waitUntil([] { return page() == 1; });
}

} // namespace
