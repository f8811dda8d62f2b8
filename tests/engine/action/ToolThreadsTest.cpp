#include "tests/engine/action/ToolTest.h"
#include "tests/support/Processes.h"

#include <atomic>
#include <barrier>
#include <gmock/gmock.h>
#include <stdexcept>
#include <thread>
#include <vector>

using ::testing::IsEmpty;

namespace {
constexpr int kThreads = 6;
constexpr int kTools = 8;
} // namespace

/// Tools of several actions at once, each on a thread of its own.
class ToolThreads : public ToolTest {
protected:
    /// An item without a summary, since that belongs to one thread.
    [[nodiscard]] MEROActionInfo infoOfThread() const {
        MEROActionInfo info = m_info;
        info.summary = nullptr;
        return info;
    }
};

TEST_F(ToolThreads, KeepTheirOutputsApart) {
    const std::string line = tool("talk", "awk -v w=\"$1\" 'BEGIN { while (i++ < 300) print w, i }'") + " ";
    static_cast<void>(tool("mark", "touch \"marks/$1\""));
    makeFolder("marks");
    std::barrier start(kThreads);
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([this, &start, &line, thread] {
            const std::string word = "w" + std::to_string(thread);
            ToolRunner runner(infoOfThread());
            start.arrive_and_wait();
            for (int run = 0; run < kTools; ++run) {
                EXPECT_EQ(runner.callExtern({}, line + word, true, path("bundle/" + word)), 0u);
                const std::string mark = "mark " + word + "_" + std::to_string(run);
                EXPECT_EQ(runner.callExtern(path("tools"), mark, false, {}), 0u);
                EXPECT_TRUE(exists("marks/" + word + "_" + std::to_string(run)));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (int thread = 0; thread < kThreads; ++thread) {
        const std::string word = "w" + std::to_string(thread);
        std::string expected;
        for (int run = 0; run < kTools; ++run) {
            expected += banner(line + word);
            for (int i = 1; i <= 300; ++i) {
                expected += word + " " + std::to_string(i) + "\n";
            }
        }
        EXPECT_EQ(readFile("bundle/" + word), expected);
    }
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
    EXPECT_FALSE(hasChildren());
}

TEST_F(ToolThreads, DoNotHoldEachOthersOutputOpen) {
    // Each of these is started while the other's output is being taken, and runs until that is done.
    static_cast<void>(tool("long", "touch started; while [ ! -e taken ]; do sleep 0.05; done; sleep 0.3"));
    const std::string line =
        tool("taken", "touch taking; while [ ! -e started ]; do sleep 0.05; done; echo done");
    bool ended = false;
    std::thread longOne([this, &ended] {
        EXPECT_TRUE(eventually([this] { return exists("taking"); }));
        ToolRunner runner(infoOfThread());
        EXPECT_EQ(runner.callExtern(path("tools"), "long", false, {}), 0u);
        ended = true;
    });
    EXPECT_EQ(capture(line), 0u);
    writeFile("taken", "");
    longOne.join();
    EXPECT_TRUE(ended);
    EXPECT_EQ(captured(), banner(line) + "done\n");
}

TEST_F(ToolThreads, DoNotReapEachOthersTools) {
    static_cast<void>(tool("killed", "while [ ! -e go ]; do sleep 0.05; done; kill -KILL $$"));
    m_listener.onMessage("Processing VPN logs...", [this] { writeFile("go", ""); });
    std::atomic<bool> done{false};
    std::thread taking([this, &done] {
        ToolRunner runner(infoOfThread());
        do {
            EXPECT_EQ(runner.callExtern({}, "echo text", true, path("bundle/other.txt")), 0u);
        } while (!done);
    });
    EXPECT_EQ(launch("killed", path("tools")), 0xFE2B002Du) << "it has to be seen how it ended";
    done = true;
    taking.join();
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
    EXPECT_FALSE(hasChildren());
}

TEST_F(ToolThreads, EndOneToolAndLeaveTheOthers) {
    static_cast<void>(
        tool("other", "echo $$ >other; while [ ! -e go ]; do sleep 0.05; done; echo whole >kept; sleep 0.3"));
    static_cast<void>(tool("endless", "echo $$ >pid; exec sleep 600"));
    m_listener.onMessage("Processing the endless one...", [this] {
        static_cast<void>(pidIn(path("pid")));
        throw std::runtime_error("end");
    });
    std::thread other([this] {
        ToolRunner runner(infoOfThread());
        EXPECT_EQ(runner.callExtern(path("tools"), "other", false, {}), 0u);
    });
    EXPECT_GT(pidIn(path("other")), 0);
    std::thread ending([this] {
        MEROActionInfo info = infoOfThread();
        info.description = "the endless one";
        ToolRunner runner(info);
        EXPECT_THROW(static_cast<void>(runner.callExtern(path("tools"), "endless", false, {})),
                     std::runtime_error);
    });
    ending.join();
    EXPECT_TRUE(hasEnded(pidIn(path("pid"))));
    EXPECT_FALSE(hasEnded(pidIn(path("other"))));
    writeFile("go", "");
    other.join();
    EXPECT_EQ(readFile("kept"), "whole\n");
}
