#include "Common/Utility/process/ChildSetup.h"
#include "Common/Utility/ReturnCodes.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/InChild.h"
#include "tests/support/Processes.h"
#include "tests/support/SystemCallFilter.h"
#include "tests/unit/common/ipc/PrivateUsers.h"
#include "tests/unit/common/ipc/ProcessTest.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using ProcessLaunch = ProcessTest;
using ImpersonatedLaunch = ProcessTest;
using LaunchAsUser = PrivateUsersTest;
using SignedLaunch = ProcessTest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr uint32_t kProgramMissing = 238;
constexpr uint32_t kProgramNotRun = 239;
constexpr uint32_t kNotSetUp = 255;
constexpr const char* kNobodysName = "no-such-user-of-mero";

std::string unblockedMask() {
    return std::string(16, '0');
}

/// A null-terminated environment for a launch.
class Entries {
public:
    explicit Entries(std::vector<std::string> texts) : m_texts(std::move(texts)) {
        for (std::string& text : m_texts) {
            m_pointers.push_back(text.data());
        }
        m_pointers.push_back(nullptr);
    }
    [[nodiscard]] char** get() { return m_pointers.data(); }

private:
    std::vector<std::string> m_texts;
    std::vector<char*> m_pointers;
};

TEST_F(ProcessLaunch, RefusesAnEmptyList) {
    ProcessLaunchInfo info;
    EXPECT_EQ(CProcessApi().Launch(info, std::vector<char*>()), PROCESS_API_ERROR_BAD_PARAMETER);
    EXPECT_EQ(info.m_processId, 0);
}

TEST_F(ProcessLaunch, RefusesANullProgram) {
    ProcessLaunchInfo info;
    EXPECT_EQ(CProcessApi().Launch(info, std::vector<char*>{nullptr}), PROCESS_API_ERROR_BAD_PARAMETER);
    const char* const none = nullptr;
    EXPECT_EQ(CProcessApi().Launch(info, none), PROCESS_API_ERROR_BAD_PARAMETER);
    EXPECT_EQ(info.m_processId, 0);
}

TEST_F(ProcessLaunch, TakesAListOfArgumentsUpToTheNull) {
    ProcessLaunchInfo info;
    const std::string program = childProgram();
    const std::string file = path("report");
    ASSERT_EQ(CProcessApi().Launch(info, program.c_str(), "report", file.c_str(), "last", nullptr, "beyond"),
              0U);
    const Report report = reportIn("report");
    EXPECT_EQ(exitCodeOf(info.m_processId), 0U);
    EXPECT_EQ(report["argument3"], "last");
    EXPECT_EQ(report["argument4"], "?");
}

TEST_F(ProcessLaunch, HandsOverArgumentsByteForByte) {
    const Report report = reportOf({}, {"", "two words", "'quoted' \"$HOME\" *", "\xC3\xA4\xFF"});
    EXPECT_EQ(report["argument3"], "");
    EXPECT_EQ(report["argument4"], "two words");
    EXPECT_EQ(report["argument5"], "'quoted' \"$HOME\" *");
    EXPECT_EQ(report["argument6"], "\xC3\xA4\xFF");
}

TEST_F(ProcessLaunch, EndsTheListAtANullInIt) {
    std::string program = childProgram();
    std::string behaviour = "exit";
    std::string code = "7";
    std::string beyond = "beyond";
    ProcessLaunchInfo info;
    ASSERT_EQ(CProcessApi().Launch(info, std::vector<char*>{program.data(), behaviour.data(), code.data(),
                                                            nullptr, beyond.data()}),
              0U);
    EXPECT_EQ(exitCodeOf(info.m_processId), 7U);
}

TEST_F(ProcessLaunch, PutsThePathInFrontAndKeepsTheName) {
    fs::copy_file(childProgram(), path("tool"));
    for (const std::string& folder : {path(), path() + "/"}) {
        fs::remove(path("report"));
        ProcessLaunchInfo info;
        info.m_pszPath = folder.c_str();
        ASSERT_EQ(launch(info, {"tool", "report", path("report")}), 0U);
        EXPECT_EQ(exitCodeOf(info.m_processId), 0U);
        EXPECT_EQ(reportIn("report")["argument0"], "tool");
    }
}

