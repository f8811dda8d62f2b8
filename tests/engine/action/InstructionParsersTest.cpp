#include "Common/Utility/ReturnCodes.h"
#include "tests/engine/action/ActionTest.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Paths.h"
#include "tools/MERO/MEROEngine/implementations/MEROAction.h"

#include <gmock/gmock.h>

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;

namespace {

/// Opens the parsers to the tests.
class ParserProbe : public MEROAction {
public:
    explicit ParserProbe(const MEROActionInfo& info) : MEROAction(info, nullptr, false) {}
    using MEROAction::getPath;
    using MEROAction::parseDirectoryActionAttributes;
    using MEROAction::parseExternalActionAttributes;
    using MEROAction::parseFileActionAttributes;

    uint32_t performFileAction(MEROXmlObject& /*subtree*/, std::list<MEROCollectedFile>& /*found*/) override {
        return 0;
    }
    uint32_t performDirectoryAction(MEROXmlObject& /*subtree*/,
                                    std::list<MEROCollectedFile>& /*found*/) override {
        return 0;
    }
    uint32_t performExternalAction(MEROXmlObject& /*subtree*/, std::list<MEROCollectedFile>& /*found*/,
                                   std::list<std::string>& /*tempFiles*/) override {
        return 0;
    }
};

constexpr const char* kNestedPath =
    "Internal Error: unexpected further nested tags inside the <path></path> tag pairs in <action></action>.";
constexpr const char* kNestedArgs =
    "Internal Error: unexpected further nested tags inside the <args></args> or <admin_args></admin_args> "
    "tag pairs in <action></action>.";
constexpr const char* kNestedTempOut = "Internal Error: unexpected further nested tags inside the "
                                       "<temp_out></temp_out> tag pairs in <action></action>";

} // namespace

class FileInstructionParser : public ActionTest {
protected:
    uint32_t read(const std::string& children) {
        MEROXmlObject subtree = instruction("<action>" + children + "</action>");
        return m_parser.parseFileActionAttributes(subtree, m_attrs);
    }

    ParserProbe m_parser{m_info};
    FileActionAttrs m_attrs;
};

TEST_F(FileInstructionParser, RefusesASubtreeWithoutRoot) {
    MEROXmlObject empty;
    EXPECT_EQ(m_parser.parseFileActionAttributes(empty, m_attrs), 0xFEB00002u);
    EXPECT_TRUE(m_log.contains('E', "rXMLActionSubtree.GetRoot() is NULL"));
    EXPECT_TRUE(m_log.contains('E', "Function: parseFileActionAttributes\n")) << m_log.dump();
}

TEST_F(FileInstructionParser, LeavesEverythingOffInAnEmptyInstruction) {
    ASSERT_EQ(read(""), 0u);
    EXPECT_EQ(m_attrs.path, "");
    EXPECT_EQ(m_attrs.translatedPath, "");
    EXPECT_EQ(m_attrs.truncateType, "");
    EXPECT_FALSE(m_attrs.gatherNewest);
    EXPECT_FALSE(m_attrs.clearLog);
}

TEST_F(FileInstructionParser, ReadsAndTranslatesThePath) {
    setEnvironment("MERO_TEST_LOGS", "/srv/logs");
    ASSERT_EQ(read("<loc>$MERO_TEST_LOGS/app*.log</loc>"), 0u);
    EXPECT_EQ(m_attrs.path, "$MERO_TEST_LOGS/app*.log");
    EXPECT_EQ(m_attrs.translatedPath, "/srv/logs/app*.log");
}

TEST_F(FileInstructionParser, TakesTheLastPathAndKeepsAGatherNewestSeenOnce) {
    ASSERT_EQ(read("<loc gather_newest=\"true\">/a/first</loc><loc>/b/last</loc>"), 0u);
    EXPECT_EQ(m_attrs.path, "/b/last");
    EXPECT_EQ(m_attrs.translatedPath, "/b/last");
    EXPECT_TRUE(m_attrs.gatherNewest);
}

