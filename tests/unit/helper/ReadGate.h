#pragma once

#include "Common/Utility/memory/Handles.h"

#include <functional>
#include <string>
#include <sys/types.h>
#include <thread>

/// Holds back the first process that reads a file, between its open and the bytes that it gets, and lets
/// something happen meanwhile. Needs the right to administer the system.
class ReadGate {
public:
    /// @param meanwhile  called in a thread of the gate with the reader's process id. The reader goes on when
    ///                   it returns.
    ReadGate(const std::string& file, std::function<void(pid_t)> meanwhile);
    /// Waits for that thread. Fails the test if nobody has read.
    ~ReadGate();
    ReadGate(const ReadGate&) = delete;
    ReadGate& operator=(const ReadGate&) = delete;

    /// Whether this process may hold others back.
    [[nodiscard]] static bool isAllowed();

private:
    void waitForReader(const std::function<void(pid_t)>& meanwhile);

    FileDescriptor m_events;
    std::thread m_thread;
};
