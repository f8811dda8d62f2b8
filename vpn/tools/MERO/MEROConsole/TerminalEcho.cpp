#include "TerminalEcho.h"

#include "Log.h"

#include <cerrno>
#include <cstdio>
#include <unistd.h>

namespace {

/// Written by the signal handler, so of the one type that a handler may write.
volatile std::sig_atomic_t g_heldSignal = 0;

void holdSignal(int number) {
    g_heldSignal = number;
}

} // namespace

TerminalEcho::TerminalEcho(int fd, const char* prompt) {
    g_heldSignal = 0;
    if (isatty(fd) == 0 || tcgetattr(fd, &m_former) != 0) {
        return;
    }
    // Without SA_RESTART, so that a read that waits for the line comes back.
    struct sigaction hold {};
    hold.sa_handler = &holdSignal;
    for (std::size_t i = 0; i < kSignals.size(); ++i) {
        static_cast<void>(sigaction(kSignals[i], &hold, &m_formerActions[i])); // fails for bad numbers only
    }
    m_fd = fd;
    termios silent = m_former;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHOE | ECHOK);
    if (tcsetattr(fd, TCSAFLUSH, &silent) != 0) {
        const int error = errno;
        ZRN_LOG_CODE('W', "tcsetattr", error);
    }
    static_cast<void>(std::fputs(prompt, stderr)); // a prompt that nobody sees stops nothing
}

TerminalEcho::~TerminalEcho() {
    if (m_fd < 0) {
        return;
    }
    static_cast<void>(std::fputs("\n", stderr)); // the line end that was typed unseen
    if (tcsetattr(m_fd, TCSAFLUSH, &m_former) != 0) {
        const int error = errno;
        ZRN_LOG_CODE('W', "tcsetattr", error);
    }
    for (std::size_t i = 0; i < kSignals.size(); ++i) {
        static_cast<void>(sigaction(kSignals[i], &m_formerActions[i], nullptr)); // fails for bad numbers only
    }
    if (g_heldSignal != 0) {
        static_cast<void>(raise(g_heldSignal)); // fails for bad numbers only
    }
}

bool TerminalEcho::wasInterrupted() noexcept {
    return g_heldSignal != 0;
}