TEST_F(FileInstructionParser, ComparesGatherNewestExactly) {
    for (const char* value : {"TRUE", "True", "1", "yes", "", "truee"}) {
        m_attrs = {};
        ASSERT_EQ(read(std::string("<loc gather_newest=\"") + value + "\">/a/b</loc>"), 0u);
        EXPECT_FALSE(m_attrs.gatherNewest) << value;
    }
    ASSERT_EQ(read("<loc Gather_newest=\"true\">/a/b</loc>"), 0u);
    EXPECT_FALSE(m_attrs.gatherNewest);
}

TEST_F(FileInstructionParser, ComparesApplyExactlyAndKeepsItOnceSeen) {
    ASSERT_EQ(read("<clear_log apply=\"TRUE\"/><clear_log apply=\"True\"/><clear_log/>"), 0u);
    EXPECT_FALSE(m_attrs.clearLog);
    ASSERT_EQ(read("<clear_log apply=\"true\"/><clear_log apply=\"false\"/>"), 0u);
    EXPECT_TRUE(m_attrs.clearLog);
}

TEST_F(FileInstructionParser, FindsTheTruncateTypeAtAnyDepth) {
    ASSERT_EQ(read("<loc>/a/b</loc><group><truncate_type>Truncate end</truncate_type></group>"), 0u);
    EXPECT_EQ(m_attrs.truncateType, "Truncate end");
    ASSERT_EQ(read("<loc>/a/b</loc>"), 0u);
    EXPECT_EQ(m_attrs.truncateType, "");
}

TEST_F(FileInstructionParser, PassesOverUnknownChildrenWithoutALogLine) {
    ASSERT_EQ(read("<Loc>/wrong</Loc><location>/wrong</location><loc>/a/b</loc><lo>/wrong</lo><pattern>*"
                   "</pattern><deeper><loc>/wrong</loc></deeper>"),
              0u);
    EXPECT_EQ(m_attrs.path, "/a/b");
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
}

class DirectoryInstructionParser : public ActionTest {
protected:
    uint32_t read(const std::string& children) {
        MEROXmlObject subtree = instruction("<action>" + children + "</action>");
        return m_parser.parseDirectoryActionAttributes(subtree, m_attrs);
    }

    ParserProbe m_parser{m_info};
    DirectoryActionAttrs m_attrs;
};

TEST_F(DirectoryInstructionParser, RefusesASubtreeWithoutRoot) {
    MEROXmlObject empty;
    EXPECT_EQ(m_parser.parseDirectoryActionAttributes(empty, m_attrs), 0xFEB00002u);
    EXPECT_TRUE(m_log.contains('E', "rXMLActionSubtree.GetRoot() is NULL"));
    EXPECT_TRUE(m_log.contains('E', "Function: parseDirectoryActionAttributes\n")) << m_log.dump();
}

TEST_F(DirectoryInstructionParser, ReadsPatternsInOrderAndEndsThePathInASlash) {
    setEnvironment("MERO_TEST_LOGS", "/srv/logs");
    ASSERT_EQ(read("<pattern>*.log</pattern><loc>$MERO_TEST_LOGS/app</loc><pattern>*.LOG</pattern>"), 0u);
    EXPECT_THAT(m_attrs.patterns, ElementsAre("*.log", "*.LOG"));
    EXPECT_EQ(m_attrs.path, "$MERO_TEST_LOGS/app/");
    EXPECT_EQ(m_attrs.translatedPath, "/srv/logs/app/");
}

TEST_F(DirectoryInstructionParser, TranslatesAPathOfAVariableAlone) {
    setEnvironment("MERO_TEST_LOGS", "/srv/logs");
    ASSERT_EQ(read("<loc>$MERO_TEST_LOGS</loc>"), 0u);
    EXPECT_EQ(m_attrs.translatedPath, "/srv/logs/");
}

