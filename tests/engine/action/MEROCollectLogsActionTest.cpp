#include "tools/MERO/MEROEngine/implementations/MEROCollectLogsAction.h"

#include "Common/Utility/ReturnCodes.h"
#include "tests/engine/action/ActionTest.h"

#include <gmock/gmock.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(CopyFailureText, BeginsWithABlankForEachCode) {
    EXPECT_STREQ(MEROCollectLogsAction::getCopyFailureText(0xFEB0000D), " Error occurred opening the file");
    EXPECT_STREQ(MEROCollectLogsAction::getCopyFailureText(0xFEB0000C), " File not found");
    for (const uint32_t code : {0xFEB00009u, 0xFEB0000Bu, 0u, 0xFFFFFFFFu}) {
        EXPECT_STREQ(MEROCollectLogsAction::getCopyFailureText(code), " Unexpected error occurred");
    }
}

class MEROCollectLogsActionTest : public ActionTest {
protected:
    std::list<MEROCollectedFile> m_found;
    std::list<std::string> m_tempFiles;
};

TEST_F(MEROCollectLogsActionTest, ReturnsTheParsersCodeForASubtreeWithoutRoot) {
    MEROXmlObject empty;
    MEROCollectLogsAction action(m_info, nullptr, false);
    EXPECT_EQ(action.performFileAction(empty, m_found), 0xFEB00002u);
    EXPECT_EQ(action.performDirectoryAction(empty, m_found), 0xFEB00002u);
    EXPECT_EQ(action.performExternalAction(empty, m_found, m_tempFiles), 0xFEB00002u);
    EXPECT_THAT(omitted(), IsEmpty());
}

TEST_F(MEROCollectLogsActionTest, TreatsAnInstructionWithAnUnknownChildByItsKind) {
    const std::string log = writeFile("logs/app.log", "1");
    MEROCollectLogsAction action(m_info, nullptr, false);
    MEROXmlObject file = instruction("<action><loc>" + log + "</loc><unknown/></action>");
    EXPECT_EQ(action.performFileAction(file, m_found), 0u);
    EXPECT_EQ(action.performDirectoryAction(file, m_found), 0xFEB00009u);
    MEROXmlObject tool = instruction("<action><args>true</args><unknown/></action>");
    EXPECT_EQ(action.performExternalAction(tool, m_found, m_tempFiles), 0xFEB00012u);
    EXPECT_EQ(m_found.size(), 1u);
}

TEST_F(MEROCollectLogsActionTest, CollectsWithoutASummaryToFillIn) {
    m_info.summary = nullptr;
    const std::string log = writeFile("logs/app.log", "1");
    EXPECT_THAT(pathsOf(collect("<file_copy_action><action><loc>" + path("none/x") +
                                "</loc></action><action>"
                                "<loc>" +
                                log + "</loc></action></file_copy_action>")),
                ElementsAre(path("bundle") + "//app.log"));
    EXPECT_TRUE(m_log.contains('E', "pXMLSummary is NULL")) << m_log.dump();
}
