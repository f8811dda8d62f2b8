#include "tools/MERO/MEROOffline/Linux/CommentView.h"

#include "tools/MERO/MEROOffline/Linux/Glib/HandlerGuard.h"

#include <string_view>

namespace {

/// More than any comment that is accepted has.
constexpr gint kShownCharacters = 4096;
constexpr const char* kWrappedTag = "mero-wrapped";
constexpr const char* kUnshownTag = "mero-unshown";

/// Looks again at the paragraph of a place.
void boundParagraph(GtkTextBuffer* buffer, const GtkTextIter& place) {
    GtkTextIter start;
    gtk_text_buffer_get_iter_at_line(buffer, &start, gtk_text_iter_get_line(&place));
    GtkTextIter end = start;
    if (gtk_text_iter_ends_line(&end) == FALSE) {
        gtk_text_iter_forward_to_line_end(&end);
    }
    gtk_text_buffer_remove_tag_by_name(buffer, kWrappedTag, &start, &end);
    gtk_text_buffer_remove_tag_by_name(buffer, kUnshownTag, &start, &end);
    if (gtk_text_iter_get_chars_in_line(&start) > kShownCharacters) {
        gtk_text_buffer_apply_tag_by_name(buffer, kWrappedTag, &start, &end);
        gtk_text_iter_forward_chars(&start, kShownCharacters);
        gtk_text_buffer_apply_tag_by_name(buffer, kUnshownTag, &start, &end);
    }
}

/// Whether some paragraph of a text may be too long; those of any number of short ones need no look.
bool hasLongParagraph(std::string_view text) {
    while (text.size() > static_cast<std::size_t>(kShownCharacters)) {
        const std::size_t end = text.find('\n');
        // Also where there is none.
        if (end > static_cast<std::size_t>(kShownCharacters)) {
            return true;
        }
        text.remove_prefix(end + 1);
    }
    return false;
}

void onInserted(GtkTextBuffer* buffer, GtkTextIter* end, gchar* text, gint bytes, gpointer /*data*/) {
    runHandler(__func__, [&] {
        const std::string_view inserted(text, static_cast<std::size_t>(bytes));
        GtkTextIter place = *end;
        gtk_text_iter_backward_chars(&place, static_cast<gint>(g_utf8_strlen(text, bytes)));
        boundParagraph(buffer, place);
        if (hasLongParagraph(inserted)) {
            while (gtk_text_iter_forward_line(&place) != FALSE && gtk_text_iter_compare(&place, end) < 0) {
                boundParagraph(buffer, place);
            }
        }
        boundParagraph(buffer, *end);
    });
}

void onDeleted(GtkTextBuffer* buffer, GtkTextIter* start, GtkTextIter* /*end*/, gpointer /*data*/) {
    runHandler(__func__, [&] { boundParagraph(buffer, *start); });
}

} // namespace

void keepCommentQuick(GtkTextView* view) {
    GtkTextBuffer* const buffer = gtk_text_view_get_buffer(view);
    gtk_text_buffer_create_tag(buffer, kWrappedTag, "wrap-mode", GTK_WRAP_CHAR, nullptr);
    gtk_text_buffer_create_tag(buffer, kUnshownTag, "invisible", TRUE, nullptr);
    g_signal_connect_after(buffer, "insert-text", G_CALLBACK(&onInserted), nullptr);
    g_signal_connect_after(buffer, "delete-range", G_CALLBACK(&onDeleted), nullptr);
}

gchar* wholeText(GtkTextBuffer* buffer) {
    GtkTextIter start;
    GtkTextIter end;
    gtk_text_buffer_get_bounds(buffer, &start, &end);
    return gtk_text_buffer_get_text(buffer, &start, &end, TRUE);
}
