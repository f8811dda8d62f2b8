#include "tools/MERO/MEROEngine/implementations/MEROClearLogsAction.h"

#include "Common/Utility/ReturnCodes.h"
#include "tests/engine/action/ToolTest.h"
#include "tests/support/InChild.h"
#include "tests/support/Processes.h"

#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace fs = std::filesystem;
using ::testing::IsEmpty;

namespace {

constexpr const char* kClear = "<clear_log apply=\"true\"/>";

std::string loc(const std::string& path) {
    return "<loc>" + path + "</loc>";
}

std::string clearCommand(const std::string& commandLine) {
    return "<clear_log apply=\"true\">" + commandLine + "</clear_log>";
}

} // namespace

/// An item of a clear run has neither a folder nor a name nor a summary.
class ClearAction : public ToolTest {
protected:
    ClearAction() {
        m_info.directory.clear();
        m_info.name.clear();
        m_info.summary = nullptr;
    }

    [[nodiscard]] uint32_t clearFiles(const std::string& children) {
        MEROXmlObject subtree = instruction("<action>" + children + "</action>");
        return MEROClearLogsAction(m_info, nullptr, false).performFileAction(subtree, m_found);
    }
    [[nodiscard]] uint32_t clearByTool(const std::string& children, bool adminRun = false) {
        MEROXmlObject subtree = instruction("<action>" + children + "</action>");
        return MEROClearLogsAction(m_info, nullptr, adminRun)
            .performExternalAction(subtree, m_found, m_tempFiles);
    }
    /// Walks over the children of an os element.
    void clear(const std::string& kinds) {
        MEROClearLogsAction(m_info, parse("<os>" + kinds + "</os>"), false).Perform(m_found);
    }
    [[nodiscard]] std::string toolsFolder() const { return "<path>" + path("tools") + "</path>"; }

    void expectNoTrace() const {
        EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
        EXPECT_THAT(m_found, IsEmpty());
        EXPECT_THAT(m_tempFiles, IsEmpty());
    }

    std::list<MEROCollectedFile> m_found;
    std::list<std::string> m_tempFiles;
};

TEST_F(ClearAction, IgnoresAdministratorRights) {
    class Probe : public MEROClearLogsAction {
    public:
        using MEROClearLogsAction::m_adminRun;
        using MEROClearLogsAction::MEROClearLogsAction;
    };
    EXPECT_FALSE(Probe(m_info, nullptr, true).m_adminRun);
    EXPECT_FALSE(Probe(m_info, nullptr, false).m_adminRun);
}

TEST_F(ClearAction, DeletesTheFileOfAPath) {
    const std::string log = writeFile("logs/app.log", "text");
    writeFile("logs/app.log.1", "kept");
    EXPECT_EQ(clearFiles(loc(log) + kClear), 0u);
    EXPECT_FALSE(exists("logs/app.log"));
    EXPECT_TRUE(exists("logs/app.log.1"));
    expectNoTrace();
}

TEST_F(ClearAction, ReadsVariablesInThePath) {
    writeFile("logs/app.log", "text");
    EXPECT_EQ(clearFiles(loc("$HOME/logs/app.log") + kClear), 0u);
    EXPECT_FALSE(exists("logs/app.log"));
}

TEST_F(ClearAction, DeletesNothingWithoutBeingTold) {
    const std::string log = writeFile("logs/app.log", "kept");
    EXPECT_EQ(clearFiles(loc(log)), 0u);
    EXPECT_TRUE(exists("logs/app.log"));
    expectNoTrace();
}

class ClearSwitch : public ClearAction, public ::testing::WithParamInterface<const char*> {};

TEST_P(ClearSwitch, IsOnForOneValueOnly) {
    const std::string log = writeFile("logs/app.log", "kept");
    const std::string mark(GetParam());
    EXPECT_EQ(clearFiles(loc(log) + mark + "/>"), 0u);
    EXPECT_TRUE(exists("logs/app.log"));
    EXPECT_EQ(clearByTool(mark + ">touch done</clear_log>"), 0u);
    EXPECT_FALSE(exists("done"));
    expectNoTrace();
}