TEST_F(DirectoryInstructionParser, AddsNoSecondSlashAndNoneToAnEmptyPath) {
    ASSERT_EQ(read("<loc>/a/</loc>"), 0u);
    EXPECT_EQ(m_attrs.path, "/a/");
    ASSERT_EQ(read("<loc></loc>"), 0u);
    EXPECT_EQ(m_attrs.path, "");
    EXPECT_EQ(m_attrs.translatedPath, "");
}

TEST_F(DirectoryInstructionParser, RefusesAnyOtherChild) {
    for (const char* child : {"<clear_log apply=\"true\"/>", "<Loc>/a</Loc>", "<truncate_type/>"}) {
        EXPECT_EQ(read(std::string("<loc>/a</loc>") + child), 0xFEB00009u) << child;
    }
    EXPECT_EQ(m_log.count('E', "Unexpected xml child for directory_copy_action."), 3) << m_log.dump();
    EXPECT_TRUE(m_log.contains('E', "Function: parseDirectoryActionAttributes\n")) << m_log.dump();
}

class ExternalInstructionParser : public ActionTest {
protected:
    uint32_t read(const std::string& children, bool adminRun = false) {
        MEROXmlObject subtree = instruction("<action>" + children + "</action>");
        return m_parser.parseExternalActionAttributes(subtree, adminRun, m_attrs);
    }

    ParserProbe m_parser{m_info};
    ExternalActionAttrs m_attrs;
};

TEST_F(ExternalInstructionParser, RefusesASubtreeWithoutRoot) {
    m_attrs.path = "left over";
    MEROXmlObject empty;
    EXPECT_EQ(m_parser.parseExternalActionAttributes(empty, false, m_attrs), 0xFEB00002u);
    EXPECT_EQ(m_attrs.path, "");
    EXPECT_TRUE(m_log.contains('E', "rXMLActionSubtree.GetRoot() is NULL"));
    EXPECT_TRUE(m_log.contains('E', "Function: parseExternalActionAttributes\n")) << m_log.dump();
}

TEST_F(ExternalInstructionParser, EmptiesAllFieldsFirst) {
    m_attrs = {"a", "b", "c", "d", "e", "f", "g", "h", true, true, true};
    ASSERT_EQ(read(""), 0u);
    for (const std::string* text :
         {&m_attrs.commandName, &m_attrs.path, &m_attrs.arguments, &m_attrs.tempOut, &m_attrs.outputName,
          &m_attrs.tagName, &m_attrs.clearArguments, &m_attrs.baseName}) {
        EXPECT_EQ(*text, "");
    }
    EXPECT_FALSE(m_attrs.clearLog || m_attrs.captureStdout || m_attrs.replaceArguments);
}

TEST_F(ExternalInstructionParser, ReadsAWholeInstruction) {
    ASSERT_EQ(read("<path>/opt/tools</path><args replace_args=\"true\">lsusb.sh -v [BUNDLE_DIR]</args>"
                   "<stdout>not read</stdout><temp_out>usb.txt</temp_out>"
                   "<clear_log apply=\"true\">lsusb.sh --clear</clear_log>"),
              0u);
    EXPECT_EQ(m_attrs.path, "/opt/tools");
    EXPECT_EQ(m_attrs.arguments, "lsusb.sh -v [BUNDLE_DIR]");
    EXPECT_EQ(m_attrs.commandName, "lsusb.sh");
    EXPECT_EQ(m_attrs.baseName, "lsusb");
    EXPECT_EQ(m_attrs.tempOut, "usb.txt");
    EXPECT_EQ(m_attrs.clearArguments, "lsusb.sh --clear");
    EXPECT_EQ(m_attrs.tagName, "clear_log");
    EXPECT_EQ(m_attrs.outputName, "");
    EXPECT_TRUE(m_attrs.captureStdout);
    EXPECT_TRUE(m_attrs.replaceArguments);
    EXPECT_TRUE(m_attrs.clearLog);
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
}

