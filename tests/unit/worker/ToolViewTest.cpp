#include "Common/Utility/ReturnCodes.h"
#include "tests/support/Processes.h"
#include "tests/support/SystemCallFilter.h"
#include "tests/unit/worker/WorkerWorld.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Not;

/// What the tools of a job see of the folders that its caller can write to.
class ToolView : public WorkerWorld {
protected:
    /// Runs a job of one tool to its good end. @return what the tool has printed.
    [[nodiscard]] std::string told(const std::string& script, const std::string& arguments = {},
                                   const std::function<void()>& prepare = {}) const {
        configure(scriptItem("told", script, arguments));
        const JobResult result = StartedWorker(order(), m_log, prepare).finish();
        EXPECT_EQ(result.outcome().status, 0U) << result.log;
        m_toolLog = result.log;
        const std::string output = bundled("told");
        const std::size_t tail = output.rfind("***\n\r\n");
        EXPECT_NE(tail, std::string::npos);
        return output.substr(tail + 6);
    }
    /// A file in each of these folders.
    static void plantFiles() {
        for (const std::string& folder : {kWorldHome, std::string("/var/tmp"), std::string("/dev/shm")}) {
            std::ofstream(folder + "/planted") << "planted";
        }
        std::ofstream("/tmp/planted") << "planted";
    }
    [[nodiscard]] const std::string& log() const { return m_toolLog; }

private:
    mutable std::string m_toolLog;
};

TEST_F(ToolView, HasNothingInTheHomeAndTheSharedFolders) {
    inWorld([this] {
        plantFiles();
        EXPECT_EQ(told("ls -A /srv/home/caller /var/tmp /dev/shm"),
                  "/dev/shm:\n\n/srv/home/caller:\n\n/var/tmp:\n");
        EXPECT_THAT(told("ls -A /tmp"), MatchesRegex("MERO_Temp_Bundle[0-9_]+\n"));
    });
}

TEST_F(ToolView, LetsNothingBeWrittenThere) {
    inWorld([this] {
        for (const std::string& folder : {kWorldHome, std::string("/tmp"), std::string("/dev/shm")}) {
            EXPECT_EQ(told("mkdir " + folder + "/new 2>/dev/null || echo refused"), "refused\n");
            EXPECT_FALSE(fs::exists(folder + "/new"));
        }
    });
}

TEST_F(ToolView, HasAFolderThatTheInstructionNames) {
    inWorld([this] {
        plantFiles();
        EXPECT_EQ(told("cat \"$1\"; ls -A /var/tmp", "$HOME/planted"), "planted");
        EXPECT_EQ(told("cat \"$1\"; ls -A /srv/home/caller", "/tmp/planted"), "planted");
    });
}

TEST_F(ToolView, HasTheFolderOfTheBundle) {
    inWorld([this] {
        plantFiles();
        writeTool("/srv/tools/writes", "echo made >\"$1/made.txt\"; ls /tmp >\"$1/tmp.txt\"");
        configure(item("made", "use_extern_action",
                       "<path>/srv/tools</path><args replace_args=\"true\">writes [BUNDLE_DIR]</args>"
                       "<temp_out>made.txt</temp_out>"));
        EXPECT_EQ(run().outcome().status, 0U);
        EXPECT_EQ(bundled("made.txt"), "made\n");
        EXPECT_THAT(bundled("tmp.txt"), MatchesRegex("MERO_Temp_Bundle[0-9_]+\n"));
    });
}

TEST_F(ToolView, HasTheFolderOfAnOutputThatIsFetched) {
    inWorld([this] {
        writeTool("/srv/tools/writes", "echo made >/tmp/made.txt");
        configure(item("made", "use_extern_action",
                       "<path>/srv/tools</path><args>writes</args><temp_out>/tmp/made.txt</temp_out>"));
        EXPECT_EQ(run().outcome().status, 0U);
        EXPECT_EQ(bundled("made.txt"), "made\n");
    });
}

TEST_F(ToolView, HasAPlaceForTemporaryFiles) {
    inWorld([this] {
        EXPECT_THAT(told("file=$(mktemp) && stat -c %U-%a \"${file%/*}\" && echo \"$file\""),
                    MatchesRegex("root-700\n/srv/job/tools\\.[A-Za-z0-9]{6}/tmp\\.[A-Za-z0-9]+\n"));
    });
}

TEST_F(ToolView, IsThatOfTheWorkerWhereNothingCanBeHidden) {
    inWorld([this] {
        plantFiles();
        EXPECT_EQ(told("ls -A /var/tmp; echo ran", {}, [] { replaceSystemCall(SYS_mount, EPERM); }),
                  "planted\nran\n");
        EXPECT_THAT(log(), HasSubstr("Tools see the caller's folders: this system can't hide them"));
    });
}

TEST_F(ToolView, IsNotTheEngines) {
    inWorld([this] {
        plantFiles();
        configure(scriptItem("told", "true") + fileItem("file", "$HOME/planted"));
        const JobResult result = run();
        EXPECT_EQ(result.outcome().status, 0U);
        EXPECT_EQ(bundled("planted"), "planted");
        EXPECT_THAT(result.log, Not(HasSubstr("Tools see")));
    });
}
