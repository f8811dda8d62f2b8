#include "tests/wizard/Contrast.h"
#include "tests/wizard/WizardFixture.h"

namespace {

/// On the encryption page of the typical walk, with encryption on.
class Password : public Wizard {
protected:
    void enable() {
        walkTo(WizardPage::Encryption);
        setActive("checkbuttonEncryption", true);
    }
    static void fill(const std::string& password, const std::string& confirmation) {
        type("entryPassword", password);
        type("entryConfirmPassword", confirmation);
    }
    static void expectJobWith(const std::string& password) {
        EXPECT_EQ(page(), 3);
        ASSERT_EQ(recordedJobs().size(), 1U);
        EXPECT_TRUE(recordedJobs().front().password == password);
    }
    static void expectStayed() {
        EXPECT_EQ(page(), 2);
        EXPECT_TRUE(recordedJobs().empty());
        EXPECT_TRUE(visible("labelPasswordNotMatch"));
    }
};

TEST_F(Password, PageStartsDisabledAndMasked) {
    walkTo(WizardPage::Encryption);
    EXPECT_TRUE(sensitive("checkbuttonEncryption"));
    EXPECT_FALSE(gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(LookUpWidget("checkbuttonEncryption"))));
    EXPECT_TRUE(gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(LookUpWidget("checkbuttonMaskPassword"))));
    for (const char* id : {"checkbuttonMaskPassword", "labelPassword", "labelConfirmPassword",
                           "entryPassword", "entryConfirmPassword"}) {
        EXPECT_FALSE(sensitive(id)) << id;
    }
    EXPECT_TRUE(masked("entryPassword"));
    EXPECT_TRUE(masked("entryConfirmPassword"));
    EXPECT_FALSE(visible("labelPasswordNotMatch"));
}

TEST_F(Password, MismatchStaysHiddenWhenEverythingIsShown) {
    walkTo(WizardPage::Encryption);
    gtk_widget_show_all(LookUpWidget("windowMain"));
    EXPECT_FALSE(visible("labelPasswordNotMatch"));
}

TEST_F(Password, EncryptionEnablesTheFields) {
    enable();
    for (const char* id : {"checkbuttonMaskPassword", "labelPassword", "labelConfirmPassword",
                           "entryPassword", "entryConfirmPassword"}) {
        EXPECT_TRUE(sensitive(id)) << id;
    }
    setActive("checkbuttonEncryption", false);
    for (const char* id : {"checkbuttonMaskPassword", "labelPassword", "labelConfirmPassword",
                           "entryPassword", "entryConfirmPassword"}) {
        EXPECT_FALSE(sensitive(id)) << id;
    }
}

TEST_F(Password, UnmaskingShowsItAndDropsTheConfirmation) {
    enable();
    fill("abc", "abc");
    setActive("checkbuttonMaskPassword", false);
    EXPECT_FALSE(masked("entryPassword"));
    EXPECT_FALSE(masked("entryConfirmPassword"));
    EXPECT_FALSE(sensitive("entryConfirmPassword"));
    EXPECT_FALSE(sensitive("labelConfirmPassword"));
    EXPECT_STREQ(gtk_entry_get_text(GTK_ENTRY(LookUpWidget("entryConfirmPassword"))), "");
    EXPECT_STREQ(gtk_entry_get_text(GTK_ENTRY(LookUpWidget("entryPassword"))), "abc");

    setActive("checkbuttonMaskPassword", true);
    EXPECT_TRUE(masked("entryPassword"));
    EXPECT_TRUE(masked("entryConfirmPassword"));
    EXPECT_TRUE(sensitive("entryConfirmPassword"));
    EXPECT_TRUE(sensitive("labelConfirmPassword"));
}

TEST_F(Password, EncryptionWithoutMaskLeavesTheConfirmationDisabled) {
    enable();
    setActive("checkbuttonMaskPassword", false);
    setActive("checkbuttonEncryption", false);
    setActive("checkbuttonEncryption", true);
    EXPECT_TRUE(sensitive("entryPassword"));
    EXPECT_FALSE(sensitive("entryConfirmPassword"));
    EXPECT_FALSE(sensitive("labelConfirmPassword"));
}

