#include "tools/MERO/MEROEngine/implementations/MEROAction.h"

#include "Common/Utility/ReturnCodes.h"
#include "tests/engine/action/ActionTest.h"

#include <functional>
#include <gmock/gmock.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

/// Notes each instruction as "kind:element:text" and answers with one record and a given code.
class NotingAction : public MEROAction {
public:
    NotingAction(const MEROActionInfo& info, MEROComponent* reader) : MEROAction(info, reader, false) {}

    uint32_t performFileAction(MEROXmlObject& subtree, std::list<MEROCollectedFile>& found) override {
        return note("file", subtree, found);
    }
    uint32_t performDirectoryAction(MEROXmlObject& subtree, std::list<MEROCollectedFile>& found) override {
        return note("directory", subtree, found);
    }
    uint32_t performExternalAction(MEROXmlObject& subtree, std::list<MEROCollectedFile>& found,
                                   std::list<std::string>& tempFiles) override {
        m_tempFilesSeen.push_back(tempFiles.size());
        if (m_onExternal) {
            m_onExternal(tempFiles);
        }
        return note("external", subtree, found);
    }

    std::vector<std::string> m_notes;
    std::vector<const MEROComponent*> m_roots;
    std::vector<std::size_t> m_tempFilesSeen;
    std::function<void(std::list<std::string>&)> m_onExternal;
    /// The code of the instruction with this text; all others succeed.
    std::string m_failingText;
    uint32_t m_failure = 0;

private:
    uint32_t note(const std::string& kind, MEROXmlObject& subtree, std::list<MEROCollectedFile>& found) {
        const MEROComponent& root = *subtree.GetRoot();
        m_roots.push_back(&root);
        m_notes.push_back(kind + ":" + root.getName() + ":" + root.getValue());
        EXPECT_THAT(found, IsEmpty()) << "each instruction starts with a list of its own";
        MEROCollectedFile record;
        record.path = root.getValue();
        found.push_back(record);
        return root.getValue() == m_failingText ? m_failure : 0;
    }
};

} // namespace

class MEROActionWalk : public ActionTest {
protected:
    std::list<MEROCollectedFile> m_collected;
};

TEST_F(MEROActionWalk, RunsInstructionsInDocumentOrderWhateverTheirName) {
    NotingAction action(m_info, parse("<os><use_extern_action><action>1</action></use_extern_action>"
                                      "<file_copy_action><action>2</action><x>3</x></file_copy_action>"
                                      "<directory_copy_action><action>4</action></directory_copy_action>"
                                      "<file_copy_action><loc>5</loc></file_copy_action></os>"));
    action.Perform(m_collected);
    EXPECT_THAT(action.m_notes, ElementsAre("external:action:1", "file:action:2", "file:x:3",
                                            "directory:action:4", "file:loc:5"));
    EXPECT_THAT(pathsOf(m_collected), ElementsAre("1", "2", "3", "4", "5"));
}

TEST_F(MEROActionWalk, PassesOverAnUnknownKindWithoutALogLine) {
    NotingAction action(m_info, parse("<os><note><action>1</action></note>"
                                      "<File_copy_action><action>2</action></File_copy_action>"
                                      "<file_copy_action><action>3</action></file_copy_action></os>"));
    action.Perform(m_collected);
    EXPECT_THAT(action.m_notes, ElementsAre("file:action:3"));
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
}

TEST_F(MEROActionWalk, HasNothingToDoForAnEmptyOs) {
    NotingAction action(m_info, parse("<os><file_copy_action/></os>"));
    action.Perform(m_collected);
    NotingAction empty(m_info, parse("<os/>"));
    empty.Perform(m_collected);
    EXPECT_THAT(action.m_notes, IsEmpty());
    EXPECT_THAT(m_collected, IsEmpty());
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
}

TEST_F(MEROActionWalk, LogsAMissingReader) {
    NotingAction action(m_info, nullptr);
    action.Perform(m_collected);
    EXPECT_THAT(action.m_notes, IsEmpty());
    EXPECT_TRUE(m_log.contains('E', "m_reader is NULL")) << m_log.dump();
}

TEST_F(MEROActionWalk, GivesEachInstructionACopyOfItsTree) {
    MEROComponent* os = parse("<os><file_copy_action><action>1<loc gather_newest=\"true\">/a</loc></action>"
                              "</file_copy_action></os>");
    const MEROComponent* original = os->getChildren().front()->getChildren().front();
    class Looking : public NotingAction {
    public:
        using NotingAction::NotingAction;
        uint32_t performFileAction(MEROXmlObject& subtree, std::list<MEROCollectedFile>& found) override {
            const MEROComponent* loc = subtree.FindChild(subtree.GetRoot(), "loc");
            m_loc =
                loc == nullptr ? "none" : loc->getValue() + loc->FindAttribute("gather_newest")->getValue();
            return NotingAction::performFileAction(subtree, found);
        }
        std::string m_loc;
    } action(m_info, os);
    action.Perform(m_collected);
    ASSERT_EQ(action.m_roots.size(), 1u);
    EXPECT_NE(action.m_roots.front(), original);
    EXPECT_EQ(action.m_loc, "/atrue");
}

