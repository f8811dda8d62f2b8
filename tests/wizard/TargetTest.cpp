#include "tests/wizard/WizardFixture.h"

#include <gmock/gmock.h>

namespace {

using Comment = Wizard;

constexpr char kFormat[] =
    "Your comments is %d characters long, which exceeds the maximum limit of %d characters.  "
    "Please enter comments within the maximum limit.";

std::string refusal(int bytes) {
    char text[256];
    std::snprintf(text, sizeof text, kFormat, bytes, 2048);
    return text;
}

TEST_F(Comment, IsKeptWhenThePageIsLeft) {
    walkTo(WizardPage::Target, false);
    setComment("Two\nlines");
    EXPECT_EQ(m_window->getComments(), "");
    click("buttonNext");
    EXPECT_EQ(page(), 2);
    EXPECT_EQ(m_window->getComments(), "Two\nlines");
}

TEST_F(Comment, Of2048BytesPasses) {
    walkTo(WizardPage::Target, false);
    setComment(std::string(2048, 'c'));
    EXPECT_TRUE(m_window->validateComments());
    EXPECT_EQ(m_window->getComments(), std::string(2048, 'c'));
    EXPECT_EQ(messageDialog(), nullptr);
}

TEST_F(Comment, Of2049BytesIsRefusedWithTheNumbers) {
    walkTo(WizardPage::Target, false);
    setComment("former");
    click("buttonNext");
    click("buttonBack");
    setComment(std::string(2049, 'c'));
    click("buttonNext");
    EXPECT_EQ(page(), 6);
    EXPECT_EQ(m_window->getComments(), "former");
    GtkWidget* dialog = messageDialog();
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialogText(), refusal(2049));
    EXPECT_STREQ(gtk_window_get_title(GTK_WINDOW(dialog)), "Error");
    EXPECT_TRUE(gtk_window_get_modal(GTK_WINDOW(dialog)));
    GtkMessageType type{};
    g_object_get(dialog, "message-type", &type, nullptr);
    EXPECT_EQ(type, GTK_MESSAGE_ERROR);
    gtk_dialog_response(GTK_DIALOG(dialog), GTK_RESPONSE_OK);
    settle();
    EXPECT_EQ(messageDialog(), nullptr);
    EXPECT_EQ(m_log->count('*', ""), 0) << m_log->dump();
}

TEST_F(Comment, OfManyByteCharactersIsCountedInBytes) {
    walkTo(WizardPage::Target, false);
    std::string text;
    for (int i = 0; i < 1100; ++i) {
        text += "\xC3\xA4";
    }
    setComment(text);
    EXPECT_FALSE(m_window->validateComments());
    EXPECT_EQ(dialogText(), refusal(2200));
}

TEST_F(Comment, IsCheckedAgainAfterGoingBackToIt) {
    walkTo(WizardPage::Target, false);
    setComment("short");
    click("buttonNext");
    click("buttonBack");
    EXPECT_EQ(page(), 6);
    setComment(std::string(3000, 'c'));
    click("buttonNext");
    EXPECT_EQ(page(), 6);
    EXPECT_EQ(m_window->getComments(), "short");
}

TEST_F(Comment, WithoutItsFieldPasses) {
    openWithout("textviewComment");
    EXPECT_TRUE(m_window->validateComments());
    EXPECT_EQ(m_window->getComments(), "");
    EXPECT_EQ(m_log->count('*', ""), 0) << m_log->dump();
}

TEST_F(Comment, WithoutAUIFilePassesWithALine) {
    open(path() + "/");
    releaseUIDefinition();
    EXPECT_TRUE(m_window->validateComments());
    EXPECT_TRUE(m_log->contains('E', "Failed to look up the widget because UI XML is not found."));
}

using Target = Wizard;

TEST_F(Target, IsAStampedFileOnTheDesktop) {
    walkTo(WizardPage::Progress);
    const std::string name = label("labelFileLocation");
    EXPECT_THAT(name, testing::MatchesRegex("MEROBundle_[0-9]{4}_[0-9]{4}\\.zip"));
    EXPECT_EQ(tooltip("labelFileLocation"), name);
    EXPECT_EQ(recordedJobs().at(0).bundlePath, path("Desktop/" + name));
}

TEST_F(Target, FollowsTheDesktopOfTheUserDirs) {
    writeFile(".config/user-dirs.dirs", "XDG_DESKTOP_DIR=\"$HOME/Schreibtisch\"\n");
    walkTo(WizardPage::Progress);
    EXPECT_EQ(recordedJobs().at(0).bundlePath, path("Schreibtisch/" + label("labelFileLocation")));
}

TEST_F(Target, TreeTakesModulesByTheirRoot) {
    open();
    ModuleItem logs{.m_name = "Logs", .m_default = 0, .m_selected = 1, .m_files = {}};
    m_window->addModule("Client", logs);
    m_window->addModule("client", ModuleItem{});
    m_window->addModule("Client",
                        ModuleItem{.m_name = "More", .m_default = 1, .m_selected = 0, .m_files = {}});
    const std::list<RootItem>& roots = m_window->getModuleTree();
    ASSERT_EQ(roots.size(), 2U);
    EXPECT_EQ(roots.front().m_name, "Client");
    EXPECT_EQ(roots.front().m_modules.size(), 2U);
    EXPECT_EQ(roots.front().m_selected, 1U);
    EXPECT_EQ(roots.front().m_default, 1U);
    EXPECT_EQ(roots.back().m_selected, 0U);
    EXPECT_EQ(roots.back().m_default, 0U);
    EXPECT_EQ(&m_window->getModuleTree(), &roots);
}

} // namespace
