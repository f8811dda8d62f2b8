#include "Common/IPC/ProcessAPI_unix.h"

#include "Common/IPC/EventList.h"
#include "Common/IPC/LaunchPlan.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/memory/Handles.h"
#include "Common/Utility/process/ChildSetup.h"
#include "Common/Utility/process/StopRequest.h"
#include "Common/Utility/ReturnCodes.h"
#include "Common/Utility/sysutils.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <exception>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr uint32_t kWaitStepMs = 20;
constexpr auto kEndStep = std::chrono::milliseconds(5);
/// Bits of a wait status that are 0 only for a process that has exited; a status not set yet has them all.
constexpr int kSignalBits = 0x7F;

/// The texts of a list that a null pointer ends, which may be the first.
std::vector<std::string> collectTexts(const char* first, va_list others) {
    std::vector<std::string> texts;
    for (const char* text = first; text != nullptr; text = va_arg(others, const char*)) {
        texts.emplace_back(text);
    }
    return texts;
}

/// Puts the folder in front of the name, whatever the name looks like.
std::string makeProgramPath(const char* folder, const char* name) {
    std::string path = folder == nullptr ? "" : folder;
    if (!path.empty() && path.back() != '/') {
        path += '/';
    }
    return path + name;
}

uint32_t verifySignature(IFileVerifier* verifier, const ProcessLaunchInfo& info, const std::string& program,
                         const std::vector<char*>& arguments) {
    if (verifier == nullptr) {
        return PROCESS_API_ERROR_BAD_HANDLE;
    }
    const int32_t index = info.m_signatureArgumentIndex;
    const bool namesArgument = index > 0 && static_cast<std::size_t>(index) < arguments.size();
    const uint32_t code = verifier->IsValid(
        namesArgument ? arguments[static_cast<std::size_t>(index)] : program, info.m_pszExpectedSigner);
    if (code != 0) {
        ZRN_LOG_CODE('E', "VerifyFileSignature IsValid", code);
    }
    return code;
}

/// @return 0 when a step of the wait has gone by without the event.
uint32_t waitOneStep(CCEvent* event) {
    if (isStopRequested()) {
        return PROCESS_API_ERROR_WAIT_INTERRUPTED;
    }
    if (event == nullptr) {
        sleepMsecs(kWaitStepMs);
        return 0;
    }
    const uint32_t code = event->WaitEvent(kWaitStepMs, nullptr, false);
    if (code == EVENT_ERROR_WAIT_TIMEOUT) {
        return 0;
    }
    return code == 0 ? PROCESS_API_ERROR_WAIT_INTERRUPTED : PROCESS_API_ERROR_UNKNOWN;
}

/// Waits until a child has ended or the limit is over; it stays to be reaped.
ChildState awaitEnd(pid_t child, std::chrono::milliseconds limit) {
    const auto start = std::chrono::steady_clock::now();
    const auto isOver = [start, limit] {
        const auto waited = std::chrono::steady_clock::now() - start;
        return waited >= limit || (isStopRequested() && waited >= CProcessApi::kStoppedEndLimit);
    };
    ChildState state = getChildState(child, false);
    while (state == ChildState::Running && !isOver()) {
        std::this_thread::sleep_for(kEndStep);
        state = getChildState(child, false);
    }
    return state;
}

/// What terminateProcess signals: the group that the process leads if that isn't ours too, else the process.
pid_t signalTarget(pid_t pid) {
    return ::getpgid(pid) == pid && ::getpgrp() != pid ? -pid : pid;
}

} // namespace

CProcessApi::CProcessApi(std::unique_ptr<IFileVerifier> verifier) : m_verifier(std::move(verifier)) {}

CProcessApi::~CProcessApi() = default;

uint32_t CProcessApi::Launch(ProcessLaunchInfo& info, const char* program, ...) {
    va_list others;
    va_start(others, program);
    std::vector<std::string> texts = collectTexts(program, others);
    va_end(others);
    std::vector<char*> arguments;
    arguments.reserve(texts.size());
    for (std::string& text : texts) {
        arguments.push_back(text.data());
    }
    return Launch(info, arguments);
}

uint32_t CProcessApi::Launch(ProcessLaunchInfo& info, const std::vector<char*>& arguments) {
    if (arguments.empty() || arguments.front() == nullptr) {
        return PROCESS_API_ERROR_BAD_PARAMETER;
    }
    try {
        std::string program = makeProgramPath(info.m_pszPath, arguments.front());
        if (info.m_bVerifySignature) {
            if (const uint32_t code = verifySignature(m_verifier.get(), info, program, arguments);
                code != 0) {
                return code;
            }
        }
        LaunchPlan plan(info, std::move(program), arguments);
        if (const uint32_t code = plan.prepare(); code != 0) {
            return code;
        }
        return plan.start(info.m_processId);
    } catch (const std::exception& error) {
        ZRN_LOG_CODE_TEXT('E', "LaunchPlan", PROCESS_API_ERROR_UNEXPECTED, "%s", error.what());
        return PROCESS_API_ERROR_UNEXPECTED;
    }
}

