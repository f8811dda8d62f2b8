#include "Common/Utility/process/ChildEnvironment.h"

#include "Common/Utility/process/CommandShell.h"
#include "Common/Utility/ReturnCodes.h"
#include "tests/support/InChild.h"
#include "tests/support/Processes.h"
#include "tests/unit/common/ipc/ProcessTest.h"

#include <array>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <list>

namespace {

using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

std::list<std::string> linesOf(const char* command) {
    std::list<std::string> lines;
    EXPECT_EQ(CCommandShell::Execute(command, lines), 0U);
    return lines;
}

} // namespace

/// Each test runs in a process of its own, since what it sets stays.
class ChildEnvironmentOf : public ProcessTest {
protected:
    void whereSet(const std::function<void()>& checks) const {
        makeFolder("for children");
        inChild([this, &checks] {
            setChildEnvironment(
                {.variables = {"PATH=/usr/bin:/bin", "MADE=for children"}, .folder = folder()});
            checks();
        });
    }
    [[nodiscard]] std::string folder() const { return path("for children"); }
};

TEST_F(ChildEnvironmentOf, AShellIsAllThatItGets) {
    whereSet([this] {
        // The shell itself sets PWD.
        EXPECT_THAT(linesOf("env"),
                    UnorderedElementsAre("PATH=/usr/bin:/bin", "MADE=for children", "PWD=" + folder()));
        EXPECT_THAT(linesOf("pwd"), ElementsAre(folder()));
    });
}

TEST_F(ChildEnvironmentOf, ALaunchIsAllThatItGets) {
    whereSet([this] {
        const Report report = reportOf({});
        EXPECT_THAT(report.environment(), ElementsAre("PATH=/usr/bin:/bin", "MADE=for children"));
        EXPECT_EQ(report["cwd"], folder());
    });
}

TEST_F(ChildEnvironmentOf, ALaunchIsWhatItsOwnEntriesAndFolderReplace) {
    whereSet([this] {
        std::string changed = "MADE=by the launch";
        std::string removed = "PATH";
        std::array<char*, 3> entries{changed.data(), removed.data(), nullptr};
        const std::string other = makeFolder("other");
        ProcessLaunchInfo info;
        info.m_ppszEnvironment = entries.data();
        info.m_pszWorkingDirectory = other.c_str();
        const Report report = reportOf(info);
        EXPECT_THAT(report.environment(), ElementsAre("MADE=by the launch"));
        EXPECT_EQ(report["cwd"], other);
    });
}

TEST_F(ChildEnvironmentOf, ALaunchIsWhereItsProgramIsLookedFor) {
    writeTool(path("for children/mero_tool"), "exit 6");
    inChild([this] {
        setChildEnvironment({.variables = {"PATH=" + folder() + ":/usr/bin:/bin"}, .folder = folder()});
        ProcessLaunchInfo info;
        ASSERT_EQ(launch(info, {"mero_tool"}), 0U);
        EXPECT_EQ(exitCodeOf(info.m_processId), 6U);
    });
}

TEST_F(ChildEnvironmentOf, AProcessLeavesItsOwnAsItIs) {
    setEnvironment("MADE", "for this process");
    whereSet([this] {
        EXPECT_STREQ(std::getenv("MADE"), "for this process");
        EXPECT_EQ(std::filesystem::current_path(), path());
    });
}

TEST_F(ChildEnvironmentOf, AShellIsNothingWithoutItsFolder) {
    inChild([this] {
        setChildEnvironment({.variables = {"PATH=/usr/bin:/bin"}, .folder = path("missing")});
        std::list<std::string> lines;
        EXPECT_EQ(CCommandShell::Execute("echo ran", lines), GLOBAL_ERROR_UNEXPECTED);
        EXPECT_TRUE(lines.empty());
        ProcessLaunchInfo info;
        ASSERT_EQ(launch(info, {"/bin/true"}), 0U);
        EXPECT_EQ(exitCodeOf(info.m_processId), 255U);
    });
}
