#include "tests/unit/common/log/JournalSocket.h"

#include "Common/Utility/memory/Handles.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <string_view>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// What the child says of itself: a kind, then a length in bytes, then those bytes.
constexpr char kDatagram = 'd';
constexpr char kRefused = 'r';

void send(int fd, char kind, std::string_view bytes) {
    const auto length = static_cast<uint32_t>(bytes.size());
    std::string message(1, kind);
    message.append(reinterpret_cast<const char*>(&length), sizeof length).append(bytes);
    if (::write(fd, message.data(), message.size()) != static_cast<ssize_t>(message.size())) {
        ::_exit(1);
    }
}

std::string failure(const char* call) {
    const int error = errno;
    return std::string(call) + ": " + std::strerror(error);
}

bool writeFile(const char* path, const std::string& text) {
    const FileDescriptor fd(::open(path, O_WRONLY | O_CLOEXEC));
    return ::write(fd.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

/// A user who isn't root gets the right to mount from a user namespace of his own, in which he keeps his ids:
/// without them he could make no file. @return a reason or "".
std::string leaveMountNamespace() {
    const uid_t user = ::geteuid();
    const gid_t group = ::getegid();
    if (::unshare(user == 0 ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER) != 0) {
        return failure("unshare");
    }
    const auto identity = [](unsigned id) { return std::to_string(id) + " " + std::to_string(id) + " 1"; };
    if (user != 0 &&
        (!writeFile("/proc/self/setgroups", "deny") || !writeFile("/proc/self/uid_map", identity(user)) ||
         !writeFile("/proc/self/gid_map", identity(group)))) {
        return failure("mapping the ids");
    }
    return {};
}

/// @return a reason or "".
std::string makePrivateRun() {
    if (std::string reason = leaveMountNamespace(); !reason.empty()) {
        return reason;
    }
    if (::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        return failure("making the mounts private");
    }
    if (::mount("tmpfs", "/run", "tmpfs", 0, "mode=0755") != 0) {
        return failure("mounting /run");
    }
    if (::mkdir("/run/systemd", 0755) != 0 || ::mkdir("/run/systemd/journal", 0755) != 0) {
        return failure("mkdir");
    }
    return {};
}

/// @return the socket, or none with a reason.
FileDescriptor bindJournalSocket(std::string& reasonOut) {
    FileDescriptor fd(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    static constexpr std::string_view kPath = "/run/systemd/journal/socket";
    kPath.copy(address.sun_path, sizeof address.sun_path - 1);
    if (!fd || ::bind(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        reasonOut = failure("bind");
        fd.reset();
    }
    return fd;
}

[[noreturn]] void runChild(int answer, const std::function<void()>& body) {
    std::string reason = makePrivateRun();
    const FileDescriptor journal = reason.empty() ? bindJournalSocket(reason) : FileDescriptor();
    if (!reason.empty()) {
        send(answer, kRefused, reason);
        ::_exit(0);
    }
    body();
    std::array<char, 16384> datagram{};
    ssize_t count = 0;
    while ((count = ::recv(journal.get(), datagram.data(), datagram.size(), MSG_DONTWAIT)) >= 0) {
        send(answer, kDatagram, {datagram.data(), static_cast<std::size_t>(count)});
    }
    ::_exit(errno == EAGAIN ? 0 : 1);
}

bool readWhole(int fd, void* target, std::size_t count) {
    auto* next = static_cast<char*>(target);
    while (count > 0) {
        const ssize_t got = ::read(fd, next, count);
        if (got <= 0) {
            return false;
        }
        next += got;
        count -= static_cast<std::size_t>(got);
    }
    return true;
}

} // namespace

std::optional<std::vector<std::string>> journalDatagrams(const std::function<void()>& body,
                                                         std::string& reasonOut) {
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    const FileDescriptor readEnd(ends[0]);
    FileDescriptor writeEnd(ends[1]);
    const pid_t child = ::fork();
    EXPECT_GE(child, 0);
    if (child == 0) {
        runChild(writeEnd.get(), body);
    }
    writeEnd.reset();
    std::vector<std::string> datagrams;
    bool refused = false;
    char kind = 0;
    uint32_t length = 0;
    while (readWhole(readEnd.get(), &kind, 1) && readWhole(readEnd.get(), &length, sizeof length)) {
        std::string bytes(length, '\0');
        EXPECT_TRUE(readWhole(readEnd.get(), bytes.data(), length));
        refused = refused || kind == kRefused;
        (kind == kRefused ? reasonOut : datagrams.emplace_back()) = bytes;
    }
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    return refused ? std::nullopt : std::optional(datagrams);
}
