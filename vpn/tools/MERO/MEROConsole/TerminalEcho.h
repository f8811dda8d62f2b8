#pragma once

#include "Common/Utility/memory/Handles.h"

#include <csignal>
#include <termios.h>

/// Asks at a terminal without showing what is typed, for as long as the object lives. For a descriptor that
/// is no terminal it only waits. Signals that end programs are held back in this thread until the echo is on
/// again, and then take their course. On the main thread.
class TerminalEcho {
public:
    /// Switches the echo of `fd` off and prints `prompt` on standard error.
    TerminalEcho(int fd, const char* prompt);
    /// Puts terminal and signals back; a signal that came meanwhile arrives now.
    ~TerminalEcho();
    TerminalEcho(const TerminalEcho&) = delete;
    TerminalEcho& operator=(const TerminalEcho&) = delete;

    /// Waits until there is something to read, or the end of the input.
    /// @return false if a held-back signal or a stop request came first.
    [[nodiscard]] bool waitForInput() const;

private:
    /// What is waited for.
    int m_input;
    /// The terminal, or -1 if there is none to put back.
    int m_fd = -1;
    termios m_former{};
    sigset_t m_formerMask{};
    /// Readable once a held-back signal has come; the signal itself stays pending.
    FileDescriptor m_signals;
};
