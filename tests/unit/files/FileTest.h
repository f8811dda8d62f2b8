#pragma once

#include "tests/support/CapturedLog.h"
#include "tests/support/Sandbox.h"

#include <cstdint>
#include <functional>
#include <string>
#include <sys/resource.h>
#include <vector>

/// Fixture of the file functions: a private folder and the log of what happens in it.
class FileTest : public Sandbox {
protected:
    /// How many plain messages of this function have exactly this text.
    [[nodiscard]] int countMessages(char severity, const std::string& function,
                                    const std::string& text) const;
    /// How many lines there are in all.
    [[nodiscard]] size_t lineCount() const { return log.lines().size(); }
    /// Lets every user into the private folder, for what runs without root's rights.
    void openToAll() const;

    CapturedLog log;
};

/// Runs `body` in a child process and tells whether all its expectations held. For what can't be taken back:
/// rights, limits, mounts.
[[nodiscard]] bool holdsInChild(const std::function<void()>& body);
/// The same without root's rights; for an ordinary user just in a child.
[[nodiscard]] bool holdsUnprivileged(const std::function<void()>& body);

/// Lowers a soft limit and puts it back.
class LowLimit {
public:
    LowLimit(__rlimit_resource resource, rlim_t value);
    ~LowLimit();
    LowLimit(const LowLimit&) = delete;
    LowLimit& operator=(const LowLimit&) = delete;

private:
    __rlimit_resource m_resource;
    rlimit m_former{};
};

/// A chain of `levels` folders named "d" below `top`, each made inside the one before, with the file
/// "bottom.log" in the last. Removed level by level, because library calls run out of descriptors on it.
class DeepTree {
public:
    DeepTree(std::string top, int levels);
    ~DeepTree();
    DeepTree(const DeepTree&) = delete;
    DeepTree& operator=(const DeepTree&) = delete;
    /// Removes a tree of the same form that somebody else has made.
    static void remove(const std::string& top);

private:
    std::string m_top;
};

/// Content of a length that shows when a part of it is missing or stands elsewhere.
[[nodiscard]] std::string bytes(size_t count);
/// Names in the order in which the folder delivers them.
[[nodiscard]] std::vector<std::string> folderOrder(const std::string& folder);
/// Names that a careless program stumbles over: line feeds, quotes, bytes that are no UTF-8, the longest
/// name.
[[nodiscard]] std::vector<std::string> nastyNames();
/// Number of descriptors that the process has open.
[[nodiscard]] size_t openDescriptors();
/// Sets the modification time in seconds.
void setModificationTime(const std::string& path, int64_t seconds);
