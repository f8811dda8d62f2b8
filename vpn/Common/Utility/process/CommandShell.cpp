#include "Common/Utility/process/CommandShell.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/memory/Handles.h"
#include "Common/Utility/process/ChildEnvironment.h"
#include "Common/Utility/process/ChildSetup.h"
#include "Common/Utility/process/ChildView.h"
#include "Common/Utility/process/OutputPipe.h"
#include "Common/Utility/process/StartReport.h"
#include "Common/Utility/process/StopRequest.h"
#include "Common/Utility/ReturnCodes.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <functional>
#include <poll.h>
#include <string_view>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr std::size_t kBlockBytes = 16384;
/// How often the shell is looked at where the kernel can't tell of its end.
constexpr int kPollMs = 20;
/// What a command has to clear up after a stop request.
constexpr int kStoppedEndMs = 1000;
/// What a shell gives for a command that can't be run, here for the shell itself.
constexpr int kExitNotRun = 127;

using Sink = std::function<void(std::string_view)>;

/// A shell and the pipe from its standard output. Reaped at the latest by the destructor.
class Shell {
public:
    Shell() = default;
    ~Shell();
    Shell(const Shell&) = delete;
    Shell& operator=(const Shell&) = delete;

    // Each gives 0 or an errno.
    [[nodiscard]] int start(const char* command);
    /// Reads until the shell has ended. After a stop request it ends with ECANCELED.
    [[nodiscard]] int readOutput(const Sink& sink);
    /// Kills what is left of the shell's group and reaps the shell. After a stop request
    /// they are asked first.
    [[nodiscard]] int finish();

private:
    enum class Event { OutputOrNothing, Ended, Stopped };
    [[nodiscard]] Event waitForEvent() const;
    [[nodiscard]] bool isOutputClosed() const;
    /// The command's processes get a moment to end by themselves.
    void askToEnd() const;
    [[nodiscard]] ssize_t readBlock(std::size_t limitBytes, const Sink& sink);
    [[nodiscard]] int drain(const Sink& sink);

    pid_t m_pid = -1;
    FileDescriptor m_output;
    /// Readable when the shell has ended; none on kernels before 5.3.
    FileDescriptor m_endNotice;
};

[[noreturn]] void runShell(const char* command, const ChildSetup& setup, pid_t parent,
                           StartReport& report) noexcept {
    errno = ECANCELED; // for a child that sees that its parent has gone
    if (prepareChild(setup, parent)) {
        ::execle("/bin/sh", "sh", "-c", command, nullptr, childVariables());
    }
    report.fail(errno, kExitNotRun);
}

Shell::~Shell() {
    if (m_pid > 0) {
        static_cast<void>(finish()); // the way out after an exception, which is what gets logged
    }
}

int Shell::start(const char* command) {
    if (isStopRequested()) {
        return ECANCELED;
    }
    FileDescriptor input;
    if (const int error = openOutputPipe(m_output, input); error != 0) {
        return error;
    }
    StartReport report;
    if (const int error = report.open(); error != 0) {
        return error;
    }
    const ChildView view(command);
    const ChildSetup setup{.output = input.get(), .ownGroup = true, .endWithCaller = true, .view = &view};
    const pid_t caller = ::getpid();
    m_pid = forkChild();
    if (m_pid == 0) {
        runShell(command, setup, caller, report);
    }
    if (m_pid < 0) {
        return errno;
    }
    completeOwnGroup(m_pid);
    m_endNotice.reset(static_cast<int>(::syscall(SYS_pidfd_open, m_pid, 0)));
    return report.wait();
}

int Shell::readOutput(const Sink& sink) {
    Event event = waitForEvent();
    for (; event == Event::OutputOrNothing; event = waitForEvent()) {
        if (!m_output) {
            continue;
        }
        const ssize_t length = readBlock(kBlockBytes, sink);
        if (length == 0) {
            // The command has closed its output and may go on with other work.
            m_output.reset();
        }
        if (length < 0 && errno != EAGAIN && errno != EINTR) {
            return errno;
        }
    }
    return event == Event::Stopped ? ECANCELED : drain(sink);
}

Shell::Event Shell::waitForEvent() const {
    const int stop = stopDescriptor();
    // What is -1 is passed over.
    std::array<pollfd, 3> watched{
        {{m_output.get(), POLLIN, 0}, {m_endNotice.get(), POLLIN, 0}, {stop, POLLIN, 0}}};
    // An interruption looks as if nothing had happened, and nothing is what is found to read then.
    static_cast<void>(::poll(watched.data(), watched.size(), m_endNotice && stop >= 0 ? -1 : kPollMs));
    if (isStopRequested()) {
        return Event::Stopped;
    }
    const bool hasEnded =
        m_endNotice ? watched[1].revents != 0 : getChildState(m_pid, false) != ChildState::Running;
    return hasEnded ? Event::Ended : Event::OutputOrNothing;
}

/// read, with what was read given to the sink.
ssize_t Shell::readBlock(std::size_t limitBytes, const Sink& sink) {
    std::array<char, kBlockBytes> block; // NOLINT(cppcoreguidelines-pro-type-member-init): read fills it
    const ssize_t length = ::read(m_output.get(), block.data(), std::min(limitBytes, block.size()));
    if (length > 0) {
        sink({block.data(), static_cast<std::size_t>(length)});
    }
    return length;
}

/// Reads what is in the pipe and no more than fits into it: somebody may go on filling it.
int Shell::drain(const Sink& sink) {
    const int capacity = ::fcntl(m_output.get(), F_GETPIPE_SZ);
    auto left = static_cast<std::size_t>(std::max(capacity, 0));
    while (left > 0) {
        const ssize_t length = readBlock(left, sink);
        if (length < 0 && errno != EAGAIN) {
            return errno;
        }
        if (length <= 0) {
            return 0;
        }
        left -= static_cast<std::size_t>(length);
    }
    return 0;
}