TEST_F(ExternalInstructionParser, ComparesSwitchesExactly) {
    ASSERT_EQ(read("<args replace_args=\"TRUE\">a</args><clear_log apply=\"True\">b</clear_log>"), 0u);
    EXPECT_FALSE(m_attrs.replaceArguments);
    EXPECT_FALSE(m_attrs.clearLog);
    EXPECT_EQ(m_attrs.clearArguments, "");
}

TEST_F(ExternalInstructionParser, KeepsReplaceArgsSeenOnce) {
    ASSERT_EQ(read("<args replace_args=\"true\">a</args><args>b</args>"), 0u);
    EXPECT_EQ(m_attrs.arguments, "b");
    EXPECT_TRUE(m_attrs.replaceArguments);
}

TEST_F(ExternalInstructionParser, RefusesAnUnknownChildAndStopsThere) {
    EXPECT_EQ(read("<path>/opt</path><loc>/a</loc><stdout/>"), 0xFEB00012u);
    EXPECT_TRUE(m_log.contains('E', "Internal Error: Unrecognized XML tag.")) << m_log.dump();
    EXPECT_TRUE(m_log.contains('E', "Function: parseExternalActionAttributes\n")) << m_log.dump();
    EXPECT_EQ(m_attrs.tagName, "loc");
    EXPECT_EQ(m_attrs.path, "/opt");
    EXPECT_FALSE(m_attrs.captureStdout);
}

struct LeafTag {
    std::string name;
    const char* message;
};

class ExternalLeafTag : public ExternalInstructionParser, public ::testing::WithParamInterface<LeafTag> {};

TEST_P(ExternalLeafTag, MustNotHaveChildren) {
    const std::string& name = GetParam().name;
    EXPECT_EQ(read("<" + name + ">text<x/></" + name + "><stdout/>", true), 0xFEB00011u);
    ASSERT_EQ(m_log.lines().size(), 1u) << m_log.dump();
    EXPECT_EQ(m_log.lines().front().severity, 'E');
    // The whole text, up to the end of the line: one of them has no full stop.
    EXPECT_THAT(m_log.lines().front().text, EndsWith(GetParam().message));
    EXPECT_TRUE(m_log.contains('E', "Function: parseExternalActionAttributes\n")) << m_log.dump();
    EXPECT_EQ(m_attrs.tagName, name);
    EXPECT_FALSE(m_attrs.captureStdout);
}

INSTANTIATE_TEST_SUITE_P(Tags, ExternalLeafTag,
                         ::testing::Values(LeafTag{"path", kNestedPath}, LeafTag{"plugin", kNestedPath},
                                           LeafTag{"regis", kNestedPath}, LeafTag{"regis64", kNestedPath},
                                           LeafTag{"args", kNestedArgs}, LeafTag{"admin_args", kNestedArgs},
                                           LeafTag{"temp_out", kNestedTempOut}),
                         [](const auto& tag) { return tag.param.name; });

TEST_F(ExternalInstructionParser, LetsStdoutAndClearLogHaveChildren) {
    ASSERT_EQ(read("<stdout><x/></stdout><clear_log apply=\"true\">run it<x/></clear_log>"), 0u);
    EXPECT_TRUE(m_attrs.captureStdout);
    EXPECT_TRUE(m_attrs.clearLog);
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
}

TEST_F(ExternalInstructionParser, LeavesArgumentsEmptyForAdminArgsAloneOnAnOrdinaryRun) {
    ASSERT_EQ(read("<admin_args replace_args=\"true\">/sbin/tool -a</admin_args>"), 0u);
    EXPECT_EQ(m_attrs.arguments, "");
    EXPECT_EQ(m_attrs.commandName, "");
    EXPECT_EQ(m_attrs.baseName, "");
    EXPECT_EQ(m_attrs.path, "");
    EXPECT_FALSE(m_attrs.replaceArguments);
    EXPECT_EQ(m_attrs.tagName, "admin_args");
}

