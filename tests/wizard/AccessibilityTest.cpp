#include "Common/Utility/ReturnCodes.h"
#include "tests/support/Processes.h"
#include "tests/wizard/UsedLanguage.h"
#include "tests/wizard/WizardFixture.h"

#include <chrono>
#include <gmock/gmock.h>

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::Ge;
using testing::IsEmpty;

constexpr std::chrono::milliseconds kShortQuiet{400};

AtkObject* accessible(const char* id) {
    return gtk_widget_get_accessible(LookUpWidget(id));
}

/// The names of what an object is described by.
std::vector<std::string> descriptionsOf(AtkObject* object) {
    std::vector<std::string> names;
    const auto set = adoptRef(atk_object_ref_relation_set(object));
    AtkRelation* const relation = atk_relation_set_get_relation_by_type(set.get(), ATK_RELATION_DESCRIBED_BY);
    const GPtrArray* const targets = relation == nullptr ? nullptr : atk_relation_get_target(relation);
    for (guint index = 0; targets != nullptr && index < targets->len; ++index) {
        names.emplace_back(atk_object_get_name(static_cast<AtkObject*>(g_ptr_array_index(targets, index))));
    }
    return names;
}

/// Counts how often something comes into view.
class Appearances {
public:
    explicit Appearances(AtkObject* object)
        : m_object(shareRef(object)),
          m_handler(g_signal_connect(object, "state-change::showing", G_CALLBACK(&count), &m_count)) {}
    ~Appearances() { g_signal_handler_disconnect(m_object.get(), m_handler); }
    Appearances(const Appearances&) = delete;
    Appearances& operator=(const Appearances&) = delete;

    [[nodiscard]] int all() const { return m_count; }

private:
    static void count(AtkObject* /*object*/, const char* /*state*/, gboolean set, gpointer count) {
        *static_cast<int*>(count) += set != FALSE ? 1 : 0;
    }

    int m_count = 0;
    const GObjectHandle<AtkObject> m_object;
    const gulong m_handler;
};

/// What a screen reader is told of an object by itself, and when.
class Tidings {
public:
    Tidings(AtkObject* object, const char* signal, GCallback handler)
        : m_object(shareRef(object)), m_handler(g_signal_connect(object, signal, handler, this)) {}
    ~Tidings() { g_signal_handler_disconnect(m_object.get(), m_handler); }
    Tidings(const Tidings&) = delete;
    Tidings& operator=(const Tidings&) = delete;

    static void onText(AtkObject* /*object*/, const char* text, gpointer self) { keep(self, text); }
    static void onProperty(AtkObject* /*object*/, AtkPropertyValues* /*values*/, gpointer self) {
        keep(self, "");
    }

    [[nodiscard]] const std::vector<std::string>& texts() const { return m_texts; }
    /// What lay between each and the one before it.
    [[nodiscard]] std::vector<int64_t> pausesMs() const {
        std::vector<int64_t> pauses;
        for (std::size_t index = 1; index < m_times.size(); ++index) {
            pauses.push_back((m_times[index] - m_times[index - 1]) / G_TIME_SPAN_MILLISECOND);
        }
        return pauses;
    }

private:
    static void keep(gpointer self, const char* text) {
        auto& tidings = *static_cast<Tidings*>(self);
        tidings.m_texts.emplace_back(text);
        tidings.m_times.push_back(g_get_monotonic_time());
    }

    std::vector<std::string> m_texts;
    std::vector<int64_t> m_times;
    const GObjectHandle<AtkObject> m_object;
    const gulong m_handler;
};

class Accessibility : public Wizard {
protected:
    void expectPagesNamedByTheirHeaders() {
        open();
        for (uint32_t number = 0; number < 7; ++number) {
            m_window->changePage(number);
            const auto tab = adoptRef(
                atk_object_ref_accessible_child(accessible("notebookPages"), static_cast<int>(number)));
            EXPECT_STREQ(atk_object_get_name(tab.get()), label("labelHeaderTitle").c_str());
        }
    }
    /// The name of what has the window's focus.
    static std::string focused() {
        GtkWidget* const focus = gtk_window_get_focus(GTK_WINDOW(LookUpWidget("windowMain")));
        return focus == nullptr ? "none" : gtk_buildable_get_name(GTK_BUILDABLE(focus));
    }
    void report(int percent, const std::string& text) {
        m_page.show({.m_progress = static_cast<uint32_t>(percent), .m_message = text});
        settle();
    }