INSTANTIATE_TEST_SUITE_P(Values, ClearSwitch,
                         ::testing::Values("<clear_log", "<clear_log apply=\"True\"",
                                           "<clear_log apply=\"TRUE\"", "<clear_log apply=\"1\"",
                                           "<clear_log apply=\"yes\"", "<clear_log apply=\"\"",
                                           "<clear_log apply=\"false\"", "<clear_log Apply=\"true\""));

TEST_F(ClearAction, TakesTheSwitchInFrontOfThePathAndSeenOnce) {
    const std::string log = writeFile("logs/app.log", "text");
    EXPECT_EQ(clearFiles(std::string(kClear) + loc(log) + "<clear_log apply=\"false\"/>"), 0u);
    EXPECT_FALSE(exists("logs/app.log"));
}

TEST_F(ClearAction, DeletesAllMatchesInTheFolderAndNoneBelow) {
    for (const char* name : {"app", "app.log", "APP.2", "app.old.gz", "other.log", "my-app"}) {
        writeFile(std::string("log/") + name, "text");
    }
    writeFile("log/app.d/app.log", "kept");
    writeFile("log/sub/app.log", "kept");
    EXPECT_EQ(clearFiles(loc(path("log/app*")) + kClear), 0u);
    for (const char* name : {"app", "app.log", "APP.2", "app.old.gz"}) {
        EXPECT_FALSE(exists(std::string("log/") + name)) << name;
    }
    for (const char* name : {"other.log", "my-app", "app.d/app.log", "sub/app.log"}) {
        EXPECT_TRUE(exists(std::string("log/") + name)) << name;
    }
    expectNoTrace();
}

TEST_F(ClearAction, DeletesBySingleWildcards) {
    for (const char* name : {"log/a1.log", "log/a2.log", "log/a10.log"}) {
        writeFile(name, "text");
    }
    EXPECT_EQ(clearFiles(loc(path("log/a?.log")) + kClear), 0u);
    EXPECT_FALSE(exists("log/a1.log"));
    EXPECT_FALSE(exists("log/a2.log"));
    EXPECT_TRUE(exists("log/a10.log"));
}

TEST_F(ClearAction, TakesNoWildcardInAFolder) {
    writeFile("log1/app.log", "kept");
    EXPECT_EQ(clearFiles(loc(path("log*/app.log")) + kClear), 0u);
    EXPECT_TRUE(exists("log1/app.log"));
}

TEST_F(ClearAction, DeletesOlderMatchesThanTheNewestToo) {
    for (const int age : {1, 2, 3}) {
        setModificationTime(writeFile("log/app." + std::to_string(age), "text"), int64_t{1'000'000} * age);
    }
    EXPECT_EQ(clearFiles("<loc gather_newest=\"true\">" + path("log/app.*") + "</loc>" + kClear), 0u);
    EXPECT_TRUE(fs::is_empty(path("log")));
}

TEST_F(ClearAction, DeletesNothingForABareName) {
    writeFile("app.log", "kept");
    EXPECT_EQ(clearFiles(loc("app.log") + kClear), 0u);
    EXPECT_EQ(clearFiles(loc("*") + kClear), 0u);
    EXPECT_TRUE(exists("app.log"));
}

TEST_F(ClearAction, DeletesNothingWithoutAPath) {
    writeFile("app.log", "kept");
    EXPECT_EQ(clearFiles(kClear), 0u);
    EXPECT_EQ(clearFiles(std::string("<loc/>") + kClear), 0u);
    EXPECT_TRUE(exists("app.log"));
}

TEST_F(ClearAction, DeletesNothingForAFolder) {
    writeFile("log/app.log", "kept");
    EXPECT_EQ(clearFiles(loc(path("log/")) + kClear), 0u);
    EXPECT_EQ(clearFiles(loc(path("log")) + kClear), 0u);
    EXPECT_TRUE(exists("log/app.log"));
}

TEST_F(ClearAction, HasNothingAgainstAMissingLog) {
    makeFolder("log");
    EXPECT_EQ(clearFiles(loc(path("log/app.log")) + kClear), 0u);
    EXPECT_EQ(clearFiles(loc(path("none/app.log")) + kClear), 0u);
    EXPECT_EQ(m_log.count('E', ""), 0) << m_log.dump();
}

