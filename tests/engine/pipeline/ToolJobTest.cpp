#include "tests/engine/pipeline/EngineRun.h"
#include "tests/support/Processes.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <initializer_list>
#include <sstream>
#include <string>
#include <string_view>

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

namespace {

std::string joined(std::initializer_list<std::string_view> parts) {
    std::string text;
    for (const std::string_view part : parts) {
        text.append(part);
    }
    return text;
}

constexpr int kConfigurations = 6;
/// Of each kind in each configuration; there are three kinds.
constexpr int kTools = 12;
constexpr int kLines = 500;

std::string asterisks() {
    return std::string(75, '*');
}

std::string banner(const std::string& commandLine) {
    std::string text = "\n\r";
    text.append(asterisks()).append("\n\"").append(commandLine).append("\" output:\n");
    text.append(asterisks()).append("\n\r\n");
    return text;
}

/// What the tools of this test print for a word.
std::string linesOf(const std::string& word) {
    std::string text;
    for (int line = 1; line <= kLines; ++line) {
        text += std::to_string(line) + " " + word + "\n";
    }
    return text;
}

/// A text with one blank for each run of white space: the summary breaks lines where its columns end.
std::string wordsOf(const std::string& text) {
    std::istringstream stream(text);
    std::string words;
    for (std::string word; stream >> word;) {
        words += word + " ";
    }
    return words;
}

} // namespace

/// Whole jobs whose items run tools.
class ToolJob : public EngineRun {
protected:
    [[nodiscard]] std::string tool(const std::string& name, const std::string& script) const {
        return writeTool(path("tools/" + name), script);
    }
    [[nodiscard]] std::string toolsFolder() const { return "<path>" + path("tools") + "</path>"; }
    /// A default item with these tool instructions, each given by its children.
    [[nodiscard]] static std::string toolItem(const std::string& id,
                                              const std::vector<std::string>& instructions,
                                              const std::string& more = {}) {
        std::string text = "<file id=\"" + id + "\"><default>true</default><description>about " + id +
                           "</description>" + more + "<mero><os opsys=\"linux\"><use_extern_action>";
        for (const std::string& children : instructions) {
            text.append("<action>").append(children).append("</action>");
        }
        return text + "</use_extern_action></os></mero></file>";
    }

    /// A word of its own for each tool of a kind, which names its output as well.
    [[nodiscard]] static std::string wordOf(const std::string& kind, int configuration, int index) {
        return kind + std::to_string(configuration) + "_" + std::to_string(index);
    }
    /// Six configurations with tools of three kinds: output taken, written to the bundle, fetched.
    void writeConfigurations() const {
        static_cast<void>(tool("talk", "awk -v n=500 -v w=\"$1\" 'BEGIN { while (i++ < n) print i, w }'"));
        static_cast<void>(tool("write", "exec tools/talk \"$(basename \"$1\")\" >\"$1\""));
        makeFolder("made");
        for (int configuration = 0; configuration < kConfigurations; ++configuration) {
            std::string items;
            for (int index = 0; index < kTools; ++index) {
                const std::string taken = wordOf("taken", configuration, index);
                const std::string placed = wordOf("placed", configuration, index);
                const std::string fetched = wordOf("fetched", configuration, index);
                const std::string elsewhere = path("made/" + fetched);
                items +=
                    toolItem(taken, {joined({toolsFolder(), "<args>talk ", taken,
                                             "</args><stdout/><temp_out>", taken, "</temp_out>"}),
                                     joined({toolsFolder(), "<args replace_args=\"true\">write [BUNDLE_DIR]/",
                                             placed, "</args><temp_out>", placed, "</temp_out>"}),
                                     joined({toolsFolder(), "<args>write ", elsewhere, "</args><temp_out>",
                                             elsewhere, "</temp_out>"})});
            }
            writeConfiguration(std::to_string(configuration) + ".xml",
                               group("Group " + std::to_string(configuration), items));
        }
    }
    void expectWholeOutputs() const {
        for (int configuration = 0; configuration < kConfigurations; ++configuration) {
            for (int index = 0; index < kTools; ++index) {
                const std::string taken = wordOf("taken", configuration, index);
                EXPECT_EQ(bundled(taken), banner("talk " + taken) + linesOf(taken));
                for (const char* kind : {"placed", "fetched"}) {
                    const std::string word = wordOf(kind, configuration, index);
                    EXPECT_EQ(bundled(word), linesOf(word));
                }
            }
        }
        EXPECT_EQ(bundledNames().size(), 3UL * kTools * kConfigurations + 1);
    }
};

TEST_F(ToolJob, BringsTheOutputsOfSixConfigurationsWhole) {
    writeConfigurations();
    EXPECT_EQ(run(), 0u);
    unpack();
    expectWholeOutputs();
    EXPECT_TRUE(fs::is_empty(path("made"))) << "what was fetched is deleted";
    EXPECT_EQ(m_log.count('E', "callExtern"), 0) << m_log.dump();
    EXPECT_THAT(leftFolders(), IsEmpty());
}

