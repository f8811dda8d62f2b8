#pragma once

#include "Common/IPC/event.h"
#include "Common/IPC/ProcessLaunchInfo.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// Tests the signature of a program's file.
class IFileVerifier {
public:
    virtual ~IFileVerifier() = default;
    /// @return 0 or a code, with which the launch is refused.
    [[nodiscard]] virtual uint32_t IsValid(const std::string& file, const char* expectedSigner) = 0;
};

/// Starts programs and watches them. Children start with standard input from /dev/null, default signal
/// handlers, an empty signal mask, none of our descriptors but standard output and error, and the
/// environment, current folder and view of the file system that ChildEnvironment.h tells of. Who starts one
/// reaps it, with WaitForProcess, pollProcess or terminateProcess. One object serves one wait at a time.
class CProcessApi {
public:
    /// @param verifier  for launches that ask for a signature; null for none.
    explicit CProcessApi(std::unique_ptr<IFileVerifier> verifier = nullptr);
    virtual ~CProcessApi();
    CProcessApi(const CProcessApi&) = delete;
    CProcessApi& operator=(const CProcessApi&) = delete;

    /// @param program  argument 0; behind it come the others as const char*, ended by a null pointer.
    [[nodiscard]] virtual uint32_t Launch(ProcessLaunchInfo& info, const char* program, ...);
    /// @param arguments  argument 0 and the others; looked for in PATH if there is no "/" in path and name.
    /// @return 0 as soon as the process exists: a program that can't be run ends with exit code 238 (it is
    /// missing) or 239, and one whose user doesn't exist or can't be taken over with 255. Else
    /// PROCESS_API_ERROR_BAD_PARAMETER, PROCESS_API_ERROR_BAD_HANDLE (no verifier), the verifier's code,
    /// PROCESS_API_ERROR_NO_USER_TOKEN (no such user, and there is a display), PROCESS_API_ERROR_UNKNOWN (no
    /// process could be made) or PROCESS_API_ERROR_UNEXPECTED (no memory).
    [[nodiscard]] virtual uint32_t Launch(ProcessLaunchInfo& info, const std::vector<char*>& arguments);

    /// Waits until the child has ended, and reaps it. It is left alone if the wait ends otherwise.
    /// @param exitCodeOut  the exit code on success; 1 otherwise. Not null.
    /// @param event        ends the wait when it fires, and is taken then; null for none. Not owned.
    /// @param reserved     not read.
    /// @param timeoutMs    0xFFFFFFFF without an event waits without end; 0 doesn't look at the child at all.
    /// @return 0; PROCESS_API_ERROR_WAIT_TIMEOUT, also for a child that a signal has ended;
    /// PROCESS_API_ERROR_WAIT_INTERRUPTED, also after a stop request, which a wait without
    /// end doesn't see; PROCESS_API_ERROR_UNKNOWN.
    [[nodiscard]] uint32_t WaitForProcess(int pid, uint32_t* exitCodeOut, CCEvent* event, void* reserved,
                                          uint32_t timeoutMs);
    /// For a child to be gone after a signal that ends it.
    static constexpr std::chrono::milliseconds kEndLimit{5000};
    /// The same for who has been asked to stop and is waited for in turn.
    static constexpr std::chrono::milliseconds kStoppedEndLimit{1000};
    /// Ends the child with SIGTERM, or with SIGKILL if it has not gone within the limit, and reaps it. If it
    /// leads a process group of its own all of that gets the signals, and SIGKILL when the leader has gone. A
    /// process that isn't our child gets SIGTERM and is not waited for.
    /// @param limit  after a stop request kStoppedEndLimit takes its place, if that is less.
    /// @return 0, or PROCESS_API_ERROR_UNKNOWN if there is no such process, it may not be signalled, or it
    /// has survived SIGKILL for as long again and was not reaped.
    [[nodiscard]] static uint32_t terminateProcess(int pid, std::chrono::milliseconds limit = kEndLimit);
    /// @return 0 while the child runs; PROCESS_API_ERROR_NOTRUNNING if this call has reaped it;
    /// PROCESS_API_ERROR_UNKNOWN for any other outcome.
    [[nodiscard]] static uint32_t pollProcess(int pid);
    /// For callers outside of this system: the number of this process.
    [[nodiscard]] static int getCurrentProcessId();
    /// For callers outside of this system: sets the nice value of the calling thread, which fails for one
    /// whose nice value is -1.
    /// @param priority  gets the former value on success. Not null.
    /// @return 0, PROCESS_API_ERROR_GET_THREAD_PRIORITY_FAILED
    /// or PROCESS_API_ERROR_SET_THREAD_PRIORITY_FAILED.
    [[nodiscard]] static uint32_t SetThreadPriority(int* priority);
    /// For callers outside of this system: the file of a process's program, cut to what fits.
    /// @param size  bytes of the buffer, the terminating zero included.
    /// @return 0, PROCESS_API_ERROR_PROCESS_NOT_FOUND or PROCESS_API_ERROR_UNEXPECTED.
    [[nodiscard]] static uint32_t getProcessPath(int pid, char* buffer, int size);
    /// For callers outside of this system: true for a process that runs, sleeps or waits for a device; false
    /// for one that is stopped or has ended. The name in front of the state is taken to end at its first ")":
    /// with one in the name the state is misread, mostly as false.
    [[nodiscard]] static bool isProcessRunning(int pid);

private:
    [[nodiscard]] uint32_t waitInSteps(int pid, int& status, CCEvent* event, uint32_t timeoutMs);

    std::unique_ptr<IFileVerifier> m_verifier;
    /// Start of the wait under way.
    std::chrono::steady_clock::time_point m_waitStart;
};