TEST_F(ProcessLaunch, PutsThePathInFrontOfAnAbsoluteNameToo) {
    writeTool(path("usr/bin/true"), "exit 9");
    const std::string folder = path();
    ProcessLaunchInfo info;
    info.m_pszPath = folder.c_str();
    ASSERT_EQ(launch(info, {"/usr/bin/true"}), 0U);
    EXPECT_EQ(exitCodeOf(info.m_processId), 9U);
}

TEST_F(ProcessLaunch, TakesAnEmptyPathForNone) {
    ProcessLaunchInfo info;
    info.m_pszPath = "";
    ASSERT_EQ(launch(info, {"/bin/sh", "-c", "exit 4"}), 0U);
    EXPECT_EQ(exitCodeOf(info.m_processId), 4U);
}

TEST_F(ProcessLaunch, LooksForAPlainNameInThePathOfTheChild) {
    setEnvironment("PATH", "/usr/bin:/bin");
    writeTool(path("bin/mero_tool"), "exit 6");
    Entries entries({"PATH=" + path("bin")});
    ProcessLaunchInfo info;
    info.m_ppszEnvironment = entries.get();
    ASSERT_EQ(launch(info, {"mero_tool"}), 0U);
    EXPECT_EQ(exitCodeOf(info.m_processId), 6U);
    info.m_ppszEnvironment = nullptr;
    ASSERT_EQ(launch(info, {"mero_tool"}), 0U);
    EXPECT_EQ(exitCodeOf(info.m_processId), kProgramMissing);
}

TEST_F(ProcessLaunch, RunsAScriptWithoutAnInterpreterLineThroughTheShell) {
    fs::permissions(writeFile("script", "exit 8\n"), fs::perms::owner_all);
    ProcessLaunchInfo info;
    ASSERT_EQ(launch(info, {path("script")}), 0U);
    EXPECT_EQ(exitCodeOf(info.m_processId), 8U);
}

TEST_F(ProcessLaunch, GivesAMissingProgramTheExitCode238) {
    setEnvironment("PATH", "/usr/bin:/bin"); // a folder that may not be searched would make it 239
    const CapturedLog log;
    for (const std::string& name : {path("missing"), std::string("mero-no-such-tool"), std::string()}) {
        ProcessLaunchInfo info;
        ASSERT_EQ(launch(info, {name}), 0U);
        EXPECT_EQ(exitCodeOf(info.m_processId), kProgramMissing) << name;
    }
    EXPECT_TRUE(log.lines().empty()) << log.dump();
}

TEST_F(ProcessLaunch, GivesAProgramThatCannotRunTheExitCode239) {
    writeFile("plain.txt", "no program");
    for (const std::string& name : {path("plain.txt"), path(), path("plain.txt/below")}) {
        ProcessLaunchInfo info;
        ASSERT_EQ(launch(info, {name}), 0U);
        EXPECT_EQ(exitCodeOf(info.m_processId), kProgramNotRun) << name;
    }
}

TEST_F(ProcessLaunch, StartsInTheWorkingFolder) {
    const std::string folder = makeFolder("below");
    ProcessLaunchInfo info;
    info.m_pszWorkingDirectory = folder.c_str();
    EXPECT_EQ(reportOf(info)["cwd"], folder);
}

TEST_F(ProcessLaunch, StaysInOurFolderIfTheWorkingFolderIsMissing) {
    const std::string folder = path("missing");
    ProcessLaunchInfo info;
    info.m_pszWorkingDirectory = folder.c_str();
    EXPECT_EQ(reportOf(info)["cwd"], path());
}