TEST_F(ToolJob, LeavesNeitherChildrenNorDescriptorsBehindTwoHundredTools) {
    writeConfigurations();
    static_assert(3 * kTools * kConfigurations >= 200);
    const std::size_t before = openDescriptors();
    EXPECT_EQ(run(), 0u);
    EXPECT_FALSE(hasChildren());
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(ToolJob, LeavesNoProcessOfAToolBehind) {
    const std::string forking = tool("forking", "sh -c 'echo $$ >child; exec sleep 600' &\n"
                                                "while [ ! -s child ]; do sleep 0.05; done; echo done");
    writeConfiguration("a.xml", group("A", toolItem("a", {"<args>" + forking + "</args><stdout/>"})));
    EXPECT_EQ(run(), 0u);
    EXPECT_FALSE(hasChildren());
    const pid_t child = pidIn(path("child"));
    EXPECT_TRUE(eventually([child] { return hasEnded(child); }));
    unpack();
    EXPECT_EQ(bundled("forking_result.txt"), banner(forking) + "done\n");
}

TEST_F(ToolJob, TellsInTheSummaryWhatItLacks) {
    const std::string missing = path("made/none.txt");
    writeConfiguration("a.xml",
                       group("A", toolItem("a", {"<args>true</args><temp_out>" + missing + "</temp_out>",
                                                 "<stdout/>", "<args>echo text</args><stdout/>"})));
    EXPECT_EQ(run(), 0u);
    unpack();
    EXPECT_THAT(bundledNames(), UnorderedElementsAre("_result.txt", "echo_result.txt", "summary.txt"));
    EXPECT_THAT(wordsOf(bundled("summary.txt")),
                AllOf(HasSubstr("a none.txt about a MERO cannot access temporary output at: " + missing +
                                " as specified by Config "),
                      HasSubstr("a N/A about a Failed to execute "), HasSubstr("a echo_result.txt about a")));
}

TEST_F(ToolJob, GoesOnForAnOutputThatNoToolHasMade) {
    writeConfiguration("a.xml", group("A", toolItem("a", {"<args>true</args><temp_out>none.txt</temp_out>",
                                                          "<args>echo text</args><stdout/>"})));
    EXPECT_EQ(run(), 0u);
    unpack();
    EXPECT_THAT(bundledNames(), UnorderedElementsAre("echo_result.txt", "summary.txt"));
    EXPECT_THAT(bundled("summary.txt"), HasSubstr("none.txt"));
}

TEST_F(ToolJob, PutsToolsOfARequestedItemIntoTheFileOfItsName) {
    writeConfiguration(
        "a.xml",
        group("A", toolItem("a", {"<args>echo one</args><stdout/>", "<args>echo two</args><stdout/>"},
                            "<name>both.txt</name>")));
    EXPECT_EQ(run(writeFile("request.xml", request({"a"}))), 0u);
    unpack();
    EXPECT_EQ(bundled("both.txt"), banner("echo one") + "one\n" + banner("echo two") + "two\n");
}

TEST_F(ToolJob, ReportsAToolWithThePercentageOfTheJob) {
    static_cast<void>(tool("slow", "while [ ! -e go ]; do sleep 0.05; done; sleep 0.3"));
    const std::string running = "Still running slow, please be patient as this may take a few minutes...";
    m_listener.onMessage(running, [this] { writeFile("go", ""); });
    writeConfiguration("a.xml", group("A", toolItem("a", {toolsFolder() + "<args>slow -x</args>"})));
    EXPECT_EQ(run(), 0u);
    std::vector<Report> ofTool = m_listener.reports();
    std::erase_if(ofTool, [](const Report& report) {
        return report.message != "Processing about a..." && !report.message.starts_with("Still running ");
    });
    ASSERT_GE(ofTool.size(), 3u);
    EXPECT_EQ(ofTool[0], step(4, "Processing about a...")) << "the item";
    EXPECT_EQ(ofTool[1], step(4, "Processing about a...")) << "the tool";
    EXPECT_THAT(std::vector<Report>(ofTool.begin() + 2, ofTool.end()), Each(step(4, running)));
}

TEST_F(ToolJob, RunsNoToolOfAnItemThatIsNotWanted) {
    std::string other = toolItem("a", {"<args>touch done</args>"});
    other.replace(other.find("true"), 4, "false");
    writeConfiguration("a.xml", group("A", other + toolItem("b", {"<args>echo b</args><stdout/>"})));
    EXPECT_EQ(run(), 0u);
    EXPECT_FALSE(exists("done"));
    unpack();
    EXPECT_THAT(bundledNames(), ElementsAre("echo_result.txt", "summary.txt"));
}
