#include "tools/MERO/MEROOffline/Linux/MEROHelper/Worker/WorkerCage.h"

#include "Common/Utility/ReturnCodes.h"
#include "tests/support/SystemCallFilter.h"
#include "tests/unit/worker/WorkerWorld.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <set>
#include <sstream>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/statvfs.h>

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::UnorderedElementsAre;

namespace {

const std::set<std::string> kShellVariables{"PWD", "OLDPWD", "SHLVL", "_"};
constexpr const char* kPathEntry = "PATH=/usr/sbin:/usr/bin:/sbin:/bin";

/// The variables in a tool's output, but for those that the shell has set which runs the tool.
std::set<std::string> variablesIn(const std::string& output) {
    std::set<std::string> variables;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        const std::string name = line.substr(0, line.find('='));
        if (name != line && !kShellVariables.contains(name)) {
            variables.insert(line);
        }
    }
    return variables;
}

rlim_t freeBytes(const std::string& folder) {
    struct statvfs system {};
    EXPECT_EQ(::statvfs(folder.c_str(), &system), 0);
    return rlim_t{system.f_bavail} * system.f_frsize;
}

std::string fileSizeLimit(rlim_t free) {
    return "limit " + std::to_string(free / 10 * 9) + "\n";
}

} // namespace

class WorkerCage : public WorkerWorld {
protected:
    /// What a tool of a job prints.
    [[nodiscard]] std::string outputOf(const std::string& script,
                                       const std::function<void()>& prepare = {}) const {
        configure(scriptItem("told", script));
        const JobResult result = StartedWorker(order(), m_log, prepare).finish();
        EXPECT_EQ(result.outcome().status, 0U) << result.log;
        return bundled("told");
    }
    /// The environment that a tool starts with, where the worker has this one.
    [[nodiscard]] std::set<std::string>
    environmentWith(const std::map<std::string, std::string>& variables) const {
        return variablesIn(outputOf("tr '\\0' '\\n' </proc/$$/environ", [&variables] {
            ASSERT_EQ(::clearenv(), 0);
            for (const auto& [name, value] : variables) {
                ASSERT_EQ(::setenv(name.c_str(), value.c_str(), 1), 0);
            }
        }));
    }
    /// A job whose worker can't do without what was taken from it.
    void expectNothingTouched(const std::function<void()>& takeAway) const {
        configure(scriptItem("told", "touch /srv/touched"));
        const JobResult result = StartedWorker(order(), m_log, takeAway).finish();
        EXPECT_EQ(result.outcome().status, MEROENGINE_ERROR_INTERNAL);
        EXPECT_EQ(result.outcome().message, "Internal Error: MERO has encountered an error...");
        EXPECT_EQ(result.records.size(), 1U);
        EXPECT_FALSE(fs::exists("/srv/touched"));
        EXPECT_TRUE(fs::is_empty(kJobFolder));
    }
};

TEST_F(WorkerCage, GivesToolsAHomeOfTheirOwnRootsNamesAndAFixedPathAsTheirWholeEnvironment) {
    inWorld([this] {
        EXPECT_THAT(environmentWith({{"HOME", "/root"},
                                     {"USER", "root"},
                                     {"LOGNAME", "root"},
                                     {"PATH", "/srv/evil:/usr/bin:/bin"},
                                     {"LD_PRELOAD_NOT", "x"},
                                     {"XDG_CONFIG_HOME", "/srv/evil"},
                                     {"LC_ALL", "C"}}),
                    UnorderedElementsAre(MatchesRegex("HOME=/srv/job/tools\\.[A-Za-z0-9]{6}"),
                                         MatchesRegex("TMPDIR=/srv/job/tools\\.[A-Za-z0-9]{6}"), "USER=root",
                                         "LOGNAME=root", kPathEntry));
    });
}

TEST_F(WorkerCage, GivesToolsAnEmptyHomeThatIsRootsAlone) {
    inWorld([this] {
        EXPECT_THAT(outputOf("stat -c '%U %a' \"$HOME\"; ls -A \"$HOME\" | wc -l"),
                    HasSubstr("\nroot 700\n0\n"));
    });
}

TEST_F(WorkerCage, TranslatesPathsByTheCallersNames) {
    inWorld([this] {
        writeTheirs(kWorldHome + "/caller/plain.log", "plain");
        configure(fileItem("plain", "$HOME/$USER/plain.log"));
        EXPECT_EQ(run().outcome().status, 0U);
        EXPECT_EQ(bundled("plain.log"), "plain");
    });
}

TEST_F(WorkerCage, KeepsALanguage) {
    inWorld([this] {
        EXPECT_THAT(environmentWith({{"LANG", "de_DE.UTF-8@euro"}}),
                    ::testing::Contains("LANG=de_DE.UTF-8@euro"));
    });
}

TEST_F(WorkerCage, DropsALanguageThatIsAPath) {
    inWorld([this] {
        for (const std::string& variable : environmentWith({{"LANG", "../../srv/evil"}})) {
            EXPECT_FALSE(variable.starts_with("LANG=")) << variable;
        }
    });
}

TEST_F(WorkerCage, KeepsEverythingItWritesForRootAlone) {
    inWorld([this] {
        EXPECT_THAT(outputOf("umask", [] { ::umask(0); }), HasSubstr("\n0077\n"));
        struct stat archive {};
        ASSERT_EQ(::stat("/srv/job/archive", &archive), 0);
        EXPECT_EQ(archive.st_mode & 0777U, 0600U);
    });
}