TEST_F(ProcessLaunch, HandsOnOurEnvironment) {
    setEnvironment("MERO_TEST_KEPT", "as it is");
    const Report report = reportOf({});
    EXPECT_TRUE(report.hasVariable("MERO_TEST_KEPT=as it is"));
    EXPECT_TRUE(report.hasVariable("HOME=" + path()));
}

TEST_F(ProcessLaunch, AddsReplacesAndTakesOutVariables) {
    setEnvironment("MERO_TEST_REPLACED", "former");
    setEnvironment("MERO_TEST_GONE", "former");
    setEnvironment("MERO_TEST_GONE_NOT", "kept");
    Entries entries({"MERO_TEST_NEW=a=b", "MERO_TEST_REPLACED=first", "MERO_TEST_REPLACED=last",
                     "MERO_TEST_GONE", "MERO_TEST_EMPTY=", "MERO_TEST_NEVER_WAS"});
    ProcessLaunchInfo info;
    info.m_ppszEnvironment = entries.get();
    const Report report = reportOf(info);
    EXPECT_TRUE(report.hasVariable("MERO_TEST_NEW=a=b"));
    EXPECT_TRUE(report.hasVariable("MERO_TEST_REPLACED=last"));
    EXPECT_FALSE(report.hasVariable("MERO_TEST_REPLACED=first"));
    EXPECT_FALSE(report.hasVariable("MERO_TEST_REPLACED=former"));
    EXPECT_FALSE(report.hasVariable("MERO_TEST_GONE=former"));
    EXPECT_TRUE(report.hasVariable("MERO_TEST_GONE_NOT=kept"));
    EXPECT_TRUE(report.hasVariable("MERO_TEST_EMPTY="));
    EXPECT_STREQ(std::getenv("MERO_TEST_REPLACED"), "former"); // ours is left alone
    EXPECT_STREQ(std::getenv("MERO_TEST_GONE"), "former");
}

TEST_F(ProcessLaunch, GivesNoStandardInputAndNoDescriptorOfOurs) {
    const int inheritable = ::open("/dev/null", O_RDONLY); // NOLINT(android-cloexec-open): what is tested
    ASSERT_GE(inheritable, 3);
    const Report report = reportOf({});
    EXPECT_EQ(report["fd0"], "/dev/null");
    EXPECT_EQ(report["descriptors"], "0 1 2");
    EXPECT_EQ(::close(inheritable), 0);
}

TEST_F(ProcessLaunch, LeavesOutputAndErrorAsOurs) {
    const Report report = reportOf({});
    EXPECT_EQ(report["fd1"], fs::read_symlink("/proc/self/fd/1").string());
    EXPECT_EQ(report["fd2"], fs::read_symlink("/proc/self/fd/2").string());
}

TEST_F(ProcessLaunch, DiscardsOutputIfToldTo) {
    ProcessLaunchInfo info;
    info.m_bDiscardOutput = true;
    const Report report = reportOf(info);
    EXPECT_EQ(report["fd1"], "/dev/null");
    EXPECT_EQ(report["fd2"], "/dev/null");
    EXPECT_EQ(report["descriptors"], "0 1 2");
}

TEST_F(ProcessLaunch, FillsInStandardDescriptorsThatAreClosed) {
    inChild([this] {
        for (const int descriptor : {0, 1, 2}) {
            ASSERT_EQ(::close(descriptor), 0);
        }
        const Report report = reportOf({});
        EXPECT_EQ(report["fd0"], "/dev/null");
        EXPECT_EQ(report["fd1"], "/dev/null");
        EXPECT_EQ(report["fd2"], "/dev/null");
        EXPECT_EQ(report["descriptors"], "0 1 2");
    });
}

