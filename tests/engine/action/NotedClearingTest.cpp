#include "tools/MERO/MEROEngine/implementations/NotedClearing.h"

#include "tests/engine/action/ActionTest.h"

#include <gmock/gmock.h>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kMark = "<clear_log apply=\"true\"/>";

/// What clearing an item would do: in a line for each step.
class NotedClearings : public ActionTest {
protected:
    [[nodiscard]] std::vector<std::string> steps(const std::string& kinds) {
        std::vector<std::string> lines;
        for (const ClearStep& step : NotedClearing(parse("<os>" + kinds + "</os>")).steps()) {
            lines.push_back(step.command.empty() ? step.files + " as " + step.translatedFiles
                                                 : "run " + step.command);
        }
        return lines;
    }
    static std::string files(const std::string& path, const std::string& mark = kMark) {
        return "<file_copy_action><action><loc>" + path + "</loc>" + mark + "</action></file_copy_action>";
    }
    static std::string tool(const std::string& children) {
        return "<use_extern_action><action>" + children + "</action></use_extern_action>";
    }
    static std::string command(const std::string& line, const std::string& apply = "true") {
        return "<clear_log apply=\"" + apply + "\">" + line + "</clear_log>";
    }
};

TEST_F(NotedClearings, NameFilesAsTheyStandAndWithTheirVariablesReplaced) {
    setEnvironment("MERO_TEST_LOGS", path("logs"));
    EXPECT_THAT(steps(files("$MERO_TEST_LOGS/*.log")),
                ElementsAre("$MERO_TEST_LOGS/*.log as " + path("logs") + "/*.log"));
}

TEST_F(NotedClearings, HaveNothingThatIsNotMarked) {
    EXPECT_THAT(steps(files("/a.log", "") + files("/a.log", "<clear_log apply=\"false\"/>")), IsEmpty());
    EXPECT_THAT(steps(tool("<args>/bin/a</args>") + tool(command("/bin/a", "false"))), IsEmpty());
}

TEST_F(NotedClearings, HaveACommandWithTheFolderOfItsTool) {
    setEnvironment("MERO_TEST_TOOLS", "/opt/tools");
    EXPECT_THAT(steps(tool("<path>$MERO_TEST_TOOLS/bin</path><args>collect</args>" + command("wipe all"))),
                ElementsAre("run /opt/tools/bin/wipe all"));
    EXPECT_THAT(steps(tool("<args>collect</args>" + command("/bin/wipe all"))),
                ElementsAre("run /bin/wipe all"));
}

TEST_F(NotedClearings, HaveTheirStepsInTheOrderOfTheInstructions) {
    EXPECT_THAT(steps(tool(command("/bin/first")) + files("/second") + tool(command("/bin/third")) +
                      files("/fourth") + files("/fourth")),
                ElementsAre("run /bin/first", "/second as /second", "run /bin/third", "/fourth as /fourth",
                            "/fourth as /fourth"));
}

TEST_F(NotedClearings, NeverHaveFolders) {
    EXPECT_THAT(steps("<directory_copy_action><action><loc>/logs</loc><pattern>*</pattern></action>"
                      "</directory_copy_action>" +
                      files("/a")),
                ElementsAre("/a as /a"));
}

TEST_F(NotedClearings, GoOnBehindAToolThatCanNotBeRead) {
    EXPECT_THAT(steps(tool(command("/bin/a") + "<unknown/>") + tool(command("/bin/b")) + files("/c")),
                ElementsAre("run /bin/b", "/c as /c"));
}

TEST_F(NotedClearings, OnlyTakeNotes) {
    const std::string log = writeFile("a.log", "kept");
    EXPECT_THAT(steps(files(log) + tool(command("/usr/bin/touch " + path("touched")))),
                ElementsAre(log + " as " + log, "run /usr/bin/touch " + path("touched")));
    EXPECT_EQ(readFile("a.log"), "kept");
    EXPECT_FALSE(exists("touched"));
}

} // namespace