TEST_F(WorkerCage, KeepsItsDescriptorsFromToolsOnOlderKernelsToo) {
    inWorld([this] {
        // The last is the folder that is listed.
        EXPECT_THAT(
            outputOf("ls /proc/self/fd | tr '\\n' ' '", [] { replaceSystemCall(SYS_close_range, EINVAL); }),
            HasSubstr("\n0 1 2 3 "));
    });
}

TEST_F(WorkerCage, StepsBackBehindTheUser) {
    inWorld(
        [this] { EXPECT_THAT(outputOf("nice; ionice"), AllOf(HasSubstr("\n10\n"), HasSubstr("\nidle\n"))); });
}

TEST_F(WorkerCage, IsTheFirstToBeEndedWhereMemoryIsShort) {
    inWorld([this] {
        EXPECT_THAT(outputOf("cat /proc/$PPID/oom_score_adj /proc/self/oom_score_adj",
                             [] { std::ofstream("/proc/self/oom_score_adj") << "-900"; }),
                    HasSubstr("\n1000\n1000\n"));
    });
}

TEST_F(WorkerCage, AllowsNoCoreDumps) {
    inWorld([this] {
        EXPECT_THAT(outputOf("ulimit -S -c; ulimit -H -c",
                             [] {
                                 const rlimit all{RLIM_INFINITY, RLIM_INFINITY};
                                 ASSERT_EQ(::setrlimit(RLIMIT_CORE, &all), 0);
                             }),
                    HasSubstr("\n0\n0\n"));
    });
}

TEST_F(WorkerCage, LetsNobodyLookIntoItsMemory) {
    inWorld([] {
        ASSERT_EQ(::prctl(PR_GET_DUMPABLE), 1);
        EXPECT_TRUE(limitResources("/tmp", kJobFolder));
        EXPECT_EQ(::prctl(PR_GET_DUMPABLE), 0);
    });
}

TEST_F(WorkerCage, LetsFilesTakeNineTenthsOfTheFreeSpaceBelowTmp) {
    inWorld([this] {
        configure(scriptItem("told", "awk '/^Max file size/ { print \"limit\", $5 }' /proc/self/limits"));
        ASSERT_LT(freeBytes("/tmp"), freeBytes(kJobFolder));
        const std::string expected = fileSizeLimit(freeBytes("/tmp"));
        EXPECT_EQ(run().outcome().status, 0U);
        EXPECT_THAT(bundled("told"), HasSubstr("\n" + expected));
    });
}

TEST_F(WorkerCage, LetsFilesTakeNineTenthsOfTheJobsFolderIfThatHasLess) {
    inWorld([this] {
        configure(scriptItem("told", "awk '/^Max file size/ { print \"limit\", $5 }' /proc/self/limits"));
        ASSERT_EQ(::mount("tmpfs", kJobFolder.c_str(), "tmpfs", 0, "size=2m"), 0);
        ASSERT_LT(freeBytes(kJobFolder), freeBytes("/tmp"));
        const std::string expected = fileSizeLimit(freeBytes(kJobFolder));
        EXPECT_EQ(run().outcome().status, 0U);
        EXPECT_THAT(bundled("told"), HasSubstr("\n" + expected));
    });
}

TEST_F(WorkerCage, SurvivesAFileThatGrowsBeyondTheLimit) {
    inWorld([this] {
        writeTheirs(kWorldHome + "/large.log", std::string(3U << 20U, 'x'));
        writeTheirs(kWorldHome + "/small.log", "small");
        ASSERT_EQ(::mount("tmpfs", kJobFolder.c_str(), "tmpfs", 0, "size=2m,mode=0700"), 0);
        configure(fileItem("large", "$HOME/large.log") + fileItem("small", "$HOME/small.log"));
        EXPECT_EQ(run().outcome().status, 0U);
        EXPECT_EQ(bundled("small.log"), "small");
    });
}

TEST_F(WorkerCage, RunsToolsInTheRootFolder) {
    inWorld([this] { EXPECT_THAT(outputOf("pwd"), HasSubstr("\n/\n")); });
}

TEST_F(WorkerCage, IsNothingToWorkWithoutLimits) {
    inWorld([this] { expectNothingTouched([] { replaceSystemCall(SYS_prlimit64, EPERM); }); });
}

TEST_F(WorkerCage, IsNothingToWorkWithoutPrivateMemory) {
    inWorld([this] {
        expectNothingTouched([] { replaceSystemCallWith(SYS_prctl, EPERM, 0, PR_SET_DUMPABLE); });
    });
}

TEST_F(WorkerCage, IsNothingToWorkWithoutAHomeForTools) {
    inWorld([this] {
        expectNothingTouched(
            [] { ASSERT_EQ(::mount("tmpfs", kJobFolder.c_str(), "tmpfs", MS_RDONLY, nullptr), 0); });
    });
}

TEST_F(WorkerCage, IsNothingToWorkWithoutAJobsFolder) {
    inWorld([this] {
        configure(scriptItem("told", "touch /srv/touched"));
        WorkOrder job = order();
        job.jobFolder = "/srv/missing";
        EXPECT_EQ(run(job).outcome().status, MEROENGINE_ERROR_INTERNAL);
        EXPECT_FALSE(fs::exists("/srv/touched"));
    });
}
