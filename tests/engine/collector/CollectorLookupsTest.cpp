#include "Common/Utility/ReturnCodes.h"
#include "tests/engine/collector/CollectorTest.h"

#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CollectorLists : public CollectorTest {};

TEST_F(CollectorLists, FindOnlyDirectChildrenOfExactlyTheirName) {
    const MEROXmlObject* document =
        parse("<r><fileGroup id=\"1\"/><filegroup id=\"2\"/><x><fileGroup id=\"3\"/>"
              "<file id=\"4\"/></x><file id=\"5\"/><fileGroup id=\"6\"/></r>");
    EXPECT_THAT(idsOf(makeCollector().getFileGroupComponents(*document)), ElementsAre("1", "6"));
    EXPECT_THAT(idsOf(m_collector->getFileComponents(*document)), ElementsAre("5"));
    const MEROComponent* group =
        node("<fileGroup><file id=\"b\"/><sub><file id=\"c\"/></sub><file/></fileGroup>", "fileGroup");
    EXPECT_THAT(idsOf(m_collector->getFileGroupFileComponents(*group)), ElementsAre("b", "-"));
}

TEST_F(CollectorLists, AreEmptyWithoutARoot) {
    EXPECT_THAT(makeCollector().getFileGroupComponents(m_emptyRequest), IsEmpty());
    EXPECT_THAT(m_collector->getFileComponents(m_emptyRequest), IsEmpty());
    EXPECT_EQ(m_log.count('E', "rXMLObject.GetRoot() is NULL"), 2) << m_log.dump();
}

TEST_F(CollectorLists, AreEmptyForAnotherKindOfComponent) {
    EXPECT_THAT(makeCollector().getFileGroupFileComponents(*node("<file><file id=\"a\"/></file>", "file")),
                IsEmpty());
    EXPECT_TRUE(m_log.contains('E', "unexpected MERO component type; expected fileGroup type"))
        << m_log.dump();
}

class CollectorDirectory : public CollectorTest {
protected:
    std::string directoryOf(const std::string& xml, const std::string& name = "fileGroup") {
        return makeCollector().getDirectory(*node(xml, name), m_bundle);
    }
};

TEST_F(CollectorDirectory, IsTheBaseWithoutAName) {
    EXPECT_EQ(directoryOf("<fileGroup/>"), m_bundle);
    EXPECT_EQ(directoryOf("<file/>", "file"), m_bundle);
}

TEST_F(CollectorDirectory, IsMadeWithItsParents) {
    EXPECT_EQ(directoryOf("<file directoryName=\"a/b/c\"/>", "file"), m_bundle + "/a/b/c");
    EXPECT_TRUE(std::filesystem::is_directory(m_bundle + "/a/b/c"));
}

TEST_F(CollectorDirectory, TakesBackslashesForSlashes) {
    EXPECT_EQ(directoryOf("<fileGroup directoryName=\"a\\b\"/>"), m_bundle + "/a/b");
    EXPECT_TRUE(std::filesystem::is_directory(m_bundle + "/a/b"));
}

TEST_F(CollectorDirectory, MayBeThereAlready) {
    makeFolder("bundle/a");
    EXPECT_EQ(directoryOf("<fileGroup directoryName=\"a\"/>"), m_bundle + "/a");
    EXPECT_TRUE(m_log.containsCode('E', "MakeDirectory", "mkdir", EEXIST)) << m_log.dump();
}

TEST_F(CollectorDirectory, IsTheBaseForAnotherKindOfComponent) {
    EXPECT_EQ(directoryOf("<gui directoryName=\"a\"/>", "gui"), m_bundle);
    EXPECT_TRUE(m_log.contains('E', "unexpected MERO component type; expected fileGroup type"))
        << m_log.dump();
    EXPECT_FALSE(exists("bundle/a"));
}

TEST_F(CollectorDirectory, TakesTheWholePathWhenOnlyAPartCanBeMade) {
    writeFile("bundle/file", "");
    EXPECT_EQ(directoryOf("<fileGroup directoryName=\"file/sub\"/>"), m_bundle + "/file/sub");
    EXPECT_TRUE(m_log.containsCode('E', "MakeDirectory", "mkdir", ENOTDIR)) << m_log.dump();
}

TEST_F(CollectorDirectory, TakesTheWholePathInAClosedFolderToo) {
    if (runsAsRoot()) {
        GTEST_SKIP() << "root may write everywhere";
    }
    ASSERT_EQ(::chmod(m_bundle.c_str(), 0500), 0);
    // The folders on the way are there, and each of them counts as made.
    EXPECT_EQ(directoryOf("<fileGroup directoryName=\"a\"/>"), m_bundle + "/a");
    EXPECT_TRUE(m_log.containsCode('E', "MakeDirectory", "mkdir", EACCES)) << m_log.dump();
}

TEST_F(CollectorDirectory, FallsBackToTheBaseWhenEveryFolderIsRefused) {
    if (runsAsRoot()) {
        GTEST_SKIP() << "root may write everywhere";
    }
    std::filesystem::current_path(makeFolder("closed"));
    ASSERT_EQ(::chmod(path("closed").c_str(), 0000), 0);
    EXPECT_EQ(makeCollector().getDirectory(*node("<file directoryName=\"a\"/>", "file"), "x"), "x");
    EXPECT_EQ(m_log.count('E', "(0x0000000D)"), 2) << m_log.dump();
}

