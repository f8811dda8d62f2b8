#include "Common/Utility/ReturnCodes.h"
#include "tests/engine/action/ToolTest.h"
#include "tests/support/InChild.h"
#include "tests/support/Processes.h"
#include "tests/support/SystemCallFilter.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <gmock/gmock.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Tools whose standard output is taken.
class CapturedTool : public ToolTest {
protected:
    /// A tool runs to its end although its output can't be kept, which is a row of the summary.
    void expectLostOutput(int error) {
        EXPECT_EQ(capture("touch done; echo text"), 0u);
        EXPECT_TRUE(exists("done"));
        EXPECT_THAT(omitted(), ElementsAre(row("out.txt", "The output of touch could not be kept whole")));
        EXPECT_TRUE(m_log.containsCode('E', "callExtern", "open", static_cast<uint32_t>(error)))
            << m_log.dump();
        EXPECT_TRUE(m_log.contains('E', std::string(std::strerror(error)))) << m_log.dump();
        EXPECT_TRUE(m_log.contains('E', "File: " + path("bundle/out.txt"))) << m_log.dump();
    }

    /// Expects that a tool which prints 1 MiB comes to its end, and that its output is known to lack a part.
    void expectFullDisk() {
        EXPECT_EQ(capture(tool("big", "head -c 1048576 /dev/zero; echo $? >ended")), 0u);
        EXPECT_EQ(readFile("ended"), "0\n");
        EXPECT_THAT(omitted(), ElementsAre(row("out.txt", "The output of " + path("tools/big") +
                                                              " could not be kept whole")));
        EXPECT_LT(captured().size(), 65536u);
        EXPECT_EQ(m_log.count('E', "Invoked Function: write\n"), 1) << m_log.dump();
    }
};

TEST_F(CapturedTool, HasItsOutputBehindABannerOfWholeLines) {
    const std::string asterisks(75, '*');
    EXPECT_EQ(capture("echo some text"), 0u);
    std::string expected = "\n\r";
    expected.append(asterisks).append("\n\"echo some text\" output:\n");
    expected.append(asterisks).append("\n\r\nsome text\n");
    EXPECT_EQ(captured(), expected);
    EXPECT_EQ(captured().find('\n', 1), 77u);
    EXPECT_THAT(omitted(), IsEmpty());
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
}

TEST_F(CapturedTool, HasABannerWithoutOutputIfItPrintsNothing) {
    EXPECT_EQ(capture("true"), 0u);
    EXPECT_EQ(captured(), banner("true"));
}

TEST_F(CapturedTool, AddsToTheOutputOfThoseBeforeIt) {
    EXPECT_EQ(capture("echo one"), 0u);
    EXPECT_EQ(capture("printf two"), 0u);
    EXPECT_EQ(capture("echo one"), 0u);
    EXPECT_EQ(captured(),
              banner("echo one") + "one\n" + banner("printf two") + "two" + banner("echo one") + "one\n");
}

TEST_F(CapturedTool, AddsToAFileThatIsThere) {
    writeFile("bundle/out.txt", "earlier\n");
    EXPECT_EQ(capture("echo one"), 0u);
    EXPECT_EQ(captured(), "earlier\n" + banner("echo one") + "one\n");
}

TEST_F(CapturedTool, AddsToAnOutputOfItsOwnOutsideOfTheBundle) {
    makeFolder("outside");
    const std::string output = path("outside/out.txt");
    EXPECT_EQ(m_runner.callExtern("", "echo one", true, output), 0u);
    EXPECT_EQ(ToolRunner(m_info).callExtern("", "echo two", true, output), 0u);
    EXPECT_EQ(readFile(output), banner("echo one") + "one\n" + banner("echo two") + "two\n");
    EXPECT_THAT(omitted(), IsEmpty());
}

TEST_F(CapturedTool, LeavesAFileAloneThatTheRunHasNotMadeWithRootsRights) {
    if (!runsAsRoot()) {
        GTEST_SKIP() << "only root's runs are held to it";
    }
    const std::string output = writeFile("outside/out.txt", "a file of the system");
    EXPECT_EQ(m_runner.callExtern("", "touch done; echo text", true, output), 0u);
    EXPECT_TRUE(exists("done"));
    EXPECT_EQ(readFile(output), "a file of the system");
    EXPECT_THAT(omitted(), ElementsAre(row("out.txt", "The output of touch could not be kept whole")));
}

