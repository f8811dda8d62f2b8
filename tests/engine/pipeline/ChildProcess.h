#pragma once

#include <functional>
#include <string>
#include <sys/types.h>

/// A child of the test that runs a function and hands its text back through a pipe. The test must not have
/// started threads before. The child leaves by _exit, so nothing of the fixture is cleaned up twice.
class ChildProcess {
public:
    explicit ChildProcess(const std::function<std::string()>& body);
    /// Kills a child that was not waited for.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// What the body returned; fails the test unless the child exits with 0.
    [[nodiscard]] std::string result();

private:
    pid_t m_pid = -1;
    int m_output = -1;
};
