#pragma once

#include <string>

/// Which key presses a button or an option together with Alt. GTK main thread only.
struct Mnemonic {
    /// Value of the key; 0 if there is none.
    unsigned int key;
    /// What a label takes to show its text with the letter underlined; empty if the text has
    /// no such letter there.
    std::string underlined;
};

/// @param shown   the text that the control shows, which stays as it is.
/// @param marked  the same as it is marked for its language, with a "_" in front of the letter. Where the
/// letter is not of the text, as in "(_N)" behind it, its key counts all the same.
[[nodiscard]] Mnemonic mnemonicOf(const std::string& shown, const std::string& marked);

/// Has Alt and the marked letter press a control of the main window, in place of its former letter. It is
/// underlined in the control's text, or told by its tooltip where it can't be. Does nothing if there is no
/// such control.
/// @param marked  as above; the control shows its text already.
void setMnemonic(const char* controlId, const std::string& marked);
