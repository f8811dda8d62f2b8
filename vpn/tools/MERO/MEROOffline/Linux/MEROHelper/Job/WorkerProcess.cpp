#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/WorkerProcess.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/process/ChildSetup.h"
#include "Common/Utility/process/OutputPipe.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/ChildWait.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/JobEnvironment.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <spawn.h>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

constexpr const char* kThisProgram = "/proc/self/exe";
/// What the log is chosen by.
constexpr const char* kLogVariable = "ZRN_LOGGING_OUTPUT";
constexpr const char* kLogToOutput = "STDOUT";
/// Behind the numbers that have a meaning in the worker, so that putting one into place replaces no other.
constexpr int kFirstFreeDescriptor = kLockDescriptor + 1;

/// Logs a call that failed. @return false.
bool fails(const char* call, int error) {
    ZRN_LOG_CODE('E', call, error);
    return false;
}

struct PipeEnds {
    FileDescriptor reader;
    FileDescriptor writer;
};

/// A copy out of the way.
bool copyUp(int descriptor, FileDescriptor& copyOut) {
    copyOut.reset(::fcntl(descriptor, F_DUPFD_CLOEXEC, kFirstFreeDescriptor));
    return copyOut || fails("fcntl", errno);
}

/// @return nothing, logged, if there is no pipe to be had.
std::optional<PipeEnds> makePipe() {
    FileDescriptor reader;
    FileDescriptor writer;
    if (const int error = openPipe(reader, writer); error != 0) {
        fails("pipe2", error);
        return std::nullopt;
    }
    PipeEnds moved;
    if (!copyUp(reader.get(), moved.reader) || !copyUp(writer.get(), moved.writer)) {
        return std::nullopt;
    }
    return moved;
}

/// The worker's end is not affected: the two ends have flags of their own.
bool stopBlocking(int descriptor) {
    return ::fcntl(descriptor, F_SETFL, O_NONBLOCK) == 0 || fails("fcntl", errno);
}

bool isOpenAfterExec(int descriptor) {
    const int flags = ::fcntl(descriptor, F_GETFD);
    return flags >= 0 && (flags & FD_CLOEXEC) == 0;
}

/// The steps by which the child arranges its descriptors.
class FileActions {
public:
    FileActions() : m_error(::posix_spawn_file_actions_init(&m_actions)) {}
    ~FileActions() { static_cast<void>(::posix_spawn_file_actions_destroy(&m_actions)); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;

    void openNowhere(int place) {
        note(::posix_spawn_file_actions_addopen(&m_actions, place, "/dev/null", O_RDWR, 0));
    }
    void put(int descriptor, int place) {
        note(::posix_spawn_file_actions_adddup2(&m_actions, descriptor, place));
    }
    void closeFrom(int place) { note(::posix_spawn_file_actions_addclosefrom_np(&m_actions, place)); }
    /// 0, or the errno of the first step that could not be added.
    [[nodiscard]] int error() const { return m_error; }
    [[nodiscard]] const posix_spawn_file_actions_t* get() const { return &m_actions; }

private:
    void note(int error) { m_error = m_error == 0 ? error : m_error; }

    posix_spawn_file_actions_t m_actions{};
    int m_error;
};

/// A session and with it a group of its own, and none of what we do with signals.
class Attributes {
public:
    Attributes() : m_error(::posix_spawnattr_init(&m_attributes)) {
        sigset_t all;
        sigset_t none;
        ::sigfillset(&all);
        ::sigemptyset(&none);
        note(::posix_spawnattr_setsigdefault(&m_attributes, &all));
        note(::posix_spawnattr_setsigmask(&m_attributes, &none));
        note(::posix_spawnattr_setflags(&m_attributes,
                                        POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK));
    }
    ~Attributes() { static_cast<void>(::posix_spawnattr_destroy(&m_attributes)); }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;

    /// 0, or the errno of the first that could not be set.
    [[nodiscard]] int error() const { return m_error; }
    [[nodiscard]] const posix_spawnattr_t* get() const { return &m_attributes; }

private:
    void note(int error) { m_error = m_error == 0 ? error : m_error; }

