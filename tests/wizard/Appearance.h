#pragma once

#include "tests/wizard/Contrast.h"

#include <gtk/gtk.h>
#include <iosfwd>
#include <span>
#include <string>

/// How a desktop may have the wizard look.
struct Appearance {
    const char* name;
    Look look{"Adwaita", false, false};
    const char* font = "Cantarell 11";
    /// Of the catalogue; null for English.
    const char* language = nullptr;
    /// Pixels of the screen for each of the window's units.
    int scale = 1;
    /// Whether the window is as small as it can be made.
    bool isSmall = false;
    /// Whether only the pictures are of it: it needs more fonts than the tests have, or adds little to the
    /// others.
    bool inPicturesOnly = false;
};

/// Its name, for the message of a test that fails.
void PrintTo(const Appearance& appearance, std::ostream* out);

/// All those that the pictures are made of.
[[nodiscard]] std::span<const Appearance> appearances();

/// The fonts and the scale of the screen, before a window is made. The fonts' settings last until another
/// appearance, or until takeOff.
void putOn(const Appearance& appearance);
void takeOff();

/// The family of the font that a text in this one is really drawn with.
[[nodiscard]] std::string familyFor(const char* font);