TEST_F(CollectorDirectory, SurvivesOddNames) {
    EXPECT_EQ(directoryOf("<fileGroup directoryName=\"\"/>"), m_bundle + "/");
    EXPECT_EQ(directoryOf("<fileGroup directoryName=\"/abs\"/>"), m_bundle + "//abs");
    EXPECT_EQ(directoryOf("<fileGroup directoryName=\"..\"/>"), m_bundle + "/..");
    EXPECT_EQ(directoryOf("<fileGroup directoryName=\"///\"/>"), m_bundle + "////");
    const std::string longName(5000, 'n');
    EXPECT_EQ(directoryOf("<fileGroup directoryName=\"" + longName + "\"/>"), m_bundle + "/" + longName);
    EXPECT_TRUE(exists("bundle/abs"));
}

class CollectorReader : public CollectorTest {
protected:
    uint32_t move(const std::string& content) {
        return makeCollector().moveReaderToCorrectOS(node("<file>" + content + "</file>", "file"));
    }
};

TEST_F(CollectorReader, FindsTheInstructionsForLinux) {
    EXPECT_EQ(move("<mero><os opsys=\"win\"/><os opsys=\"mac\"/><os opsys=\"linux\"/></mero>"), 0u);
}

TEST_F(CollectorReader, FindsThemAtAnyDepth) {
    EXPECT_EQ(move("<a><b><mero><os opsys=\"linux\"/></mero></b></a>"), 0u);
}

TEST_F(CollectorReader, RefusesOtherPlatforms) {
    EXPECT_EQ(move("<mero><os opsys=\"win\"/><os opsys=\"mac\"/></mero>"), MEROENGINE_ERROR_INTERNAL);
    EXPECT_EQ(move("<mero><os opsys=\"Linux\"/><os opsys=\"\"/><os/></mero>"), MEROENGINE_ERROR_INTERNAL);
    EXPECT_EQ(move("<mero><OS opsys=\"linux\"/><x><os opsys=\"linux\"/></x></mero>"),
              MEROENGINE_ERROR_INTERNAL);
}

TEST_F(CollectorReader, TakesOnlyDirectChildren) {
    EXPECT_EQ(move("<mero/><mero><os opsys=\"linux\"/></mero>"), MEROENGINE_ERROR_INTERNAL);
}

TEST_F(CollectorReader, TellsOfMissingInstructions) {
    EXPECT_EQ(move("<description>text</description>"), MEROENGINE_ERROR_INTERNAL);
    EXPECT_TRUE(m_log.contains('E', "pDC->FindChild(MERO_CONST) is NULL")) << m_log.dump();
    EXPECT_TRUE(m_log.contains('E', "moveReaderToMERO")) << m_log.dump();
}

TEST_F(CollectorReader, DoesNotUseTheInstructionsOfTheFormerItem) {
    EXPECT_EQ(move("<mero><os opsys=\"linux\"><file_copy_action/></os></mero>"), 0u);
    EXPECT_EQ(m_collector->moveReaderToCorrectOS(node("<file/>", "file")), MEROENGINE_ERROR_INTERNAL);
}

TEST_F(CollectorReader, RefusesNull) {
    EXPECT_EQ(makeCollector().moveReaderToCorrectOS(nullptr), MEROENGINE_ERROR_BAD_PARAMETER);
    EXPECT_TRUE(m_log.contains('E', "pDC is NULL")) << m_log.dump();
}

class CollectorDefault : public CollectorTest {
protected:
    bool isDefault(const std::string& content) {
        return makeCollector().isDefault(*node("<file>" + content + "</file>", "file"));
    }
};

TEST_F(CollectorDefault, IsTheWordTrueAlone) {
    EXPECT_TRUE(isDefault("<default>true</default>"));
    EXPECT_TRUE(isDefault("<default> true </default>"));
    EXPECT_TRUE(isDefault("<a><default>true</default></a>"));
    EXPECT_FALSE(isDefault("<default>True</default>"));
    EXPECT_FALSE(isDefault("<default>1</default>"));
    EXPECT_FALSE(isDefault("<default/>"));
    EXPECT_FALSE(isDefault(""));
    EXPECT_FALSE(isDefault("<default>false</default><default>true</default>"));
}

class CollectorUnprocessed : public CollectorTest {};

TEST_F(CollectorUnprocessed, LosesTheEntryOfThePointer) {
    setRequest(request({"a", "b", "a"}));
    EXPECT_EQ(makeCollector().removeFromUnprocessedList(m_unprocessed.back()), 0u);
    EXPECT_THAT(unprocessed(), ElementsAre("a", "b"));
}

TEST_F(CollectorUnprocessed, DrawsANoteForAnEntryThatIsGone) {
    setRequest(request({"a"}));
    MEROComponent* entry = m_unprocessed.front();
    ASSERT_EQ(makeCollector().initializeSummary(), 0u);
    EXPECT_EQ(m_collector->removeFromUnprocessedList(entry), 0u);
    EXPECT_EQ(m_collector->removeFromUnprocessedList(entry), 0u);
    const MEROXmlObject& tree = *m_collector->getSummary();
    const MEROComponent* notes = tree.FindChild(tree.GetRoot(), "Other_Note");
    ASSERT_EQ(notes->getChildren().size(), 1u);
    EXPECT_EQ(notes->getChildren().front()->getName(), " - ");
    EXPECT_EQ(notes->getChildren().front()->getValue(),
              "WARNING: File ID a has duplicated instruction found in one of previous config files");
}

TEST_F(CollectorUnprocessed, RefusesNull) {
    EXPECT_EQ(makeCollector().removeFromUnprocessedList(nullptr), MEROENGINE_ERROR_BAD_PARAMETER);
    EXPECT_TRUE(m_log.contains('E', "pDC is NULL")) << m_log.dump();
}
