// What a log line costs beside the least that could write the same bytes.
//
// Stdout:  logMessage through the logger for standard output, against a time stamp (time, localtime_r,
//          strftime), one snprintf of all the fields and one write. Standard output goes to /dev/null in one
//          run and to a file in the other. Goal: ratio of no more than 1.2.
// Journal: logMessage through the journal's logger, against a bare sd_journal_send of the same three fields.
//          Goal: ratio of no more than 1.15. Where no journal listens, a run as root puts a socket of its own
//          in the journal's place, in a mount namespace that nobody else sees, and a thread reads it empty.
//
// Times are in nanoseconds a line, see SideBySide.h.
#include "bench/SideBySide.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/memory/Handles.h"

#include <array>
#include <benchmark/benchmark.h>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <string>
#include <string_view>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#define SD_JOURNAL_SUPPRESS_LOCATION // NOLINT(cppcoreguidelines-macro-usage): the header's own switch
#include <systemd/sd-journal.h>

namespace {

constexpr const char* kIdentifier = "zrn_meroui";
constexpr const char* kFunction = "fileCopy";
constexpr const char* kFile = "vpn/tools/MERO/MEROEngine/implementations/Files.cpp";
constexpr unsigned kLine = 212;
constexpr const char* kPath = "/var/log/vpn/agent/session-2026-11-14.log";

int threadNumber() {
    return static_cast<int>(static_cast<uint64_t>(::pthread_self()));
}

void logOneLine() {
    logMessage(kFunction, kFile, kLine, 'W', "Skipped '%s' after %d bytes: %s", kPath, 4096,
               "Permission denied");
}

void writeOneLine() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    std::array<char, 32> stamp{};
    std::strftime(stamp.data(), stamp.size(), "%Y-%m-%d %H:%M:%S", &local);
    std::array<char, 2700> line{};
    const int length = std::snprintf(
        line.data(), line.size(),
        "%s %s[%d]: [%s] [TID=%d] Function: %s File: %s Line: %u Skipped '%s' after %d bytes: %s\n",
        stamp.data(), kIdentifier, ::getpid(), "WARNING", threadNumber(), kFunction, kFile, kLine, kPath,
        4096, "Permission denied");
    if (::write(STDOUT_FILENO, line.data(), static_cast<std::size_t>(length)) != length) {
        std::abort();
    }
}

void sendOneLine() {
    const int failure =
        ::sd_journal_send("MESSAGE=[TID=%d] Function: %s File: %s Line: %u Skipped '%s' after %d bytes: %s",
                          threadNumber(), kFunction, kFile, kLine, kPath, 4096, "Permission denied",
                          "PRIORITY=%i", 4, "SYSLOG_IDENTIFIER=%s", kIdentifier, nullptr);
    if (failure < 0) {
        std::abort();
    }
}

using Line = void (*)();

void compare(benchmark::State& state, Line own, Line bare) {
    sideBySide::compare(state, "log", own, "bare", bare);
}

/// Sends standard output elsewhere for as long as the object lives; the report of the bench waits till then.
class RedirectedOutput {
public:
    explicit RedirectedOutput(const FileDescriptor& target) : m_former(::dup(STDOUT_FILENO)) {
        std::fflush(stdout);
        ::dup2(target.get(), STDOUT_FILENO);
    }
    ~RedirectedOutput() {
        std::fflush(stdout);
        ::dup2(m_former.get(), STDOUT_FILENO);
    }
    RedirectedOutput(const RedirectedOutput&) = delete;
    RedirectedOutput& operator=(const RedirectedOutput&) = delete;

private:
    FileDescriptor m_former;
};

void standardOutput(benchmark::State& state, const FileDescriptor& target) {
    if (!target) {
        state.SkipWithError("the place for standard output can't be opened");
        return;
    }
    ::setenv("ZRN_LOGGING_OUTPUT", "STDOUT", 1);
    const CLogClient client(nullptr, kIdentifier);
    const RedirectedOutput redirected(target);
    compare(state, logOneLine, writeOneLine);
}

void stdoutToNull(benchmark::State& state) {
    standardOutput(state, FileDescriptor(::open("/dev/null", O_WRONLY | O_CLOEXEC)));
}

void stdoutToFile(benchmark::State& state) {
    std::string path = "/tmp/log_bench_XXXXXX";
    const FileDescriptor file(::mkostemp(path.data(), O_CLOEXEC));
    ::unlink(path.c_str());
    standardOutput(state, file);
}

sockaddr_un journalAddress() {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    static constexpr std::string_view kJournal = "/run/systemd/journal/socket";
    kJournal.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

bool journalListens() {
    const FileDescriptor fd(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    const sockaddr_un address = journalAddress();
    return ::connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

/// The journal's socket in a namespace of this program's own, which a thread reads empty.
class JournalStandIn {
public:
    /// @return a reason in words if there is none, else "".
    std::string open() {
        if (::geteuid() != 0) {
            return "no journal listens here, and only root can put a socket in its place";
        }
        if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount("tmpfs", "/run", "tmpfs", 0, "mode=0755") != 0 || ::mkdir("/run/systemd", 0755) != 0 ||
            ::mkdir("/run/systemd/journal", 0755) != 0) {
            return std::string("no journal listens here, and none can stand in for it: ") +
                   std::strerror(errno);
        }
        m_socket.reset(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        const sockaddr_un address = journalAddress();
        if (::bind(m_socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
            return std::string("no journal listens here, and its socket can't be made: ") +
                   std::strerror(errno);
        }
        m_reader = std::thread([this] { readAll(); });
        return {};
    }
    JournalStandIn() = default;
    ~JournalStandIn() {
        if (m_reader.joinable()) {
            ::shutdown(m_socket.get(), SHUT_RD);
            m_reader.join();
        }
    }
    JournalStandIn(const JournalStandIn&) = delete;
    JournalStandIn& operator=(const JournalStandIn&) = delete;

private:
    void readAll() const {
        std::array<char, 8192> datagram{};
        while (::recv(m_socket.get(), datagram.data(), datagram.size(), 0) > 0) {
        }
    }

    FileDescriptor m_socket;
    std::thread m_reader;
};

void journal(benchmark::State& state) {
    static JournalStandIn standIn;
    static const std::string reason = journalListens() ? std::string() : standIn.open();
    if (!reason.empty()) {
        state.SkipWithError(reason.c_str());
        return;
    }
    ::unsetenv("ZRN_LOGGING_OUTPUT");
    const CLogClient client(nullptr, kIdentifier);
    compare(state, logOneLine, sendOneLine);
}

BENCHMARK(stdoutToNull)->Unit(benchmark::kMicrosecond);
BENCHMARK(stdoutToFile)->Unit(benchmark::kMicrosecond);
BENCHMARK(journal)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
