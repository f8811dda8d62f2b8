#pragma once

#include <chrono>
#include <functional>

/// Something that must not stay behind this process, and that its maker removes in the ordinary course of
/// things. Where the maker doesn't come to it, as in a wait for a file system that does not answer, somebody
/// else calls runCleanUps before the process ends. Any thread.
class CleanUp {
public:
    /// @param remove  what to do then, once at most, while its maker may be at work in another thread; throws
    /// nothing, and makes and destroys no CleanUp.
    explicit CleanUp(std::function<void()> remove);
    /// Takes it back. Waits for runCleanUps of another thread.
    ~CleanUp();
    CleanUp(const CleanUp&) = delete;
    CleanUp& operator=(const CleanUp&) = delete;

private:
    friend void runCleanUps() noexcept;

    std::function<void()> m_remove;
};

/// Does what is left to do, the latest first. The process should end afterwards.
void runCleanUps() noexcept;

/// Waits until all makers have come to it themselves. @return whether they have within the limit.
[[nodiscard]] bool awaitCleanUps(std::chrono::milliseconds limit);
