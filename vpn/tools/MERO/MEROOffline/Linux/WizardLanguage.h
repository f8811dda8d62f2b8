#pragma once

#include <string>

/// In which language, and in which direction, the wizard speaks. GTK main thread.

/// Chooses the catalogues: those beside a program that is not installed, if it has some, else the suite's.
/// Windows made from here on are mirrored if their texts are written from right to left. The paths and the
/// local policy must be there.
/// @param programFolder  ends in "/".
void setUpLanguage(const std::string& programFolder);

/// A report of the engine as it is shown. A step that names an item or a tool is not in the catalogue as a
/// whole: its text and the item's description, which may be marked for translation, are translated on their
/// own; a tool keeps its name.
[[nodiscard]] std::string shownReport(const std::string& message);
