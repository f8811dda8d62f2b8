#pragma once

#include <functional>
#include <optional>
#include <sys/select.h>
#include <sys/types.h>

/// What a call of the code under test asks select for.
struct SelectCall {
    int descriptorsEnd;
    fd_set* readFds;
    fd_set* writeFds;
    fd_set* exceptFds;
    timeval* timeout;
};

/// Stands in front of system calls whose failures can't be had otherwise, for as long as the object lives. A
/// hook gives the result, having set errno, or nullopt for the real call. One object at a time, made before
/// the threads that it is to serve.
class SystemCallHooks {
public:
    SystemCallHooks();
    ~SystemCallHooks();
    SystemCallHooks(const SystemCallHooks&) = delete;
    SystemCallHooks& operator=(const SystemCallHooks&) = delete;

    std::function<std::optional<int>(int fd, int command)> onFcntl;
    std::function<std::optional<ssize_t>(int fd)> onRead;
    std::function<std::optional<int>(const SelectCall& call)> onSelect;
};

/// The real select.
int callSelect(const SelectCall& call);

/// Fails a call: sets errno and gives -1.
int failWith(int error);
