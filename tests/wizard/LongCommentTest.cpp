#include "tests/support/Sanitizers.h"
#include "tests/wizard/WizardFixture.h"

#include <algorithm>
#include <ctime>
#include <gmock/gmock.h>

namespace {

/// In which the window has to answer. Time of the processor, of which other tests may take some too.
constexpr double kAnswerSeconds = kAddressSanitizer || kThreadSanitizer ? 4 : 0.2;

double processorSeconds() {
    timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

class LongComment : public Wizard {
protected:
    static GtkTextBuffer* buffer() {
        return gtk_text_view_get_buffer(GTK_TEXT_VIEW(LookUpWidget("textviewComment", GTK_TYPE_TEXT_VIEW)));
    }
    /// Until the field is on the screen: what is drawn for the first time is laid out in another way.
    static void awaitDrawn() {
        bool isDrawn = false;
        const auto onDraw = +[](bool* drawn) -> gboolean {
            *drawn = true;
            return GDK_EVENT_PROPAGATE;
        };
        GtkWidget* const view = LookUpWidget("textviewComment", GTK_TYPE_TEXT_VIEW);
        const gulong handler = g_signal_connect_swapped(view, "draw", G_CALLBACK(onDraw), &isDrawn);
        gtk_widget_queue_draw(view); // it may have been drawn already
        waitUntil([&] { return isDrawn; });
        g_signal_handler_disconnect(view, handler);
    }
    /// As from the clipboard. @return the longest time in which the window did not answer.
    static double paste(const std::string& text) {
        double start = processorSeconds();
        gtk_text_buffer_insert_at_cursor(buffer(), text.data(), static_cast<gint>(text.size()));
        double longest = processorSeconds() - start;
        do {
            start = processorSeconds();
            g_main_context_iteration(nullptr, FALSE);
            longest = std::max(longest, processorSeconds() - start);
        } while (g_main_context_pending(nullptr) != FALSE);
        return longest;
    }
    /// How long the same text takes where nothing shows it.
    static double secondsWithoutAView(const std::string& text) {
        const auto bare = adoptRef(gtk_text_buffer_new(nullptr));
        const double start = processorSeconds();
        gtk_text_buffer_set_text(bare.get(), text.data(), static_cast<gint>(text.size()));
        return processorSeconds() - start;
    }
    static std::string shown() {
        GtkTextIter start;
        GtkTextIter end;
        gtk_text_buffer_get_bounds(buffer(), &start, &end);
        return TextHandle(gtk_text_buffer_get_text(buffer(), &start, &end, FALSE)).get();
    }
    static void removeFrom(int character) {
        GtkTextIter start;
        GtkTextIter end;
        gtk_text_buffer_get_bounds(buffer(), &start, &end);
        gtk_text_iter_set_offset(&start, character);
        gtk_text_buffer_delete(buffer(), &start, &end);
    }
};

TEST_F(LongComment, OfAHundredThousandCharactersWithoutABlankLeavesTheWindowQuick) {
    walkTo(WizardPage::Target, false);
    EXPECT_LT(paste(std::string(100000, 'x')), kAnswerSeconds);
    EXPECT_LT(paste("y"), kAnswerSeconds);
}

TEST_F(LongComment, OfAMegabyteLeavesTheWindowQuick) {
    walkTo(WizardPage::Target, false);
    EXPECT_LT(paste(std::string(1U << 20U, 'x')), kAnswerSeconds);
    removeFrom(0);
    std::string words;
    while (words.size() < 1U << 20U) {
        words += "some words ";
    }
    EXPECT_LT(paste(words), kAnswerSeconds);
}

TEST_F(LongComment, OfAMegabyteInShortLinesLeavesTheWindowQuick) {
    walkTo(WizardPage::Target, false);
    awaitDrawn();
    std::string lines;
    while (lines.size() < 1U << 20U) {
        lines += "some words\n";
    }
    // GTK itself takes its time for so many; to lay all of them out at once takes a hundred times as long.
    EXPECT_LT(paste(lines), 10 * secondsWithoutAView(lines));
}

TEST_F(LongComment, ThatIsMuchTooLongIsCountedWhole) {
    walkTo(WizardPage::Target, false);
    static_cast<void>(paste(std::string(100000, 'x') + "\nlast"));
    EXPECT_LT(shown().size(), 10000U);
    EXPECT_THAT(shown(), testing::EndsWith("\nlast"));
    EXPECT_FALSE(m_window->validateComments());
    EXPECT_THAT(dialogText(), testing::HasSubstr(" 100005 characters long"));
}

TEST_F(LongComment, ThatIsShortenedIsShownWholeAgain) {
    walkTo(WizardPage::Target, false);
    static_cast<void>(paste(std::string(100000, 'x')));
    removeFrom(4000);
    EXPECT_EQ(shown(), std::string(4000, 'x'));
    removeFrom(2048);
    EXPECT_TRUE(m_window->validateComments());
    EXPECT_EQ(m_window->getComments(), std::string(2048, 'x'));
}

} // namespace