TEST_F(ProcessLaunch, ResetsSignalsInTheChildOnly) {
    inChild([this] {
        sigset_t mask;
        ::sigfillset(&mask);
        ASSERT_EQ(::sigprocmask(SIG_SETMASK, &mask, nullptr), 0);
        for (const int signalNumber : {SIGPIPE, SIGXFSZ, SIGTERM, SIGHUP, SIGRTMIN}) {
            ASSERT_NE(std::signal(signalNumber, SIG_IGN), SIG_ERR);
        }
        const Report report = reportOf({});
        EXPECT_EQ(report["blocked"], unblockedMask());
        EXPECT_EQ(report["ignored"], unblockedMask());
        sigset_t after;
        ASSERT_EQ(::sigprocmask(SIG_SETMASK, nullptr, &after), 0);
        EXPECT_EQ(::sigismember(&after, SIGUSR1), 1);
        EXPECT_EQ(std::signal(SIGPIPE, SIG_IGN), SIG_IGN);
    });
}

TEST_F(ProcessLaunch, PutsTheSignalMaskBack) {
    const pid_t child = startChild({"exit", "0"});
    sigset_t after;
    ASSERT_EQ(::sigprocmask(SIG_SETMASK, nullptr, &after), 0);
    EXPECT_EQ(::sigismember(&after, SIGTERM), 0);
    EXPECT_EQ(exitCodeOf(child), 0U);
}

TEST_F(ProcessLaunch, WorksWhereTheKernelLacksTheCallThatHidesDescriptors) {
    inChild([this] {
        replaceSystemCall(SYS_close_range, ENOSYS);
        EXPECT_EQ(reportOf({})["fd0"], "/dev/null");
    });
}

TEST_F(ProcessLaunch, SharesOurGroupUnlessToldOtherwise) {
    const Report report = reportOf({});
    EXPECT_EQ(report.number("group"), ::getpgrp());
    EXPECT_EQ(report.number("deathsig"), 0);
}

TEST_F(ProcessLaunch, LeadsAGroupAndEndsWithTheCallerIfToldTo) {
    ProcessLaunchInfo info;
    info.m_bEndWithCaller = true;
    const Report report = reportOf(info);
    EXPECT_EQ(report["group"], report["pid"]);
    EXPECT_EQ(report.number("deathsig"), SIGTERM);
}

TEST_F(ProcessLaunch, LeadsItsGroupFromTheFirstMoment) {
    ProcessLaunchInfo info;
    info.m_bEndWithCaller = true;
    for (int round = 0; round < 20; ++round) {
        const pid_t child = startChild({"wait", path("ready")}, info);
        EXPECT_EQ(::getpgid(child), child);
        EXPECT_EQ(CProcessApi::terminateProcess(child), 0U);
    }
}

TEST_F(ProcessLaunch, TakesTheProgramAlongWhenTheCallingProcessIsKilled) {
    const pid_t caller = ::fork();
    ASSERT_NE(caller, -1);
    if (caller == 0) {
        ProcessLaunchInfo info;
        info.m_bEndWithCaller = true;
        static_cast<void>(startChild({"wait", path("program")}, info));
        ::pause();
        ::_exit(0);
    }
    const pid_t program = pidIn(path("program"));
    ASSERT_GT(program, 0);
    EXPECT_FALSE(hasEnded(program));
    ASSERT_EQ(::kill(caller, SIGKILL), 0);
    int status = 0;
    ASSERT_EQ(::waitpid(caller, &status, 0), caller);
    EXPECT_TRUE(eventually([program] { return hasEnded(program); }));
}

TEST_F(ProcessLaunch, TakesTheProgramAlongWhenTheCallingThreadEnds) {
    pid_t program = 0;
    std::thread([&] {
        ProcessLaunchInfo info;
        info.m_bEndWithCaller = true;
        program = startChildUntil("ready", {"wait", path("ready")}, info);
    }).join();
    int status = 0;
    ASSERT_EQ(::waitpid(program, &status, 0), program);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM) << status;
}

