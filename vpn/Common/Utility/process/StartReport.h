#pragma once

#include "Common/Utility/memory/Handles.h"

/// How a child that could not become the program it was to be tells its parent so. One object for one fork;
/// it must not outlive the call that forks.
class StartReport {
public:
    /// Before the fork. @return 0 or an errno.
    [[nodiscard]] int open();
    /// In the child, instead of going on; async-signal-safe.
    /// @param error   the errno of what failed.
    /// @param status  exit status of the child.
    [[noreturn]] void fail(int error, int status) noexcept;
    /// In the parent: waits until the program runs or the child has ended.
    /// @return what the child has told, or 0.
    [[nodiscard]] int wait() noexcept;

private:
    FileDescriptor m_reader;
    /// Closed by exec, which is the sign that all went well.
    FileDescriptor m_writer;
};