    posix_spawnattr_t m_attributes{};
    int m_error;
};

std::vector<std::string> workerEnvironment() {
    std::vector<std::string> environment{std::string("PATH=").append(kJobPath)};
    const char* const language = std::getenv("LANG");
    if (language != nullptr && isLocaleName(language)) {
        environment.push_back(std::string("LANG=").append(language));
    }
    const char* const log = std::getenv(kLogVariable);
    if (log != nullptr && std::string_view(log) == kLogToOutput) {
        environment.push_back(std::string(kLogVariable).append("=").append(kLogToOutput));
    }
    return environment;
}

/// As the system takes a list of texts. Views them.
std::vector<char*> listOf(std::vector<std::string>& texts) {
    std::vector<char*> list;
    list.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        list.push_back(text.data());
    }
    list.push_back(nullptr);
    return list;
}

/// @param lock  behind the worker's numbers, as the other two are; -1 for none.
void arrange(FileActions& actions, int order, int progress, int lock) {
    actions.openNowhere(STDIN_FILENO);
    for (const int output : {STDOUT_FILENO, STDERR_FILENO}) {
        // Where it is closed, the first file that the worker opens would take its place.
        if (!isOpenAfterExec(output)) {
            actions.openNowhere(output);
        }
    }
    actions.put(order, kOrderDescriptor);
    actions.put(progress, kProgressDescriptor);
    if (lock >= 0) {
        actions.put(lock, kLockDescriptor);
    }
    actions.closeFrom(lock >= 0 ? kFirstFreeDescriptor : kLockDescriptor);
}

/// @return the worker's process id; -1, logged, if there is none.
pid_t spawnWorker(int order, int progress, int lock) {
    FileActions actions;
    arrange(actions, order, progress, lock);
    const Attributes attributes;
    if (const int error = actions.error() != 0 ? actions.error() : attributes.error(); error != 0) {
        fails("posix_spawn_file_actions", error);
        return -1;
    }
    std::vector<std::string> arguments{"merohelper", kWorkerArgument};
    std::vector<std::string> environment = workerEnvironment();
    pid_t pid = -1;
    const int error = ::posix_spawn(&pid, kThisProgram, actions.get(), attributes.get(),
                                    listOf(arguments).data(), listOf(environment).data());
    if (error != 0) {
        fails("posix_spawn", error);
        return -1;
    }
    return pid;
}

} // namespace

std::unique_ptr<WorkerProcess> WorkerProcess::start(const WorkOrder& order, int lock,
                                                    std::chrono::milliseconds endLimit) {
    std::optional<PipeEnds> orders = makePipe();
    std::optional<PipeEnds> progress = makePipe();
    FileDescriptor lockCopy;
    if (!orders || !progress || !stopBlocking(progress->reader.get()) ||
        (lock >= 0 && !copyUp(lock, lockCopy))) {
        return nullptr;
    }
    // Before there is a worker, as the pipe holds it whole: so nothing runs if it can't be written.
    if (!writeWorkOrder(orders->writer.get(), order)) {
        return nullptr;
    }
    const pid_t pid = spawnWorker(orders->reader.get(), progress->writer.get(), lockCopy.get());
    if (pid < 0) {
        return nullptr;
    }
    return std::unique_ptr<WorkerProcess>(new WorkerProcess(pid, std::move(progress->reader), endLimit));
}

WorkerProcess::WorkerProcess(pid_t pid, FileDescriptor progress, std::chrono::milliseconds endLimit)
    : m_pid(pid), m_progress(std::move(progress)), m_endLimit(endLimit) {}

WorkerProcess::~WorkerProcess() {
    if (m_reaped) {
        return;
    }
    kill();
    // It may wait for a file system that doesn't answer. We don't.
    if (endsWithin(m_pid, m_endLimit)) {
        static_cast<void>(reap());
    } else {
        ZRN_LOG('W', "Worker %d doesn't end yet", m_pid);
    }
}

void WorkerProcess::kill() noexcept {
    // Somebody else may have reaped it, and its number may be another's by now.
    if (!m_reaped && getChildState(m_pid, false) != ChildState::NotOurs) {
        killGroup();
    }
}

bool WorkerProcess::reap() noexcept {
    if (m_reaped) {
        return false;
    }
    m_reaped = true;
    if (getChildState(m_pid, true) == ChildState::NotOurs) {
        return false;
    }
    // Until it is reaped, the number of its group is still its own.
    killGroup();
    int status = 0;
    return reapChild(m_pid, status, 0) == m_pid && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

void WorkerProcess::killGroup() const noexcept {
    if (::kill(-m_pid, SIGKILL) != 0) {
        fails("kill", errno);
    }
}