TEST_F(ProcessLaunch, DetachesAProgramWhollyFromThisProcess) {
    ProcessLaunchInfo info;
    info.m_bDetach = true;
    ASSERT_EQ(launch(info, {childProgram(), "report", path("report")}), 0U);
    EXPECT_FALSE(hasChildren());
    EXPECT_EQ(info.m_processId, 0);
    const Report report = reportIn("report");
    EXPECT_NE(report.number("ppid"), ::getpid());
    EXPECT_EQ(report["fd0"], "/dev/null");
    EXPECT_EQ(report["descriptors"], "0 1 2");
    EXPECT_EQ(report["blocked"], unblockedMask());
}

TEST_F(ProcessLaunch, KeepsADetachedProgramWhenTheCallerEnds) {
    ProcessLaunchInfo info;
    info.m_bDetach = true;
    info.m_bEndWithCaller = true;
    const Report report = reportOf(info);
    EXPECT_EQ(report.number("deathsig"), 0);
    EXPECT_EQ(report["group"], report["pid"]);
}

TEST_F(ProcessLaunch, SaysNothingOfADetachedProgramThatIsMissing) {
    ProcessLaunchInfo info;
    info.m_bDetach = true;
    EXPECT_EQ(launch(info, {path("missing")}), 0U);
}

TEST_F(ProcessLaunch, LogsThatADetachedProgramsParentWasReapedUnseen) {
    inChild([] {
        const CapturedLog log;
        ASSERT_NE(std::signal(SIGCHLD, SIG_IGN), SIG_ERR);
        ProcessLaunchInfo info;
        info.m_bDetach = true;
        EXPECT_EQ(launch(info, {childProgram(), "exit", "0"}), 0U);
        EXPECT_TRUE(log.containsCode('E', "reapMiddleChild", "waitpid", ECHILD)) << log.dump();
    });
}

TEST_F(ProcessLaunch, FailsIfNoProcessCanBeMade) {
    inChild([] {
        const CapturedLog log;
        forbidProcesses();
        ProcessLaunchInfo info;
        EXPECT_EQ(launch(info, {childProgram(), "exit", "0"}), PROCESS_API_ERROR_UNKNOWN);
        EXPECT_EQ(info.m_processId, 0);
        EXPECT_TRUE(log.containsCode('E', "start", "fork", EAGAIN)) << log.dump();
        sigset_t after;
        ASSERT_EQ(::sigprocmask(SIG_SETMASK, nullptr, &after), 0);
        EXPECT_EQ(::sigismember(&after, SIGTERM), 0);
    });
}

TEST_F(ProcessLaunch, FailsIfADetachedProgramsProcessCannotBeMade) {
    inChild([] {
        const CapturedLog log;
        becomeLonelyUser();
        const rlimit oneChild{2, 2};
        ASSERT_EQ(::setrlimit(RLIMIT_NPROC, &oneChild), 0);
        ProcessLaunchInfo info;
        info.m_bDetach = true;
        EXPECT_EQ(launch(info, {childProgram(), "exit", "0"}), PROCESS_API_ERROR_UNKNOWN);
        EXPECT_EQ(log.count('E', "Invoked Function: fork\n"), 1) << log.dump();
        EXPECT_FALSE(hasChildren());
    });
}

TEST_F(ProcessLaunch, LeavesNothingBehindInManyRuns) {
    const std::size_t before = openDescriptors();
    for (int round = 0; round < 200; ++round) {
        ProcessLaunchInfo info;
        info.m_bDetach = round % 2 == 1;
        info.m_bEndWithCaller = round % 3 == 1;
        info.m_bDiscardOutput = true;
        ASSERT_EQ(launch(info, {"/bin/true"}), 0U);
        if (!info.m_bDetach) {
            ASSERT_EQ(exitCodeOf(info.m_processId), 0U);
        }
    }
    EXPECT_EQ(openDescriptors(), before);
}

/// Notes what it is asked and gives a ready-made answer.
class RecordingVerifier : public IFileVerifier {
public:
    struct Asked {
        int times = 0;
        std::string file;
        std::optional<std::string> signer;
    };

