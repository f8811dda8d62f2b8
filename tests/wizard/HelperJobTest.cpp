#include "Common/Utility/ReturnCodes.h"
#include "tests/bus/PrivateBus.h"
#include "tests/bus/StandInHelper.h"
#include "tests/wizard/WizardFixture.h"
#include "tools/MERO/MEROOffline/Linux/BackgroundRun.h"

#include <gmock/gmock.h>

namespace {

using Answer = StandInHelper::Answer;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

/// The wizard with a stand-in for the helper, on a bus of the test's own.
class HelperJob : public Wizard {
public:
    ~HelperJob() override {
        // The connection ends before the bus.
        m_window.reset();
        settle();
    }

protected:
    HelperJob() { setEnvironment("DBUS_SYSTEM_BUS_ADDRESS", m_bus.address()); }

    void startHelper(Answer answer = Answer::Taken) {
        m_helper = std::make_unique<StandInHelper>(m_bus.address(), answer);
    }
    /// Walks the typical way with a password.
    void startTypicalJob(const std::string& password) {
        walkTo(WizardPage::Encryption);
        setActive("checkbuttonEncryption", true);
        type("entryPassword", password);
        type("entryConfirmPassword", password);
        click("buttonNext");
        ASSERT_EQ(page(), static_cast<int>(WizardPage::Progress));
    }
    static double fraction() {
        return gtk_progress_bar_get_fraction(GTK_PROGRESS_BAR(LookUpWidget("progressBar")));
    }
    static void waitForLabel(const std::string& text) {
        waitUntil([&text] { return label("labelFileCollected") == text; });
    }
    /// The wizard has warned and does the job itself.
    void expectFallback(const std::string& requestPath, const std::string& password) {
        EXPECT_NE(messageDialog(), nullptr);
        EXPECT_TRUE(m_log->contains('I', "\nStart MERO directly without helper...")) << m_log->dump();
        EXPECT_TRUE(m_log->contains('I', "\nFunction: startMERO\n"));
        ASSERT_EQ(recordedJobs().size(), 1U);
        EXPECT_EQ(recordedJobs().front().requestPath, requestPath);
        EXPECT_EQ(recordedJobs().front().configDir, "");
        EXPECT_EQ(recordedJobs().front().bundlePath, path("Desktop/") + label("labelFileLocation"));
        EXPECT_TRUE(recordedJobs().front().password == password);
    }