TEST_F(ExternalInstructionParser, LetsAdminArgsWinInAnyOrderOnAnAdministratorRun) {
    for (const char* children : {"<args>plain -p</args><admin_args>admin -a</admin_args>",
                                 "<admin_args>admin -a</admin_args><args>plain -p</args>"}) {
        ASSERT_EQ(read(children, true), 0u);
        EXPECT_EQ(m_attrs.arguments, "admin -a") << children;
        EXPECT_EQ(m_attrs.commandName, "admin");
        ASSERT_EQ(read(children, false), 0u);
        EXPECT_EQ(m_attrs.arguments, "plain -p") << children;
        EXPECT_EQ(m_attrs.commandName, "plain");
    }
}

TEST_F(ExternalInstructionParser, TakesPlainArgsOnAnAdministratorRunWithoutAdminArgs) {
    ASSERT_EQ(read("<args>plain -p</args>", true), 0u);
    EXPECT_EQ(m_attrs.arguments, "plain -p");
}

TEST_F(ExternalInstructionParser, DoesNotLookAtTheSwitchOfSkippedArguments) {
    ASSERT_EQ(read("<admin_args>admin</admin_args><args replace_args=\"true\">plain</args>", true), 0u);
    EXPECT_FALSE(m_attrs.replaceArguments);
}

TEST_F(ExternalInstructionParser, ChecksSkippedArgumentsForNestedTagsAllTheSame) {
    EXPECT_EQ(read("<admin_args>a<x/></admin_args>", false), 0xFEB00011u);
    EXPECT_EQ(read("<admin_args>a</admin_args><args>b<x/></args>", true), 0xFEB00011u);
    EXPECT_EQ(m_log.count('E', kNestedArgs), 2) << m_log.dump();
}

struct CommandLine {
    const char* path;
    const char* arguments;
    const char* commandName;
    const char* baseName;
    const char* resultingPath;
};

class ExternalCommandLine : public ExternalInstructionParser,
                            public ::testing::WithParamInterface<CommandLine> {};

TEST_P(ExternalCommandLine, IsTakenApart) {
    const CommandLine& line = GetParam();
    ASSERT_EQ(read(std::string("<path>") + line.path + "</path><args>" + line.arguments + "</args>"), 0u);
    EXPECT_EQ(m_attrs.arguments, line.arguments);
    EXPECT_EQ(m_attrs.commandName, line.commandName);
    EXPECT_EQ(m_attrs.baseName, line.baseName);
    EXPECT_EQ(m_attrs.path, line.resultingPath);
}

INSTANTIATE_TEST_SUITE_P(
    Forms, ExternalCommandLine,
    ::testing::Values(
        // No folder part: the path stays as it is, its slashes too.
        CommandLine{"", "lsusb.sh -v", "lsusb.sh", "lsusb", ""},
        CommandLine{"/opt/tools//", "lsusb.sh", "lsusb.sh", "lsusb", "/opt/tools//"},
        // A folder part becomes the path, or goes behind it with exactly one slash.
        CommandLine{"", "/usr/bin/lsusb.sh -v", "lsusb.sh", "lsusb", "/usr/bin"},
        CommandLine{"/opt", "bin/tool -x /y/z", "tool", "tool", "/opt/bin"},
        CommandLine{"/opt//", "//bin/tool", "tool", "tool", "/opt/bin"},
        CommandLine{"///", "bin/tool", "tool", "tool", "/bin"},
        // A program directly in "/" has an empty folder part, which isn't the program's name.
        CommandLine{"", "/tool", "tool", "tool", ""}, CommandLine{"/opt", "/tool", "tool", "tool", "/opt/"},
        // A folder part that reads like the program counts as none.
        CommandLine{"/opt", "tool/tool -x", "tool", "tool", "/opt"},
        // Names: the run of dots before the last extension goes too.
        CommandLine{"", "a.b.c", "a.b.c", "a.b", ""}, CommandLine{"", "a..sh", "a..sh", "a", ""},
        CommandLine{"", ".profile", ".profile", "", ""}, CommandLine{"", "bin/", "", "", "bin"},
        // Nothing to run.
        CommandLine{"/opt", "", "", "", "/opt"}));

