#include "tools/MERO/MEROOffline/Linux/Mnemonics.h"

#include "tests/wizard/RecordedJob.h"
#include "tests/wizard/UsedLanguage.h"
#include "tests/wizard/WizardFixture.h"
#include "tools/MERO/MEROOffline/Linux/WizardLanguage.h"

#include <gmock/gmock.h>
#include <map>
#include <regex>
#include <set>

namespace {

using testing::ElementsAre;
using testing::ValuesIn;

struct Control {
    const char* id;
    UserText text;
};

constexpr Control kControls[] = {
    {"buttonBack", UserText::ButtonBack},
    {"buttonNext", UserText::ButtonNext},
    {"buttonCancel", UserText::ButtonCancel},
    {"radiobuttonBundleTypical", UserText::Typical},
    {"radiobuttonBundleCustom", UserText::Custom},
    {"checkbuttonEncryption", UserText::EnableEncryption},
    {"checkbuttonMaskPassword", UserText::MaskPassword},
    {"buttonBrowse", UserText::Browse},
};

std::string marked(UserText text) {
    return translateText(mnemonicText(text));
}

GtkLabel* labelIn(GtkWidget* control) {
    return GTK_LABEL(gtk_bin_get_child(GTK_BIN(control)));
}

void addButtons(GtkWidget* widget, gpointer ids) {
    if (gtk_widget_get_mapped(widget) == FALSE) {
        return;
    }
    if (GTK_IS_BUTTON(widget)) {
        static_cast<std::set<std::string>*>(ids)->insert(gtk_buildable_get_name(GTK_BUILDABLE(widget)));
    } else if (GTK_IS_CONTAINER(widget)) {
        gtk_container_forall(GTK_CONTAINER(widget), &addButtons, ids);
    }
}

/// Takes the presses of a control by its mnemonic, so that they lead nowhere.
class Pressed {
public:
    Pressed() {
        for (const Control& control : kControls) {
            GtkWidget* const widget = LookUpWidget(control.id);
            m_handlers[widget] = g_signal_connect(widget, "mnemonic-activate", G_CALLBACK(&take), this);
        }
    }
    ~Pressed() {
        for (const auto& [widget, handler] : m_handlers) {
            g_signal_handler_disconnect(widget, handler);
        }
    }
    Pressed(const Pressed&) = delete;
    Pressed& operator=(const Pressed&) = delete;

    /// What a key presses together with Alt. One that several controls share has no more than the first of
    /// them.
    std::vector<std::string> by(guint key) {
        m_ids.clear();
        gtk_window_mnemonic_activate(GTK_WINDOW(LookUpWidget("windowMain")), key, GDK_MOD1_MASK);
        return m_ids;
    }

private:
    static gboolean take(GtkWidget* widget, gboolean isShared, gpointer self) {
        static_cast<Pressed*>(self)->m_ids.emplace_back(
            isShared != FALSE ? "shared" : gtk_buildable_get_name(GTK_BUILDABLE(widget)));
        return TRUE;
    }

    std::map<GtkWidget*, gulong> m_handlers;
    std::vector<std::string> m_ids;
};

/// The wizard in a language that the build has a catalogue of, or in English.
class Mnemonics : public Wizard, public testing::WithParamInterface<const char*> {
public:
    ~Mnemonics() override { m_window.reset(); }

protected:
    static bool hasLettersOfItsOwn() {
        const std::string language = GetParam();
        return language == "ja" || language == "zh-cn";
    }