TEST_F(ClearAction, DeletesALinkAndNotItsTarget) {
    const std::string target = writeFile("precious", "kept");
    makeFolder("log");
    fs::create_symlink(target, path("log/app.log"));
    EXPECT_EQ(clearFiles(loc(path("log/app.*")) + kClear), 0u);
    EXPECT_FALSE(exists("log/app.log"));
    EXPECT_EQ(readFile("precious"), "kept");
}

TEST_F(ClearAction, DeletesNothingThroughALinkToAFolder) {
    writeFile("precious/app.log", "kept");
    makeFolder("log");
    fs::create_directory_symlink(path("precious"), path("log/app.d"));
    EXPECT_EQ(clearFiles(loc(path("log/*")) + kClear), 0u);
    EXPECT_TRUE(exists("precious/app.log"));
    EXPECT_TRUE(exists("log/app.d"));
}

TEST_F(ClearAction, TakesNamesWithWildcardsAsTheyAre) {
    writeFile("log/a*b", "text");
    writeFile("log/a b\nc", "text");
    EXPECT_EQ(clearFiles(loc(path("log/a*")) + kClear), 0u);
    EXPECT_TRUE(fs::is_empty(path("log")));
}

TEST_F(ClearAction, LogsWhatItCannotDeleteAndGoesOn) {
    writeFile("firm/a.log", "kept");
    writeFile("firm/b.log", "kept");
    writeFile("loose/c.log", "text");
    ASSERT_EQ(::chmod(path("firm").c_str(), 0555), 0);
    ASSERT_EQ(::chmod(path("loose").c_str(), 0777), 0);
    asOrdinaryUser([this] {
        clear("<file_copy_action><action>" + loc(path("firm/*")) + kClear + "</action><action>" +
              loc(path("loose/*")) + kClear + "</action></file_copy_action>");
        EXPECT_TRUE(m_log.containsCode('E', "fileDelete", "unlink_file", EACCES)) << m_log.dump();
        EXPECT_EQ(m_log.lines().size(), 2u) << "one for each file, and nothing else" << m_log.dump();
        EXPECT_TRUE(exists("firm/a.log"));
        EXPECT_TRUE(exists("firm/b.log"));
        EXPECT_FALSE(exists("loose/c.log"));
    });
}

TEST_F(ClearAction, SaysNothingOfAFolderThatItCannotRead) {
    writeFile("firm/a.log", "kept");
    ASSERT_EQ(::chmod(path("firm").c_str(), 0), 0);
    asOrdinaryUser([this] {
        EXPECT_EQ(clearFiles(loc(path("firm/*")) + kClear), 0u);
        EXPECT_EQ(m_log.count('E', ""), 0) << m_log.dump();
    });
    ASSERT_EQ(::chmod(path("firm").c_str(), 0700), 0);
    EXPECT_TRUE(exists("firm/a.log"));
}

TEST_F(ClearAction, ReturnsTheParsersCodeForAnInstructionWithoutATree) {
    MEROXmlObject empty;
    MEROClearLogsAction action(m_info, nullptr, false);
    EXPECT_EQ(action.performFileAction(empty, m_found), 0xFEB00002u);
    EXPECT_EQ(action.performExternalAction(empty, m_found, m_tempFiles), 0xFEB00002u);
    EXPECT_EQ(action.performDirectoryAction(empty, m_found), 0u) << "its parser isn't asked";
}

TEST_F(ClearAction, NeverClearsFolders) {
    writeFile("logs/app.log", "kept");
    MEROXmlObject subtree =
        instruction("<action>" + loc(path("logs")) + "<pattern>*</pattern><unknown/>" + kClear + "</action>");
    MEROClearLogsAction action(m_info, nullptr, false);
    EXPECT_EQ(action.performDirectoryAction(subtree, m_found), 0u);
    EXPECT_TRUE(exists("logs/app.log"));
    expectNoTrace();
}

TEST_F(ClearAction, RunsTheClearCommandAndNotTheTool) {
    EXPECT_EQ(clearByTool("<args>touch collected</args><stdout/>" + clearCommand("touch cleared")), 0u);
    EXPECT_TRUE(exists("cleared"));
    EXPECT_FALSE(exists("collected"));
    expectNoTrace();
}

