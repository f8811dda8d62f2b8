#include "Common/Utility/ReturnCodes.h"
#include "tests/engine/action/ToolTest.h"
#include "tests/support/InChild.h"
#include "tests/support/Processes.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// What becomes of the output of tools.
class ToolCollection : public ToolTest {
protected:
    /// The code of a tool instruction with these children.
    uint32_t perform(const std::string& children, bool adminRun = false) {
        MEROXmlObject subtree = instruction("<action>" + children + "</action>");
        return MEROCollectLogsAction(m_info, nullptr, adminRun)
            .performExternalAction(subtree, m_found, m_tempFiles);
    }
    [[nodiscard]] static std::string args(const std::string& commandLine) {
        return "<args>" + commandLine + "</args>";
    }
    /// The children that run a tool of `tools`, whose output is not taken.
    [[nodiscard]] std::string launched(const std::string& commandLine) const {
        return "<path>" + path("tools") + "</path>" + args(commandLine);
    }
    [[nodiscard]] static std::string tempOut(const std::string& file) {
        return "<temp_out>" + file + "</temp_out>";
    }
    /// Instructions of one element, each given by its children.
    [[nodiscard]] static std::string element(const std::vector<std::string>& instructions) {
        std::string text = "<use_extern_action>";
        for (const std::string& children : instructions) {
            text.append("<action>").append(children).append("</action>");
        }
        return text + "</use_extern_action>";
    }

    /// One record came, for a file of the item's folder and of this size.
    void expectRecord(const std::string& name, double size) {
        ASSERT_EQ(m_found.size(), 1u) << m_log.dump();
        const MEROCollectedFile& record = m_found.front();
        EXPECT_EQ(record.id, "vpn-logs");
        EXPECT_EQ(record.path, path("bundle/" + name));
        EXPECT_EQ(record.description, "VPN logs");
        EXPECT_EQ(record.fileSize, size);
        EXPECT_EQ(record.truncateType, 4);
        EXPECT_EQ(record.totalAllowedSize, 0.0);
        EXPECT_EQ(record.defaultTruncateType, 4);
    }
    /// One record came, for a file of the item's folder with this content.
    void expectContent(const std::string& name, const std::string& content) {
        expectRecord(name, static_cast<double>(content.size()));
        EXPECT_EQ(readFile("bundle/" + name), content);
    }
    /// The fetching of `source` has failed so, and nothing came.
    void expectNotFetched(const std::string& source, const std::string& fileName,
                          const std::string& error) const {
        EXPECT_THAT(omitted(), ElementsAre(row(fileName, "MERO cannot access temporary output at: " + source +
                                                             " as specified by Config" + error)));
        EXPECT_THAT(m_found, IsEmpty());
        EXPECT_THAT(m_tempFiles, IsEmpty());
        EXPECT_FALSE(m_log.contains('E', "MEROAction::callExtern")) << m_log.dump();
    }

    std::list<MEROCollectedFile> m_found;
    std::list<std::string> m_tempFiles;
};

TEST_F(ToolCollection, ReportsWhatCannotBeFetchedOfAFolder) {
    static_cast<void>(tool("writer.sh", "mkdir '" + path("out") + "' && echo good > '" + path("out") +
                                            "/good.txt' && mkfifo '" + path("out") + "/pipe'"));
    EXPECT_EQ(perform(launched("writer.sh") + tempOut(path("out"))), 0u);
    EXPECT_EQ(readFile("bundle/out/good.txt"), "good\n");
    EXPECT_THAT(omitted(), ElementsAre(row("pipe", path("out/pipe") + " Error occurred opening the file: " +
                                                       std::generic_category().message(ENOTDIR))));
}

TEST_F(ToolCollection, NamesAnOutputAfterItsTool) {
    const std::string line = tool("lsusb.sh", "echo \"usb $1\"") + " -v";
    EXPECT_EQ(perform(args(line) + "<stdout/>"), 0u);
    expectContent("lsusb_result.txt", banner(line) + "usb -v\n");
    EXPECT_THAT(m_tempFiles, IsEmpty());
    EXPECT_THAT(omitted(), IsEmpty());
}

TEST_F(ToolCollection, NamesAnOutputAfterAToolWithSeveralDots) {
    const std::string line = tool("net.stat.v2", "echo net");
    EXPECT_EQ(perform(args(line) + "<stdout/>"), 0u);
    expectContent("net.stat_result.txt", banner(line) + "net\n");
}

