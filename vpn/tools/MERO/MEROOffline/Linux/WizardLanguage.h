#pragma once

#include "tools/MERO/MEROOffline/Linux/UserTexts.h"

#include <string>

/// In which language, and in which direction, the wizard speaks. GTK main thread.

/// Chooses the catalogues: those beside a program that is not installed, if it has some, else the suite's.
/// Windows made from here on are mirrored if their texts are written from right to left. The paths and the
/// local policy must be there.
/// @param programFolder  ends in "/".
void setUpLanguage(const std::string& programFolder);

/// The text to show for a key of the message catalogue; the key itself if it has no translation.
/// @return valid UTF-8, whatever the bytes of the key and of the catalogue.
[[nodiscard]] std::string translateText(const std::string& key);
[[nodiscard]] std::string translateText(UserText text);

// Each of these shows a text of the table, where there is a widget of that id and class.

void showText(const char* labelId, UserText text);
/// In a check or radio button, which its key presses from here on.
void showOption(const char* id, UserText text);
/// In a button's own label, likewise.
void showButton(const char* id, const char* labelId, UserText text);

/// A report of the engine as it is shown. A step that names an item or a tool is not in the catalogue as a
/// whole: its text and the item's description, which may be marked for translation, are translated on their
/// own; a tool keeps its name.
[[nodiscard]] std::string shownReport(const std::string& message);
