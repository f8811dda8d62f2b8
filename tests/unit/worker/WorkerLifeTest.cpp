#include "Common/Utility/ReturnCodes.h"
#include "tests/support/Processes.h"
#include "tests/unit/worker/WorkerWorld.h"

#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;
using ::testing::HasSubstr;

namespace {

/// Writes the worker's process id down and waits.
constexpr const char* kWaitingTool = "echo $PPID >/srv/pid; read line </srv/pipe";
/// Writes its own down, in a session of its own, and waits without minding signals.
constexpr const char* kStubbornTool =
    "trap '' TERM HUP INT; exec setsid -w sh -c 'echo $$ >/srv/pid; read line </srv/pipe'";

} // namespace

/// A worker and the service that it belongs to.
class WorkerLife : public WorkerWorld {
protected:
    void configureWaitingTool(const char* script) const {
        ASSERT_EQ(::mkfifo("/srv/pipe", 0600), 0);
        writeTool("/srv/tools/wait", script);
        configure(item("first", "use_extern_action", "<path>/srv/tools</path><args>wait</args>") +
                  scriptItem("second", "touch /srv/touched"));
    }
    /// Kills the service while a tool waits, and expects the end of the process that the tool has written
    /// down.
    void expectEndWithService(const char* script) {
        inWorld([this, script] {
            configureWaitingTool(script);
            const pid_t service = startService();
            const pid_t process = pidIn("/srv/pid");
            ASSERT_GT(process, 0);
            EXPECT_FALSE(hasEnded(process));
            ASSERT_EQ(::kill(service, SIGKILL), 0);
            EXPECT_EQ(::waitpid(service, nullptr, 0), service);
            const bool ended = eventually([process] { return hasEnded(process); });
            EXPECT_TRUE(ended);
            if (!ended) {
                ::kill(process, SIGKILL);
            }
            // The end of one tool is not the start of the next.
            EXPECT_FALSE(fs::exists("/srv/touched"));
        });
    }
    /// A process that starts a worker and waits for its end.
    [[nodiscard]] pid_t startService() const {
        const pid_t service = ::fork();
        EXPECT_NE(service, -1);
        if (service == 0) {
            static_cast<void>(StartedWorker(order(), m_log).finish());
            ::_exit(0);
        }
        return service;
    }
};

TEST_F(WorkerLife, EndsWhenTheServiceIsKilled) {
    expectEndWithService(kWaitingTool);
}

TEST_F(WorkerLife, TakesToolsAlongThatMindNoSignal) {
    expectEndWithService(kStubbornTool);
}

TEST_F(WorkerLife, TouchesNothingWhenTheServiceHasEndedAlready) {
    inWorld([this] {
        configure(scriptItem("told", "touch /srv/touched"));
        const auto loseParent = [] {
            const pid_t service = ::getpid();
            if (::fork() != 0) {
                ::_exit(0);
            }
            EXPECT_TRUE(eventually([service] { return ::getppid() != service; }));
        };
        const JobResult result = StartedWorker(order(), m_log, loseParent).finish();
        EXPECT_EQ(result.outcome().status, MEROENGINE_ERROR_INTERNAL);
        EXPECT_THAT(result.log, HasSubstr("The service has ended, and the job ends with it."));
        EXPECT_FALSE(fs::exists("/srv/touched"));
        EXPECT_TRUE(fs::is_empty(kJobFolder));
    });
}

TEST_F(WorkerLife, FailsIfNobodyHearsTheOutcome) {
    inWorld([this] {
        configure(fileItem("plain", writeTheirs(kWorldHome + "/plain.log", "plain")));
        Pipe start;
        StartedWorker worker(order(), m_log, [&start] { EXPECT_EQ(start.drain(), ""); });
        worker.stopListening();
        start.writer.reset();
        const JobResult result = worker.finish();
        EXPECT_TRUE(WIFEXITED(result.status)) << result.status;
        EXPECT_EQ(WEXITSTATUS(result.status), 1);
        EXPECT_EQ(bundled("plain.log"), "plain");
    });
}