TEST_F(ToolCollection, NamesAnOutputAfterNothingForAToolWithoutABaseName) {
    const std::string line = tool(".hidden", "echo hidden");
    EXPECT_EQ(perform(args(line) + "<stdout/>"), 0u);
    expectContent("_result.txt", banner(line) + "hidden\n");
}

TEST_F(ToolCollection, NamesAnOutputAsItsItemSays) {
    m_info.name = "usb.txt";
    EXPECT_EQ(perform(args("echo one") + "<stdout/>"), 0u);
    expectContent("usb.txt", banner("echo one") + "one\n");
}

TEST_F(ToolCollection, PutsSeveralToolsOfAnItemIntoItsFile) {
    m_info.name = "usb.txt";
    const auto collected = collect(element({args("echo one") + "<stdout/>", args("false") + "<stdout/>"}) +
                                   element({args("printf three") + "<stdout/>"}));
    const std::string file = path("bundle/usb.txt");
    EXPECT_THAT(pathsOf(collected), ElementsAre(file, file, file)) << "each has a record";
    EXPECT_EQ(readFile("bundle/usb.txt"),
              banner("echo one") + "one\n" + banner("false") + banner("printf three") + "three");
    EXPECT_EQ(collected.front().fileSize, static_cast<double>((banner("echo one") + "one\n").size()));
    EXPECT_EQ(collected.back().fileSize, static_cast<double>(fs::file_size(file)));
}

TEST_F(ToolCollection, LeavesAnOutputOfABareNameInTheBundle) {
    static_cast<void>(tool("writer", "echo by the tool >bundle/out.txt"));
    m_info.name = "usb.txt";
    const auto collected = collect(element({launched("writer") + tempOut("out.txt")}));
    EXPECT_THAT(pathsOf(collected), ElementsAre(path("bundle/out.txt")));
    EXPECT_EQ(readFile("bundle/out.txt"), "by the tool\n");
    EXPECT_EQ(collected.front().fileSize, 12.0);
    EXPECT_FALSE(exists("bundle/usb.txt"));
}

TEST_F(ToolCollection, ListsNoOutputOfABareNameForDeletion) {
    EXPECT_EQ(perform(args("true") + tempOut("out.txt")), 0u);
    EXPECT_THAT(m_tempFiles, IsEmpty());
}

TEST_F(ToolCollection, TakesAnOutputOfABareName) {
    EXPECT_EQ(perform(args("echo text") + "<stdout/>" + tempOut("out.txt")), 0u);
    expectContent("out.txt", banner("echo text") + "text\n");
    EXPECT_THAT(m_tempFiles, IsEmpty());
}

TEST_F(ToolCollection, RecordsAnOutputThatTheToolHasNotMade) {
    EXPECT_EQ(perform(args("true") + tempOut("out.txt")), 0u);
    expectRecord("out.txt", -1.0);
    EXPECT_FALSE(exists("bundle/out.txt"));
    EXPECT_THAT(omitted(), IsEmpty());
}

TEST_F(ToolCollection, RecordsAnOutputThatCouldNotBeWritten) {
    fs::remove(path("bundle"));
    EXPECT_EQ(perform(args("echo text") + "<stdout/>"), 0u);
    expectRecord("echo_result.txt", -1.0);
    EXPECT_THAT(omitted(), ElementsAre(row("echo_result.txt", "The output of echo could not be kept whole")));
}

TEST_F(ToolCollection, RecordsNothingOfAToolWithoutOutput) {
    EXPECT_EQ(perform(args("touch done")), 0u);
    EXPECT_THAT(m_found, IsEmpty());
    EXPECT_THAT(m_tempFiles, IsEmpty());
    EXPECT_THAT(omitted(), IsEmpty());
    EXPECT_TRUE(exists("done"));
}

TEST_F(ToolCollection, FetchesAnOutputFromItsFolder) {
    static_cast<void>(tool("writer", "mkdir -p made; echo text >made/out.txt"));
    EXPECT_EQ(perform(launched("writer") + tempOut(path("made/out.txt"))), 0u);
    expectContent("out.txt", "text\n");
    EXPECT_THAT(m_tempFiles, ElementsAre(path("made/out.txt")));
    EXPECT_TRUE(exists("made/out.txt")) << "others of its element may want it";
}

