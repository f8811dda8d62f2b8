#include "Common/Utility/ReturnCodes.h"
#include "tests/wizard/WizardFixture.h"
#include "tools/MERO/MEROEngine/implementations/Progress.h"

#include <gmock/gmock.h>
#include <thread>

using ::testing::AllOf;
using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace {

/// Keeps what a label shows, one text after the other.
class LabelTexts {
public:
    explicit LabelTexts(const char* id)
        : m_label(LookUpWidget(id, GTK_TYPE_LABEL)),
          m_handler(g_signal_connect(m_label, "notify::label", G_CALLBACK(&keep), &m_texts)) {}
    ~LabelTexts() { g_signal_handler_disconnect(m_label, m_handler); }
    LabelTexts(const LabelTexts&) = delete;
    LabelTexts& operator=(const LabelTexts&) = delete;

    [[nodiscard]] const std::vector<std::string>& all() const { return m_texts; }

private:
    static void keep(GtkLabel* label, GParamSpec* /*property*/, gpointer texts) {
        static_cast<std::vector<std::string>*>(texts)->emplace_back(gtk_label_get_label(label));
    }

    GtkWidget* const m_label;
    std::vector<std::string> m_texts;
    const gulong m_handler;
};

class Status : public Wizard {
protected:
    void report(uint32_t percent, const std::string& message, uint64_t status) {
        const MEROStatusInfo info{.m_progress = percent, .m_message = message};
        m_window->updateStatus(&info, status);
    }
    static double fraction() {
        return gtk_progress_bar_get_fraction(GTK_PROGRESS_BAR(LookUpWidget("progressBar")));
    }
};

TEST_F(Status, OfProcessingMovesTheBarAndNeverThePage) {
    walkTo(WizardPage::Progress);
    report(37, "Processing Network...", MEROOFFLINE_ERROR_PROCESSING);
    EXPECT_EQ(fraction(), 0.0);
    settle();
    EXPECT_EQ(fraction(), 37 / 100.0);
    EXPECT_EQ(label("labelFileCollected"), "Processing Network...");
    EXPECT_EQ(page(), 3);
}

TEST_F(Status, ShowsTheLaterTextForBothOfTwoUpdates) {
    walkTo(WizardPage::Progress);
    report(10, "first", MEROOFFLINE_ERROR_PROCESSING);
    report(20, "second", MEROOFFLINE_ERROR_PROCESSING);
    // One round of the main loop may run both handlers.
    const LabelTexts texts("labelFileCollected");
    settle();
    EXPECT_THAT(texts.all(), AllOf(Not(IsEmpty()), Each("second")));
    EXPECT_EQ(fraction(), 0.2);
}

TEST_F(Status, WithoutInfoKeepsTheLastOne) {
    walkTo(WizardPage::Progress);
    report(42, "kept", MEROOFFLINE_ERROR_PROCESSING);
    settle();
    setLabelText("labelFileCollected", "");
    m_window->updateStatus(nullptr, MEROOFFLINE_ERROR_PROCESSING);
    settle();
    EXPECT_EQ(label("labelFileCollected"), "kept");
    EXPECT_EQ(fraction(), 0.42);
}

TEST_F(Status, OfTheEndKeepsTheLastProgressAndShowsTheResult) {
    walkTo(WizardPage::Progress);
    setProgressListener(m_window.get());
    reportProgress(100, "MERO has finished... ", MEROOFFLINE_ERROR_PROCESSING);
    reportProgress(0, "", 0);
    setProgressListener(nullptr);
    settle();
    EXPECT_EQ(fraction(), 1.0);
    EXPECT_EQ(label("labelFileCollected"), "MERO has finished... ");
    EXPECT_EQ(page(), 4);
    EXPECT_EQ(label("labelResultMsg"), "The bundle was created successfully in " + path("Desktop/") +
                                           label("labelFileLocation") + ".");
}

TEST_F(Status, OfAFinishedScanMakesTheButtonsUsable) {
    walkTo(WizardPage::FileSelection, false);
    setSensitive("buttonBack", false);
    setSensitive("buttonNext", false);
    m_window->updateStatus(nullptr, MEROOFFLINE_ERROR_XML_CONFIG_PARSE_SUCCESS);
    settle();
    EXPECT_TRUE(sensitive("buttonBack"));
    EXPECT_TRUE(sensitive("buttonNext"));
    EXPECT_EQ(page(), 5);
}

TEST_F(Status, OfAFinishedScanBeforeThePageWasSeenDoesNothing) {
    open();
    m_window->updateStatus(nullptr, MEROOFFLINE_ERROR_XML_CONFIG_PARSE_SUCCESS);
    settle();
    EXPECT_EQ(page(), 0);
}

TEST_F(Status, OfAFinishedRequestStartsTheJob) {
    walkTo(WizardPage::Encryption, false);
    m_window->updateStatus(nullptr, MEROOFFLINE_ERROR_XML_REQUEST_GENERATE_SUCCESS);
    settle();
    awaitHelper();
    ASSERT_EQ(recordedJobs().size(), 1U);
    EXPECT_EQ(recordedJobs().front().requestPath, "");
}

TEST_F(Status, OfAnyOtherValueIsAResult) {
    const uint64_t unknown[] = {MEROENGINE_ERROR_NOT_IMPLEMENTED,
                                MEROENGINE_ERROR_ACCESS_DENIED,
                                MEROENGINE_ERROR_INVALID_XML,
                                uint64_t{MEROOFFLINE_ERROR_PROCESSING} - 1,
                                uint64_t{MEROOFFLINE_ERROR_XML_REQUEST_GENERATE_SUCCESS} + 1,
                                1,
                                UINT64_MAX};
    for (const uint64_t status : unknown) {
        open();
        m_window->updateStatus(nullptr, status);
        settle();
        EXPECT_EQ(page(), 4) << status;
        EXPECT_EQ(label("labelResultMsg"),
                  "An unknown error occurred while creating the MERO bundle, possibly due "
                  "to restricted file permissions.  Please try again later.");
        m_window.reset();
    }
}

TEST_F(Status, OfABundleThatLacksFilesHasALineThatSaysSo) {
    open();
    report(100, "3 files could not be packed, see not-packed.txt", MEROENGINE_ERROR_BUNDLE_INCOMPLETE);
    settle();
    EXPECT_EQ(page(), 4);
    EXPECT_THAT(label("labelResultMsg"), ::testing::StartsWith("The bundle was created successfully in "));
    EXPECT_THAT(label("labelResultMsg"),
                ::testing::EndsWith("\n\n3 files could not be packed, see not-packed.txt"));
    gchar* name = nullptr;
    g_object_get(LookUpWidget("imageResult"), "icon-name", &name, nullptr);
    EXPECT_STREQ(name, "dialog-warning-symbolic");
    g_free(name);
}

TEST_F(Status, OfAnInternalErrorHasItsText) {
    open();
    m_window->updateStatus(nullptr, MEROENGINE_ERROR_INTERNAL);
    settle();
    EXPECT_EQ(label("labelResultMsg"),
              "An internal error occurred while creating the MERO bundle.  Please try again later.");
}

TEST_F(Status, OfAFailedWriteShowsItsPlaceholder) {
    open();
    m_window->updateStatus(nullptr, MEROENGINE_ERROR_WRITE_FAILURE);
    settle();
    EXPECT_EQ(label("labelResultMsg"),
              "The bundle cannot be saved in the location \"%s\".  Please specify another "
              "location and try again.");
}

TEST_F(Status, IsReadWhenTheHandlerRuns) {
    open();
    m_window->updateStatus(nullptr, MEROENGINE_ERROR_INTERNAL);
    m_window->updateStatus(nullptr, MEROENGINE_ERROR_WRITE_FAILURE);
    const LabelTexts texts("labelResultMsg");
    settle();
    EXPECT_THAT(texts.all(), AllOf(Not(IsEmpty()), Each(HasSubstr("\"%s\""))));
}

TEST_F(Status, TextThatIsNoUTF8IsShownAllTheSame) {
    walkTo(WizardPage::Progress);
    report(5, "caf\xE9.log", MEROOFFLINE_ERROR_PROCESSING);
    settle();
    EXPECT_EQ(label("labelFileCollected"), "caf\xEF\xBF\xBD.log");
}

TEST_F(Status, MayComeFromManyThreadsAtOnce) {
    walkTo(WizardPage::Progress);
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int worker = 0; worker < 4; ++worker) {
        threads.emplace_back([this] {
            for (uint32_t percent = 1; percent <= 50; ++percent) {
                report(percent, "text " + std::to_string(percent), MEROOFFLINE_ERROR_PROCESSING);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    settle();
    EXPECT_EQ(fraction(), 0.5);
    EXPECT_EQ(label("labelFileCollected"), "text 50");
}

TEST_F(Status, PostedBeforeTheWindowGoesNeedsNoWindow) {
    walkTo(WizardPage::Progress);
    report(50, "too late", MEROOFFLINE_ERROR_PROCESSING);
    report(0, "", 0);
    m_window.reset();
    settle();
    EXPECT_EQ(getProgressListener(), nullptr);
}

TEST_F(Status, OfALongPathIsCutAt2047Bytes) {
    std::string deep = path();
    while (deep.size() < 2100) {
        deep += "/" + std::string(200, 'd');
    }
    setEnvironment("HOME", deep);
    open();
    m_window->updateStatus(nullptr, 0);
    settle();
    const std::string shown = label("labelResultMsg");
    EXPECT_EQ(shown.size(), 2047U);
    EXPECT_EQ(shown, ("The bundle was created successfully in " + deep).substr(0, 2047));
}

} // namespace
