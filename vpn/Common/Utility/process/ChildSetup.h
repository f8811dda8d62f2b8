#pragma once

#include <csignal>
#include <sys/types.h>

class ChildView;

/// What every child process of ours starts with: standard input from /dev/null, default signal handlers, an
/// empty signal mask, the current folder of ChildEnvironment.h, and no descriptor of ours but standard output
/// and error (/dev/null where ours are closed). And how a child is watched and reaped, whatever started it.

/// How a child differs from that.
struct ChildSetup {
    /// Descriptor that becomes its standard output; -1 leaves ours.
    int output = -1;
    /// Standard output and standard error lead nowhere. `output` wins for the former.
    bool discardOutput = false;
    /// It leads a process group of its own, so that what it leaves behind can be ended with it. As such a
    /// group may not use our terminal and would be stopped for it, the child has no terminal.
    bool ownGroup = false;
    /// SIGTERM is sent to it when the thread that has started it ends. A change of its user afterwards
    /// would take that back.
    bool endWithCaller = false;
    /// What it sees of the file system; null for what we see. Not owned.
    const ChildView* view = nullptr;
};

/// Forks with all signals held back, so that no handler of ours runs in the child before it has set itself
/// up. The mask of the calling thread is put back in the parent before the call returns.
/// @return as fork; in the child prepareChild must follow.
[[nodiscard]] pid_t forkChild();

/// From here on forkChild of this process fails with EPERM, and none of its forks is under way when this
/// returns: for the one who ends all children and then the process. Any thread but one in forkChild.
void forbidChildren() noexcept;

/// Sets the child up. Called in the child between fork and exec; async-signal-safe.
/// @param parent  process id of the parent as it was before the fork.
/// @return false if something failed that the child can't do without; it must leave by _exit then.
[[nodiscard]] bool prepareChild(const ChildSetup& setup, pid_t parent) noexcept;

/// The parent's part of ChildSetup::ownGroup: from here on the group exists, however far the child has come.
void completeOwnGroup(pid_t child) noexcept;

enum class ChildState {
    Running,
    /// It waits to be reaped; until then no other process or group can get its number.
    Ended,
    /// No child of this process, or reaped already.
    NotOurs,
};

/// @param wait  whether to wait until the child doesn't run any more.
[[nodiscard]] ChildState getChildState(pid_t child, bool wait) noexcept;

/// waitpid that goes on after an interruption, and for one child only.
/// @return as waitpid, with ECHILD for a number that isn't positive. The status is set if a child was reaped.
[[nodiscard]] pid_t reapChild(pid_t child, int& statusOut, int options) noexcept;