    /// In the place of the window's own, whose widgets it has, but not its patience.
    ProgressPage m_page{kShortQuiet};
};

TEST_F(Accessibility, NamesThePagesByTheirHeaders) {
    expectPagesNamedByTheirHeaders();
}

TEST_F(Accessibility, NamesThePagesInTheUsersLanguage) {
    const UsedLanguage german("de");
    expectPagesNamedByTheirHeaders();
    EXPECT_EQ(label("labelHeaderTitle"), "Speicherort und Kommentare");
    m_window.reset();
}

TEST_F(Accessibility, DescribesAPageByItsLeadingText) {
    walkTo(WizardPage::BundleType);
    const auto tab = adoptRef(atk_object_ref_accessible_child(accessible("notebookPages"), 1));
    EXPECT_THAT(descriptionsOf(tab.get()), ElementsAre("Select a bundle option."));
}

TEST_F(Accessibility, DescribesNextByTheWelcome) {
    open();
    EXPECT_EQ(focused(), "buttonNext");
    EXPECT_THAT(descriptionsOf(accessible("buttonNext")),
                ElementsAre(label("labelMEROIntro"), label("labelWizardPurpose")));
    next();
    EXPECT_THAT(descriptionsOf(accessible("buttonNext")), IsEmpty());
}

TEST_F(Accessibility, LeavesTheFocusOnNextWhenBackGoes) {
    walkTo(WizardPage::BundleType);
    gtk_widget_grab_focus(LookUpWidget("buttonBack"));
    click("buttonBack");
    EXPECT_EQ(page(), 0);
    EXPECT_EQ(focused(), "buttonNext");
}

TEST_F(Accessibility, TellsTheResultAndPutsTheFocusOnFinish) {
    walkTo(WizardPage::Progress);
    EXPECT_EQ(atk_object_get_role(accessible("boxResult")), ATK_ROLE_ALERT);
    const Appearances alerts(accessible("boxResult"));
    gtk_widget_grab_focus(LookUpWidget("buttonCancel"));
    m_window->updateStatus(nullptr, 0);
    settle();
    EXPECT_EQ(alerts.all(), 1);
    EXPECT_EQ(focused(), "buttonNext");
    EXPECT_STREQ(atk_object_get_name(accessible("buttonNext")), "Finish");
    EXPECT_THAT(descriptionsOf(accessible("buttonNext")), ElementsAre(label("labelResultMsg")));
}

TEST_F(Accessibility, TellsOfPasswordsThatDifferEachTime) {
    walkTo(WizardPage::Encryption);
    setActive("checkbuttonEncryption", true);
    EXPECT_EQ(atk_object_get_role(accessible("boxPasswordNotMatch")), ATK_ROLE_ALERT);
    const Appearances alerts(accessible("boxPasswordNotMatch"));
    type("entryPassword", "one");
    type("entryConfirmPassword", "other");
    next();
    EXPECT_EQ(alerts.all(), 1);
    next();
    EXPECT_EQ(alerts.all(), 2);
    EXPECT_TRUE(visible("labelPasswordNotMatch"));
    EXPECT_TRUE(visible("boxPasswordNotMatch"));
}

TEST_F(Accessibility, DescribesThePasswordsByTheirDifference) {
    walkTo(WizardPage::Encryption);
    setActive("checkbuttonEncryption", true);
    type("entryPassword", "one");
    type("entryConfirmPassword", "other");
    for (const char* entry : {"entryPassword", "entryConfirmPassword"}) {
        EXPECT_THAT(descriptionsOf(accessible(entry)), IsEmpty());
        next();
        EXPECT_THAT(descriptionsOf(accessible(entry)), ElementsAre("Passwords entered do not match"));
        press(entry, GDK_KEY_a);
        EXPECT_THAT(descriptionsOf(accessible(entry)), IsEmpty());
    }
}

