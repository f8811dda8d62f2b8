#include "tools/MERO/MEROEngine/implementations/parser/MEROMgr.h"

#include "Common/Utility/ReturnCodes.h"
#include "tests/support/InChild.h"
#include "tests/support/SystemCallFilter.h"
#include "tests/unit/documents/DocumentTest.h"

#include <algorithm>
#include <cerrno>
#include <set>
#include <sys/stat.h>

namespace {

class MEROMgrTest : public DocumentTest {
public:
    ~MEROMgrTest() override {
        for (const MEROXmlObject* tree : m_trees) {
            delete tree;
        }
    }

protected:
    MEROMgr load() { return MEROMgr(m_trees, path("set/")); }
    [[nodiscard]] std::multiset<std::string> rootNames() const {
        std::multiset<std::string> names;
        for (const MEROXmlObject* tree : m_trees) {
            names.insert(tree->GetRoot()->getName());
        }
        return names;
    }

    std::list<MEROXmlObject*> m_trees;
};

TEST_F(MEROMgrTest, AMissingFolderGivesNothingAndNoComplaint) {
    const MEROMgr manager = load();
    EXPECT_TRUE(m_trees.empty());
    EXPECT_TRUE(manager.getResults().empty());
    EXPECT_TRUE(manager.getFailedFiles().empty());
    EXPECT_TRUE(m_log.lines().empty()) << m_log.dump();
}

TEST_F(MEROMgrTest, AFolderThatCantBeReadToItsEndIsAFailureItself) {
    writeFile("set/a.xml", "<one/>");
    inChild([this] {
        replaceSystemCall(SYS_getdents64, EIO);
        const MEROMgr manager = load();
        EXPECT_TRUE(m_trees.empty());
        EXPECT_EQ(manager.getFailedFiles(), (std::list<std::string>{path("set/")}));
        EXPECT_TRUE(m_log.containsCode('E', "enumerateFiles", "readdir", EIO)) << m_log.dump();
    });
}

TEST_F(MEROMgrTest, AnEmptyFolderGivesNothing) {
    makeFolder("set");
    const MEROMgr manager = load();
    EXPECT_TRUE(m_trees.empty());
    EXPECT_TRUE(manager.getFailedFiles().empty());
}

TEST_F(MEROMgrTest, TwoGoodFilesAndABrokenOneGiveTwoTreesAndOneFailure) {
    writeFile("set/a.xml", "<one/>");
    writeFile("set/b.xml", "<broken>");
    writeFile("set/c.xml", "<two/>");
    const MEROMgr manager = load();
    EXPECT_EQ(rootNames(), (std::multiset<std::string>{"one", "two"}));
    EXPECT_EQ(manager.getFailedFiles(), (std::list<std::string>{path("set/b.xml")}));
    const std::list<uint32_t> results = manager.getResults();
    EXPECT_EQ(results.size(), 3u);
    EXPECT_EQ(std::count(results.begin(), results.end(), 0u), 2);
    EXPECT_EQ(std::count(results.begin(), results.end(), GLOBAL_ERROR_UNEXPECTED), 1);
}

TEST_F(MEROMgrTest, LogsEachFileFound) {
    writeFile("set/a.xml", "<one/>");
    writeFile("set/b.txt", "");
    static_cast<void>(load());
    EXPECT_TRUE(logged('I', "addFile", "found file " + path("set/a.xml"))) << m_log.dump();
    EXPECT_EQ(m_log.count('I', "found file"), 1);
}

TEST_F(MEROMgrTest, TakesOnlyNamesWhoseFirstSuffixIsTheirEnd) {
    for (const char* name : {"config.xml.bak", "a.XML", "a.xml.xml", "a.xml~", "axml", "a.xm", ".xmla.xml"}) {
        writeFile(std::string("set/") + name, "<wrong/>");
    }
    writeFile("set/.xml", "<hidden/>");
    writeFile("set/a.b.xml", "<dotted/>");
    const MEROMgr manager = load();
    EXPECT_EQ(rootNames(), (std::multiset<std::string>{"hidden", "dotted"}));
    EXPECT_EQ(manager.getResults(), (std::list<uint32_t>{0, 0}));
}

TEST_F(MEROMgrTest, AWellFormedFileIsGoodWhateverItHolds) {
    writeFile("set/a.xml", "<configure><title/><file id=\"x\"/></configure>");
    const MEROMgr manager = load();
    ASSERT_EQ(m_trees.size(), 1u);
    EXPECT_NE(m_trees.front()->GetRoot()->FindChild("file"), nullptr);
    EXPECT_TRUE(manager.getFailedFiles().empty());
}

TEST_F(MEROMgrTest, EachTreeIsWholeAndOfItsOwn) {
    writeFile("set/a.xml", "<r x=\"1\"><c>v</c></r>");
    static_cast<void>(load());
    ASSERT_EQ(m_trees.size(), 1u);
    EXPECT_EQ(m_trees.front()->getCount(), 2u);
    EXPECT_EQ(m_trees.front()->GetRoot()->FindAttribute("x")->getValue(), "1");
    EXPECT_EQ(m_trees.front()->GetRoot()->FindChild("c")->getValue(), "v");
}

TEST_F(MEROMgrTest, AFolderNamedLikeAFileFailsAndIsNamed) {
    makeFolder("set/x.xml");
    writeFile("set/a.xml", "<one/>");
    const MEROMgr manager = load();
    EXPECT_EQ(rootNames(), (std::multiset<std::string>{"one"}));
    EXPECT_EQ(manager.getFailedFiles(), (std::list<std::string>{path("set/x.xml")}));
    EXPECT_TRUE(logged('I', "addFile", "found file " + path("set/x.xml"))) << m_log.dump();
    EXPECT_TRUE(m_log.containsCode('E', "startParser", "xmlCreateFileParserCtxt", GLOBAL_ERROR_NULL_POINTER));
}

TEST_F(MEROMgrTest, AFifoFailsAtOnceAndIsNamed) {
    makeFolder("set");
    ASSERT_EQ(::mkfifo(path("set/x.xml").c_str(), 0600), 0);
    const MEROMgr manager = load();
    EXPECT_EQ(manager.getFailedFiles(), (std::list<std::string>{path("set/x.xml")}));
    EXPECT_TRUE(logged('E', "openFile", "Not a regular file: " + path("set/x.xml"))) << m_log.dump();
}

TEST_F(MEROMgrTest, ADanglingLinkFailsAndIsNamed) {
    makeFolder("set");
    std::filesystem::create_symlink("nowhere", path("set/x.xml"));
    const MEROMgr manager = load();
    EXPECT_EQ(manager.getFailedFiles(), (std::list<std::string>{path("set/x.xml")}));
    EXPECT_TRUE(m_log.containsCode('E', "openFile", "open", ENOENT)) << m_log.dump();
}

TEST_F(MEROMgrTest, AnUnreadableFileFailsAndIsNamed) {
    if (runsAsRoot()) {
        GTEST_SKIP() << "root reads every file";
    }
    const std::string file = writeFile("set/a.xml", "<a/>");
    ASSERT_EQ(::chmod(file.c_str(), 0), 0);
    EXPECT_EQ(load().getFailedFiles(), (std::list<std::string>{file}));
    EXPECT_TRUE(m_log.containsCode('E', "openFile", "open", EACCES)) << m_log.dump();
}

TEST_F(MEROMgrTest, AnUnreadableFolderGivesNothingAndNoComplaint) {
    if (runsAsRoot()) {
        GTEST_SKIP() << "root reads every folder";
    }
    writeFile("set/a.xml", "<a/>");
    ASSERT_EQ(::chmod(path("set").c_str(), 0), 0);
    EXPECT_TRUE(load().getResults().empty());
    EXPECT_TRUE(m_log.lines().empty()) << m_log.dump();
}

TEST_F(MEROMgrTest, TakesTheFolderAsItStandsWithoutASeparator) {
    writeFile("set/a.xml", "<a/>");
    const MEROMgr manager(m_trees, path("set"));
    EXPECT_TRUE(m_trees.empty());
    EXPECT_EQ(manager.getFailedFiles(), (std::list<std::string>{path("seta.xml")}));
}

TEST_F(MEROMgrTest, ReadsNamesWithOddCharacters) {
    for (const char* name : {"a b.xml", "%41.xml", "http:.xml", "\xFF\n.xml", "é&<>.xml"}) {
        writeFile(std::string("set/") + name, "<good/>");
    }
    EXPECT_TRUE(load().getFailedFiles().empty()) << m_log.dump();
    EXPECT_EQ(m_trees.size(), 5u);
}

TEST_F(MEROMgrTest, DoesNotGoIntoSubFolders) {
    writeFile("set/sub/a.xml", "<a/>");
    EXPECT_TRUE(load().getResults().empty());
}

} // namespace