/// Whether all that could write has ended, or nearly. What is in the pipe is dropped: a full one would keep
/// the command from ending.
bool Shell::isOutputClosed() const {
    if (!m_output) {
        return true;
    }
    std::array<char, kBlockBytes> dropped; // NOLINT(cppcoreguidelines-pro-type-member-init): read fills it
    return ::read(m_output.get(), dropped.data(), dropped.size()) == 0;
}

void Shell::askToEnd() const {
    static_cast<void>(::kill(-m_pid, SIGTERM));
    static_cast<void>(::kill(-m_pid, SIGCONT)); // who is stopped sees the other signal only now
    for (int waitedMs = 0; waitedMs < kStoppedEndMs; waitedMs += kPollMs) {
        if (isOutputClosed() && getChildState(m_pid, false) != ChildState::Running) {
            return;
        }
        static_cast<void>(::poll(nullptr, 0, kPollMs));
    }
}

int Shell::finish() {
    if (isStopRequested() && getChildState(m_pid, false) != ChildState::NotOurs) {
        askToEnd();
    }
    m_output.reset();
    const pid_t pid = std::exchange(m_pid, -1);
    if (getChildState(pid, false) != ChildState::NotOurs) {
        // Its own group at the least is there: it has not been reaped.
        static_cast<void>(::kill(-pid, SIGKILL));
    }
    int status = 0;
    return reapChild(pid, status, 0) == pid ? 0 : errno;
}

/// Logs under the name of this function, which all forms of Execute share.
uint32_t runCommand(const char* command, const Sink& sink) {
    const auto log = [](const char* call, int failure) {
        logReturnCode("runCommand", __FILE__, __LINE__, 'E', call, static_cast<uint32_t>(failure),
                      std::strerror(failure), nullptr);
    };
    Shell shell;
    if (const int failure = shell.start(command); failure != 0) {
        log("popen", failure);
        return GLOBAL_ERROR_UNEXPECTED;
    }
    uint32_t result = 0;
    if (const int failure = shell.readOutput(sink); failure != 0) {
        log("fread", failure);
        result = GLOBAL_ERROR_UNEXPECTED;
    }
    if (const int failure = shell.finish(); failure != 0) {
        log("pclose", failure);
    }
    return result;
}

/// The same, with what the sink throws turned into a code.
uint32_t runCommandSafely(const std::string& command, const Sink& sink) {
    if (command.empty()) {
        return GLOBAL_ERROR_NOT_INITIALIZED;
    }
    try {
        return runCommand(command.c_str(), sink);
    } catch (const std::exception& error) {
        ZRN_LOG_CODE_TEXT('E', "runCommand", GLOBAL_ERROR_UNEXPECTED, "%s", error.what());
    } catch (...) {
        ZRN_LOG_CODE('E', "runCommand", GLOBAL_ERROR_UNEXPECTED);
    }
    return GLOBAL_ERROR_UNEXPECTED;
}

/// Appends to a list the lines of a text that comes in blocks.
class LineSplitter {
public:
    explicit LineSplitter(std::list<std::string>& lines) : m_lines(lines) {}
    void add(std::string_view block);

private:
    void addToLine(std::string_view piece);

    std::list<std::string>& m_lines;
    /// The last line of the list has not had its line feed yet.
    bool m_open = false;
    /// The open line has had its carriage return.
    bool m_cut = false;
};

void LineSplitter::add(std::string_view block) {
    while (!block.empty()) {
        const std::size_t end = block.find('\n');
        addToLine(block.substr(0, end));
        if (end == std::string_view::npos) {
            return;
        }
        m_open = false;
        block.remove_prefix(end + 1);
    }
}

void LineSplitter::addToLine(std::string_view piece) {
    if (!m_open) {
        m_lines.emplace_back();
        m_open = true;
        m_cut = false;
    }
    if (!m_cut) {
        const std::size_t carriageReturn = piece.find('\r');
        m_lines.back().append(piece.substr(0, carriageReturn));
        m_cut = carriageReturn != std::string_view::npos;
    }
}

} // namespace

CCommandShell::CCommandShell(const char* command) : m_command(command == nullptr ? "" : command) {}

uint32_t CCommandShell::Execute(std::ostream& output) const {
    return runCommandSafely(m_command, [&output](std::string_view block) {
        output.write(block.data(), static_cast<std::streamsize>(block.size()));
    });
}

uint32_t CCommandShell::Execute(std::string& output) const {
    if (!m_command.empty()) {
        output.clear();
    }
    return runCommandSafely(m_command, [&output](std::string_view block) { output.append(block); });
}

uint32_t CCommandShell::Execute(std::list<std::string>& lines) const {
    LineSplitter splitter(lines);
    return runCommandSafely(m_command, [&splitter](std::string_view block) { splitter.add(block); });
}

uint32_t CCommandShell::Execute(const char* command, std::list<std::string>& lines) {
    return command == nullptr ? GLOBAL_ERROR_BAD_PARAMETER : CCommandShell(command).Execute(lines);
}

uint32_t CCommandShell::ExecuteAndLogResults() const {
    const auto start = std::chrono::steady_clock::now();
    std::list<std::string> lines;
    const uint32_t code = Execute(lines);
    if (code != 0) {
        ZRN_LOG_CODE('E', "CCommandShell::Execute", code);
        return code;
    }
    const auto taken =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
    std::string output;
    for (const std::string& line : lines) {
        output.append(line).append("\n");
    }
    ZRN_LOG('I', "Command '%s' took %u ms. Output: %s", m_command.c_str(),
            static_cast<uint32_t>(taken.count()), output.c_str());
    return 0;
}