TEST_F(Accessibility, DescribesBrowseByTheTarget) {
    open();
    EXPECT_THAT(descriptionsOf(accessible("buttonBrowse")),
                ElementsAre("Select target bundle location.", label("labelFileLocation")));
}

TEST_F(Accessibility, TellsOfProgressEveryFiveSecondsIfNothingElseIsAskedFor) {
    EXPECT_EQ(ProgressPage::kQuiet, std::chrono::seconds(5));
}

TEST_F(Accessibility, TellsOfProgressNoMoreOftenThanIsAskedFor) {
    walkTo(WizardPage::Progress);
    const Tidings announcements(accessible("labelFileCollected"), "announcement",
                                G_CALLBACK(&Tidings::onText));
    const Tidings names(accessible("labelFileCollected"), "property-change::accessible-name",
                        G_CALLBACK(&Tidings::onProperty));
    const Tidings shares(accessible("progressBar"), "property-change::accessible-value",
                         G_CALLBACK(&Tidings::onProperty));
    int step = 0;
    for (std::size_t told = 1; told <= 2; ++told) {
        ASSERT_TRUE(eventually([&] {
            ++step;
            report(step % 100, "step " + std::to_string(step));
            return announcements.texts().size() == told;
        }));
        EXPECT_EQ(announcements.texts().back(), label("labelFileCollected"));
        EXPECT_EQ(atk_object_get_name(accessible("labelFileCollected")), label("labelFileCollected"));
    }
    // What came last is told although nothing comes behind it.
    report(99, "last");
    waitUntil([&] { return announcements.texts().size() == 3; });
    EXPECT_EQ(announcements.texts().back(), "last");
    for (const Tidings* tidings : {&announcements, &names, &shares}) {
        EXPECT_THAT(tidings->pausesMs(), Each(Ge(kShortQuiet.count() - 1)));
        EXPECT_THAT(tidings->pausesMs(), Not(IsEmpty()));
    }
}

TEST_F(Accessibility, TellsOfAStepOnceHoweverItsShareGrows) {
    walkTo(WizardPage::Progress);
    const Tidings announcements(accessible("labelFileCollected"), "announcement",
                                G_CALLBACK(&Tidings::onText));
    const Tidings shares(accessible("progressBar"), "property-change::accessible-value",
                         G_CALLBACK(&Tidings::onProperty));
    report(10, "step");
    report(20, "step");
    waitUntil([&] { return shares.texts().size() == 2; });
    EXPECT_THAT(announcements.texts(), ElementsAre("step"));
}

TEST_F(Accessibility, TellsOfNoProgressBehindTheResult) {
    walkTo(WizardPage::Progress);
    report(10, "first");
    report(20, "second");
    const Tidings announcements(accessible("labelFileCollected"), "announcement",
                                G_CALLBACK(&Tidings::onText));
    m_page.end();
    bool isLongGone = false;
    g_timeout_add(
        static_cast<guint>(2 * kShortQuiet.count()),
        [](gpointer flag) -> gboolean {
            *static_cast<bool*>(flag) = true;
            return G_SOURCE_REMOVE;
        },
        &isLongGone);
    waitUntil([&] { return isLongGone; });
    EXPECT_THAT(announcements.texts(), IsEmpty());
}

TEST_F(Accessibility, HoldsNothingBackBehindTheResult) {
    walkTo(WizardPage::Progress);
    for (const uint32_t percent : {10U, 20U}) {
        const MEROStatusInfo info{.m_progress = percent, .m_message = "step"};
        m_window->updateStatus(&info, MEROOFFLINE_ERROR_PROCESSING);
        settle();
    }
    const Tidings shares(accessible("progressBar"), "property-change::accessible-value",
                         G_CALLBACK(&Tidings::onProperty));
    m_window->updateStatus(nullptr, 0);
    settle();
    EXPECT_EQ(shares.texts().size(), 1U);
}

} // namespace
