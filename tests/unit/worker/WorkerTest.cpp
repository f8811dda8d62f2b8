#include "Common/Utility/ReturnCodes.h"
#include "tests/unit/worker/WorkerWorld.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

constexpr const char* kInvalidRequest = "Internal Error: invalid request XML, please contact your "
                                        "administrator, or run in default mode";
constexpr const char* kEncounteredError = "Internal Error: MERO has encountered an error...";

auto recordOf(uint32_t status, uint32_t progress, const std::string& message) {
    using ::testing::AllOf;
    using ::testing::Field;
    return AllOf(Field(&ProgressRecord::status, status), Field(&ProgressRecord::progress, progress),
                 Field(&ProgressRecord::message, message));
}

/// Request entries, with an id for each number.
std::string entries(int count, const std::function<std::string(int)>& idOf) {
    std::string text;
    for (int number = 0; number < count; ++number) {
        text += "<file id=\"" + idOf(number) + "\"/>";
    }
    return text;
}

auto step(uint32_t progress, const std::string& message) {
    return recordOf(MEROOFFLINE_ERROR_PROCESSING, progress, message);
}

} // namespace

class Worker : public WorkerWorld {
protected:
    void configurePlainFile() const {
        configure(fileItem("plain", writeTheirs(kWorldHome + "/plain.log", "plain")));
    }
    [[nodiscard]] JobResult runRequest(const std::string& content) const {
        configurePlainFile();
        WorkOrder job = order();
        job.requestPath = "/srv/job/request.xml";
        std::ofstream(job.requestPath) << content;
        return run(job);
    }
    void expectRefused(const std::string& content, const std::string& reason) const {
        const JobResult result = runRequest(content);
        EXPECT_THAT(result.outcome(), recordOf(MEROENGINE_ERROR_INVALID_XML, 1, kInvalidRequest))
            << result.log;
        EXPECT_THAT(result.log, HasSubstr("The request is refused: " + reason));
        EXPECT_FALSE(fs::exists("/srv/job/archive"));
        EXPECT_TRUE(fs::is_empty("/tmp"));
    }
};

TEST_F(Worker, TellsEachStepAndThenTheOutcome) {
    inWorld([this] {
        configurePlainFile();
        const JobResult result = run();
        EXPECT_THAT(result.records,
                    ElementsAre(step(1, "Starting up MERO Engine..."),
                                step(1, "Parsing request and configuration XMLs..."),
                                step(4, "Reading instructions ..."), step(4, "Processing about plain..."),
                                step(96, "Zipping the bundle, please wait..."),
                                step(100, "MERO has finished... "),
                                recordOf(0, 100, "MERO has finished... ")));
        EXPECT_EQ(result.outcome().status, 0U);
    });
}

TEST_F(Worker, WritesTheBundleForTheNameThatTheCallerHasGiven) {
    inWorld([this] {
        configurePlainFile();
        EXPECT_EQ(run().outcome().status, 0U);
        EXPECT_EQ(bundled("plain.log"), "plain");
        EXPECT_THAT(bundled("summary.txt"),
                    HasSubstr("\nBundle on client computer:    /srv/home/caller/bundle.zip\n"));
        EXPECT_FALSE(fs::exists("/srv/home/caller/bundle.zip"));
    });
}

TEST_F(Worker, CollectsWhatOnlyRootMayRead) {
    inWorld([this] {
        configure(fileItem("secret", kSecretFile));
        EXPECT_EQ(run().outcome().status, 0U);
        EXPECT_EQ(bundled("key"), kSecret);
    });
}

TEST_F(Worker, EncryptsWithThePasswordAndTellsItNobody) {
    inWorld([this] {
        configure(fileItem("plain", writeTheirs(kWorldHome + "/plain.log", "plain")) +
                  scriptItem("told", "env"));
        WorkOrder job = order();
        job.password = "s3cret-Horse-Staple";
        const JobResult result = run(job);
        EXPECT_EQ(result.outcome().status, 0U) << result.log;
        EXPECT_NE(std::system("unzip -qq -P wrong -t /srv/job/archive >/dev/null 2>&1"), 0);
        auto files = bundle(job.password.str());
        EXPECT_EQ(files["plain.log"], "plain");
        EXPECT_THAT(files["told"], HasSubstr("USER=root"));
        EXPECT_THAT(files["told"], Not(HasSubstr(job.password.str())));
        EXPECT_THAT(result.log, Not(HasSubstr(job.password.str())));
    });
}