TEST_F(ClearAction, RunsNothingWithoutAClearCommand) {
    EXPECT_EQ(clearByTool("<args>touch collected</args><stdout/>"), 0u);
    EXPECT_FALSE(exists("collected"));
    EXPECT_THAT(m_listener.reports(), IsEmpty());
    expectNoTrace();
}

TEST_F(ClearAction, GivesAClearCommandItsParametersAsOneArgument) {
    static_cast<void>(argumentsTool("wipe"));
    EXPECT_EQ(clearByTool(toolsFolder() + "<stdout/>" + clearCommand("wipe -a 'b c' *; echo")), 0u);
    EXPECT_EQ(readFile("arguments"), "1\n[-a 'b c' *; echo]\n");
}

TEST_F(ClearAction, TakesAClearCommandAsItStands) {
    static_cast<void>(argumentsTool("wipe"));
    EXPECT_EQ(clearByTool(toolsFolder() + "<args replace_args=\"true\">x</args>" +
                          clearCommand("wipe $HOME/x [BUNDLE_DIR] [USER]")),
              0u);
    EXPECT_EQ(readFile("arguments"), "1\n[$HOME/x [BUNDLE_DIR] [USER]]\n");
    expectNoTrace();
}

TEST_F(ClearAction, ReadsVariablesInTheFolderOfAClearCommand) {
    static_cast<void>(argumentsTool("wipe"));
    EXPECT_EQ(clearByTool("<path>$HOME/tools</path>" + clearCommand("wipe")), 0u);
    EXPECT_EQ(readFile("arguments"), "1\n[]\n");
}

TEST_F(ClearAction, RunsAClearCommandWithAFolderOfItsOwn) {
    EXPECT_EQ(clearByTool("<args>collect -a</args>" + clearCommand(argumentsTool("wipe") + " -c")), 0u);
    EXPECT_EQ(readFile("arguments"), "1\n[-c]\n");
}

TEST_F(ClearAction, FindsNoAbsoluteClearCommandBelowTheToolsFolder) {
    EXPECT_EQ(clearByTool(toolsFolder() + clearCommand(argumentsTool("wipe"))), 0u);
    EXPECT_FALSE(exists("arguments"));
    expectNoTrace();
}

TEST_F(ClearAction, LooksForAClearCommandInTheFolderOfTheTool) {
    static_cast<void>(argumentsTool("wipe"));
    EXPECT_EQ(clearByTool("<args>" + path("tools/collect") + " -a</args>" + clearCommand("wipe -c")), 0u);
    EXPECT_EQ(readFile("arguments"), "1\n[-c]\n");
}

TEST_F(ClearAction, NeverUsesAdministratorArguments) {
    static_cast<void>(argumentsTool("wipe"));
    EXPECT_EQ(clearByTool("<args>" + path("tools/collect") + "</args><admin_args>" +
                              path("elsewhere/collect") + "</admin_args>" + clearCommand("wipe"),
                          true),
              0u);
    EXPECT_TRUE(exists("arguments")) << "the folder is that of the plain arguments";
}

TEST_F(ClearAction, TakesTheLastOfSeveralClearCommands) {
    EXPECT_EQ(clearByTool(clearCommand("touch first") + clearCommand("touch last") +
                          "<clear_log apply=\"no\">touch none</clear_log>"),
              0u);
    EXPECT_TRUE(exists("last"));
    EXPECT_FALSE(exists("first"));
    EXPECT_FALSE(exists("none"));
}

TEST_F(ClearAction, RunsAnEmptyClearCommandToNoEffect) {
    EXPECT_EQ(clearByTool(kClear), 0u);
    EXPECT_EQ(clearByTool(toolsFolder() + kClear), 0u);
    expectNoTrace();
    EXPECT_FALSE(hasChildren());
}

struct ClearEnding {
    const char* name;
    const char* commandLine;
};

class ClearCommandEnding : public ClearAction, public ::testing::WithParamInterface<ClearEnding> {};

