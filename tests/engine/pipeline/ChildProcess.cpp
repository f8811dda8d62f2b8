#include "tests/engine/pipeline/ChildProcess.h"

#include <array>
#include <csignal>
#include <exception>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

ChildProcess::ChildProcess(const std::function<std::string()>& body) {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    m_pid = ::fork();
    if (m_pid != 0) {
        ::close(ends[1]);
        m_output = ends[0];
        return;
    }
    ::close(ends[0]);
    std::string text;
    try {
        text = body();
    } catch (const std::exception& error) {
        text = std::string("threw: ") + error.what();
    }
    const ssize_t written = ::write(ends[1], text.data(), text.size());
    ::_exit(written == static_cast<ssize_t>(text.size()) ? 0 : 1);
}

ChildProcess::~ChildProcess() {
    if (m_pid > 0) {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
    if (m_output >= 0) {
        ::close(m_output);
    }
}

std::string ChildProcess::result() {
    std::string text;
    std::array<char, 4096> block{};
    for (ssize_t got = 1; got > 0;) {
        got = ::read(m_output, block.data(), block.size());
        text.append(block.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
    }
    int status = -1;
    EXPECT_EQ(::waitpid(m_pid, &status, 0), m_pid);
    m_pid = -1;
    EXPECT_EQ(status, 0);
    return text;
}