TEST_F(ExternalInstructionParser, TakesACommandLineWithALeadingBlankForTheCommandsName) {
    MEROXmlObject subtree("action", "");
    subtree.addComponent(subtree.GetRoot(), "args", " bin/tool.sh -v");
    ASSERT_EQ(m_parser.parseExternalActionAttributes(subtree, false, m_attrs), 0u);
    EXPECT_EQ(m_attrs.arguments, " bin/tool.sh -v");
    EXPECT_EQ(m_attrs.commandName, " bin/tool.sh -v");
    EXPECT_EQ(m_attrs.baseName, " bin/tool");
    EXPECT_EQ(m_attrs.path, "");
}

TEST_F(ExternalInstructionParser, LosesThePathToALaterRegis) {
    ASSERT_EQ(read("<path>/opt</path><regis>HKLM</regis><args>tool</args>"), 0u);
    EXPECT_EQ(m_attrs.path, "");
    EXPECT_TRUE(m_log.contains('E', "pDC is of unknown type \"regis\"")) << m_log.dump();
}

TEST_F(ExternalInstructionParser, TakesTheLastOfSeveralPaths) {
    ASSERT_EQ(read("<regis64>HKLM</regis64><plugin>p</plugin><path>/opt</path>"), 0u);
    EXPECT_EQ(m_attrs.path, "/opt");
}

class ToolPath : public ActionTest {
protected:
    [[nodiscard]] std::string of(const std::string& name, const std::string& text) const {
        const MEROComponent element(name, text);
        return m_parser.getPath(&element);
    }

    ParserProbe m_parser{m_info};
};

TEST_F(ToolPath, IsEmptyForNull) {
    EXPECT_EQ(m_parser.getPath(nullptr), "");
    EXPECT_TRUE(m_log.contains('E', "pDC is NULL"));
    EXPECT_TRUE(m_log.contains('E', "Function: getPath\n")) << m_log.dump();
}

TEST_F(ToolPath, IsThePathElementsTextAsItStands) {
    EXPECT_EQ(of("path", "/opt/tools/"), "/opt/tools/");
    EXPECT_EQ(of("path", "$HOME/bin"), "$HOME/bin");
    EXPECT_EQ(of("path", ""), "");
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
}

TEST_F(ToolPath, IsThePluginFolderBesideTheProgram) {
    EXPECT_EQ(of("plugin", ""), helperUtil::getExecutableDirectory() + "./plugin");
    EXPECT_EQ(of("plugin", "usb"), helperUtil::getExecutableDirectory() + "./plugin/usb");
}

TEST_F(ToolPath, IsEmptyForAnyOtherElementWhichIsLogged) {
    for (const char* name : {"regis", "regis64", "Path"}) {
        EXPECT_EQ(of(name, "/opt"), "") << name;
        EXPECT_TRUE(m_log.contains('E', std::string("pDC is of unknown type \"") + name + "\""))
            << m_log.dump();
    }
}

TEST_F(ToolPath, LosesOnePairOfQuotes) {
    EXPECT_EQ(of("path", "\"/opt/x y\""), "/opt/x y");
    EXPECT_EQ(of("path", "\"a\""), "a");
    EXPECT_EQ(of("path", "\"\"\""), "\"");
    EXPECT_EQ(of("path", "\"\"/opt\"\""), "\"/opt\"");
}

TEST_F(ToolPath, KeepsQuotesThatDoNotEncloseSomething) {
    EXPECT_EQ(of("path", "\"\""), "\"\"");
    EXPECT_EQ(of("path", "\""), "\"");
    EXPECT_EQ(of("path", "\"/opt"), "\"/opt");
    EXPECT_EQ(of("path", "/opt\""), "/opt\"");
}
