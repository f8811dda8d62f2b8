#include "Common/Utility/ReturnCodes.h"
#include "tests/support/NoNewThreads.h"
#include "tests/wizard/WizardFixture.h"

#include <filesystem>

namespace {

constexpr const char* kHead = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"
                              "<request xmlns=\"http://schemas.xmlsoap.org/encoding/\""
                              " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""
                              " xsi:schemaLocation=\"http://schemas.xmlsoap.org/encoding/ "
                              "RequestXMLSchema.xsd\">";

FileItem fileItem(const std::string& id, bool selected) {
    const uint32_t flag = selected ? 1 : 0;
    return {.m_id = id,
            .m_label = id,
            .m_description = {},
            .m_default = flag,
            .m_selected = flag,
            .m_platform = {}};
}

/// The request of a custom bundle, on its way from the pages to the job.
class Request : public Wizard {
protected:
    /// Two modules, of which the first has a chosen and another item.
    void openWithItems() {
        open();
        m_window->addModule("Root", {.m_name = "First",
                                     .m_default = 1,
                                     .m_selected = 1,
                                     .m_files = {fileItem("one", true), fileItem("two", false)}});
        m_window->addModule("Root", {.m_name = "Second", .m_files = {fileItem("three", false)}});
    }

    void walkToEncryption() {
        setActive("radiobuttonBundleCustom", true);
        for (const WizardPage expected : {WizardPage::BundleType, WizardPage::FileSelection,
                                          WizardPage::Target, WizardPage::Encryption}) {
            next();
            ASSERT_EQ(page(), static_cast<int>(expected));
        }
    }

    /// Waits until a job has been made and gives it.
    static RecordedJob job() {
        waitUntil([] { return !recordedJobs().empty(); });
        return recordedJobs().empty() ? RecordedJob{} : recordedJobs().back();
    }
};

TEST_F(Request, HoldsTheChoiceAndTheComment) {
    openWithItems();
    setComment("a <b> & c");
    walkToEncryption();
    click("buttonNext");
    const RecordedJob made = job();
    EXPECT_EQ(page(), 3);
    EXPECT_EQ(readFile(made.requestPath),
              kHead + std::string("<file id=\"one\"></file>"
                                  "<comments><![CDATA[a <b> & c]]></comments></request>"));
    EXPECT_EQ(made.requestPath.find("/tmp/BundleRequest_"), 0U) << made.requestPath;
    EXPECT_EQ(made.configDir, "");
    EXPECT_EQ(made.password, "");
    EXPECT_FALSE(made.clearLogs);
}

TEST_F(Request, LivesAsLongAsTheWindow) {
    openWithItems();
    walkToEncryption();
    click("buttonNext");
    const std::string request = job().requestPath;
    EXPECT_TRUE(std::filesystem::exists(request));
    m_window.reset();
    EXPECT_FALSE(std::filesystem::exists(request));
}

TEST_F(Request, StartsItsJobOnlyWhenItIsWritten) {
    openWithItems();
    walkToEncryption();
    gtk_button_clicked(GTK_BUTTON(LookUpWidget("buttonNext")));
    EXPECT_EQ(page(), 3);
    EXPECT_TRUE(recordedJobs().empty());
    EXPECT_EQ(messageDialog(), nullptr);
    EXPECT_NE(job().requestPath, "");
    EXPECT_NE(messageDialog(), nullptr);
}

TEST_F(Request, IsWrittenWithoutAThreadOfItsOwnToo) {
    openWithItems();
    walkToEncryption();
    {
        const NoNewThreads limit;
        gtk_button_clicked(GTK_BUTTON(LookUpWidget("buttonNext")));
    }
    EXPECT_NE(readFile(job().requestPath).find("\"one\""), std::string::npos);
}

TEST_F(Request, IsWrittenOnReturnInAPasswordEntry) {
    openWithItems();
    walkToEncryption();
    setActive("checkbuttonEncryption", true);
    type("entryPassword", "secret");
    type("entryConfirmPassword", "secret");
    press("entryConfirmPassword", GDK_KEY_Return);
    const RecordedJob made = job();
    EXPECT_EQ(made.password, "secret");
    EXPECT_NE(readFile(made.requestPath).find("\"one\""), std::string::npos);
    EXPECT_EQ(readFile(made.requestPath).find("secret"), std::string::npos);
}

TEST_F(Request, IsNotMadeForATypicalBundleAfterAChangeOfMind) {
    openWithItems();
    setComment("a comment that nobody gets to see");
    walkToEncryption();
    for (int steps = 0; steps < 3; ++steps) {
        click("buttonBack");
    }
    setActive("radiobuttonBundleTypical", true);
    click("buttonNext");
    click("buttonNext");
    EXPECT_EQ(job().requestPath, "");
}

TEST_F(Request, OfALaterJobReplacesTheFormerOne) {
    openWithItems();
    walkToEncryption();
    click("buttonNext");
    const std::string former = job().requestPath;
    recordedJobs().clear();
    m_window->startBundleJob();
    const std::string later = job().requestPath;
    EXPECT_TRUE(std::filesystem::exists(later));
    if (later != former) {
        // The minute has changed in between.
        EXPECT_FALSE(std::filesystem::exists(former));
    }
    EXPECT_FALSE(m_log->containsCode('W', "~GenerateReqXML", "remove", ENOENT)) << m_log->dump();
}

TEST_F(Request, IsNotStoredFromRowsThatWereLeftByBack) {
    openWithItems();
    walkToEncryption();
    click("buttonBack");
    click("buttonBack");
    EXPECT_EQ(page(), 5);
    GtkWidget* view = gtk_bin_get_child(GTK_BIN(LookUpWidget("scrolledwindowFileSelDlg")));
    GtkTreeModel* model = gtk_tree_view_get_model(GTK_TREE_VIEW(view));
    GtkTreeIter second;
    ASSERT_TRUE(gtk_tree_model_get_iter_from_string(model, &second, "0:0:1"));
    gtk_tree_store_set(GTK_TREE_STORE(model), &second, 0, TRUE, -1);
    click("buttonBack");
    EXPECT_EQ(m_window->getModuleTree().front().m_modules.front().m_files.back().m_selected, 0U);
    next();
    EXPECT_EQ(m_window->getModuleTree().front().m_modules.front().m_files.back().m_selected, 0U);
    next();
    EXPECT_EQ(m_window->getModuleTree().front().m_modules.front().m_files.back().m_selected, 1U);
    next();
    click("buttonNext");
    EXPECT_NE(readFile(job().requestPath).find("<file id=\"one\"></file><file id=\"two\"></file><comments>"),
              std::string::npos);
}

} // namespace
