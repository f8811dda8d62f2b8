#include "Common/Utility/ReturnCodes.h"
#include "tests/engine/collector/CollectorTest.h"
#include "tests/engine/pipeline/ChildProcess.h"

#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/resource.h>

using ::testing::HasSubstr;
using ::testing::IsEmpty;

class CollectorComments : public CollectorTest {
protected:
    /// Writes the comments of a request with this content.
    uint32_t write(const std::string& content, const std::string& entry = {}) {
        setRequest("<request>" + content + entry + "</request>");
        EXPECT_EQ(makeCollector().initializeSummary(), 0u);
        return m_collector->writeComments(entry.empty() ? nullptr : m_unprocessed.back(), m_bundle);
    }

    /// The only row of omitted files.
    const MEROComponent& omitted() const {
        const MEROXmlObject& tree = *m_collector->getSummary();
        const auto& rows = tree.FindChild(tree.GetRoot(), "Manifest_Not_Included")->getChildren();
        EXPECT_EQ(rows.size(), 1u);
        return *rows.front();
    }
};

TEST_F(CollectorComments, GoToTheirFileWithoutALastLineFeed) {
    EXPECT_EQ(write("<comments><![CDATA[a < b & c]]></comments>"), 0u);
    EXPECT_EQ(readFile("bundle/comments.txt"), "Comments from Varnel Corvane user:\na < b & c");
}

TEST_F(CollectorComments, AreRecordedAsAFileOfTheBundle) {
    EXPECT_EQ(write("<x><comments>text</comments></x>"), 0u);
    ASSERT_EQ(m_collector->getCollected().size(), 1u);
    const MEROCollectedFile& record = m_collector->getCollected().front();
    EXPECT_EQ(record.id, "comments");
    EXPECT_EQ(record.path, path("bundle/comments.txt"));
    EXPECT_EQ(record.description, "Varnel Corvane user comments");
    EXPECT_EQ(record.fileSize, 39.0);
    EXPECT_EQ(record.truncateType, 4);
    EXPECT_EQ(record.totalAllowedSize, 0.0);
    EXPECT_EQ(record.defaultTruncateType, 1);
}

TEST_F(CollectorComments, WriteNothingWhenTheyAreEmpty) {
    EXPECT_EQ(write("<comments><![CDATA[]]></comments>"), 0u);
    EXPECT_EQ(write(""), 0u);
    m_request = &m_emptyRequest;
    EXPECT_EQ(makeCollector().writeComments(nullptr, m_bundle), 0u);
    EXPECT_FALSE(exists("bundle/comments.txt"));
    EXPECT_THAT(m_collector->getCollected(), IsEmpty());
}

TEST_F(CollectorComments, GetTheNameOfTheirEntry) {
    EXPECT_EQ(write("<comments>text</comments>", "<file id=\"comments\"><a><name>mine.txt</name></a></file>"),
              0u);
    EXPECT_TRUE(exists("bundle/mine.txt"));
}

TEST_F(CollectorComments, GetTheUsualNameForAnEmptyOne) {
    EXPECT_EQ(write("<comments>text</comments>", "<file id=\"comments\"><name></name></file>"), 0u);
    EXPECT_EQ(write("<comments>text</comments>", "<file id=\"comments\"></file>"), 0u);
    EXPECT_TRUE(exists("bundle/comments.txt"));
}

TEST_F(CollectorComments, AreARowOfTheOmittedFilesWhenTheyCannotBeOpened) {
    makeFolder("bundle/comments.txt");
    EXPECT_EQ(write("<comments>text</comments>"), MEROENGINE_ERROR_FILE_OPEN_FAILURE);
    EXPECT_EQ(omitted().getName(), "comments");
    EXPECT_EQ(omitted().getValue(), "comments.txt");
    EXPECT_EQ(omitted().FindAttribute("description")->getValue(), "");
    EXPECT_EQ(omitted().FindAttribute("reason")->getValue(),
              "Internal error: can't write comments at " + path("bundle/comments.txt"));
    EXPECT_THAT(m_collector->getCollected(), IsEmpty());
    EXPECT_TRUE(m_log.containsCode('E', "writeComments", "fopen", EISDIR)) << m_log.dump();
}

TEST_F(CollectorComments, AreARowOfTheOmittedFilesWhenTheDiskIsFull) {
    ChildProcess child([this] {
        const rlimit limit{10, 10};
        ::signal(SIGXFSZ, SIG_IGN);
        ::setrlimit(RLIMIT_FSIZE, &limit);
        const uint32_t code = write("<comments>text</comments>");
        return std::to_string(code) + " " + omitted().FindAttribute("reason")->getValue();
    });
    EXPECT_EQ(child.result(), std::to_string(MEROENGINE_ERROR_WRITE_FAILURE) +
                                  " Internal error: can't write comments at " + path("bundle/comments.txt"));
    EXPECT_FALSE(exists("bundle/comments.txt"));
}

TEST_F(CollectorComments, DoNotStopACollectionThatCannotWriteThem) {
    makeFolder("bundle/comments.txt");
    setRequest(request({"a"}, "<comments>text</comments>"));
    collectWell("<fileGroup>" + logItem("a") + "</fileGroup>");
    EXPECT_THAT(summary(),
                HasSubstr("\ncomments           comments.txt                " + std::string(2 + 40 + 2, ' ') +
                          "Internal error: can't write comments at           \n"));
    EXPECT_TRUE(exists("bundle/a.log"));
}

TEST_F(CollectorComments, AreWrittenByTheFirstGroupOnly) {
    setRequest(request({}, "<file id=\"comments\"><name>one.txt</name></file><comments>text</comments>"));
    collectWell("<fileGroup/>");
    EXPECT_TRUE(exists("bundle/one.txt"));
    setRequest(request({}, "<file id=\"comments\"><name>two.txt</name></file><comments>text</comments>"));
    collectWell("<fileGroup/><fileGroup/>");
    EXPECT_FALSE(exists("bundle/two.txt"));
}

TEST_F(CollectorComments, StandInTheTableOfTheirCollector) {
    setRequest(request({}, "<comments>text</comments>"));
    collectWell("<fileGroup/>");
    EXPECT_THAT(summary(), HasSubstr("comments           comments.txt                  Varnel Corvane user "
                                     "comments              39 bytes  \n"));
}

TEST_F(CollectorComments, AreNotWrittenWithoutARequest) {
    collectWell("<fileGroup><comments>text</comments></fileGroup>");
    EXPECT_FALSE(exists("bundle/comments.txt"));
}
