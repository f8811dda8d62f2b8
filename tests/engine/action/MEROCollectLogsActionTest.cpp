#include "MEROCollectLogsAction.h"

#include "ActionTest.h"
#include "ReturnCodes.h"

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
    /// The code of a tool instruction.
    uint32_t externalCode(const std::string& children, bool adminRun = false) {
        MEROXmlObject subtree = instruction("<action>" + children + "</action>");
        return MEROCollectLogsAction(m_info, nullptr, adminRun)
            .performExternalAction(subtree, m_found, m_tempFiles);
    }

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

TEST_F(MEROCollectLogsActionTest, RefusesToRunAToolAndTellsSoInLogAndSummary) {
    EXPECT_EQ(externalCode("<args>/usr/bin/touch " + path("run") + "</args><stdout/>"), 0xFEB00001u);
    EXPECT_TRUE(m_log.contains('E', "Running tools is not available; \"touch\" was not run."))
        << m_log.dump();
    EXPECT_THAT(omitted(), ElementsAre(row("N/A", "Running tools is not available")));
    EXPECT_FALSE(exists("run"));
    EXPECT_FALSE(exists("bundle"));
    EXPECT_THAT(m_found, IsEmpty());
    EXPECT_THAT(m_tempFiles, IsEmpty());
}

TEST_F(MEROCollectLogsActionTest, NamesTheToolOfAnAdministratorRun) {
    const std::string children = "<args>plain</args><admin_args>elevated</admin_args>";
    EXPECT_EQ(externalCode(children, true), 0xFEB00001u);
    EXPECT_TRUE(m_log.contains('E', "\"elevated\" was not run."));
    EXPECT_EQ(externalCode(children, false), 0xFEB00001u);
    EXPECT_TRUE(m_log.contains('E', "\"plain\" was not run.")) << m_log.dump();
}

TEST_F(MEROCollectLogsActionTest, LeavesAnInstructionThatTheParserRefusesOutOfTheSummary) {
    EXPECT_EQ(externalCode("<args>tool</args><unknown/>"), 0xFEB00012u);
    EXPECT_EQ(externalCode("<args>tool<x/></args>"), 0xFEB00011u);
    EXPECT_THAT(omitted(), IsEmpty());
    EXPECT_FALSE(m_log.contains('E', "Running tools")) << m_log.dump();
}

TEST_F(MEROCollectLogsActionTest, CollectsFilesBesideAToolThatIsNotRun) {
    const std::string log = writeFile("logs/app.log", "1");
    EXPECT_THAT(pathsOf(collect("<use_extern_action><action><args>true</args></action><action><unknown/>"
                                "</action></use_extern_action><file_copy_action><action><loc>" +
                                log + "</loc></action></file_copy_action>")),
                ElementsAre(path("bundle") + "//app.log"));
    EXPECT_TRUE(m_log.containsCode('E', "Perform", "MEROAction::performExternalAction", 0xFEB00001));
    EXPECT_TRUE(m_log.containsCode('E', "Perform", "MEROAction::performExternalAction", 0xFEB00012))
        << m_log.dump();
    EXPECT_EQ(omitted().size(), 1u);
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