TEST_F(Worker, CollectsWhatTheRequestNames) {
    inWorld([this] {
        const JobResult result = runRequest(
            "<request><file id=\"plain\"/><file id=\"summary\"><name>mine.txt</name></file></request>");
        EXPECT_EQ(result.outcome().status, 0U) << result.log;
        EXPECT_THAT(bundled("mine.txt"), HasSubstr("plain.log"));
    });
}

TEST_F(Worker, TakesNamesThatTheEngineTakes) {
    inWorld([this] {
        const JobResult result = runRequest("<request><file id=\"plain\"><name>../x</name></file>"
                                            "<file id=\"summary\"><name>a/s..txt</name></file></request>");
        EXPECT_EQ(result.outcome().status, 0U) << result.log;
        EXPECT_THAT(bundled("a/s..txt"), HasSubstr("plain.log"));
    });
}

TEST_F(Worker, RefusesARequestThatNamesAFileElsewhere) {
    inWorld([this] {
        expectRefused("<request><file id=\"summary\"><name>../../etc/cron.d/x</name></file></request>",
                      "a name leads out of the bundle");
    });
}

TEST_F(Worker, TakesSixtyFourEntriesOfAnIdAndNoMore) {
    inWorld([this] {
        const std::string most = entries(64, [](int) { return "plain"; });
        EXPECT_EQ(runRequest("<request>" + most + "</request>").outcome().status, 0U);
        fs::remove(order().archivePath);
        expectRefused("<request>" + most + "<file id=\"x\"/><file id=\"plain\"/></request>",
                      "it has more than 64 entries of one id");
    });
}

TEST_F(Worker, TakesTwentyThousandEntriesAndNoMore) {
    inWorld([this] {
        const std::string most = entries(20'000, [](int number) { return std::to_string(number); });
        EXPECT_EQ(runRequest("<request>" + most + "</request>").outcome().status, 0U);
        fs::remove(order().archivePath);
        expectRefused("<request>" + most + "<file id=\"plain\"/></request>",
                      "it has more than 20000 entries");
    });
}

TEST_F(Worker, TellsTheEnginesFailure) {
    inWorld([this] {
        EXPECT_THAT(run().outcome(), recordOf(MEROENGINE_ERROR_INTERNAL, 1,
                                              "Internal Error: no valid configuration XML found..."));
    });
}

TEST_F(Worker, TellsOfARequestThatIsNone) {
    inWorld([this] {
        EXPECT_THAT(runRequest("<request>").outcome(),
                    recordOf(MEROENGINE_ERROR_INVALID_XML, 1, kInvalidRequest));
    });
}

TEST_F(Worker, TellsOfAnArchiveThatCannotBeWritten) {
    inWorld([this] {
        configurePlainFile();
        WorkOrder job = order();
        job.archivePath = "/srv/job/missing/archive";
        EXPECT_THAT(run(job).outcome(), recordOf(MEROENGINE_ERROR_WRITE_FAILURE, 96,
                                                 "Internal Error: failed to zip the bundle..."));
    });
}

TEST_F(Worker, TakesNothingButAnOrder) {
    inWorld([this] {
        for (const std::string_view bytes : {std::string_view("no order at all"), std::string_view()}) {
            const JobResult result = StartedWorker(bytes, m_log).finish();
            EXPECT_THAT(result.records,
                        ElementsAre(recordOf(MEROENGINE_ERROR_INTERNAL, 0, kEncounteredError)));
            EXPECT_EQ(result.outcome().status, MEROENGINE_ERROR_INTERNAL);
        }
    });
}