TEST_F(MEROActionWalk, AppendsBehindTheRecordsThatAreThere) {
    m_collected.emplace_back();
    m_collected.back().path = "earlier";
    NotingAction action(m_info, parse("<os><file_copy_action><action>1</action></file_copy_action></os>"));
    action.Perform(m_collected);
    EXPECT_THAT(pathsOf(m_collected), ElementsAre("earlier", "1"));
}

TEST_F(MEROActionWalk, KeepsNothingOfAFileThatIsNotThereAndLogsNothing) {
    NotingAction action(m_info, parse("<os><file_copy_action><action>1</action><action>2</action>"
                                      "<action>3</action></file_copy_action></os>"));
    action.m_failingText = "2";
    action.m_failure = MEROENGINE_ERROR_FILE_NOT_FOUND;
    action.Perform(m_collected);
    EXPECT_THAT(pathsOf(m_collected), ElementsAre("1", "3"));
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
}

struct KindOfInstruction {
    const char* element;
    const char* operation;
};

class MEROActionFailure : public MEROActionWalk, public ::testing::WithParamInterface<KindOfInstruction> {};

TEST_P(MEROActionFailure, IsLoggedUnderItsOperationAndTheNextInstructionRuns) {
    const std::string kind = GetParam().element;
    NotingAction action(m_info,
                        parse("<os><" + kind + "><action>1</action><action>2</action></" + kind + "></os>"));
    action.m_failingText = "1";
    action.m_failure = MEROENGINE_ERROR_INVALID_XML;
    action.Perform(m_collected);
    EXPECT_EQ(action.m_notes.size(), 2u);
    EXPECT_THAT(pathsOf(m_collected), ElementsAre("2"));
    EXPECT_TRUE(m_log.containsCode('E', "Perform", GetParam().operation, 0xFEB00011)) << m_log.dump();
    EXPECT_EQ(m_log.lines().size(), 1u) << m_log.dump();
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, MEROActionFailure,
    ::testing::Values(KindOfInstruction{"file_copy_action", "MEROAction::performFileAction"},
                      KindOfInstruction{"directory_copy_action", "MEROAction::performDirectoryAction"},
                      KindOfInstruction{"use_extern_action", "MEROAction::performExternalAction"}),
    [](const auto& kind) { return std::string(kind.param.element); });

TEST_F(MEROActionWalk, DeletesTheTemporaryFilesWhenTheInstructionsOfAKindAreDone) {
    const std::string first = writeFile("first.tmp", "1");
    const std::string second = writeFile("second.tmp", "2");
    NotingAction action(m_info, parse("<os><use_extern_action><action>1</action><action>2</action>"
                                      "</use_extern_action><use_extern_action><action>3</action>"
                                      "</use_extern_action></os>"));
    std::vector<bool> firstExists;
    action.m_onExternal = [&](std::list<std::string>& tempFiles) {
        firstExists.push_back(exists("first.tmp"));
        tempFiles.push_back(firstExists.size() == 1 ? first : second);
    };
    action.Perform(m_collected);
    EXPECT_THAT(firstExists, ElementsAre(true, true, false));
    EXPECT_THAT(action.m_tempFilesSeen, ElementsAre(0u, 1u, 0u));
    EXPECT_FALSE(exists("second.tmp"));
}

TEST_F(MEROActionWalk, GoesOnBehindATemporaryFileThatCannotBeDeleted) {
    const std::string stubborn = makeFolder("folder");
    const std::string good = writeFile("good.tmp", "1");
    NotingAction action(m_info, parse("<os><use_extern_action><action>1</action></use_extern_action></os>"));
    action.m_onExternal = [&](std::list<std::string>& tempFiles) {
        tempFiles = {stubborn, path("missing.tmp"), good};
    };
    action.Perform(m_collected);
    EXPECT_TRUE(exists("folder"));
    EXPECT_FALSE(exists("good.tmp"));
    EXPECT_THAT(pathsOf(m_collected), ElementsAre("1"));
}

TEST_F(MEROActionWalk, DeletesTheTemporaryFilesOfAFailedInstructionToo) {
    const std::string temporary = writeFile("output.tmp", "1");
    NotingAction action(m_info, parse("<os><use_extern_action><action>1</action></use_extern_action></os>"));
    action.m_onExternal = [&](std::list<std::string>& tempFiles) { tempFiles.push_back(temporary); };
    action.m_failingText = "1";
    action.m_failure = MEROENGINE_ERROR_UNEXPECTED;
    action.Perform(m_collected);
    EXPECT_FALSE(exists("output.tmp"));
    EXPECT_THAT(m_collected, IsEmpty());
}
