#pragma once

#include "Common/Utility/memory/Handles.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

/// A process that holds a write lease on a file, and lets go of it when the kernel asks for it, or not even
/// then.
class LeaseHolder {
public:
    explicit LeaseHolder(const std::string& path, bool isObliging = true) {
        std::array<int, 2> ends{};
        EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
        const FileDescriptor reader(ends[0]);
        FileDescriptor writer(ends[1]);
        m_pid = ::fork();
        if (m_pid == 0) {
            hold(path, writer.get(), isObliging);
        }
        writer.reset();
        char answer = '-';
        m_isHeld = ::read(reader.get(), &answer, 1) == 1 && answer == '+';
    }
    ~LeaseHolder() {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
    LeaseHolder(const LeaseHolder&) = delete;
    LeaseHolder& operator=(const LeaseHolder&) = delete;
    /// False where the file system knows no leases.
    [[nodiscard]] bool isHeld() const { return m_isHeld; }

private:
    [[noreturn]] static void hold(const std::string& path, int answerTo, bool isObliging) {
        sigset_t asked;
        ::sigemptyset(&asked);
        ::sigaddset(&asked, SIGIO);
        ::sigprocmask(SIG_BLOCK, &asked, nullptr);
        const int file = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
        const bool held = ::fcntl(file, F_SETLEASE, F_WRLCK) == 0;
        static_cast<void>(::write(answerTo, held ? "+" : "-", 1) == 1);
        int signal = 0;
        ::sigwait(&asked, &signal);
        if (isObliging) {
            ::fcntl(file, F_SETLEASE, F_UNLCK);
        }
        for (;;) {
            ::pause();
        }
    }

    pid_t m_pid = -1;
    bool m_isHeld = false;
};
