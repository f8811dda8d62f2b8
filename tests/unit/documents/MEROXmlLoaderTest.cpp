#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlLoader.h"

#include "Common/Utility/ReturnCodes.h"
#include "tests/unit/documents/DocumentTest.h"

#include <memory>

namespace {

class MEROXmlLoaderTest : public DocumentTest {
public:
    ~MEROXmlLoaderTest() override {
        for (const MEROXmlObject* tree : m_owned) {
            delete tree;
        }
    }

protected:
    std::list<MEROXmlObject*>* loadFolder(const std::string& folder) {
        return m_loader.load(folder, kLoadFolder, m_owned);
    }

    MEROXmlLoader m_loader;
    /// Trees of a text or a file: the loader's.
    std::list<MEROXmlObject*> m_trees;
    /// Trees of a folder: the caller's.
    std::list<MEROXmlObject*> m_owned;
};

TEST_F(MEROXmlLoaderTest, IsNotLoadedAtFirst) {
    EXPECT_FALSE(m_loader.isLoaded());
    EXPECT_TRUE(m_loader.getFailedFiles().empty());
}

TEST_F(MEROXmlLoaderTest, LoadsAText) {
    EXPECT_EQ(m_loader.load("<r><c>v</c></r>", kLoadText, m_trees), &m_trees);
    ASSERT_EQ(m_trees.size(), 1u);
    EXPECT_EQ(m_trees.front()->GetRoot()->FindChild("c")->getValue(), "v");
    EXPECT_EQ(m_trees.front()->getCount(), 2u);
    EXPECT_TRUE(m_loader.isLoaded());
}

TEST_F(MEROXmlLoaderTest, LoadsAFile) {
    const std::string file = writeFile("a.txt", "<r/>");
    EXPECT_EQ(m_loader.load(file, kLoadFile, m_trees), &m_trees);
    ASSERT_EQ(m_trees.size(), 1u);
    EXPECT_EQ(m_trees.front()->GetRoot()->getName(), "r");
    EXPECT_TRUE(m_loader.isLoaded());
}

TEST_F(MEROXmlLoaderTest, AppendsToTheTreesThatAreThere) {
    MEROXmlObject former("former", "");
    m_trees.push_back(&former);
    EXPECT_EQ(m_loader.load("<r/>", kLoadText, m_trees), &m_trees);
    ASSERT_EQ(m_trees.size(), 2u);
    EXPECT_EQ(m_trees.front(), &former);
}

TEST_F(MEROXmlLoaderTest, AMissingFileGivesNullAndLeavesTheTreesUnchanged) {
    MEROXmlObject former("former", "");
    m_trees.push_back(&former);
    EXPECT_EQ(m_loader.load(path("none.xml"), kLoadFile, m_trees), nullptr);
    EXPECT_EQ(m_trees, (std::list<MEROXmlObject*>{&former}));
    EXPECT_FALSE(m_loader.isLoaded());
    EXPECT_TRUE(m_loader.getFailedFiles().empty());
    EXPECT_TRUE(m_log.containsCode('E', "startParser", "xmlCreateFileParserCtxt", GLOBAL_ERROR_NULL_POINTER))
        << m_log.dump();
}

TEST_F(MEROXmlLoaderTest, AMalformedTextGivesNullAndLeavesTheTreesUnchanged) {
    EXPECT_EQ(m_loader.load("<r>", kLoadText, m_trees), nullptr);
    EXPECT_TRUE(m_trees.empty());
    EXPECT_FALSE(m_loader.isLoaded());
    EXPECT_TRUE(m_log.containsCode('E', "startParser", "xmlParseDocument", 0xFFFFFFFF)) << m_log.dump();
}

TEST_F(MEROXmlLoaderTest, EmptyAndBlankTextsGiveNullWithoutALine) {
    EXPECT_EQ(m_loader.load("", kLoadText, m_trees), nullptr);
    EXPECT_EQ(m_loader.load(" \n\t", kLoadText, m_trees), nullptr);
    EXPECT_EQ(m_loader.load("", kLoadFile, m_trees), nullptr);
    EXPECT_TRUE(m_trees.empty());
    EXPECT_TRUE(m_log.lines().empty()) << m_log.dump();
}

TEST_F(MEROXmlLoaderTest, AnotherModeGivesNull) {
    EXPECT_EQ(m_loader.load("<r/>", 3, m_trees), nullptr);
    EXPECT_EQ(m_loader.load("<r/>", -1, m_trees), nullptr);
    EXPECT_TRUE(m_trees.empty());
    EXPECT_FALSE(m_loader.isLoaded());
}

TEST_F(MEROXmlLoaderTest, EveryCallClearsTheLoadedMark) {
    ASSERT_NE(m_loader.load("<r/>", kLoadText, m_trees), nullptr);
    ASSERT_TRUE(m_loader.isLoaded());
    EXPECT_EQ(m_loader.load("", 9, m_trees), nullptr);
    EXPECT_FALSE(m_loader.isLoaded());
}

TEST_F(MEROXmlLoaderTest, LoadsTheGoodFilesOfAFolderAndNamesTheOthers) {
    writeFile("set/good.xml", "<one/>");
    writeFile("set/bad.xml", "<two>");
    writeFile("set/readme.txt", "no document");
    EXPECT_EQ(loadFolder(path("set/")), &m_owned);
    ASSERT_EQ(m_owned.size(), 1u);
    EXPECT_EQ(m_owned.front()->GetRoot()->getName(), "one");
    EXPECT_TRUE(m_loader.isLoaded());
    EXPECT_EQ(m_loader.getFailedFiles(), (std::list<std::string>{path("set/bad.xml")}));
}

TEST_F(MEROXmlLoaderTest, TreesOfAFolderOutliveTheLoader) {
    writeFile("set/good.xml", "<one><two>v</two></one>");
    auto loader = std::make_unique<MEROXmlLoader>();
    ASSERT_NE(loader->load(path("set/"), kLoadFolder, m_owned), nullptr);
    loader.reset();
    EXPECT_EQ(m_owned.front()->GetRoot()->FindChild("two")->getValue(), "v");
}

TEST_F(MEROXmlLoaderTest, AFolderWithoutAGoodFileGivesNullAndItsFailures) {
    writeFile("set/bad.xml", "<two>");
    EXPECT_EQ(loadFolder(path("set/")), nullptr);
    EXPECT_FALSE(m_loader.isLoaded());
    EXPECT_EQ(m_loader.getFailedFiles(), (std::list<std::string>{path("set/bad.xml")}));
}

TEST_F(MEROXmlLoaderTest, AMissingFolderGivesNullWithoutALine) {
    EXPECT_EQ(loadFolder(path("none/")), nullptr);
    EXPECT_TRUE(m_loader.getFailedFiles().empty());
    EXPECT_TRUE(m_log.lines().empty()) << m_log.dump();
}

TEST_F(MEROXmlLoaderTest, EachFolderLoadReplacesTheFailedFiles) {
    writeFile("first/bad.xml", "<a>");
    writeFile("second/good.xml", "<a/>");
    EXPECT_EQ(loadFolder(path("first/")), nullptr);
    ASSERT_EQ(m_loader.getFailedFiles().size(), 1u);
    EXPECT_NE(loadFolder(path("second/")), nullptr);
    EXPECT_TRUE(m_loader.getFailedFiles().empty());
}

} // namespace