    RecordingVerifier(Asked& asked, uint32_t answer) : m_asked(asked), m_answer(answer) {}
    uint32_t IsValid(const std::string& file, const char* expectedSigner) override {
        ++m_asked.times;
        m_asked.file = file;
        m_asked.signer =
            expectedSigner == nullptr ? std::nullopt : std::optional<std::string>(expectedSigner);
        return m_answer;
    }

private:
    Asked& m_asked;
    uint32_t m_answer;
};

/// Launches with a verifier. @return the code of Launch; a program that has been started is reaped.
uint32_t launchSigned(ProcessLaunchInfo info, RecordingVerifier::Asked& asked, uint32_t answer,
                      std::vector<std::string> command) {
    CProcessApi api(std::make_unique<RecordingVerifier>(asked, answer));
    std::vector<char*> arguments;
    arguments.reserve(command.size());
    for (std::string& argument : command) {
        arguments.push_back(argument.data());
    }
    const uint32_t code = api.Launch(info, arguments);
    uint32_t exitCode = 0;
    if (info.m_processId != 0) {
        EXPECT_EQ(api.WaitForProcess(info.m_processId, &exitCode, nullptr, nullptr, 60000), 0U);
    }
    return code;
}

TEST_F(SignedLaunch, FailsWithoutAVerifier) {
    ProcessLaunchInfo info;
    info.m_bVerifySignature = true;
    EXPECT_EQ(launch(info, {"/bin/true"}), PROCESS_API_ERROR_BAD_HANDLE);
    EXPECT_EQ(info.m_processId, 0);
}

TEST_F(SignedLaunch, AsksNothingUnlessToldTo) {
    RecordingVerifier::Asked asked;
    EXPECT_EQ(launchSigned({}, asked, GLOBAL_ERROR_UNEXPECTED, {"/bin/true"}), 0U);
    EXPECT_EQ(asked.times, 0);
}

TEST_F(SignedLaunch, TestsTheProgramWithItsPath) {
    ProcessLaunchInfo info;
    info.m_bVerifySignature = true;
    info.m_pszPath = "/bin";
    info.m_pszExpectedSigner = "Somebody";
    RecordingVerifier::Asked asked;
    EXPECT_EQ(launchSigned(info, asked, 0, {"true"}), 0U);
    EXPECT_EQ(asked.times, 1);
    EXPECT_EQ(asked.file, "/bin/true");
    EXPECT_EQ(asked.signer, "Somebody");
}

TEST_F(SignedLaunch, TestsTheArgumentThatIsNamedIfItExists) {
    ProcessLaunchInfo info;
    info.m_bVerifySignature = true;
    RecordingVerifier::Asked asked;
    info.m_signatureArgumentIndex = 1;
    EXPECT_EQ(launchSigned(info, asked, 0, {"/bin/true", "script"}), 0U);
    EXPECT_EQ(asked.file, "script");
    EXPECT_EQ(asked.signer, std::nullopt);
    for (const int32_t index : {2, -1, INT32_MAX, INT32_MIN}) {
        info.m_signatureArgumentIndex = index;
        EXPECT_EQ(launchSigned(info, asked, 0, {"/bin/true", "script"}), 0U);
        EXPECT_EQ(asked.file, "/bin/true") << index;
    }
}

TEST_F(SignedLaunch, GivesTheVerifiersCode) {
    const CapturedLog log;
    ProcessLaunchInfo info;
    info.m_bVerifySignature = true;
    RecordingVerifier::Asked asked;
    EXPECT_EQ(launchSigned(info, asked, GLOBAL_ERROR_NOT_INITIALIZED, {childProgram(), "report", path("r")}),
              GLOBAL_ERROR_NOT_INITIALIZED);
    EXPECT_TRUE(
        log.containsCode('E', "verifySignature", "VerifyFileSignature IsValid", GLOBAL_ERROR_NOT_INITIALIZED))
        << log.dump();
    EXPECT_FALSE(exists("r"));
}

class ThrowingVerifier : public IFileVerifier {
public:
    uint32_t IsValid(const std::string& /*file*/, const char* /*expectedSigner*/) override {
        throw std::runtime_error("no key");
    }
};

