#include "tests/support/TracedChild.h"

#include "Common/Utility/memory/Handles.h"

#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// So many bytes of the memory of a process.
std::string textAt(pid_t process, uint64_t address, std::size_t size) {
    std::string text(size, '\0');
    const FileDescriptor memory(
        ::open(("/proc/" + std::to_string(process) + "/mem").c_str(), O_RDONLY | O_CLOEXEC));
    const ssize_t count = ::pread(memory.get(), text.data(), size, static_cast<off_t>(address));
    return count == static_cast<ssize_t>(size) ? text : std::string();
}

/// Whether the process, stopped at a call, is about to open that.
bool isOpening(pid_t process, const std::string& name) {
    __ptrace_syscall_info call{};
    static_cast<void>(::ptrace(PTRACE_GET_SYSCALL_INFO, process, sizeof call, &call));
    return call.op == PTRACE_SYSCALL_INFO_ENTRY && call.entry.nr == SYS_openat &&
           textAt(process, call.entry.args[1], name.size() + 1) == name + '\0';
}

} // namespace

void beforeOpening(const std::string& name, const std::function<void()>& checks,
                   const std::function<void()>& act, int times) {
    const pid_t child = ::fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        if (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0 || std::raise(SIGSTOP) != 0) {
            ::_exit(2);
        }
        checks();
        ::_exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    int seen = 0;
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_EQ(::ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL), 0);
    ASSERT_EQ(::ptrace(PTRACE_SYSCALL, child, nullptr, nullptr), 0);
    while (::waitpid(child, &status, 0) == child && WIFSTOPPED(status)) {
        if (seen < times && isOpening(child, name)) {
            ++seen;
            if (seen == times) {
                act();
            }
        }
        static_cast<void>(::ptrace(PTRACE_SYSCALL, child, nullptr, nullptr));
    }
    EXPECT_EQ(seen, times);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "child's status " << status;
}
