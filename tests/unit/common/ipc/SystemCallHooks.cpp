#include "tests/unit/common/ipc/SystemCallHooks.h"

#include <cerrno>
#include <cstdarg>
#include <cstddef>

namespace {

SystemCallHooks* g_hooks = nullptr;

} // namespace

SystemCallHooks::SystemCallHooks() {
    g_hooks = this;
}

SystemCallHooks::~SystemCallHooks() {
    g_hooks = nullptr;
}

// The linker's --wrap sends each call to the one name and finds the real function under the other.
// NOLINTBEGIN(bugprone-reserved-identifier): the linker makes the names, the C library the
// form
extern "C" {
int __real_fcntl(int fd, int command, ...);
ssize_t __real_read(int fd, void* buffer, size_t size);
int __real_select(int descriptorsEnd, fd_set* readFds, fd_set* writeFds, fd_set* exceptFds, timeval* timeout);

int __wrap_fcntl(int fd, int command, ...) {
    if (g_hooks != nullptr && g_hooks->onFcntl) {
        if (const auto result = g_hooks->onFcntl(fd, command)) {
            return *result;
        }
    }
    va_list arguments;
    va_start(arguments, command);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    return __real_fcntl(fd, command, argument);
}

ssize_t __wrap_read(int fd, void* buffer, size_t size) {
    if (g_hooks != nullptr && g_hooks->onRead) {
        if (const auto result = g_hooks->onRead(fd)) {
            return *result;
        }
    }
    return __real_read(fd, buffer, size);
}

int __wrap_select(int descriptorsEnd, fd_set* readFds, fd_set* writeFds, fd_set* exceptFds,
                  timeval* timeout) {
    if (g_hooks != nullptr && g_hooks->onSelect) {
        if (const auto result = g_hooks->onSelect({descriptorsEnd, readFds, writeFds, exceptFds, timeout})) {
            return *result;
        }
    }
    return __real_select(descriptorsEnd, readFds, writeFds, exceptFds, timeout);
}
}

int callSelect(const SelectCall& call) {
    return __real_select(call.descriptorsEnd, call.readFds, call.writeFds, call.exceptFds, call.timeout);
}
// NOLINTEND(bugprone-reserved-identifier)

int failWith(int error) {
    errno = error;
    return -1;
}