uint32_t CProcessApi::WaitForProcess(int pid, uint32_t* exitCodeOut, CCEvent* event, void* /*reserved*/,
                                     uint32_t timeoutMs) {
    *exitCodeOut = 1;
    int status = -1;
    if (event == nullptr && timeoutMs == kInfiniteTimeoutMs) {
        if (reapChild(pid, status, 0) < 0) {
            return PROCESS_API_ERROR_UNKNOWN;
        }
    } else if (const uint32_t code = waitInSteps(pid, status, event, timeoutMs); code != 0) {
        return code;
    }
    if ((status & kSignalBits) != 0) {
        return PROCESS_API_ERROR_WAIT_TIMEOUT;
    }
    *exitCodeOut = static_cast<uint32_t>(WEXITSTATUS(status));
    return 0;
}

uint32_t CProcessApi::waitInSteps(int pid, int& status, CCEvent* event, uint32_t timeoutMs) {
    m_waitStart = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() - m_waitStart < std::chrono::milliseconds(timeoutMs)) {
        const pid_t reaped = reapChild(pid, status, WNOHANG);
        if (reaped < 0) {
            const int failure = errno;
            ZRN_LOG('E', "waitpid failed: %s", std::strerror(failure));
            return PROCESS_API_ERROR_UNKNOWN;
        }
        if (reaped > 0) {
            return 0;
        }
        if (const uint32_t code = waitOneStep(event); code != 0) {
            return code;
        }
    }
    return 0;
}

uint32_t CProcessApi::terminateProcess(int pid, std::chrono::milliseconds limit) {
    if (pid <= 0) {
        return PROCESS_API_ERROR_UNKNOWN; // kill would take it for a group or for everybody
    }
    const pid_t target = signalTarget(pid);
    if (::kill(target, SIGTERM) != 0) {
        return PROCESS_API_ERROR_UNKNOWN;
    }
    static_cast<void>(::kill(target, SIGCONT)); // who is stopped sees the other signal only now
    ChildState state = awaitEnd(pid, limit);
    if (state == ChildState::Running) {
        static_cast<void>(::kill(target, SIGKILL));
        state = awaitEnd(pid, limit);
    }
    if (state == ChildState::NotOurs) {
        return 0;
    }
    if (state == ChildState::Running) {
        return PROCESS_API_ERROR_UNKNOWN;
    }
    if (target != pid) {
        // Before the leader is reaped, while the group's number can't be anybody else's.
        static_cast<void>(::kill(target, SIGKILL));
    }
    int status = 0;
    static_cast<void>(reapChild(pid, status, 0));
    return 0;
}

uint32_t CProcessApi::pollProcess(int pid) {
    int status = 0;
    const pid_t reaped = reapChild(pid, status, WNOHANG);
    if (reaped == 0) {
        return 0;
    }
    return reaped > 0 ? PROCESS_API_ERROR_NOTRUNNING : PROCESS_API_ERROR_UNKNOWN;
}

int CProcessApi::getCurrentProcessId() {
    return ::getpid();
}

uint32_t CProcessApi::SetThreadPriority(int* priority) {
    errno = 0;
    const int former = ::getpriority(PRIO_PROCESS, 0);
    if (former == -1) {
        // Also what a thread at nice value -1 gives; its priority can't be set.
        ZRN_LOG_ERRNO('W', "getpriority");
        return PROCESS_API_ERROR_GET_THREAD_PRIORITY_FAILED;
    }
    if (::setpriority(PRIO_PROCESS, 0, *priority) < 0) {
        ZRN_LOG_ERRNO('W', "setpriority");
        return PROCESS_API_ERROR_SET_THREAD_PRIORITY_FAILED;
    }
    *priority = former;
    return 0;
}

uint32_t CProcessApi::getProcessPath(int pid, char* buffer, int size) {
    if (buffer == nullptr || size <= 0) {
        return PROCESS_API_ERROR_UNEXPECTED;
    }
    std::array<char, 4096> link{};
    static_cast<void>(std::snprintf(link.data(), link.size(), "/proc/%d/exe", pid));
    const ssize_t length = ::readlink(link.data(), buffer, static_cast<std::size_t>(size) - 1);
    if (length < 0) {
        return errno == ENOENT ? PROCESS_API_ERROR_PROCESS_NOT_FOUND : PROCESS_API_ERROR_UNEXPECTED;
    }
    buffer[length] = '\0';
    return 0;
}

bool CProcessApi::isProcessRunning(int pid) {
    std::array<char, 32> name{};
    static_cast<void>(std::snprintf(name.data(), name.size(), "/proc/%d/stat", pid));
    const FileHandle stream(std::fopen(name.data(), "re"));
    if (stream == nullptr) {
        return false;
    }
    int letter = 0;
    do {
        letter = std::fgetc(stream.get());
        if (letter == EOF) {
            return false;
        }
    } while (letter != ')');
    static_cast<void>(std::fgetc(stream.get())); // the blank
    const int state = std::fgetc(stream.get());
    return state == 'D' || state == 'R' || state == 'S';
}
