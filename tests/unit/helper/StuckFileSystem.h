#pragma once

#include "Common/Utility/memory/Handles.h"

#include <functional>
#include <string>

/// A mounted file system that never answers what it is asked. Who has asked can't even be killed before it
/// has gone. Only for a process with a mount namespace of its own.
class StuckFileSystem {
public:
    explicit StuckFileSystem(const std::string& folder);
    StuckFileSystem(const StuckFileSystem&) = delete;
    StuckFileSystem& operator=(const StuckFileSystem&) = delete;
    ~StuckFileSystem();

    /// Takes the first question without answering it. @return false if none comes.
    [[nodiscard]] bool takeQuestion() const;
    /// Ends all questions with a failure.
    void abandon() { m_device.reset(); }

private:
    std::string m_folder;
    FileDescriptor m_device;
};

/// Runs checks in a process of their own that sees a file system which never answers in a folder, with the
/// path of a file on it. Skips the test where there can be no such file system.
void withStuckFolder(const std::string& folder,
                     const std::function<void(StuckFileSystem&, const std::string&)>& checks);
