#include "MEROClearLogsAction.h"

#include "ActionTest.h"
#include "ReturnCodes.h"

#include <gmock/gmock.h>

using ::testing::IsEmpty;

class MEROClearLogsActionTest : public ActionTest {
protected:
    /// An item of a clear-logs run has neither a folder nor a summary.
    MEROClearLogsActionTest() {
        m_info.directory.clear();
        m_info.summary = nullptr;
    }

    std::list<MEROCollectedFile> m_found;
    std::list<std::string> m_tempFiles;
};

TEST_F(MEROClearLogsActionTest, IgnoresAdministratorRights) {
    class Probe : public MEROClearLogsAction {
    public:
        using MEROClearLogsAction::m_adminRun;
        using MEROClearLogsAction::MEROClearLogsAction;
    };
    EXPECT_FALSE(Probe(m_info, nullptr, true).m_adminRun);
    EXPECT_FALSE(Probe(m_info, nullptr, false).m_adminRun);
}

TEST_F(MEROClearLogsActionTest, RefusesToDeleteFiles) {
    const std::string log = writeFile("logs/app.log", "kept");
    MEROXmlObject subtree = instruction("<action><loc>" + log + "</loc><clear_log apply=\"true\"/></action>");
    MEROClearLogsAction action(m_info, nullptr, false);
    EXPECT_EQ(action.performFileAction(subtree, m_found), 0xFEB00001u);
    EXPECT_TRUE(
        m_log.contains('E', "Clearing logs is not available; no file of item \"vpn-logs\" was deleted."))
        << m_log.dump();
    EXPECT_EQ(readFile("logs/app.log"), "kept");
    EXPECT_THAT(m_found, IsEmpty());
}

TEST_F(MEROClearLogsActionTest, NeverClearsFolders) {
    writeFile("logs/app.log", "kept");
    MEROXmlObject subtree = instruction("<action><loc>" + path("logs") + "</loc><unknown/></action>");
    MEROClearLogsAction action(m_info, nullptr, false);
    EXPECT_EQ(action.performDirectoryAction(subtree, m_found), 0u);
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
    EXPECT_EQ(readFile("logs/app.log"), "kept");
    EXPECT_THAT(m_found, IsEmpty());
}

TEST_F(MEROClearLogsActionTest, RefusesToRunClearCommands) {
    MEROXmlObject subtree = instruction("<action><args>true</args><clear_log apply=\"true\">/usr/bin/touch " +
                                        path("run") + "</clear_log></action>");
    MEROClearLogsAction action(m_info, nullptr, false);
    EXPECT_EQ(action.performExternalAction(subtree, m_found, m_tempFiles), 0xFEB00001u);
    EXPECT_TRUE(
        m_log.contains('E', "Clearing logs is not available; no clear command of item \"vpn-logs\" was run."))
        << m_log.dump();
    EXPECT_FALSE(exists("run"));
    EXPECT_THAT(m_found, IsEmpty());
    EXPECT_THAT(m_tempFiles, IsEmpty());
}

TEST_F(MEROClearLogsActionTest, LeavesEachRefusalInTheLogOfTheWalk) {
    const std::string log = writeFile("app.log", "kept");
    MEROClearLogsAction action(
        m_info,
        parse("<os><file_copy_action><action><loc>" + log +
              "</loc><clear_log apply=\"true\"/></action>"
              "</file_copy_action><use_extern_action><action><args>true</args></action></use_extern_action>"
              "<directory_copy_action><action/></directory_copy_action></os>"),
        false);
    action.Perform(m_found);
    EXPECT_TRUE(m_log.containsCode('E', "Perform", "MEROAction::performFileAction", 0xFEB00001));
    EXPECT_TRUE(m_log.containsCode('E', "Perform", "MEROAction::performExternalAction", 0xFEB00001));
    EXPECT_EQ(m_log.lines().size(), 4u) << m_log.dump();
    EXPECT_TRUE(exists("app.log"));
    EXPECT_THAT(m_found, IsEmpty());
}
