#pragma once

#include "Handles.h"

#include <csignal>
#include <termios.h>

/// Asks at a terminal without showing what is typed, for as long as the object lives. Does nothing for a
/// descriptor that is no terminal. Signals that end programs are held back until the echo is on again, and
/// then take their course. On the main thread, before others are started.
class TerminalEcho {
public:
    /// Switches the echo of `fd` off and prints `prompt` on standard error.
    TerminalEcho(int fd, const char* prompt);
    /// Puts terminal and signals back; a signal that came meanwhile arrives now.
    ~TerminalEcho();
    TerminalEcho(const TerminalEcho&) = delete;
    TerminalEcho& operator=(const TerminalEcho&) = delete;

    /// Waits until something was typed.
    /// @return false if a held-back signal came first; true at once for what is no terminal.
    [[nodiscard]] bool waitForInput() const;

private:
    /// The terminal, or -1 if there is none to put back.
    int m_fd = -1;
    termios m_former{};
    sigset_t m_formerMask{};
    /// Readable once a held-back signal has come; the signal itself stays pending.
    FileDescriptor m_signals;
};
