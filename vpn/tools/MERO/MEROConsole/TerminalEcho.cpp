#include "tools/MERO/MEROConsole/TerminalEcho.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/process/StopRequest.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace {

/// The signals that end programs, less those that this one was told to ignore.
sigset_t endingSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        struct sigaction action {};
        if (sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
            sigaddset(&signals, number);
        }
    }
    return signals;
}

} // namespace

TerminalEcho::TerminalEcho(int fd, const char* prompt) : m_input(fd) {
    if (isatty(fd) == 0 || tcgetattr(fd, &m_former) != 0) {
        return;
    }
    m_fd = fd;
    const sigset_t signals = endingSignals();
    static_cast<void>(pthread_sigmask(SIG_BLOCK, &signals, &m_formerMask)); // fails for bad arguments only
    m_signals.reset(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!m_signals) {
        ZRN_LOG_ERRNO('W', "signalfd");
    }
    termios silent = m_former;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHOE | ECHOK);
    if (tcsetattr(fd, TCSAFLUSH, &silent) != 0) {
        ZRN_LOG_ERRNO('W', "tcsetattr");
    }
    static_cast<void>(std::fputs(prompt, stderr)); // a prompt that nobody sees stops nothing
}

TerminalEcho::~TerminalEcho() {
    if (m_fd < 0) {
        return;
    }
    static_cast<void>(std::fputs("\n", stderr)); // the line end that was typed unseen
    if (tcsetattr(m_fd, TCSAFLUSH, &m_former) != 0) {
        ZRN_LOG_ERRNO('W', "tcsetattr");
    }
    static_cast<void>(pthread_sigmask(SIG_SETMASK, &m_formerMask, nullptr)); // fails for bad arguments only
}

bool TerminalEcho::waitForInput() const {
    std::array<pollfd, 3> sources{pollfd{m_input, POLLIN, 0}, pollfd{m_signals.get(), POLLIN, 0},
                                  pollfd{stopDescriptor(), POLLIN, 0}};
    while (poll(sources.data(), sources.size(), -1) < 0) {
        if (errno != EINTR) {
            return true; // the read that follows tells what is wrong
        }
    }
    return sources[1].revents == 0 && !isStopRequested();
}