TEST_F(SignedLaunch, TurnsAnExceptionIntoACode) {
    const CapturedLog log;
    CProcessApi api(std::make_unique<ThrowingVerifier>());
    ProcessLaunchInfo info;
    info.m_bVerifySignature = true;
    EXPECT_EQ(api.Launch(info, "/bin/true", nullptr), PROCESS_API_ERROR_UNEXPECTED);
    EXPECT_TRUE(log.contains('E', "no key")) << log.dump();
}

ProcessLaunchInfo asUser(const char* userName) {
    ProcessLaunchInfo info;
    info.m_bImpersonate = true;
    info.m_pszUserName = userName;
    return info;
}

TEST_F(ImpersonatedLaunch, RefusesAnUnknownUserWithADisplay) {
    const CapturedLog log;
    ProcessLaunchInfo info = asUser(kNobodysName);
    info.m_pszDisplay = ":0";
    EXPECT_EQ(launch(info, {"/bin/true"}), PROCESS_API_ERROR_NO_USER_TOKEN);
    EXPECT_EQ(info.m_processId, 0);
    EXPECT_EQ(log.count('E', "Invoked Function: getpwnam\n"), 1) << log.dump();
    EXPECT_TRUE(log.contains('E', kNobodysName)) << log.dump();
}

TEST_F(ImpersonatedLaunch, LetsTheChildEndForAnUnknownUserWithoutADisplay) {
    const CapturedLog log;
    ProcessLaunchInfo info = asUser(kNobodysName);
    ASSERT_EQ(launch(info, {childProgram(), "report", path("report")}), 0U);
    EXPECT_EQ(exitCodeOf(info.m_processId), kNotSetUp);
    EXPECT_FALSE(exists("report"));
    EXPECT_EQ(log.lines().size(), 1U) << log.dump();
    EXPECT_EQ(log.count('E', "Invoked Function: getpwnam\n"), 1) << log.dump();
    EXPECT_EQ(log.count('E', std::string("error: Success; username: ") + kNobodysName), 1) << log.dump();
}

TEST_F(ImpersonatedLaunch, TakesTheFlagAndTheNameTogetherOnly) {
    setEnvironment("MERO_TEST_KEPT", "1");
    ProcessLaunchInfo nameOnly;
    nameOnly.m_pszUserName = kNobodysName;
    nameOnly.m_pszDisplay = ":0";
    EXPECT_TRUE(reportOf(nameOnly).hasVariable("MERO_TEST_KEPT=1"));
    fs::remove(path("report"));
    EXPECT_TRUE(reportOf(asUser(nullptr)).hasVariable("MERO_TEST_KEPT=1"));
}

TEST_F(ImpersonatedLaunch, LetsTheChildEndIfTheUserMayNotBeTakenOver) {
    inChild([] {
        becomeLonelyUser();
        ProcessLaunchInfo info = asUser("root");
        ASSERT_EQ(launch(info, {childProgram(), "exit", "0"}), 0U);
        EXPECT_EQ(exitCodeOf(info.m_processId), kNotSetUp);
    });
}

TEST_F(ImpersonatedLaunch, LetsTheChildEndAtEachStepThatIsRefused) {
    for (const long step : {SYS_setgroups, SYS_setgid, SYS_setuid}) {
        inChild([step] {
            // All of them seem to work for anybody, but for the one.
            for (const long call : {SYS_setgroups, SYS_setgid, SYS_setuid}) {
                replaceSystemCall(call, call == step ? EPERM : 0);
            }
            ProcessLaunchInfo info = asUser("root");
            ASSERT_EQ(launch(info, {"/bin/true"}), 0U);
            EXPECT_EQ(exitCodeOf(info.m_processId), kNotSetUp);
        });
    }
}