TEST_P(ClearCommandEnding, StopsNothing) {
    static_cast<void>(tool("failing", "exit 5"));
    static_cast<void>(tool("killed", "while [ ! -e go ]; do sleep 0.05; done; kill -KILL $$"));
    m_listener.onMessage("Processing VPN logs...", [this] { writeFile("go", ""); });
    clear("<use_extern_action><action>" + toolsFolder() + clearCommand(GetParam().commandLine) +
          "</action><action>" + clearCommand("touch done") + "</action></use_extern_action>");
    EXPECT_TRUE(exists("done"));
    expectNoTrace();
}

INSTANTIATE_TEST_SUITE_P(Kinds, ClearCommandEnding,
                         ::testing::Values(ClearEnding{"ExitCode", "failing"},
                                           ClearEnding{"Signal", "killed"},
                                           ClearEnding{"MissingProgram", "none"}, ClearEnding{"Empty", ""}),
                         [](const auto& ending) { return std::string(ending.param.name); });

TEST_F(ClearAction, MissesTheSummaryForACommandThatCannotBeStartedAndGoesOn) {
    withoutNewProcesses([this] {
        EXPECT_EQ(clearByTool(clearCommand("wipe -a")), 0u);
        EXPECT_TRUE(m_log.containsCode('E', "callExtern", "CProcessApi::Launch", 0xFE2B003A)) << m_log.dump();
        EXPECT_TRUE(m_log.contains('E', "pXMLSummary is NULL")) << m_log.dump();
        EXPECT_FALSE(m_log.contains('E', "MEROAction::callExtern")) << m_log.dump();
    });
}

TEST_F(ClearAction, ReportsAClearCommandThatTakesLong) {
    static_cast<void>(tool("slow", "while [ ! -e go ]; do sleep 0.05; done; sleep 0.3"));
    const std::string running = "Still running slow, please be patient as this may take a few minutes...";
    m_listener.onMessage(running, [this] { writeFile("go", ""); });
    EXPECT_EQ(clearByTool(toolsFolder() + clearCommand("slow")), 0u);
    ASSERT_GE(m_listener.reports().size(), 2u);
    EXPECT_EQ(m_listener.reports()[0], step(46, "Processing VPN logs..."));
    EXPECT_EQ(m_listener.reports()[1], step(46, running));
}

TEST_F(ClearAction, StopsOnlyTheInstructionWithAnUnknownChild) {
    const std::string log = writeFile("logs/app.log", "text");
    EXPECT_EQ(clearByTool(clearCommand("touch refused") + "<unknown/>"), 0xFEB00012u);
    clear("<use_extern_action><action>" + clearCommand("touch refused") + "<unknown/></action><action>" +
          clearCommand("touch done") + "</action></use_extern_action><file_copy_action><action><unknown/>" +
          loc(log) + kClear + "</action></file_copy_action>");
    EXPECT_FALSE(exists("refused"));
    EXPECT_TRUE(exists("done"));
    EXPECT_FALSE(exists("logs/app.log")) << "files may stand beside what is unknown";
    EXPECT_TRUE(m_log.containsCode('E', "Perform", "MEROAction::performExternalAction", 0xFEB00012))
        << m_log.dump();
    EXPECT_THAT(m_found, IsEmpty());
}

TEST_F(ClearAction, LeavesTheOutputOfToolsAlone) {
    const std::string out = writeFile("out.txt", "kept");
    clear("<use_extern_action><action><args>x</args><temp_out>" + out + "</temp_out>" +
          clearCommand("touch done") + "</action></use_extern_action>");
    EXPECT_TRUE(exists("done"));
    EXPECT_EQ(readFile("out.txt"), "kept");
    EXPECT_THAT(m_found, IsEmpty());
}

TEST_F(ClearAction, MakesNeitherRecordsNorFolders) {
    m_found.emplace_back();
    const std::string log = writeFile("logs/app.log", "text");
    clear("<file_copy_action><action>" + loc(log) + kClear +
          "</action></file_copy_action><directory_copy_action><action>" + loc(path("logs")) +
          "</action></directory_copy_action><use_extern_action><action><args>echo x</args><stdout/>" +
          clearCommand("true") + "</action></use_extern_action>");
    EXPECT_EQ(m_found.size(), 1u);
    EXPECT_TRUE(fs::is_empty(path("logs")));
    EXPECT_TRUE(fs::is_empty(path("bundle")));
}
