#pragma once

/// Domain of the stand-in's texts.
inline constexpr const char* kToolkitDomain = "toolkit_stand_in";

/// Says, as toolkits do when they are initialised, where the texts are and that they are wanted in UTF-8.
void setUpToolkit(const char* folder);
/// A text of the library in the user's language, looked up by the C library.
const char* toolkitText(const char* key);
/// The same by GLib, which translates only in a program that has translations.
const char* toolkitTextThroughGlib(const char* key);