TEST_F(LaunchAsUser, BecomesTheUserWithAllItsGroups) {
    withPrivateUsers([this] {
        ProcessLaunchInfo info = asUser("mero_user");
        ASSERT_EQ(launch(info, {publicTool(), "report", path("report")}), 0U);
        EXPECT_EQ(exitCodeOf(info.m_processId), 0U);
        const Report report = reportIn("report");
        EXPECT_EQ(report["uid"], "54321\t54321\t54321\t54321");
        EXPECT_EQ(report["gid"], "54322\t54322\t54322\t54322");
        EXPECT_EQ(report["groups"], "54322 54324 54325");
        EXPECT_THAT(report.environment(), IsEmpty());
        EXPECT_EQ(report["fd0"], "/dev/null");
        EXPECT_EQ(::geteuid(), 0U); // we are who we were
    });
}

TEST_F(LaunchAsUser, GivesTheChildItsDisplayAndNothingElse) {
    withPrivateUsers([this] {
        Entries entries({"MERO_TEST_NEW=1"});
        ProcessLaunchInfo info = asUser("mero_user");
        info.m_pszDisplay = ":7";
        info.m_ppszEnvironment = entries.get();
        ASSERT_EQ(launch(info, {publicTool(), "report", path("report")}), 0U);
        EXPECT_EQ(exitCodeOf(info.m_processId), 0U);
        EXPECT_THAT(reportIn("report").environment(),
                    ElementsAre("DISPLAY=:7", "XAUTHORITY=/home/mero_user/.Xauthority", "MERO_TEST_NEW=1"));
    });
}

TEST_F(LaunchAsUser, TakesTheRootFolderForAMissingHome) {
    withPrivateUsers([this] {
        ProcessLaunchInfo info = asUser("mero_homeless");
        info.m_pszDisplay = "host:1.0";
        ASSERT_EQ(launch(info, {publicTool(), "report", path("report")}), 0U);
        EXPECT_EQ(exitCodeOf(info.m_processId), 0U);
        EXPECT_THAT(reportIn("report").environment(),
                    ElementsAre("DISPLAY=host:1.0", "XAUTHORITY=//.Xauthority"));
    });
}

TEST_F(LaunchAsUser, LooksForAPlainNameInTheStandardFoldersWithoutAPath) {
    withPrivateUsers([] {
        ProcessLaunchInfo info = asUser("mero_user");
        ASSERT_EQ(launch(info, {"sh", "-c", "exit 5"}), 0U);
        EXPECT_EQ(exitCodeOf(info.m_processId), 5U);
    });
}

TEST_F(LaunchAsUser, StillEndsWithTheCaller) {
    withPrivateUsers([this] {
        ProcessLaunchInfo info = asUser("mero_user");
        info.m_bEndWithCaller = true;
        ASSERT_EQ(launch(info, {publicTool(), "report", path("report")}), 0U);
        EXPECT_EQ(exitCodeOf(info.m_processId), 0U);
        EXPECT_EQ(reportIn("report").number("deathsig"), SIGTERM);
    });
}

TEST_F(LaunchAsUser, EntersTheWorkingFolderAsTheUser) {
    const std::string closed = makeFolder("closed");
    fs::permissions(closed, fs::perms::owner_all);
    withPrivateUsers([this, closed] {
        ProcessLaunchInfo info = asUser("mero_user");
        info.m_pszWorkingDirectory = closed.c_str();
        ASSERT_EQ(launch(info, {publicTool(), "report", path("report")}), 0U);
        EXPECT_EQ(exitCodeOf(info.m_processId), 0U);
        EXPECT_EQ(reportIn("report")["cwd"], path());
    });
}

TEST_F(LaunchAsUser, DetachesAsTheUserToo) {
    withPrivateUsers([this] {
        ProcessLaunchInfo info = asUser("mero_user");
        info.m_bDetach = true;
        ASSERT_EQ(launch(info, {publicTool(), "report", path("report")}), 0U);
        EXPECT_EQ(reportIn("report")["uid"], "54321\t54321\t54321\t54321");
        EXPECT_FALSE(hasChildren());
    });
}

} // namespace