TEST_F(CapturedTool, LeavesSomebodyElsesFileAloneWithRootsRights) {
    if (!runsAsRoot()) {
        GTEST_SKIP() << "only root's runs are held to it, and only root can give files away";
    }
    ASSERT_EQ(::chown(writeFile("bundle/out.txt", "theirs").c_str(), 65534, 65534), 0);
    expectLostOutput(EEXIST);
    EXPECT_EQ(captured(), "theirs");
}

TEST_F(CapturedTool, LeavesAFileOfSeveralNamesAloneWithRootsRights) {
    if (!runsAsRoot()) {
        GTEST_SKIP() << "only root's runs are held to it";
    }
    writeFile("secret", "of the system");
    fs::create_hard_link(path("secret"), path("bundle/out.txt"));
    expectLostOutput(EEXIST);
    EXPECT_EQ(readFile("secret"), "of the system");
}

TEST_F(CapturedTool, AddsToAnyFileThatItMayWriteWithAnOrdinaryUsersRights) {
    const std::string output = writeFile("outside/out.txt", "before\n");
    ASSERT_EQ(::chmod(output.c_str(), 0666), 0);
    ASSERT_EQ(::chmod(path("outside").c_str(), 0755), 0);
    asOrdinaryUser([&] {
        EXPECT_EQ(m_runner.callExtern("", "echo text", true, output), 0u);
        EXPECT_EQ(readFile(output), "before\n" + banner("echo text") + "text\n");
    });
}

TEST_F(CapturedTool, HasItsBytesKeptAsTheyAre) {
    const std::string line = tool("bytes", R"(printf 'a\000b\377\r\n\032\n\000')");
    EXPECT_EQ(capture(line), 0u);
    const std::string bytes("a\0b\xFF\r\n\x1A\n\0", 9);
    EXPECT_EQ(captured(), banner(line) + bytes);
}