    PrivateBus m_bus{path()};
    std::unique_ptr<StandInHelper> m_helper;
};

TEST_F(HelperJob, TakenByTheHelperDoesNotRunHere) {
    startHelper();
    startTypicalJob("S3cret pass");
    EXPECT_EQ(messageDialog(), nullptr);
    EXPECT_THAT(recordedJobs(), IsEmpty());
    ASSERT_EQ(m_helper->starts().size(), 1U);
    EXPECT_THAT(m_helper->starts().front(),
                ElementsAre(Pair("MERORequestDir", ""), Pair("MEROConfigDir", ""),
                            Pair("MEROBundlePath", path("Desktop/") + label("labelFileLocation")),
                            Pair("MEROBundlePassword", "S3cret pass")));
    EXPECT_THAT(m_helper->exits(), IsEmpty());
    EXPECT_EQ(m_log->count('*', ""), 0) << m_log->dump();
}

TEST_F(HelperJob, SendsItsRequestFile) {
    startHelper();
    open();
    startMERO(path("request.xml"));
    ASSERT_EQ(m_helper->starts().size(), 1U);
    EXPECT_THAT(m_helper->starts().front(), testing::Contains(Pair("MERORequestDir", path("request.xml"))));
    EXPECT_THAT(recordedJobs(), IsEmpty());
}

TEST_F(HelperJob, ShowsTheProgressThatTheHelperReports) {
    startHelper();
    walkTo(WizardPage::Progress);
    m_helper->report(MEROOFFLINE_ERROR_PROCESSING, 37, "Processing Network...");
    waitForLabel("Processing Network...");
    EXPECT_EQ(fraction(), 37 / 100.0);
    m_helper->report(MEROOFFLINE_ERROR_PROCESSING, 0, "Processing System...");
    waitForLabel("Processing System...");
    EXPECT_EQ(fraction(), 0.0);
    EXPECT_EQ(page(), static_cast<int>(WizardPage::Progress));
}

TEST_F(HelperJob, BlanksTheLabelForAnEmptyMessage) {
    startHelper();
    walkTo(WizardPage::Progress);
    m_helper->report(MEROOFFLINE_ERROR_PROCESSING, 20, "text");
    waitForLabel("text");
    m_helper->report(MEROOFFLINE_ERROR_PROCESSING, 30, "");
    waitForLabel("");
    EXPECT_EQ(fraction(), 0.3);
}

TEST_F(HelperJob, ShowsItsResultAndEndsTheHelper) {
    startHelper();
    walkTo(WizardPage::Progress);
    m_helper->report(0, 100, "");
    waitUntil([] { return page() == static_cast<int>(WizardPage::Result); });
    EXPECT_EQ(label("labelResultMsg"), "The bundle was created successfully in " + path("Desktop/") +
                                           label("labelFileLocation") + ".");
    EXPECT_THAT(m_helper->exits(), ElementsAre(3U));
    EXPECT_EQ(m_log->count('*', ""), 0) << m_log->dump();
}

TEST_F(HelperJob, ShowsThatItsBundleLacksFiles) {
    startHelper();
    walkTo(WizardPage::Progress);
    m_helper->report(MEROENGINE_ERROR_BUNDLE_INCOMPLETE, 100,
                     "12 files could not be packed, see not-packed.txt");
    waitUntil([] { return page() == static_cast<int>(WizardPage::Result); });
    EXPECT_EQ(label("labelResultMsg"), "The bundle was created successfully in " + path("Desktop/") +
                                           label("labelFileLocation") +
                                           ".\n\n12 files could not be packed, see not-packed.txt");
}

TEST_F(HelperJob, ShowsItsFailureAndEndsTheHelper) {
    startHelper();
    walkTo(WizardPage::Progress);
    m_helper->report(MEROENGINE_ERROR_INTERNAL, 50, "");
    waitUntil([] { return page() == static_cast<int>(WizardPage::Result); });
    EXPECT_EQ(label("labelResultMsg"),
              "An internal error occurred while creating the MERO bundle.  Please try again later.");
    EXPECT_THAT(m_helper->exits(), ElementsAre(3U));
}

TEST_F(HelperJob, ShowsWhatTheHelperSaysOfItsBounds) {
    startHelper();
    walkTo(WizardPage::Progress);
    const std::string told =
        "There is not enough free disk space to create the bundle. Free some space and try again.";
    m_helper->report(MEROENGINE_ERROR_WRITE_FAILURE, 0, told);
    waitUntil([] { return page() == static_cast<int>(WizardPage::Result); });
    EXPECT_EQ(label("labelResultMsg"), told);
}

TEST_F(HelperJob, ShowsAnUnknownErrorForANumberThatIsNoCode) {
    startHelper();
    walkTo(WizardPage::Progress);
    m_helper->report(-1, 50, "");
    waitUntil([] { return page() == static_cast<int>(WizardPage::Result); });
    EXPECT_THAT(label("labelResultMsg"), testing::StartsWith("An unknown error occurred"));
}

TEST_F(HelperJob, RefusedByTheHelperRunsHereWithTheSamePassword) {
    startHelper(Answer::Refused);
    startTypicalJob("S3cret pass");
    expectFallback("", "S3cret pass");
    EXPECT_EQ(m_log->count('W', "\nRemote function returned with error. Please check MERO helper logs for "
                                "more details."),
              1)
        << m_log->dump();
    EXPECT_FALSE(m_log->contains('*', "S3cret pass"));
    EXPECT_EQ(m_helper->starts().size(), 1U);
}

TEST_F(HelperJob, RefusedByTheHelperRunsHereWithTheSameRequest) {
    startHelper(Answer::Refused);
    open();
    startMERO(path("request.xml"));
    EXPECT_THAT(m_helper->starts().at(0), testing::Contains(Pair("MERORequestDir", path("request.xml"))));
    expectFallback(path("request.xml"), "");
}

TEST_F(HelperJob, FailedByTheHelperRunsHere) {
    startHelper(Answer::Error);
    walkTo(WizardPage::Progress);
    expectFallback("", "");
    EXPECT_EQ(m_log->count('E', "\nFailed to invoke remote function. "), 1) << m_log->dump();
}

TEST_F(HelperJob, RunsHereWhenTheHelperDiesOfTheQuestion) {
    startHelper(Answer::Death);
    walkTo(WizardPage::Progress);
    expectFallback("", "");
}

TEST_F(HelperJob, OfItsOwnTriesToEndTheHelperAndOnlyLogsThatThereIsNone) {
    walkTo(WizardPage::Progress);
    expectFallback("", "");
    gtk_dialog_response(GTK_DIALOG(messageDialog()), GTK_RESPONSE_OK);
    m_window->updateStatus(nullptr, 0);
    settle();
    EXPECT_EQ(page(), static_cast<int>(WizardPage::Result));
    EXPECT_TRUE(m_log->contains('E', "\nFunction: RequestHelperExit\n")) << m_log->dump();
    EXPECT_EQ(m_log->count('E', "\nFailed to invoke remote function. "), 2) << m_log->dump();
    EXPECT_EQ(messageDialog(), nullptr);
}

TEST_F(HelperJob, OfItsOwnStillEndsAHelperThatRefused) {
    startHelper(Answer::Refused);
    walkTo(WizardPage::Progress);
    m_window->updateStatus(nullptr, 0);
    settle();
    EXPECT_THAT(m_helper->exits(), ElementsAre(3U));
}

TEST_F(HelperJob, WithoutABusRunsHereAndEndsAsUsual) {
    m_bus.stop();
    walkTo(WizardPage::Progress);
    expectFallback("", "");
    EXPECT_EQ(m_log->count('E', "\nFailed to connect to DBus. "), 1) << m_log->dump();
    m_window->updateStatus(nullptr, 0);
    settle();
    EXPECT_EQ(page(), static_cast<int>(WizardPage::Result));
}

TEST_F(HelperJob, StaysOnItsPageWhenTheHelperDiesUntilCancel) {
    startHelper();
    walkTo(WizardPage::Progress);
    m_helper->report(MEROOFFLINE_ERROR_PROCESSING, 60, "last words");
    waitForLabel("last words");
    m_helper.reset();
    // A name with a new owner is announced on the same connection as the loss of the former one.
    startHelper();
    m_helper->report(MEROOFFLINE_ERROR_PROCESSING, 61, "another");
    waitForLabel("another");
    EXPECT_EQ(page(), static_cast<int>(WizardPage::Progress));
    EXPECT_TRUE(sensitive("buttonCancel"));
    EXPECT_EQ(messageDialog(), nullptr);
    EXPECT_THAT(recordedJobs(), IsEmpty());
    m_helper.reset();
    expectQuits([] { click("buttonCancel"); });
    EXPECT_EQ(m_log->count('*', ""), 0) << m_log->dump();
}

TEST_F(HelperJob, StaysOnItsPageWhenTheBusDiesUntilCancel) {
    startHelper();
    walkTo(WizardPage::Progress);
    const auto connection = adoptRef(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
    ASSERT_NE(connection, nullptr);
    m_bus.stop();
    waitUntil([&] { return g_dbus_connection_is_closed(connection.get()) != FALSE; });
    settle();
    EXPECT_EQ(page(), static_cast<int>(WizardPage::Progress));
    expectQuits([] { click("buttonCancel"); });
}

TEST_F(HelperJob, CancelledTellsTheHelperNothing) {
    startHelper();
    walkTo(WizardPage::Progress);
    expectQuits([] { click("buttonCancel"); });
    m_window.reset();
    settle();
    EXPECT_THAT(m_helper->exits(), IsEmpty());
}

TEST_F(HelperJob, AfterAnotherIsReportedOnce) {
    startHelper();
    walkTo(WizardPage::Progress);
    startMERO(path("second.xml"));
    EXPECT_EQ(m_helper->starts().size(), 2U);
    m_helper->report(0, 100, "end");
    waitUntil([] { return page() == static_cast<int>(WizardPage::Result); });
    settle();
    EXPECT_THAT(m_helper->exits(), ElementsAre(3U));
}

TEST_F(HelperJob, ReportedAfterTheWindowsEndGoesNowhere) {
    startHelper();
    walkTo(WizardPage::Progress);
    m_window.reset();
    m_helper->report(0, 100, "late");
    settle();
    open();
    startMERO("");
    m_helper->report(MEROOFFLINE_ERROR_PROCESSING, 5, "new window");
    waitForLabel("new window");
}

/// The helper, or whoever it asks, takes its time.
class SlowHelper : public HelperJob {
protected:
    /// Leaves the encryption page, and returns when the helper was asked.
    void ask() {
        walkTo(WizardPage::Encryption);
        gtk_button_clicked(GTK_BUTTON(LookUpWidget("buttonNext")));
        waitUntil([this] { return m_helper->starts().size() == 1; });
        EXPECT_TRUE(m_window->isAskingHelper());
    }
};

TEST_F(SlowHelper, LeavesTheProgressPageAlive) {
    startHelper(Answer::None);
    ask();
    EXPECT_EQ(page(), static_cast<int>(WizardPage::Progress));
    EXPECT_EQ(label("labelHeaderTitle"), "Bundle Creation Progress");
    bool isPainted = false;
    g_signal_connect(LookUpWidget("progressBar"), "draw",
                     G_CALLBACK(+[](GtkWidget* /*bar*/, cairo_t* /*cairo*/, gpointer painted) -> gboolean {
                         *static_cast<bool*>(painted) = true;
                         return FALSE;
                     }),
                     &isPainted);
    gtk_widget_queue_draw(LookUpWidget("progressBar"));
    waitUntil([&] { return isPainted; });
    EXPECT_TRUE(m_window->isAskingHelper());
    // Nor has the question come to its end meanwhile.
    EXPECT_EQ(m_log->count('*', ""), 0) << m_log->dump();
    EXPECT_EQ(messageDialog(), nullptr);
    EXPECT_THAT(recordedJobs(), IsEmpty());
    EXPECT_TRUE(sensitive("buttonCancel"));
    expectQuits([] { gtk_button_clicked(GTK_BUTTON(LookUpWidget("buttonCancel"))); });
}

TEST_F(SlowHelper, IsNoLongerAskedOnceTheWindowHasGone) {
    startHelper(Answer::None);
    ask();
    EXPECT_TRUE(BackgroundRun::anyUnderWay());
    m_window.reset();
    BackgroundRun::awaitAll();
    EXPECT_THAT(recordedJobs(), IsEmpty());
    EXPECT_EQ(m_log->count('*', ""), 0) << m_log->dump();
}

TEST_F(SlowHelper, HasItsResultShownBehindItsAnswer) {
    startHelper();
    m_helper->reportBeforeAnswer(0, 100, "");
    walkTo(WizardPage::Encryption);
    click("buttonNext");
    waitUntil([] { return page() == static_cast<int>(WizardPage::Result); });
    EXPECT_THAT(m_helper->exits(), ElementsAre(3U));
}

TEST_F(SlowHelper, WhoseResultOvertakesItsAnswerIsAskedToEnd) {
    startHelper(Answer::None);
    ask();
    m_window->updateStatus(nullptr, 0);
    settle();
    EXPECT_EQ(page(), static_cast<int>(WizardPage::Progress));
    m_helper.reset();
    awaitHelper();
    settle();
    EXPECT_EQ(page(), static_cast<int>(WizardPage::Result));
}

} // namespace
