#include "tools/MERO/MEROOffline/Common/MEROOffline.h"

#include "Common/Utility/ReturnCodes.h"
#include "tests/engine/pipeline/EngineRun.h"
#include "tools/MERO/MEROEngine/implementations/Progress.h"

#include <gmock/gmock.h>

using ::testing::Contains;
using ::testing::IsEmpty;
using ::testing::Not;

class MEROOfflineRun : public EngineRun {};

TEST_F(MEROOfflineRun, InstallsItsClientAsTheListenerAtOnce) {
    setProgressListener(nullptr);
    const MEROOffline offline(&m_listener, "", path("inst"), m_target, "", false);
    EXPECT_EQ(getProgressListener(), &m_listener);
    EXPECT_EQ(offline.getResult(), 0u);
}

TEST_F(MEROOfflineRun, RunsOneJobWithSystemLogsAndWithoutTheLegacyTree) {
    const std::string log = writeFile("logs/a.log", "text");
    std::string legacy = item("legacy", log);
    legacy.replace(legacy.find("true"), 4, "no");
    writeConfiguration("a.xml", group("System", item("system-logs", log)) +
                                    "<fileGroup treeRootName=\"Legacy - Varnel Trellink Nolvane\">" + legacy +
                                    "</fileGroup>");
    MEROOffline offline(&m_listener, "", path("inst"), m_target, "key", false);
    offline.run();
    EXPECT_EQ(offline.getResult(), 0u);
    EXPECT_THAT(m_listener.messages(), Contains("Processing about system-logs..."));
    EXPECT_THAT(m_listener.messages(), Not(Contains("Processing about legacy...")));
    EXPECT_EQ(m_listener.reports().back(), (Report{100, "MERO has finished... ", 0}));
    unpack("out.zip", "key");
    EXPECT_EQ(bundled("a.log"), "text");
}

TEST_F(MEROOfflineRun, KeepsTheCodeOfAFailedJob) {
    MEROOffline offline(&m_listener, path("missing.xml"), path("inst"), m_target, "", false);
    offline.run();
    EXPECT_EQ(offline.getResult(), MEROENGINE_ERROR_INVALID_XML);
    EXPECT_EQ(m_listener.reports().back().code, MEROENGINE_ERROR_INVALID_XML);
}

TEST_F(MEROOfflineRun, ClearsLogsOnDemand) {
    writeThreeItems();
    MEROOffline offline(&m_listener, "", path("inst"), m_target, "", true);
    offline.run();
    EXPECT_EQ(offline.getResult(), 0u);
    EXPECT_THAT(m_listener.messages(), Contains("Clearing about one..."));
    EXPECT_FALSE(exists("out.zip"));
    EXPECT_THAT(leftFolders(), IsEmpty());
}
