#include "Common/i18n/MsgCatalog.h"
#include "Common/Utility/ReturnCodes.h"
#include "tests/wizard/ShownTexts.h"
#include "tests/wizard/UsedLanguage.h"
#include "tests/wizard/WizardFixture.h"
#include "tools/MERO/MEROOffline/Linux/UserTexts.h"
#include "tools/MERO/MEROOffline/Linux/WizardLanguage.h"

#include <gmock/gmock.h>
#include <string>

namespace {

using testing::IsEmpty;
using testing::ValuesIn;

constexpr int kScreenWidth = 1024;
constexpr int kScreenHeight = 768;

/// A password long enough to be refused by its repetition.
constexpr const char* kPassword = "password";

} // namespace

/// The wizard in a language that the build has a catalogue of.
class Languages : public Wizard, public testing::WithParamInterface<const char*> {
public:
    ~Languages() override { m_window.reset(); }

protected:
    void expectWholeTexts() const {
        settle();
        GtkWidget* const window = LookUpWidget("windowMain", GTK_TYPE_WINDOW);
        ASSERT_NE(window, nullptr);
        // What has just been shown gets its place with the next frame.
        waitUntil([window] { return cutTexts(window).empty(); });
        EXPECT_THAT(cutTexts(window), IsEmpty()) << "page " << page();
        EXPECT_LE(gtk_widget_get_allocated_width(window), kScreenWidth);
        EXPECT_LE(gtk_widget_get_allocated_height(window), kScreenHeight);
    }

private:
    const UsedLanguage m_language{GetParam()};
};

TEST_P(Languages, FitIntoTheirPlacesOnAllPages) {
    for (const WizardPage target : {WizardPage::Welcome, WizardPage::BundleType, WizardPage::FileSelection,
                                    WizardPage::Target, WizardPage::Encryption}) {
        m_window.reset();
        walkTo(target, false);
        expectWholeTexts();
    }
    setActive("checkbuttonEncryption", true);
    type("entryPassword", kPassword);
    type("entryConfirmPassword", "another");
    next();
    ASSERT_TRUE(visible("labelPasswordNotMatch"));
    expectWholeTexts();
}

TEST_P(Languages, FitIntoTheirPlacesOnTheLastPages) {
    walkTo(WizardPage::Progress);
    for (const char* message : {"Parsing request and configuration XMLs...",
                                R"(Processing _tr("What the programs of the desktop session print")...)",
                                "Still running /opt/varnel/corvane/plugin/tool-output, please be patient as "
                                "this may take a few minutes..."}) {
        const MEROStatusInfo info{.m_progress = 50, .m_message = message};
        m_window->updateStatus(&info, MEROOFFLINE_ERROR_PROCESSING);
        expectWholeTexts();
        EXPECT_NE(label("labelFileCollected"), message);
    }
    const MEROStatusInfo lack{.m_progress = 100,
                              .m_message = "1234 files could not be packed, see not-packed.txt"};
    m_window->updateStatus(&lack, MEROENGINE_ERROR_BUNDLE_INCOMPLETE);
    expectWholeTexts();
    for (const uint64_t status :
         {uint64_t{0}, uint64_t{MEROENGINE_ERROR_INTERNAL}, uint64_t{MEROENGINE_ERROR_WRITE_FAILURE},
          uint64_t{MEROENGINE_ERROR_UNEXPECTED}}) {
        m_window->updateStatus(nullptr, status);
        expectWholeTexts();
    }
}

TEST_P(Languages, MirrorTheWindowIfTheyAreWrittenFromTheRight) {
    open();
    GtkWidget* const window = LookUpWidget("windowMain", GTK_TYPE_WINDOW);
    ASSERT_NE(window, nullptr);
    const bool isArabic = std::string(GetParam()) == "ar";
    EXPECT_EQ(gtk_widget_get_direction(window), isArabic ? GTK_TEXT_DIR_RTL : GTK_TEXT_DIR_LTR);
}

TEST_P(Languages, TranslateEveryTextOfTheTable) {
    for (const char* text : allUserTexts()) {
        std::string translated;
        MsgCatalog::getMessage(text, translated);
        EXPECT_FALSE(translated.empty()) << text;
        if (std::string(text).find(' ') != std::string::npos && std::string(text) != "Meroscope (MERO)" &&
            std::string(text) != "Varnel Corvane - MERO") {
            EXPECT_NE(translated, text);
        }
    }
}

TEST_P(Languages, KeepTheNameOfAToolThatRunsForLong) {
    const std::string shown =
        shownReport("Still running slow%s, please be patient as this may take a few minutes...");
    EXPECT_NE(shown.find("slow%s"), std::string::npos) << shown;
    EXPECT_EQ(shown.find("please be patient"), std::string::npos) << shown;
}

TEST_P(Languages, KeepTheCountAndTheListOfABundleThatLacksFiles) {
    const std::string shown = shownReport("1234 files could not be packed, see not-packed-2.txt");
    const std::size_t count = shown.find("1234");
    EXPECT_NE(count, std::string::npos) << shown;
    EXPECT_GT(shown.find("not-packed-2.txt"), count) << shown;
    EXPECT_EQ(shown.find("could not be"), std::string::npos) << shown;
}

INSTANTIATE_TEST_SUITE_P(Of, Languages, ValuesIn({"de", "fr", "es", "it", "pt-br", "ja", "zh-cn", "ar"}),
                         [](const testing::TestParamInfo<const char*>& language) {
                             std::string name = language.param;
                             std::erase(name, '-');
                             return name;
                         });

class ShownReport : public Wizard {};

TEST_F(ShownReport, OfAnItemHasNoMarks) {
    EXPECT_EQ(shownReport(R"(Processing _tr("Operating system")...)"), "Processing Operating system...");
    EXPECT_EQ(shownReport(R"(Clearing _tr("Logs")...)"), "Clearing Logs...");
}

TEST_F(ShownReport, OfABundleThatLacksFilesNamesTheirList) {
    for (const char* message :
         {"3 files could not be packed, see not-packed.txt", "3 files could not be packed, see ",
          " files could not be packed, see %s", "files could not be packed, see not-packed.txt"}) {
        EXPECT_EQ(shownReport(message), message);
    }
}

TEST_F(ShownReport, OfAnItemWithoutMarksStaysAsItIs) {
    EXPECT_EQ(shownReport("Processing The sample..."), "Processing The sample...");
    EXPECT_EQ(shownReport("Processing ..."), "Processing ...");
    EXPECT_EQ(shownReport("Processing"), "Processing");
}

TEST_F(ShownReport, OfAToolThatRunsForLongNamesIt) {
    const std::string report = "Still running slow, please be patient as this may take a few minutes...";
    EXPECT_EQ(shownReport(report), report);
}

TEST_F(ShownReport, OfAnythingElseIsTheCataloguesText) {
    EXPECT_EQ(shownReport("Reading instructions ..."), "Reading instructions ...");
    EXPECT_EQ(shownReport(""), "");
}