TEST_F(ToolCollection, MergesTheNameOfAFetchedOutputWithThatOfTheItem) {
    writeFile("made/out.txt", "text");
    m_info.name = "usb.log";
    EXPECT_EQ(perform(args("true") + tempOut(path("made/out.txt"))), 0u);
    expectContent("usb__out__txt.log", "text");
}

TEST_F(ToolCollection, DeletesAFetchedOutputWhenItsElementIsDone) {
    static_cast<void>(tool("writer", "echo text >out.txt"));
    static_cast<void>(tool("witness", "test -e out.txt && echo there >>seen || echo gone >>seen"));
    const std::string out = path("out.txt");
    const auto collected = collect(element({launched("writer") + tempOut(out), launched("witness")}) +
                                   element({launched("witness")}));
    EXPECT_THAT(pathsOf(collected), ElementsAre(path("bundle/out.txt")));
    EXPECT_EQ(readFile("seen"), "there\ngone\n");
    EXPECT_FALSE(exists("out.txt"));
    EXPECT_EQ(readFile("bundle/out.txt"), "text\n");
}

TEST_F(ToolCollection, TakesAnOutputIntoAFileElsewhereAndFetchesIt) {
    makeFolder("made");
    const auto collected =
        collect(element({args("echo text") + "<stdout/>" + tempOut(path("made/all.txt")),
                         args("echo more") + "<stdout/>" + tempOut(path("made/all.txt"))}));
    EXPECT_EQ(collected.size(), 2u);
    EXPECT_EQ(readFile("bundle/all.txt"), banner("echo text") + "text\n" + banner("echo more") + "more\n");
    EXPECT_FALSE(exists("made/all.txt"));
}

TEST_F(ToolCollection, ReadsVariablesInTheNameOfAnOutput) {
    setEnvironment("OUT_FOLDER", makeFolder("made"));
    EXPECT_EQ(perform(args("echo text") + "<stdout/>" + tempOut("$OUT_FOLDER/out.txt")), 0u);
    expectContent("out.txt", banner("echo text") + "text\n");
    EXPECT_THAT(m_tempFiles, ElementsAre(path("made/out.txt")));
}

TEST_F(ToolCollection, ReplacesAnOlderFileOfTheBundleByAFetchedOne) {
    writeFile("bundle/out.txt", "older and longer");
    writeFile("made/out.txt", "new");
    EXPECT_EQ(perform(args("true") + tempOut(path("made/out.txt"))), 0u);
    expectContent("out.txt", "new");
}

TEST_F(ToolCollection, FetchesTheFileBehindALinkAndDeletesTheLink) {
    const std::string target = writeFile("target", "text");
    fs::create_symlink(target, path("out.txt"));
    static_cast<void>(collect(element({args("true") + tempOut(path("out.txt"))})));
    EXPECT_EQ(readFile("bundle/out.txt"), "text");
    EXPECT_FALSE(exists("out.txt"));
    EXPECT_EQ(readFile("target"), "text");
}

TEST_F(ToolCollection, DoesNotFollowALinkThatWaitsForTheOutput) {
    const std::string victim = writeFile("victim", "untouched");
    fs::create_symlink(victim, path("out.txt"));
    static_cast<void>(collect(element({args("echo text") + "<stdout/>" + tempOut(path("out.txt"))})));
    EXPECT_EQ(readFile("victim"), "untouched");
    EXPECT_THAT(omitted(), ElementsAre(row("out.txt", "The output of echo could not be kept whole")));
}

TEST_F(ToolCollection, TellsThatAnOutputIsMissing) {
    EXPECT_EQ(perform(args("true") + tempOut(path("made/out.txt"))), 0xFEB0000Cu);
    expectNotFetched(path("made/out.txt"), "out.txt", "");
}

TEST_F(ToolCollection, TellsWhyAnOutputCannotBeRead) {
    const std::string out = writeFile("made/out.txt", "secret");
    fs::permissions(out, fs::perms::none);
    ASSERT_EQ(::chmod(path("bundle").c_str(), 0777), 0);
    asOrdinaryUser([&] {
        EXPECT_EQ(perform(args("true") + tempOut(out)), 0xFEB0000Du);
        expectNotFetched(out, "out.txt", " Error returned:Permission denied");
    });
}

