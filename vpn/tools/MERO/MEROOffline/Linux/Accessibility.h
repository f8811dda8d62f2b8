#pragma once

#include <cstdint>
#include <string>

/// What the window tells screen readers beyond what GTK does by itself. GTK main thread only. Each of these
/// does nothing where a widget is missing.

/// Names the page that comes into view, which is where a screen reader finds itself after a page change, and
/// has it described by its leading texts. On the first and on the last page these describe Next as well,
/// which has the focus there.
/// @param page  number of a page of the notebook.
/// @param name  its header as it is shown.
void tellPage(uint32_t page, const std::string& name);

/// Has a widget described by the text of another one, or no longer.
void setDescribed(const char* id, const char* describingId, bool described);

/// Has a screen reader say a text where it stands, without a move of the focus. Those that know no
/// announcements stay silent.
/// @param id  the widget that the text is about.
void announce(const char* id, const std::string& text);