TEST_F(CapturedTool, GivesAFileToTheOwnerAlone) {
    EXPECT_EQ(capture("true"), 0u);
    struct stat status = {};
    ASSERT_EQ(::stat(path("bundle/out.txt").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600u);
}

TEST_F(CapturedTool, IsLookedForInItsFolder) {
    const std::string folder = fs::path(tool("hello", "echo \"hello $1\"")).parent_path();
    EXPECT_EQ(capture("hello world", folder), 0u);
    EXPECT_EQ(captured(), banner("hello world") + "hello world\n") << "the banner shows no folder";
}

TEST_F(CapturedTool, KeepsTheFolderPartOfItsCommandLineBelowItsFolder) {
    static_cast<void>(tool("sub/hello", "echo hello"));
    EXPECT_EQ(capture("sub/hello", path("tools")), 0u);
    EXPECT_EQ(captured(), banner("sub/hello") + "hello\n");
}

TEST_F(CapturedTool, WithAnAbsolutePathHasNoUseForItsFolder) {
    const std::string line = tool("hello", "echo hello");
    EXPECT_EQ(capture(line, path("elsewhere")), 0u);
    EXPECT_EQ(captured(), banner(line) + "hello\n");
}

TEST_F(CapturedTool, HasItsCommandLineReadByTheShell) {
    const std::string echo = tool("show", "for a; do printf '[%s]' \"$a\"; done");
    const std::string line = echo + R"_( 'a b' "c  d" e\ f "$((2+3))" '*' | tr a-f A-F; echo "; rest")_";
    EXPECT_EQ(capture(line), 0u);
    EXPECT_EQ(captured(), banner(line) + "[A B][C  D][E F][5][*]; rest\n");
}

TEST_F(CapturedTool, HasOnlyStandardOutputKept) {
    EXPECT_EQ(capture("echo kept; echo lost >&2"), 0u);
    EXPECT_EQ(captured(), banner("echo kept; echo lost >&2") + "kept\n");
}

TEST_F(CapturedTool, MaySendItsErrorsToItsOutput) {
    EXPECT_EQ(capture("{ echo kept; echo too >&2; } 2>&1"), 0u);
    EXPECT_EQ(captured(), banner("{ echo kept; echo too >&2; } 2>&1") + "kept\ntoo\n");
}

struct Ending {
    const char* name;
    const char* commandLine;
    const char* output;
};

class CapturedToolEnding : public CapturedTool, public ::testing::WithParamInterface<Ending> {};

TEST_P(CapturedToolEnding, IsNoFailure) {
    writeFile("plain.txt", "not a program");
    EXPECT_EQ(capture(GetParam().commandLine), 0u);
    EXPECT_EQ(captured(), banner(GetParam().commandLine) + GetParam().output);
    EXPECT_THAT(omitted(), IsEmpty());
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
    EXPECT_FALSE(hasChildren());
}

INSTANTIATE_TEST_SUITE_P(Kinds, CapturedToolEnding,
                         ::testing::Values(Ending{"ExitCode", "echo part; exit 7", "part\n"},
                                           Ending{"Signal", "echo part; kill -KILL $$", "part\n"},
                                           Ending{"SegmentationFault", "echo part; kill -SEGV $$", "part\n"},
                                           Ending{"GroupSignal", "echo part; kill -TERM 0", "part\n"},
                                           Ending{"MissingProgram", "./no-such-tool 2>/dev/null", ""},
                                           Ending{"NotExecutable", "./plain.txt 2>/dev/null", ""},
                                           Ending{"ShellSyntax", "echo 'unclosed", ""}),
                         [](const auto& ending) { return std::string(ending.param.name); });

TEST_F(CapturedTool, IsWaitedForAfterItHasClosedItsOutput) {
    const std::string line = tool("closing", "echo part; exec >&-; sleep 0.5; touch done");
    EXPECT_EQ(capture(line), 0u);
    EXPECT_TRUE(exists("done"));
    EXPECT_EQ(captured(), banner(line) + "part\n");
}

TEST_F(CapturedTool, TakesWhatItLeavesInTheBackgroundWithIt) {
    const std::string line = tool("parent", "sh -c 'echo $$ >pid; exec sleep 600' &\n"
                                            "while [ ! -s pid ]; do sleep 0.05; done; echo part");
    EXPECT_EQ(capture(line), 0u);
    EXPECT_EQ(captured(), banner(line) + "part\n");
    const pid_t left = pidIn(path("pid"));
    EXPECT_TRUE(eventually([&] { return hasEnded(left); }));
}

TEST_F(CapturedTool, IsNotWaitedForThroughAServiceThatHoldsItsOutput) {
    const std::string line = tool("starter", "setsid sh -c 'echo $$ >pid; exec sleep 60' &\n"
                                             "while [ ! -s pid ]; do sleep 0.05; done; echo part");
    EXPECT_EQ(capture(line), 0u);
    EXPECT_EQ(captured(), banner(line) + "part\n");
    const pid_t service = pidIn(path("pid"));
    ASSERT_GT(service, 0);
    EXPECT_FALSE(hasEnded(service)) << "what has left the tool's group is no longer ours";
    ::kill(service, SIGKILL);
}

TEST_F(CapturedTool, FindsItsInputAtAnEnd) {
    withSilentInput([this] { EXPECT_EQ(capture("cat; echo read"), 0u); });
    EXPECT_EQ(captured(), banner("cat; echo read") + "read\n");
}

TEST_F(CapturedTool, IsNotReportedHoweverLongItRuns) {
    EXPECT_EQ(capture("sleep 1.3"), 0u);
    EXPECT_THAT(m_listener.reports(), IsEmpty());
}

TEST_F(CapturedTool, IsNoProcessToEndAfterwards) {
    EXPECT_EQ(capture("true"), 0u);
    EXPECT_EQ(m_runner.m_processId, 0);
    EXPECT_NE(m_runner.m_pProcess, nullptr);
    EXPECT_FALSE(hasChildren());
}

TEST_F(CapturedTool, LeavesNoDescriptorBehind) {
    const std::size_t before = openDescriptors();
    for (int run = 0; run < 20; ++run) {
        EXPECT_EQ(capture("echo text"), 0u);
    }
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(CapturedTool, FailsWithoutACommandLine) {
    EXPECT_EQ(capture(""), 0xFE000007u);
    EXPECT_TRUE(m_log.containsCode('E', "callExtern", "CCommandShell::Execute", 0xFE000007)) << m_log.dump();
    EXPECT_THAT(omitted(), ElementsAre(failedRow("")));
    EXPECT_EQ(captured(), banner(""));
}

TEST_F(CapturedTool, IsTheFolderItselfWithoutACommandLine) {
    EXPECT_EQ(capture("", path("tools")), 0u) << "the shell can't run it, and that is no failure of ours";
    EXPECT_EQ(captured(), banner(""));
    EXPECT_THAT(omitted(), IsEmpty());
}

TEST_F(CapturedTool, FailsWhenTheShellCannotBeStarted) {
    withoutNewProcesses([this] {
        EXPECT_EQ(capture("ping -c 1"), 0xFE000009u);
        EXPECT_TRUE(m_log.containsCode('E', "callExtern", "CCommandShell::Execute", 0xFE000009))
            << m_log.dump();
        EXPECT_THAT(omitted(), ElementsAre(failedRow("ping")));
    });
}

TEST_F(CapturedTool, FailsWhenTheShellItselfCannotBeRun) {
    inChild([this] {
        replaceSystemCall(SYS_execve, ENOMEM);
        EXPECT_EQ(capture("ping -c 1"), 0xFE000009u);
        EXPECT_THAT(omitted(), ElementsAre(failedRow("ping")));
    });
}

TEST_F(CapturedTool, RunsWhenTheFolderOfItsOutputIsMissing) {
    fs::remove(path("bundle"));
    expectLostOutput(ENOENT);
}

TEST_F(CapturedTool, RunsWhenAFolderStandsAtTheOutputsPlace) {
    makeFolder("bundle/out.txt");
    expectLostOutput(EISDIR);
}

TEST_F(CapturedTool, RunsWhenAPipeStandsAtTheOutputsPlace) {
    ASSERT_EQ(::mkfifo(path("bundle/out.txt").c_str(), 0600), 0);
    expectLostOutput(EINVAL);
}

TEST_F(CapturedTool, RunsWhenTheOutputMayNotBeWritten) {
    fs::permissions(path("bundle"), fs::perms::owner_read | fs::perms::owner_exec);
    asOrdinaryUser([this] { expectLostOutput(EACCES); });
}

TEST_F(CapturedTool, FollowsNoLinkAtTheOutputsPlace) {
    const std::string victim = writeFile("victim", "untouched");
    fs::create_symlink(victim, path("bundle/out.txt"));
    expectLostOutput(ELOOP);
    EXPECT_EQ(readFile("victim"), "untouched");
}

TEST_F(CapturedTool, MakesNoFileThroughALinkToNowhere) {
    fs::create_symlink(path("victim"), path("bundle/out.txt"));
    expectLostOutput(ELOOP);
    EXPECT_FALSE(exists("victim"));
}

TEST_F(CapturedTool, RunsToItsEndWhenItsOutputGetsTooBig) {
    withFileSizeLimit(8192, [this] {
        expectFullDisk();
        EXPECT_EQ(captured().size(), 8192u) << "what fits is kept";
        EXPECT_TRUE(m_log.containsCode('E', "xsputn", "write", EFBIG)) << m_log.dump();
    });
}

TEST_F(CapturedTool, RunsToItsEndOnAFullDisk) {
    if (!runsAsRoot()) {
        GTEST_SKIP() << "mounting needs root";
    }
    inChild([this] {
        if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount("none", path("bundle").c_str(), "tmpfs", 0, "size=16k") != 0) {
            std::printf("this environment allows no mounts: the other limit has to do\n");
            return;
        }
        expectFullDisk();
        EXPECT_TRUE(m_log.containsCode('E', "xsputn", "write", ENOSPC)) << m_log.dump();
    });
}

TEST_F(CapturedTool, TakesNoMoreMemoryForMuchOutput) {
    constexpr std::size_t kMiB = 1024UL * 1024UL;
    const std::string line = "head -c 67108864 /dev/zero";
    const std::size_t before = peakMemoryBytes();
    EXPECT_EQ(capture(line), 0u);
    EXPECT_LT(peakMemoryBytes() - before, 20 * kMiB);
    EXPECT_EQ(fs::file_size(path("bundle/out.txt")), banner(line).size() + 64 * kMiB);
}
