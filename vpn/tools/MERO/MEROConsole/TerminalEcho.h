#pragma once

#include <array>
#include <csignal>
#include <termios.h>

/// Asks at a terminal without showing what is typed, for as long as the object lives. Does nothing for a
/// descriptor that is no terminal. A signal that ends programs is held back until the echo is on again, and
/// then takes its course. One object at a time, on the main thread before others are started.
class TerminalEcho {
public:
    /// Switches the echo of `fd` off and prints `prompt` on standard error.
    TerminalEcho(int fd, const char* prompt);
    /// Puts terminal and signals back, and sends the process the signal that came meanwhile.
    ~TerminalEcho();
    TerminalEcho(const TerminalEcho&) = delete;
    TerminalEcho& operator=(const TerminalEcho&) = delete;

    /// True once a held-back signal has come.
    [[nodiscard]] static bool wasInterrupted() noexcept;

private:
    static constexpr std::array<int, 4> kSignals{SIGINT, SIGTERM, SIGHUP, SIGQUIT};

    /// The terminal, or -1 if there is none to put back.
    int m_fd = -1;
    termios m_former{};
    std::array<struct sigaction, kSignals.size()> m_formerActions{};
};
