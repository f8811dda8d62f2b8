#include "tests/wizard/Appearance.h"
#include "Common/Utility/ReturnCodes.h"
#include "tests/wizard/FocusWalk.h"
#include "tests/wizard/SelectionPage.h"
#include "tests/wizard/ShownTexts.h"
#include "tests/wizard/UsedLanguage.h"
#include "tests/wizard/WindowPictures.h"

#include <cstdlib>
#include <gdk/gdkx.h>
#include <gmock/gmock.h>
#include <optional>

namespace {

using testing::IsEmpty;
using testing::ValuesIn;

/// The folder that pictures are wanted in; null where only the checks are.
const char* pictureFolder() {
    return std::getenv("MERO_PICTURES");
}

/// All of them for pictures, which come with the fonts that these need.
std::vector<Appearance> wantedAppearances() {
    std::vector<Appearance> wanted(appearances().begin(), appearances().end());
    if (pictureFolder() == nullptr) {
        std::erase_if(wanted, [](const Appearance& appearance) { return appearance.inPicturesOnly; });
    }
    return wanted;
}

MEROStatusInfo report(uint32_t percent, const char* message) {
    return {.m_progress = percent, .m_message = message};
}

} // namespace

/// Both roads through the wizard, on a desktop of a certain look. Where pictures are wanted, each page's is
/// taken.
class Appearances : public Wizard, public testing::WithParamInterface<Appearance> {
public:
    ~Appearances() override {
        m_window.reset();
        takeOff();
    }

protected:
    Appearances() {
        if (GetParam().language != nullptr) {
            m_language.emplace(GetParam().language);
        }
        putOn(GetParam());
        if (const char* folder = pictureFolder()) {
            m_pictures.emplace(std::string(folder) + "/" + GetParam().name);
        }
    }

    /// Makes the window, as the active one.
    void start() {
        m_window.reset();
        if (m_pictures.has_value()) {
            waitUntil([] {
                return std::string(gdk_x11_screen_get_window_manager_name(gdk_screen_get_default())) !=
                       "unknown";
            });
        }
        open();
        putOn(window(), GetParam().look);
        if (GetParam().isSmall) {
            gtk_window_resize(GTK_WINDOW(window()), 1, 1);
        }
    }

    static GtkWidget* window() { return LookUpWidget("windowMain", GTK_TYPE_WINDOW); }

    /// Looks at a window as it is now. Every fault in it fails the test.
    void lookAt(GtkWidget* shown, const std::string& name) {
        SCOPED_TRACE(name);
        activate(shown);
        EXPECT_THAT(cutTexts(shown), IsEmpty());
        EXPECT_THAT(textsWithoutLetters(shown), IsEmpty());
        EXPECT_THAT(faintTexts(shown), IsEmpty());
        if (m_pictures.has_value()) {
            EXPECT_TRUE(m_pictures->take(shown, name));
        }
        EXPECT_THAT(focusFaults(shown), IsEmpty());
        // What the focus has come to by a key may be selected now.
        EXPECT_THAT(faintTexts(shown), IsEmpty());
    }
    void look(const std::string& name) { lookAt(window(), name); }

    /// Answers the open dialog after a look at it.
    void lookAtDialog(const std::string& name) {
        waitUntil([] { return messageDialog() != nullptr; });
        lookAt(messageDialog(), name);
        gtk_dialog_response(GTK_DIALOG(messageDialog()), GTK_RESPONSE_OK);
        settle();
    }

    void reportProgress() {
        const MEROStatusInfo info = report(58, R"(Processing _tr("Network")...)");
        m_window->updateStatus(&info, MEROOFFLINE_ERROR_PROCESSING);
        settle();
    }

    void reportResult(uint64_t status, const char* message = "") {
        const MEROStatusInfo info = report(100, message);
        m_window->updateStatus(&info, status);
        settle();
    }

    static void expandCheckedRoot() {
        const std::string place = cursor();
        gtk_tree_view_expand_row(treeView(),
                                 std::unique_ptr<GtkTreePath, Releaser<&gtk_tree_path_free>>(
                                     gtk_tree_path_new_from_string(place.c_str()))
                                     .get(),
                                 FALSE);
    }

    std::optional<WindowPictures> m_pictures;

private:
    /// Gives a window the keyboard, and waits until it is laid out and painted.
    static void activate(GtkWidget* shown) {
        waitUntil([shown] { return gtk_widget_get_mapped(shown) != FALSE; });
        awaitPaint(shown);
        gdk_window_focus(gtk_widget_get_window(shown), GDK_CURRENT_TIME);
        // It may have been the active one under the pointer, which it first ceases to be.
        gdk_display_sync(gtk_widget_get_display(shown));
        settle();
        waitUntil([shown] { return gtk_window_is_active(GTK_WINDOW(shown)) != FALSE; });
        awaitPaint(shown);
    }

    static void awaitPaint(GtkWidget* shown) {
        settle();
        bool isPainted = false;
        GdkFrameClock* const clock = gtk_widget_get_frame_clock(shown);
        const gulong handler = g_signal_connect_swapped(
            clock, "after-paint", G_CALLBACK(+[](bool* painted) { *painted = true; }), &isPainted);
        gtk_widget_queue_draw(shown);
        waitUntil([&isPainted] { return isPainted; });
        g_signal_handler_disconnect(clock, handler);
    }

    std::optional<UsedLanguage> m_language;
};

TEST_P(Appearances, ShowEveryPageWholeAndLegibleAndWithItsFocus) {
    ASSERT_THAT(familyFor(GetParam().font), testing::Not(IsEmpty()));
    ASSERT_EQ(std::string(GetParam().font).find(familyFor(GetParam().font)), 0U)
        << familyFor(GetParam().font) << " stands in for " << GetParam().font;

    start();
    ASSERT_EQ(gtk_widget_get_scale_factor(window()), GetParam().scale);
    look("1-welcome");
    next();
    look("2-typical");
    next();
    look("3-encryption-off");
    setActive("checkbuttonEncryption", true);
    type("entryPassword", "password");
    type("entryConfirmPassword", "another");
    next();
    ASSERT_TRUE(visible("labelPasswordNotMatch"));
    look("3-encryption-mismatch");
    type("entryConfirmPassword", "password");
    next();
    lookAtDialog("4-warning");
    reportProgress();
    look("4-progress");
    reportResult(0);
    look("5-result");

    start();
    next();
    setActive("radiobuttonBundleCustom", true);
    look("6-custom");
    next();
    expandCheckedRoot();
    look("7-selection");
    next();
    setComment("It stops after the first login of the day.\n");
    look("8-target");
    setComment(std::string(2049, 'x'));
    next();
    lookAtDialog("8-target-comment-too-long");
    setComment("");
    next();
    next();
    lookAtDialog("9-warning");
    reportProgress();
    reportResult(MEROENGINE_ERROR_BUNDLE_INCOMPLETE, "1234 files could not be packed, see not-packed.txt");
    look("9-result-incomplete");
    reportResult(MEROENGINE_ERROR_UNEXPECTED);
    look("9-result-failure");
    EXPECT_TRUE(!m_pictures.has_value() || m_pictures->writeSheet());
}

INSTANTIATE_TEST_SUITE_P(Of, Appearances, ValuesIn(wantedAppearances()),
                         [](const testing::TestParamInfo<Appearance>& appearance) {
                             return appearance.param.name;
                         });