TEST_F(ToolCollection, TellsThatAnOutputIsNoFile) {
    const std::string pipe = path("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(perform(args("true") + tempOut(pipe)), 0xFEB0000Du);
    expectNotFetched(pipe, "pipe", " Error returned:" + std::string(std::strerror(ENOTDIR)));
}

TEST_F(ToolCollection, TellsThatTheBundleTakesNoOutput) {
    const std::string out = writeFile("made/out.txt", "text");
    fs::remove(path("bundle"));
    EXPECT_EQ(perform(args("true") + tempOut(out)), 0xFEB0000Du);
    expectNotFetched(out, "out.txt", "");
    EXPECT_TRUE(exists("made/out.txt"));
}

TEST_F(ToolCollection, TellsThatAnOutputHasNoName) {
    makeFolder("made");
    EXPECT_EQ(perform(args("true") + tempOut(path("made/"))), 0xFEB00009u);
    expectNotFetched(path("made/"), "", "");
    EXPECT_TRUE(exists("bundle"));
}

TEST_F(ToolCollection, LeavesAMissingOutputOutOfTheLogOfTheWalk) {
    static_cast<void>(collect(element({args("true") + tempOut(path("made/out.txt")), args("touch done")})));
    EXPECT_FALSE(m_log.contains('E', "MEROAction::performExternalAction")) << m_log.dump();
    EXPECT_TRUE(exists("done"));
}

TEST_F(ToolCollection, KeepsAnOutputThatCouldNotBeFetched) {
    const std::string out = writeFile("made/out.txt", "text");
    fs::remove(path("bundle"));
    static_cast<void>(collect(element({args("true") + tempOut(out)})));
    EXPECT_TRUE(m_log.containsCode('E', "Perform", "MEROAction::performExternalAction", 0xFEB0000D))
        << m_log.dump();
    EXPECT_EQ(readFile("made/out.txt"), "text");
}

TEST_F(ToolCollection, FetchesAWholeFolderAndLeavesIt) {
    writeFile("made/sub/a.txt", "a");
    const auto collected = collect(element({args("true") + tempOut(path("made"))}));
    EXPECT_THAT(pathsOf(collected), ElementsAre(path("bundle/made")));
    EXPECT_EQ(readFile("bundle/made/sub/a.txt"), "a");
    EXPECT_TRUE(exists("made/sub/a.txt"));
    EXPECT_TRUE(m_log.containsCode('E', "fileDelete", "unlink_file", EISDIR)) << m_log.dump();
}

TEST_F(ToolCollection, LogsAnOutputThatCouldNotBeDeleted) {
    const std::string out = writeFile("made/out.txt", "text");
    ASSERT_EQ(::chmod(path("made").c_str(), 0555), 0);
    ASSERT_EQ(::chmod(path("bundle").c_str(), 0777), 0);
    asOrdinaryUser([&] {
        const auto collected = collect(element({args("true") + tempOut(out)}));
        EXPECT_THAT(pathsOf(collected), ElementsAre(path("bundle/out.txt"))) << m_log.dump();
        EXPECT_TRUE(m_log.containsCode('E', "fileDelete", "unlink_file", EACCES)) << m_log.dump();
    });
    EXPECT_TRUE(exists("made/out.txt"));
}

TEST_F(ToolCollection, NeverLimitsTheOutputOfATool) {
    m_info.truncateType = kTruncateFront;
    m_info.totalAllowedSize = 10.0;
    EXPECT_EQ(perform(args("head -c 5000 /dev/zero") + "<stdout/>"), 0u);
    expectRecord("head_result.txt", static_cast<double>(banner("head -c 5000 /dev/zero").size() + 5000));
}

TEST_F(ToolCollection, ReplacesEveryFolderTokenIfThatIsWanted) {
    static_cast<void>(argumentsTool("note"));
    EXPECT_EQ(perform("<path>" + path("tools") +
                      "</path><args replace_args=\"true\">note -o [BUNDLE_DIR]/a [BUNDLE_DIR][BUNDLE_DIR] "
                      "[bundle_dir]</args>"),
              0u);
    const std::string folder = path("bundle");
    EXPECT_EQ(readFile("arguments"), "1\n[-o " + folder + "/a " + folder + folder + " [bundle_dir]]\n");
}

TEST_F(ToolCollection, LeavesTokensAloneUnlessThatIsWanted) {
    static_cast<void>(argumentsTool("note"));
    EXPECT_EQ(perform(launched("note [BUNDLE_DIR] [USER]")), 0u);
    EXPECT_EQ(readFile("arguments"), "1\n[[BUNDLE_DIR] [USER]]\n");
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
}

TEST_F(ToolCollection, PutsATokenOfTheFolderIntoTheOutputOfATool) {
    EXPECT_EQ(perform("<args replace_args=\"true\">ls -d [BUNDLE_DIR]</args><stdout/>"), 0u);
    expectContent("ls_result.txt", banner("ls -d " + path("bundle")) + path("bundle") + "\n");
}

TEST_F(ToolCollection, RunsNoToolThatWantsTheSessionsUser) {
    EXPECT_EQ(perform("<args replace_args=\"true\">touch done [USER]</args><stdout/>" + tempOut("out.txt")),
              0xFEB00001u);
    EXPECT_TRUE(
        m_log.containsCode('I', "performExternalAction", "helperUtil::GetSessionUsername", 0xFEB00001))
        << m_log.dump();
    EXPECT_EQ(m_log.lines().size(), 1u) << m_log.dump();
    EXPECT_THAT(omitted(), IsEmpty());
    EXPECT_THAT(m_found, IsEmpty());
    EXPECT_FALSE(exists("done"));
    EXPECT_FALSE(exists("bundle/out.txt"));
}

TEST_F(ToolCollection, ReadsVariablesInFolderCommandLineAndOutput) {
    setEnvironment("TOOLS", path("tools"));
    setEnvironment("WORD", "/some/where");
    setEnvironment("OUT", makeFolder("made"));
    static_cast<void>(tool("writer", "echo \"$1\" >made/out.txt"));
    EXPECT_EQ(perform("<path>$TOOLS/</path>" + args("writer $WORD/x") + tempOut("$OUT/out.txt")), 0u);
    expectContent("out.txt", "/some/where/x\n");
}

TEST_F(ToolCollection, ReadsVariablesOfTheFolderFirstAndOfTheOutputLast) {
    EXPECT_EQ(perform("<path>$NO_FOLDER/</path>" + args("writer $NO_WORD/x") + tempOut("$NO_OUT/out.txt")),
              0xFEB0000Cu);
    std::vector<std::string> names;
    for (const LogLine& line : m_log.lines()) {
        for (const char* name : {"NO_FOLDER", "NO_WORD", "NO_OUT"}) {
            if (line.text.find(std::string("Cannot determine environment variable ") + name + ",") !=
                std::string::npos) {
                names.emplace_back(name);
            }
        }
    }
    names.erase(std::unique(names.begin(), names.end()), names.end());
    EXPECT_THAT(names, ElementsAre("NO_FOLDER", "NO_WORD", "NO_OUT")) << m_log.dump();
    expectNotFetched("$NO_OUT/out.txt", "out.txt", "");
}

TEST_F(ToolCollection, FindsAToolInItsFolderWithAndWithoutItsOutputTaken) {
    static_cast<void>(tool("hello", "echo \"hello $*\" | tee -a said"));
    EXPECT_EQ(perform(launched("hello a b")), 0u);
    EXPECT_EQ(perform(launched("hello a b") + "<stdout/>"), 0u);
    EXPECT_EQ(readFile("said"), "hello a b\nhello a b\n");
    expectContent("hello_result.txt", banner("hello a b") + "hello a b\n");
}

TEST_F(ToolCollection, PutsTheFolderPartOfACommandLineInFrontOfItTwice) {
    static_cast<void>(tool("sub/sub/hello", "touch done"));
    static_cast<void>(tool("sub/hello", "touch other"));
    EXPECT_EQ(perform(launched("sub/hello")), 0u);
    EXPECT_TRUE(exists("done"));
    EXPECT_EQ(perform(launched("sub/hello") + "<stdout/>"), 0u);
    EXPECT_EQ(readFile("bundle/hello_result.txt"), banner("sub/hello"));
    EXPECT_FALSE(exists("other"));
}

TEST_F(ToolCollection, FindsAnAbsoluteCommandLineOnlyIfItsOutputIsTaken) {
    const std::string line = tool("hello", "echo hello; touch done");
    EXPECT_EQ(perform(args(line)), 0u) << "it ends with 238, and nobody asks";
    EXPECT_FALSE(exists("done"));
    EXPECT_THAT(m_found, IsEmpty());
    EXPECT_THAT(omitted(), IsEmpty());
    EXPECT_EQ(perform(args(line) + "<stdout/>"), 0u);
    EXPECT_TRUE(exists("done"));
    expectContent("hello_result.txt", banner(line) + "hello\n");
}

TEST_F(ToolCollection, RunsThePlainArgumentsUnlessItIsAnAdministratorsRun) {
    const std::string children = "<args>touch plain</args><admin_args>touch elevated</admin_args>";
    EXPECT_EQ(perform(children), 0u);
    EXPECT_TRUE(exists("plain"));
    EXPECT_FALSE(exists("elevated"));
    fs::remove(path("plain"));
    EXPECT_EQ(perform(children, true), 0u);
    EXPECT_TRUE(exists("elevated"));
    EXPECT_FALSE(exists("plain"));
}

TEST_F(ToolCollection, ReturnsTheParsersCodeAndRunsNothing) {
    EXPECT_EQ(perform(args("touch done") + "<unknown/>"), 0xFEB00012u);
    EXPECT_EQ(perform("<args>touch done<x/></args>"), 0xFEB00011u);
    EXPECT_FALSE(exists("done"));
    EXPECT_THAT(omitted(), IsEmpty());
    EXPECT_THAT(m_found, IsEmpty());
}

TEST_F(ToolCollection, ReturnsTheCodeOfAToolThatCouldNotBeRun) {
    EXPECT_EQ(perform("<stdout/>" + tempOut("out.txt")), 0xFE000007u);
    EXPECT_TRUE(m_log.containsCode('E', "performExternalAction", "MEROAction::callExtern", 0xFE000007))
        << m_log.dump();
    EXPECT_THAT(omitted(), ElementsAre(failedRow("")));
    EXPECT_THAT(m_found, IsEmpty());
}

TEST_F(ToolCollection, FetchesNothingOfAToolThatASignalHasEnded) {
    static_cast<void>(
        tool("killed", "echo part >out.txt; while [ ! -e go ]; do sleep 0.05; done; kill -9 $$"));
    m_listener.onMessage("Processing VPN logs...", [this] { writeFile("go", ""); });
    EXPECT_EQ(perform(launched("killed") + tempOut(path("out.txt"))), 0xFE2B002Du);
    EXPECT_TRUE(m_log.containsCode('E', "performExternalAction", "MEROAction::callExtern", 0xFE2B002D))
        << m_log.dump();
    EXPECT_THAT(m_found, IsEmpty());
    EXPECT_THAT(m_tempFiles, IsEmpty());
    EXPECT_THAT(omitted(), IsEmpty());
    EXPECT_TRUE(exists("out.txt"));
}

TEST_F(ToolCollection, CollectsTheOutputOfAToolThatFails) {
    static_cast<void>(tool("failing", "echo part >out.txt; exit 9"));
    EXPECT_EQ(perform(launched("failing") + tempOut(path("out.txt"))), 0u);
    expectContent("out.txt", "part\n");
}

TEST_F(ToolCollection, GoesOnBehindAnInstructionThatFails) {
    const auto collected = collect(element({"<unknown/>", "<stdout/>", args("echo last") + "<stdout/>"}) +
                                   "<file_copy_action><action><loc>" + writeFile("logs/a.log", "a") +
                                   "</loc></action></file_copy_action>");
    EXPECT_THAT(pathsOf(collected), ElementsAre(path("bundle/echo_result.txt"), path("bundle") + "//a.log"));
    EXPECT_TRUE(m_log.containsCode('E', "Perform", "MEROAction::performExternalAction", 0xFEB00012));
    EXPECT_TRUE(m_log.containsCode('E', "Perform", "MEROAction::performExternalAction", 0xFE000007))
        << m_log.dump();
}

TEST_F(ToolCollection, RunsWithoutASummaryToFillIn) {
    m_info.summary = nullptr;
    EXPECT_EQ(perform(args("true") + tempOut(path("made/out.txt"))), 0xFEB0000Cu);
    EXPECT_TRUE(m_log.contains('E', "pXMLSummary is NULL")) << m_log.dump();
}