TEST_F(Password, EqualTextsGoToTheJob) {
    enable();
    fill("pass w\xC3\xB6rd", "pass w\xC3\xB6rd");
    click("buttonNext");
    expectJobWith("pass w\xC3\xB6rd");
}

TEST_F(Password, TwoEmptyTextsAreEqual) {
    enable();
    click("buttonNext");
    expectJobWith("");
}

TEST_F(Password, DifferentTextsStayOnThePage) {
    enable();
    fill("abc", "abd");
    click("buttonNext");
    expectStayed();
}

TEST_F(Password, BeginningOfTheOtherIsDifferent) {
    enable();
    fill("abc", "abcd");
    click("buttonNext");
    expectStayed();
}

TEST_F(Password, MissingConfirmationIsDifferent) {
    enable();
    fill("abc", "");
    click("buttonNext");
    expectStayed();
}

TEST_F(Password, ReadableOneNeedsNoConfirmation) {
    enable();
    setActive("checkbuttonMaskPassword", false);
    fill("abc", "something else");
    click("buttonNext");
    expectJobWith("abc");
}

TEST_F(Password, WithoutTheMaskButtonTheConfirmationCounts) {
    openWithout("checkbuttonMaskPassword");
    click("buttonNext");
    click("buttonNext");
    setActive("checkbuttonEncryption", true);
    EXPECT_TRUE(sensitive("entryConfirmPassword"));
    fill("abc", "abd");
    click("buttonNext");
    expectStayed();
}

TEST_F(Password, IsDroppedWhenEncryptionIsOff) {
    enable();
    fill("abc", "abc");
    setActive("checkbuttonEncryption", false);
    click("buttonNext");
    expectJobWith("");
}

TEST_F(Password, AnyKeyHidesTheMismatch) {
    enable();
    for (const char* entry : {"entryPassword", "entryConfirmPassword"}) {
        fill("abc", "abd");
        click("buttonNext");
        expectStayed();
        press(entry, GDK_KEY_Shift_L);
        EXPECT_FALSE(visible("labelPasswordNotMatch")) << entry;
    }
}

TEST_F(Password, TurningEncryptionOffHidesTheMismatch) {
    enable();
    fill("abc", "abd");
    click("buttonNext");
    expectStayed();
    setActive("checkbuttonEncryption", false);
    EXPECT_FALSE(visible("labelPasswordNotMatch"));
}

TEST_F(Password, ReturnActsLikeNextOnce) {
    for (const char* entry : {"entryPassword", "entryConfirmPassword"}) {
        m_window.reset();
        recordedJobs().clear();
        enable();
        fill("abc", "abc");
        press(entry, GDK_KEY_Return);
        expectJobWith("abc");
    }
}

TEST_F(Password, ReturnShowsTheMismatch) {
    enable();
    fill("abc", "abd");
    press("entryPassword", GDK_KEY_Return);
    expectStayed();
}

TEST_F(Password, EnterOfTheKeypadIsAnyOtherKey) {
    enable();
    fill("abc", "abd");
    click("buttonNext");
    expectStayed();
    press("entryPassword", GDK_KEY_KP_Enter);
    EXPECT_EQ(page(), 2);
    EXPECT_FALSE(visible("labelPasswordNotMatch"));
}

TEST_F(Password, KeysStillReachTheEntry) {
    enable();
    gtk_widget_grab_focus(LookUpWidget("entryPassword"));
    press("entryPassword", GDK_KEY_q);
    EXPECT_STREQ(gtk_entry_get_text(GTK_ENTRY(LookUpWidget("entryPassword"))), "q");
}

TEST_F(Password, MismatchCanBeReadInEveryLook) {
    enable();
    fill("abc", "abd");
    click("buttonNext");
    expectStayed();
    GtkWidget* const window = LookUpWidget("windowMain");
    for (const Look& look : kLooks) {
        putOn(window, look);
        EXPECT_GE(contrastOf(window, LookUpWidget("labelPasswordNotMatch")), kLegibleContrast)
            << nameOf(look);
    }
}

TEST_F(Password, NeverReachesTheLog) {
    enable();
    fill("very-secret", "very-secret");
    click("buttonNext");
    expectJobWith("very-secret");
    EXPECT_FALSE(m_log->contains('*', "very-secret"));
}

} // namespace