    void expectAKeyForEachControl() const {
        settle();
        SCOPED_TRACE(page());
        std::set<std::string> buttons;
        addButtons(LookUpWidget("windowMain"), &buttons);
        std::set<guint> keys;
        Pressed pressed;
        for (const Control& control : kControls) {
            if (buttons.erase(control.id) == 0) {
                continue;
            }
            SCOPED_TRACE(control.id);
            const bool isFinish = page() == 4 && std::string(control.id) == "buttonNext";
            const UserText text = isFinish ? UserText::ButtonFinish : control.text;
            const std::string shown = translateText(text);
            GtkWidget* const widget = LookUpWidget(control.id);
            EXPECT_EQ(gtk_label_get_text(labelIn(widget)), shown);
            EXPECT_STREQ(atk_object_get_name(gtk_widget_get_accessible(widget)), shown.c_str());
            const guint key = mnemonicOf(shown, marked(text)).key;
            EXPECT_NE(key, 0U);
            EXPECT_TRUE(keys.insert(key).second) << "has the key of another one: " << gdk_keyval_name(key);
            if (gtk_widget_is_sensitive(widget) != FALSE) {
                EXPECT_THAT(pressed.by(key), ElementsAre(control.id));
            }
            const bool isUnderlined = gtk_label_get_mnemonic_keyval(labelIn(widget)) == key;
            EXPECT_NE(isUnderlined, hasLettersOfItsOwn());
            EXPECT_EQ(tooltip(control.id).empty(), isUnderlined);
        }
        EXPECT_THAT(buttons, testing::IsEmpty());
    }

private:
    const UsedLanguage m_language{GetParam()};
};

TEST_P(Mnemonics, OfEachPageDiffer) {
    for (const bool typical : {true, false}) {
        const std::size_t jobsBefore = recordedJobs().size();
        walkTo(WizardPage::Welcome, typical);
        for (int steps = 0; steps < 7; ++steps) {
            expectAKeyForEachControl();
            if (page() == 3) {
                // A request is written in the background, and no result is shown before the job has begun.
                waitUntil([jobsBefore] { return recordedJobs().size() > jobsBefore; });
                m_window->updateStatus(nullptr, 0);
                settle();
            } else if (page() != 4) {
                next();
            }
        }
        EXPECT_EQ(page(), 4);
        m_window.reset();
    }
}

TEST_P(Mnemonics, AreThoseOfTheTextsAsTheyAreShown) {
    static const std::regex mark(R"(\(_[A-Z]\)|_)");
    for (const UserText text : {UserText::ButtonBack, UserText::ButtonNext, UserText::ButtonFinish,
                                UserText::ButtonCancel, UserText::Typical, UserText::Custom,
                                UserText::EnableEncryption, UserText::MaskPassword, UserText::Browse}) {
        EXPECT_EQ(std::regex_replace(marked(text), mark, ""), translateText(text));
    }
}

INSTANTIATE_TEST_SUITE_P(Of, Mnemonics, ValuesIn({"c", "de", "fr", "es", "it", "pt-br", "ja", "zh-cn", "ar"}),
                         [](const testing::TestParamInfo<const char*>& language) {
                             std::string name = language.param;
                             std::erase(name, '-');
                             return name;
                         });

class AMnemonic : public Wizard {};

TEST_F(AMnemonic, PressesItsControl) {
    walkTo(WizardPage::BundleType);
    auto* const window = GTK_WINDOW(LookUpWidget("windowMain"));
    gtk_window_mnemonic_activate(window, GDK_KEY_u, GDK_MOD1_MASK);
    // GTK shows a button pressed for a moment first.
    auto* const custom = GTK_TOGGLE_BUTTON(LookUpWidget("radiobuttonBundleCustom"));
    waitUntil([custom] { return gtk_toggle_button_get_active(custom) != FALSE; });
    gtk_window_mnemonic_activate(window, GDK_KEY_b, GDK_MOD1_MASK);
    waitUntil([] { return page() == 0; });
}

TEST_F(AMnemonic, OfAControlThatDoesNotShowItIsToldByItsTooltip) {
    open();
    setMnemonic("buttonNext", "\u6b21\u3078(_N)");
    EXPECT_EQ(label("labelButtonNext"), "Next");
    EXPECT_EQ(tooltip("buttonNext"), "Alt+N");
    setMnemonic("buttonNext", "_Next");
    EXPECT_EQ(tooltip("buttonNext"), "");
}

TEST_F(AMnemonic, ThatIsSetAnewTakesThePlaceOfTheOldOne) {
    open();
    setMnemonic("buttonNext", "\u6b21\u3078(_X)");
    setMnemonic("buttonNext", "\u6b21\u3078(_Y)");
    Pressed pressed;
    EXPECT_THAT(pressed.by(GDK_KEY_x), testing::IsEmpty());
    EXPECT_THAT(pressed.by(GDK_KEY_y), ElementsAre("buttonNext"));
}

TEST(MnemonicOf, AMarkedTextIsItsLetter) {
    const Mnemonic mnemonic = mnemonicOf("Browse...", "B_Rowse...");
    EXPECT_EQ(mnemonic.key, GDK_KEY_r);
    EXPECT_EQ(mnemonic.underlined, "");
    EXPECT_EQ(mnemonicOf("Browse...", "B_rowse...").underlined, "B_rowse...");
    EXPECT_EQ(mnemonicOf("\u0627\u0644\u062a\u0627\u0644\u064a", "\u0627\u0644_\u062a\u0627\u0644\u064a").key,
              GDK_KEY_Arabic_teh);
}

TEST(MnemonicOf, AnotherTextIsOnlyItsKey) {
    for (const char* marked : {"_Next", "Weiter(_N)", "_Nachher"}) {
        const Mnemonic mnemonic = mnemonicOf("Weiter", marked);
        EXPECT_EQ(mnemonic.key, GDK_KEY_n) << marked;
        EXPECT_EQ(mnemonic.underlined, "") << marked;
    }
}

TEST(MnemonicOf, ATextThatHasAMarkOfItsOwnIsOnlyItsKey) {
    const Mnemonic mnemonic = mnemonicOf("snake_case", "_snake_case");
    EXPECT_EQ(mnemonic.key, GDK_KEY_s);
    EXPECT_EQ(mnemonic.underlined, "");
}

TEST(MnemonicOf, ATextWithoutAMarkedLetterIsNone) {
    for (const char* marked : {"", "Next", "Next_", "_ Next", "_...", "_\xE9"}) {
        EXPECT_EQ(mnemonicOf("Next", marked).key, 0U) << marked;
        EXPECT_EQ(mnemonicOf("Next", marked).underlined, "") << marked;
    }
}

} // namespace
