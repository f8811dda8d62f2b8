#include "Common/Utility/process/ChildView.h"

#include "Common/Utility/process/ChildEnvironment.h"
#include "Common/Utility/process/CommandShell.h"
#include "Common/Utility/ReturnCodes.h"
#include "tests/support/InChild.h"
#include "tests/support/PrivateMounts.h"
#include "tests/support/Processes.h"
#include "tests/support/SystemCallFilter.h"
#include "tests/unit/common/ipc/ProcessTest.h"

#include <array>
#include <cerrno>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

constexpr uint32_t kNotSetUp = 255;

std::string outputOf(const std::string& command) {
    std::string output;
    EXPECT_EQ(CCommandShell(command.c_str()).Execute(output), 0U);
    return output;
}

} // namespace

/// Each test runs in a process of its own, from which a folder is hidden that has a file and a folder in it.
class ChildViewOf : public ProcessTest {
protected:
    void SetUp() override {
        if (!runsAsRoot() || !allowsMounts()) {
            GTEST_SKIP() << "mounting in a namespace of its own needs root's rights";
        }
        writeFile("hidden/file", "in it");
        makeFolder("hidden/kept");
    }
    void whereHidden(const std::function<void()>& checks, std::vector<std::string> more = {}) const {
        more.push_back(hidden());
        inChild([this, &checks, &more] {
            setChildEnvironment(
                {.variables = {"PATH=/usr/bin:/bin"}, .folder = path(), .hidden = std::move(more)});
            checks();
        });
    }
    [[nodiscard]] std::string hidden() const { return path("hidden"); }
    /// Whether a command with these words sees what is in the folder.
    [[nodiscard]] bool isSeenBy(const std::string& words) const {
        return outputOf(": " + words + "\nls hidden").starts_with("file\n");
    }
};

TEST_F(ChildViewOf, ACommandHasNothingInAHiddenFolder) {
    whereHidden([] {
        EXPECT_EQ(outputOf("ls -A hidden"), "");
        EXPECT_EQ(outputOf("mkdir hidden/new 2>/dev/null || echo refused"), "refused\n");
    });
    EXPECT_TRUE(exists("hidden/file"));
    EXPECT_FALSE(exists("hidden/new"));
}

TEST_F(ChildViewOf, ALaunchHasNothingInAHiddenFolder) {
    writeTool(path("look"), "test -e hidden/file && exit 7; exit 8");
    whereHidden([this] {
        ProcessLaunchInfo info;
        ASSERT_EQ(launch(info, {path("look")}), 0U);
        EXPECT_EQ(exitCodeOf(info.m_processId), 8U);
    });
}

TEST_F(ChildViewOf, ALaunchHasWhatItsProgramArgumentsOrOutputName) {
    writeTool(path("look"), "test -e hidden/file && exit 7; exit 8");
    writeTool(path("hidden/look"), "test -e hidden/file && exit 7; exit 8");
    whereHidden([this] {
        const std::string output = hidden() + "/output";
        ProcessLaunchInfo info;
        ASSERT_EQ(launch(info, {path("look"), hidden() + "/file"}), 0U);
        EXPECT_EQ(exitCodeOf(info.m_processId), 7U);
        ASSERT_EQ(launch(info, {hidden() + "/look"}), 0U);
        EXPECT_EQ(exitCodeOf(info.m_processId), 7U);
        info.m_pszOutputFile = output.c_str();
        ASSERT_EQ(launch(info, {path("look")}), 0U);
        EXPECT_EQ(exitCodeOf(info.m_processId), 7U);
    });
}

TEST_F(ChildViewOf, ACommandHasAFolderThatItNames) {
    whereHidden([this] {
        const std::string folder = hidden();
        for (const std::string& words : {folder, folder + "/file", folder + "/", "'" + folder + "/a b'",
                                         "\"" + folder + "\"", "-o" + folder + "/file", "--output=" + folder,
                                         "a:" + folder, folder + ";:", "<" + folder + "/file"}) {
            EXPECT_TRUE(isSeenBy(words)) << words;
        }
    });
}

TEST_F(ChildViewOf, ACommandHasNoFolderOfAnotherNameThatItNames) {
    whereHidden([this] {
        const std::string folder = hidden();
        for (const std::string& words : {folder + "x", folder + "-old/file", folder + ".d", "/srv" + folder,
                                         path(), std::string("hidden/file"), folder + "\xC3\xA4"}) {
            EXPECT_FALSE(isSeenBy(words)) << words;
        }
    });
}

TEST_F(ChildViewOf, ACommandHasTheFolderThatIsKept) {
    writeFile("hidden/kept/inside", "kept");
    whereHidden([this] {
        keepInView(hidden() + "/kept");
        EXPECT_EQ(outputOf("ls -A hidden hidden/kept"), "hidden:\nkept\n\nhidden/kept:\ninside\n");
        EXPECT_EQ(outputOf("ls -A hidden; echo new >" + hidden() + "/kept/new"), "kept\n");
        EXPECT_EQ(outputOf("mkdir hidden/other 2>&1 | grep -c Read-only"), "1\n");
    });
    EXPECT_EQ(readFile("hidden/kept/new"), "new\n");
    EXPECT_FALSE(exists("hidden/other"));
}

TEST_F(ChildViewOf, ACommandHasAFolderOfWhichItNamesMoreThanTheKeptOne) {
    whereHidden([this] {
        const std::string kept = hidden() + "/kept";
        keepInView(kept);
        EXPECT_FALSE(isSeenBy(kept));
        EXPECT_FALSE(isSeenBy(kept + "/file"));
        EXPECT_TRUE(isSeenBy(kept + "/file " + hidden() + "/file"));
        // Names that only begin as the kept one's.
        EXPECT_TRUE(isSeenBy(kept + "-other/file"));
        EXPECT_TRUE(isSeenBy(kept + "er"));
    });
}

TEST_F(ChildViewOf, ACommandStandsInTheFolderOfChildrenAllTheSame) {
    whereHidden([this] {
        keepInView(hidden() + "/kept");
        EXPECT_EQ(outputOf("pwd"), path() + "\n");
    });
}

TEST_F(ChildViewOf, ACommandNeedsNoFolderThatIsMissing) {
    whereHidden([] { EXPECT_EQ(outputOf("ls -A hidden; echo ran"), "ran\n"); }, {path("missing")});
}

TEST_F(ChildViewOf, AProcessLeavesItsOwnAsItIs) {
    whereHidden([this] {
        // As on a system whose mounts are shared with all that are made from them.
        ASSERT_TRUE(makeMountsPrivate());
        ASSERT_EQ(::mount(nullptr, "/", nullptr, MS_REC | MS_SHARED, nullptr), 0);
        EXPECT_EQ(outputOf("ls -A hidden"), "");
        EXPECT_EQ(readFile("hidden/file"), "in it");
    });
}

TEST_F(ChildViewOf, AChildIsNeededForItToRun) {
    for (const long call : {SYS_unshare, SYS_mount}) {
        whereHidden([call] {
            replaceSystemCall(call, EPERM);
            std::string output;
            EXPECT_EQ(CCommandShell("echo ran").Execute(output), GLOBAL_ERROR_UNEXPECTED);
            EXPECT_EQ(output, "");
            ProcessLaunchInfo info;
            ASSERT_EQ(launch(info, {"/bin/true"}), 0U);
            EXPECT_EQ(exitCodeOf(info.m_processId), kNotSetUp);
        });
    }
}
