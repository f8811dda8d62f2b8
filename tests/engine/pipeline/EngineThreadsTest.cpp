#include "Common/Utility/ReturnCodes.h"
#include "tests/engine/pipeline/EngineRun.h"
#include "tools/MERO/MEROEngine/implementations/Progress.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <thread>

using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {
constexpr int kFiles = 12;
constexpr int kItems = 5;
} // namespace

class ThreadedRun : public EngineRun {
protected:
    /// Twelve configurations with five items each, all of which are wanted, and one id that is in all.
    ThreadedRun() {
        std::vector<std::string> ids{"shared"};
        for (int file = 0; file < kFiles; ++file) {
            std::string items = item("shared", writeFile("logs/shared" + std::to_string(file), "shared"));
            for (int i = 0; i < kItems; ++i) {
                ids.push_back("id" + std::to_string(file) + "_" + std::to_string(i));
                items += item(ids.back(), writeFile("logs/" + ids.back(), ids.back()));
            }
            writeConfiguration(std::to_string(file) + ".xml", group("Group " + std::to_string(file), items));
        }
        m_request = writeFile("request.xml", request(ids, "<comments>one comment</comments>"));
    }

    static std::size_t occurrences(const std::string& text, const std::string& part) {
        std::size_t count = 0;
        for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
            ++count;
        }
        return count;
    }

    void expectWholeBundle() {
        unpack();
        EXPECT_EQ(bundledNames().size(), static_cast<std::size_t>(kFiles * (kItems + 1)) + 2);
        const std::string summary = bundled("summary.txt");
        EXPECT_EQ(occurrences(summary, "MERO BUNDLE SUMMARY\n"), 1u);
        EXPECT_EQ(occurrences(summary, std::string(141, '=')), static_cast<std::size_t>(kFiles));
        // Whoever of the twelve came first took the entry off; the others tell of the duplicate.
        EXPECT_EQ(occurrences(summary, "WARNING: File ID shared has duplicated instruction"),
                  static_cast<std::size_t>(kFiles) - 1);
        EXPECT_EQ(bundled("comments.txt"), "Comments from Varnel Corvane user:\none comment");
    }

    std::string m_request;
};

TEST_F(ThreadedRun, CollectsTwelveConfigurationsAtOnce) {
    EXPECT_EQ(run(m_request), 0u);
    expectWholeBundle();
    EXPECT_EQ(g_configsDone.load(), static_cast<uint32_t>(kFiles) + 1);
    EXPECT_THAT(leftFolders(), IsEmpty());
}

TEST_F(ThreadedRun, ReportsNeverStepBackWhileCollecting) {
    EXPECT_EQ(run(m_request), 0u);
    uint32_t last = 0;
    int processing = 0;
    for (const Report& report : m_listener.reports()) {
        EXPECT_LE(last, std::max(report.percent, 4u)) << report;
        last = report.percent == 4 ? 0 : report.percent;
        processing += report.message.starts_with("Processing ") ? 1 : 0;
    }
    EXPECT_EQ(processing, kFiles * (kItems + 1));
}

TEST_F(ThreadedRun, SurvivesEveryThreadFailing) {
    m_listener.onMessage("Processing about shared...", [] { throw std::runtime_error("no"); });
    EXPECT_EQ(run(m_request), MEROENGINE_ERROR_INTERNAL);
    EXPECT_EQ(m_listener.reports().back().message, "Internal Error: all configs failed...");
    EXPECT_EQ(g_configsDone.load(), static_cast<uint32_t>(kFiles) + 1);
    EXPECT_THAT(leftFolders(), IsEmpty());
}

TEST_F(ThreadedRun, LetsOthersReadTheProgressMeanwhile) {
    std::atomic<bool> done{false};
    std::thread reader([&done] {
        while (!done) {
            EXPECT_LE(getProgressState().m_progress, 100u);
        }
    });
    EXPECT_EQ(run(m_request), 0u);
    done = true;
    reader.join();
    EXPECT_EQ(getProgressState().m_message, "MERO has finished... ");
}

TEST_F(ThreadedRun, RunsTwoJobsOfOneProcessAtOnce) {
    const std::string other = path("other.zip");
    uint32_t otherCode = 1;
    std::thread second([&] {
        otherCode =
            std::make_shared<MEROEngine>("", path("inst"), other, "", kModeCollect, false, true)->run();
    });
    const uint32_t code = run(m_request);
    second.join();
    EXPECT_EQ(code, 0u);
    EXPECT_EQ(otherCode, 0u);
    unpack("other.zip");
    EXPECT_THAT(bundled("summary.txt"), HasSubstr("Group 7:"));
    EXPECT_EQ(bundled("id3_4"), "id3_4");
    unpack();
    EXPECT_EQ(bundled("id11_0"), "id11_0");
    EXPECT_THAT(leftFolders(), IsEmpty());
}
