#include "Common/Utility/process/CommandShell.h"

#include "Common/Utility/ReturnCodes.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/InChild.h"
#include "tests/support/Processes.h"
#include "tests/support/SystemCallFilter.h"
#include "tests/unit/common/ipc/Interrupter.h"
#include "tests/unit/common/ipc/ProcessTest.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <list>
#include <sstream>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

namespace {

using CommandShell = ProcessTest;
using CommandShellLines = ProcessTest;
using CommandShellFailures = ProcessTest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Runs a command that has to work. @return its output.
std::string outputOf(const std::string& command) {
    std::string output;
    EXPECT_EQ(CCommandShell(command.c_str()).Execute(output), 0U);
    return output;
}

std::list<std::string> linesOf(const std::string& command) {
    std::list<std::string> lines;
    EXPECT_EQ(CCommandShell(command.c_str()).Execute(lines), 0U);
    return lines;
}

/// What the child program prints.
std::string pattern(std::size_t sizeBytes) {
    constexpr std::size_t kBlockBytes = 65536;
    std::string text(sizeBytes, ' ');
    for (std::size_t i = 0; i < sizeBytes; ++i) {
        text[i] = static_cast<char>('a' + i % kBlockBytes % 26);
    }
    return text;
}

TEST_F(CommandShell, RefusesAnEmptyCommandAndLeavesTheResultAlone) {
    const CapturedLog log;
    for (const char* const command : {"", static_cast<const char*>(nullptr)}) {
        const CCommandShell shell(command);
        std::string output = "former";
        EXPECT_EQ(shell.Execute(output), GLOBAL_ERROR_NOT_INITIALIZED);
        EXPECT_EQ(output, "former");
        std::list<std::string> lines = {"former"};
        EXPECT_EQ(shell.Execute(lines), GLOBAL_ERROR_NOT_INITIALIZED);
        EXPECT_THAT(lines, ElementsAre("former"));
        std::ostringstream stream;
        EXPECT_EQ(shell.Execute(stream), GLOBAL_ERROR_NOT_INITIALIZED);
        EXPECT_EQ(stream.str(), "");
    }
    EXPECT_TRUE(log.lines().empty()) << log.dump();
}

TEST_F(CommandShell, RefusesNullInItsStaticForm) {
    std::list<std::string> lines = {"former"};
    EXPECT_EQ(CCommandShell::Execute(nullptr, lines), GLOBAL_ERROR_BAD_PARAMETER);
    EXPECT_THAT(lines, ElementsAre("former"));
    EXPECT_EQ(CCommandShell::Execute("", lines), GLOBAL_ERROR_NOT_INITIALIZED);
}

TEST_F(CommandShell, ReplacesTheStringByTheOutput) {
    std::string output = "former";
    EXPECT_EQ(CCommandShell("printf 'a\\nb'").Execute(output), 0U);
    EXPECT_EQ(output, "a\nb");
    EXPECT_EQ(CCommandShell("true").Execute(output), 0U);
    EXPECT_EQ(output, "");
}

TEST_F(CommandShell, RunsACommandAgainAndAgain) {
    const CCommandShell shell("echo x >> count; wc -l < count");
    for (const char* const expected : {"1\n", "2\n", "3\n"}) {
        std::string output;
        EXPECT_EQ(shell.Execute(output), 0U);
        EXPECT_EQ(output, expected);
    }
}

TEST_F(CommandShell, GivesTheOutputOfAFailingCommand) {
    const CapturedLog log;
    EXPECT_EQ(outputOf("echo before; exit 3"), "before\n");
    EXPECT_EQ(outputOf("echo before; kill -KILL $$"), "before\n");
    EXPECT_EQ(outputOf("mero-no-such-tool 2>/dev/null"), "");
    EXPECT_EQ(outputOf("("), "");
    EXPECT_TRUE(log.lines().empty()) << log.dump();
}

TEST_F(CommandShell, LeavesStandardErrorAlone) {
    EXPECT_EQ(outputOf("echo out; echo err >&2"), "out\n");
    EXPECT_EQ(outputOf("(echo out; echo err >&2) 2>&1"), "out\nerr\n");
}

TEST_F(CommandShell, KeepsEveryByte) {
    std::string expected;
    for (int round = 0; round < 20; ++round) {
        for (int value = 0; value < 256; ++value) {
            expected += static_cast<char>(value);
        }
    }
    EXPECT_EQ(outputOf(childCommand("binary 20")), expected);
}

TEST_F(CommandShell, KeepsOutputOfAnySize) {
    for (const std::size_t sizeBytes :
         {1023U, 1024U, 1025U, 16383U, 16384U, 16385U, 65536U, 65537U, 5000000U}) {
        EXPECT_TRUE(outputOf(childCommand("print " + std::to_string(sizeBytes))) == pattern(sizeBytes))
            << sizeBytes;
    }
}

TEST_F(CommandShell, TakesOutputThatComesInPieces) {
    EXPECT_EQ(outputOf("for i in 1 2 3; do printf $i; sleep 0.05; done"), "123");
}

TEST_F(CommandShell, StartsTheCommandAsAllOurChildren) {
    const int inheritable = ::open("/dev/null", O_RDONLY); // NOLINT(android-cloexec-open): what is tested
    ASSERT_GE(inheritable, 3);
    const Report report(outputOf("exec " + childCommand("report -")));
    EXPECT_EQ(report["fd0"], "/dev/null");
    EXPECT_EQ(report["descriptors"], "0 1 2");
    EXPECT_EQ(report["blocked"], std::string(16, '0'));
    EXPECT_EQ(report["ignored"], std::string(16, '0'));
    EXPECT_EQ(report["group"], report["pid"]);
    EXPECT_EQ(report.number("deathsig"), SIGTERM);
    EXPECT_EQ(report.number("ppid"), ::getpid());
    EXPECT_EQ(report["cwd"], path());
    EXPECT_TRUE(report.hasVariable("HOME=" + path()));
    EXPECT_EQ(::close(inheritable), 0);
}

TEST_F(CommandShell, HandsOnNoIgnoredSignal) {
    inChild([] {
        ASSERT_NE(std::signal(SIGPIPE, SIG_IGN), SIG_ERR);
        ASSERT_NE(std::signal(SIGXFSZ, SIG_IGN), SIG_ERR);
        EXPECT_EQ(Report(outputOf(childCommand("report -")))["ignored"], std::string(16, '0'));
        // Would go on for ever if a broken pipe were no signal to it.
        EXPECT_EQ(outputOf("yes | head -n 1"), "y\n");
    });
}

TEST_F(CommandShell, WaitsForNoInput) {
    EXPECT_EQ(outputOf("cat; echo end"), "end\n");
}

TEST_F(CommandShell, WorksWithStandardDescriptorsClosed) {
    inChild([] {
        for (const int descriptor : {0, 1, 2}) {
            ASSERT_EQ(::close(descriptor), 0);
        }
        EXPECT_EQ(outputOf("echo out; echo err >&2"), "out\n");
        const Report report(outputOf(childCommand("report -")));
        EXPECT_EQ(report["fd0"], "/dev/null");
        EXPECT_EQ(report["fd2"], "/dev/null");
        EXPECT_EQ(report["descriptors"], "0 1 2");
    });
}

/// Makes a terminal that stops background processes which write to it the terminal of this process, which
/// must be one of the test's own, and its standard error.
void takeTerminal() {
    ASSERT_NE(::setsid(), -1);
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_GE(master, 0);
    ASSERT_EQ(::grantpt(master), 0);
    ASSERT_EQ(::unlockpt(master), 0);
    const int terminal = ::open(::ptsname(master), O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_GE(terminal, 0);
    ASSERT_EQ(::ioctl(terminal, TIOCSCTTY, 0), 0);
    termios settings{};
    ASSERT_EQ(::tcgetattr(terminal, &settings), 0);
    settings.c_lflag |= TOSTOP;
    ASSERT_EQ(::tcsetattr(terminal, TCSANOW, &settings), 0);
    ASSERT_EQ(::dup2(terminal, STDERR_FILENO), STDERR_FILENO);
}

TEST_F(CommandShell, IsNotStoppedForTheTerminal) {
    inChild([] {
        takeTerminal();
        ::alarm(60); // what is stopped would hang
        EXPECT_EQ(outputOf("echo error >&2; cat /dev/tty; stty sane < /dev/stderr; echo end"), "end\n");
        EXPECT_EQ(Report(outputOf(childCommand("report -"))).number("terminal"), 0);
        const int ours = ::open("/dev/tty", O_RDWR | O_CLOEXEC);
        EXPECT_GE(ours, 0) << "our own terminal must stay";
        ASSERT_EQ(::close(ours), 0);
    });
}

TEST_F(CommandShell, DoesNotWaitForABackgroundCommandAndEndsIt) {
    const std::string output = outputOf("sleep 1000 & echo $!");
    const pid_t sleeper = std::stoi(output);
    EXPECT_TRUE(eventually([sleeper] { return hasEnded(sleeper); }));
}

TEST_F(CommandShell, DoesNotWaitForABackgroundWriterAndEndsIt) {
    const std::string output = outputOf("yes & echo $! > writer");
    const pid_t writer = std::stoi(readFile("writer"));
    EXPECT_TRUE(eventually([writer] { return hasEnded(writer); }));
    EXPECT_EQ(output.find_first_not_of("y\n"), std::string::npos);
}

TEST_F(CommandShell, KeepsWhatIsInThePipeWhenTheShellEnds) {
    EXPECT_EQ(outputOf(childCommand("print 60000") + "& wait $!; sleep 1000 &").size(), 60000U);
}

TEST_F(CommandShell, EndsAGrandchildThatHoldsThePipe) {
    EXPECT_EQ(outputOf(childCommand("hold-pipe")), "done\n");
}

TEST_F(CommandShell, LeavesAProcessOfAnotherSessionAlone) {
    const std::list<std::string> lines = linesOf(childCommand("hold-pipe-apart"));
    ASSERT_EQ(lines.size(), 2U);
    const pid_t apart = std::stoi(lines.front());
    EXPECT_EQ(lines.back(), "done");
    EXPECT_FALSE(hasEnded(apart));
    endStranger(apart);
}

/// The decimal number that ends where the mark begins; -1 if there is none.
int numberBefore(const std::string& text, const std::string& mark) {
    const std::size_t end = text.find(mark);
    if (end == std::string::npos || end == 0) {
        return -1;
    }
    const std::size_t before = text.find_last_not_of("0123456789", end - 1);
    const std::string digits = text.substr(before + 1, end - before - 1);
    return digits.empty() ? -1 : std::stoi(digits);
}

/// Takes its time for every block, so that the pipe is full again when the next is read.
class SlowBuffer : public std::stringbuf {
protected:
    std::streamsize xsputn(const char* bytes, std::streamsize count) override {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        return std::stringbuf::xsputn(bytes, count);
    }
};

TEST_F(CommandShell, IsNotHeldUpByAnEndlessWriterOfAnotherSession) {
    SlowBuffer buffer;
    std::ostream stream(&buffer);
    EXPECT_EQ(CCommandShell(childCommand("flood-apart").c_str()).Execute(stream), 0U);
    const std::string output = buffer.str();
    const pid_t writer = numberBefore(output, "\ndone\n");
    ASSERT_GT(writer, 0) << output.size();
    // With nobody reading any more it ends by itself.
    EXPECT_TRUE(eventually([writer] { return hasEnded(writer); }));
}

TEST_F(CommandShell, WaitsForACommandThatHasClosedItsOutput) {
    EXPECT_EQ(outputOf("exec " + childCommand("close-output '" + path("note") + "'")), "early");
    EXPECT_TRUE(exists("note"));
}

TEST_F(CommandShell, GoesOnAfterInterruptions) {
    inChild([this] {
        const Interrupter interrupter(::pthread_self());
        EXPECT_EQ(outputOf("for i in 1 2 3; do printf $i; sleep 0.05; done"), "123");
        EXPECT_EQ(outputOf("exec " + childCommand("close-output '" + path("note") + "'")), "early");
        EXPECT_TRUE(outputOf(childCommand("print 1000000")) == pattern(1000000));
    });
}

TEST_F(CommandShell, WorksWhereTheKernelCannotTellOfTheShellsEnd) {
    inChild([this] {
        ::alarm(60);
        replaceSystemCall(SYS_pidfd_open, ENOSYS);
        replaceSystemCall(SYS_close_range, ENOSYS);
        EXPECT_EQ(outputOf("echo out; exit 3"), "out\n");
        EXPECT_EQ(outputOf("true"), "");
        EXPECT_TRUE(outputOf(childCommand("print 5000000")) == pattern(5000000));
        EXPECT_EQ(outputOf("exec " + childCommand("close-output '" + path("note") + "'")), "early");
        EXPECT_TRUE(exists("note"));
        const pid_t sleeper = std::stoi(outputOf("sleep 1000 & echo $!"));
        EXPECT_TRUE(eventually([sleeper] { return hasEnded(sleeper); }));
        EXPECT_EQ(outputOf("yes &").find_first_not_of("y\n"), std::string::npos);
        EXPECT_FALSE(hasChildren());
    });
}

TEST_F(CommandShell, EndsWithTheCallingProcess) {
    const pid_t caller = ::fork();
    ASSERT_NE(caller, -1);
    if (caller == 0) {
        static_cast<void>(outputOf("exec " + childCommand("wait '" + path("shell") + "'")));
        ::_exit(0);
    }
    const pid_t shell = pidIn(path("shell"));
    ASSERT_GT(shell, 0);
    ASSERT_EQ(::kill(caller, SIGKILL), 0);
    int status = 0;
    ASSERT_EQ(::waitpid(caller, &status, 0), caller);
    EXPECT_TRUE(eventually([shell] { return hasEnded(shell); }));
}

TEST_F(CommandShell, LeavesNothingBehindInManyRuns) {
    const std::size_t before = openDescriptors();
    for (int round = 0; round < 200; ++round) {
        ASSERT_EQ(outputOf("echo " + std::to_string(round)), std::to_string(round) + "\n");
    }
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(CommandShell, WritesToTheStreamAsItComes) {
    std::ostringstream stream;
    stream << "before ";
    EXPECT_EQ(CCommandShell("printf output").Execute(stream), 0U);
    EXPECT_EQ(stream.str(), "before output");
    EXPECT_TRUE(stream.good());
}

TEST_F(CommandShell, LetsTheCommandEndWhenTheStreamHasFailed) {
    std::ofstream full("/dev/full", std::ios::binary);
    ASSERT_TRUE(full.is_open());
    EXPECT_EQ(CCommandShell((childCommand("print 1000000") + "; echo $? > status").c_str()).Execute(full),
              0U);
    EXPECT_TRUE(full.bad());
    EXPECT_EQ(readFile("status"), "0\n");
}

TEST_F(CommandShellLines, AreSplitAtLineFeeds) {
    EXPECT_THAT(linesOf("printf 'one\\ntwo\\n'"), ElementsAre("one", "two"));
    EXPECT_THAT(linesOf("printf 'one\\ntwo'"), ElementsAre("one", "two"));
    EXPECT_THAT(linesOf("printf '\\n\\none\\n\\n'"), ElementsAre("", "", "one", ""));
    EXPECT_THAT(linesOf("printf '\\n'"), ElementsAre(""));
    EXPECT_THAT(linesOf("true"), IsEmpty());
}

TEST_F(CommandShellLines, AreCutAtTheirFirstCarriageReturn) {
    EXPECT_THAT(linesOf("printf 'one\\r\\ntwo\\rthree\\rfour\\n\\r\\n\\rx\\nfive'"),
                ElementsAre("one", "two", "", "", "five"));
}

TEST_F(CommandShellLines, AreAppended) {
    std::list<std::string> lines = {"former"};
    EXPECT_EQ(CCommandShell("echo one").Execute(lines), 0U);
    EXPECT_EQ(CCommandShell::Execute("echo two", lines), 0U);
    EXPECT_THAT(lines, ElementsAre("former", "one", "two"));
}

TEST_F(CommandShellLines, KeepBytesOfValueZero) {
    EXPECT_THAT(linesOf("printf 'a\\0b\\nc'"), ElementsAre(std::string("a\0b", 3), "c"));
}

TEST_F(CommandShellLines, AreWholeAcrossBlocks) {
    const std::list<std::string> lines =
        linesOf("for i in 1 2 3; do " + childCommand("print 100000") +
                "; echo; done; printf 'a'; sleep 0.05; "
                "printf 'b\\r'; sleep 0.05; printf 'c'; sleep 0.05; printf '\\nd'");
    const std::string longLine = pattern(100000);
    ASSERT_EQ(lines.size(), 5U);
    for (auto line = lines.begin(); line != std::next(lines.begin(), 3); ++line) {
        EXPECT_TRUE(*line == longLine);
    }
    EXPECT_EQ(*std::next(lines.begin(), 3), "ab");
    EXPECT_EQ(lines.back(), "d");
}

TEST_F(CommandShellLines, AreLoggedWithTheTimeTaken) {
    const CapturedLog log;
    EXPECT_EQ(CCommandShell("sleep 0.2; printf 'one\\r\\ntwo'").ExecuteAndLogResults(), 0U);
    ASSERT_EQ(log.count('I', "Command 'sleep 0.2; printf 'one\\r\\ntwo'' took "), 1) << log.dump();
    EXPECT_GE(numberBefore(log.dump(), " ms. Output: one\ntwo\n"), 200) << log.dump();
}

TEST_F(CommandShellLines, AreLoggedForAFailingCommandToo) {
    const CapturedLog log;
    EXPECT_EQ(CCommandShell("echo said; exit 1").ExecuteAndLogResults(), 0U);
    EXPECT_EQ(log.count('I', "ms. Output: said\n"), 1) << log.dump();
}

TEST_F(CommandShellLines, AreNotLoggedIfThereWasNoCommand) {
    const CapturedLog log;
    EXPECT_EQ(CCommandShell("").ExecuteAndLogResults(), GLOBAL_ERROR_NOT_INITIALIZED);
    EXPECT_TRUE(
        log.containsCode('E', "ExecuteAndLogResults", "CCommandShell::Execute", GLOBAL_ERROR_NOT_INITIALIZED))
        << log.dump();
    EXPECT_EQ(log.count('I', ""), 0);
}

TEST_F(CommandShellFailures, AreLoggedIfThereIsNoPipe) {
    inChild([] {
        const CapturedLog log;
        forbidDescriptors();
        std::string output;
        EXPECT_EQ(CCommandShell("echo out").Execute(output), GLOBAL_ERROR_UNEXPECTED);
        EXPECT_TRUE(log.containsCode('E', "runCommand", "popen", EMFILE)) << log.dump();
        EXPECT_TRUE(log.contains('E', "Too many open files")) << log.dump();
    });
}

TEST_F(CommandShellFailures, AreLoggedIfThereIsNoProcess) {
    inChild([] {
        const CapturedLog log;
        const std::size_t before = openDescriptors();
        forbidProcesses();
        std::list<std::string> lines;
        EXPECT_EQ(CCommandShell("echo out").Execute(lines), GLOBAL_ERROR_UNEXPECTED);
        EXPECT_TRUE(log.containsCode('E', "runCommand", "popen", EAGAIN)) << log.dump();
        EXPECT_EQ(CCommandShell("echo out").ExecuteAndLogResults(), GLOBAL_ERROR_UNEXPECTED);
        EXPECT_TRUE(
            log.containsCode('E', "ExecuteAndLogResults", "CCommandShell::Execute", GLOBAL_ERROR_UNEXPECTED))
            << log.dump();
        EXPECT_EQ(openDescriptors(), before);
    });
}

TEST_F(CommandShellFailures, AreLoggedIfTheShellItselfCannotBeRun) {
    inChild([] {
        const CapturedLog log;
        const std::size_t before = openDescriptors();
        replaceSystemCall(SYS_execve, EACCES);
        std::string output;
        EXPECT_EQ(CCommandShell("echo out").Execute(output), GLOBAL_ERROR_UNEXPECTED);
        EXPECT_TRUE(log.containsCode('E', "runCommand", "popen", EACCES)) << log.dump();
        EXPECT_FALSE(hasChildren());
        EXPECT_EQ(openDescriptors(), before);
    });
}

TEST_F(CommandShellFailures, AreLoggedIfTheOutputCannotBeRead) {
    inChild([] {
        const CapturedLog log;
        replaceSystemCall(SYS_read, EIO);
        std::string output;
        EXPECT_EQ(CCommandShell("echo out").Execute(output), GLOBAL_ERROR_UNEXPECTED);
        EXPECT_TRUE(log.containsCode('E', "runCommand", "fread", EIO)) << log.dump();
        EXPECT_FALSE(hasChildren());
    });
}

TEST_F(CommandShellFailures, AreLoggedIfSomebodyElseReapsTheShell) {
    inChild([] {
        const CapturedLog log;
        ASSERT_NE(std::signal(SIGCHLD, SIG_IGN), SIG_ERR);
        std::string output;
        EXPECT_EQ(CCommandShell("echo out").Execute(output), 0U);
        EXPECT_EQ(output, "out\n");
        EXPECT_TRUE(log.containsCode('E', "runCommand", "pclose", ECHILD)) << log.dump();
    });
}

TEST_F(CommandShellFailures, OfAStreamThatThrowsEndTheCommand) {
    const CapturedLog log;
    const std::size_t before = openDescriptors();
    {
        std::ofstream full("/dev/full", std::ios::binary);
        full.exceptions(std::ios::badbit | std::ios::failbit);
        const std::string command = "echo $$ > shell; exec " + childCommand("print 100000000");
        EXPECT_EQ(CCommandShell(command.c_str()).Execute(full), GLOBAL_ERROR_UNEXPECTED);
        EXPECT_TRUE(log.containsCode('E', "runCommandSafely", "runCommand", GLOBAL_ERROR_UNEXPECTED))
            << log.dump();
        EXPECT_EQ(processState(std::stoi(readFile("shell"))), '\0');
        full.exceptions(std::ios::goodbit);
    }
    EXPECT_EQ(openDescriptors(), before);
}

/// Throws something that is no exception of the library.
class ThrowingBuffer : public std::streambuf {
protected:
    std::streamsize xsputn(const char* /*bytes*/, std::streamsize /*count*/) override { throw 1; }
};

TEST_F(CommandShellFailures, OfAStreamThatThrowsAnythingEndTheCommand) {
    const CapturedLog log;
    ThrowingBuffer buffer;
    std::ostream stream(&buffer);
    stream.exceptions(std::ios::badbit);
    EXPECT_EQ(CCommandShell("echo out; sleep 1000").Execute(stream), GLOBAL_ERROR_UNEXPECTED);
    EXPECT_TRUE(log.containsCode('E', "runCommandSafely", "runCommand", GLOBAL_ERROR_UNEXPECTED))
        << log.dump();
    EXPECT_FALSE(hasChildren());
}

} // namespace
