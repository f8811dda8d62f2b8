#include "Common/Utility/ReturnCodes.h"
#include "tests/engine/pipeline/EngineRun.h"

#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::UnorderedElementsAre;

namespace {

constexpr const char* kHeading =
    "No instruction found in any config for the following file ID's from request:";

/// Gives access to how a request is taken over.
class OpenEngine : public MEROEngine {
public:
    using MEROEngine::MEROEngine;
    using MEROEngine::takeRequest;
};

} // namespace

class RequestRun : public EngineRun {
protected:
    RequestRun() { writeThreeItems(); }

    void runRequest(const std::string& text) {
        EXPECT_EQ(run(writeFile("request.xml", text)), 0u) << m_log.dump();
        unpack();
    }

    void refuse(const std::string& text) { expectRefusedRequest(writeFile("request.xml", text)); }

    void refuseName(const std::string& id, const std::string& name) {
        EXPECT_EQ(run(writeFile("request.xml", request({"one"}, named(id, name)))),
                  MEROENGINE_ERROR_INVALID_XML)
            << name;
        EXPECT_TRUE(m_log.contains('W', "The request is refused: a name leads out of the bundle"))
            << m_log.dump();
        EXPECT_THAT(leftFolders(), ElementsAre());
        EXPECT_FALSE(exists("out.zip"));
    }

    [[nodiscard]] uint32_t runLimited(const std::vector<std::string>& ids, const RequestLimits& limits) {
        const auto limited = engine(writeFile("request.xml", request(ids)));
        limited->setRequestLimits(limits);
        return limited->run();
    }

    static std::string named(const std::string& id, const std::string& name) {
        return "<file id=\"" + id + "\"><name>" + name + "</name></file>";
    }
};

TEST_F(RequestRun, CollectsWhatIsWantedAndNothingElse) {
    runRequest(request({"two", "one"}));
    EXPECT_THAT(bundledNames(), UnorderedElementsAre("one.log", "two.log", "summary.txt"));
    EXPECT_THAT(m_listener.messages(), Not(::testing::Contains("Processing about three...")));
}

TEST_F(RequestRun, EndsTheSummaryWithTheHeadingWhenEveryIdWasFound) {
    runRequest(request({"one"}));
    EXPECT_THAT(bundled("summary.txt"), EndsWith(std::string("\n\n") + kHeading + "\n"));
}

TEST_F(RequestRun, LeavesTheHeadingOutWhenAnIdIsUnknown) {
    runRequest(request({"one", "unknown"}));
    EXPECT_THAT(bundled("summary.txt"), Not(HasSubstr(kHeading)));
    EXPECT_THAT(bundledNames(), UnorderedElementsAre("one.log", "summary.txt"));
}

TEST_F(RequestRun, CollectsNothingForARequestWithoutFiles) {
    runRequest("<request><files><file id=\"one\"/></files></request>");
    EXPECT_THAT(bundledNames(), ElementsAre("summary.txt"));
    EXPECT_THAT(bundled("summary.txt"), EndsWith(std::string("\n\n") + kHeading + "\n"));
}

TEST_F(RequestRun, BundlesTheComment) {
    runRequest(request({"one"}, "<comments><![CDATA[It broke at 5 < 6 & I saw it.]]></comments>"));
    EXPECT_EQ(bundled("comments.txt"), "Comments from Varnel Corvane user:\nIt broke at 5 < 6 & I saw it.");
    EXPECT_THAT(bundled("summary.txt"), HasSubstr("comments           comments.txt                  "
                                                  "Varnel Corvane user comments              64 bytes"));
}

TEST_F(RequestRun, WritesTheCommentOncePerProcess) {
    runRequest(request({"one"}, "<comments>first</comments>"));
    EXPECT_TRUE(exists("unpacked/comments.txt"));
    runRequest(request({"one"}, "<comments>second</comments>"));
    EXPECT_FALSE(exists("unpacked/comments.txt"));
}

TEST_F(RequestRun, NamesSummaryAndCommentsAsAsked) {
    runRequest(request({"one"}, named("summary", "s.txt") + named("comments", "..c d.txt") +
                                    "<comments>text</comments>"));
    EXPECT_THAT(bundledNames(), UnorderedElementsAre("one.log", "s.txt", "..c d.txt", "summary.txt"));
    EXPECT_THAT(bundled("s.txt"), HasSubstr("MERO BUNDLE SUMMARY"));
    // The failure block always goes to the usual name. It is empty here, for "summary" stays unprocessed.
    EXPECT_EQ(bundled("summary.txt"), "");
}

TEST_F(RequestRun, TakesTheUsualNamesForEmptyOnes) {
    runRequest(request({"one"}, named("summary", "") + named("comments", " ") + "<comments>text</comments>"));
    EXPECT_THAT(bundledNames(), UnorderedElementsAre("one.log", "summary.txt", "comments.txt"));
}

TEST_F(RequestRun, FailsWhenTheSummaryHasTheNameOfAFolder) {
    writeConfiguration("three.xml", "<fileGroup directoryName=\"sub\"><title>Only</title></fileGroup>");
    EXPECT_EQ(run(writeFile("request.xml", request({}, named("summary", "sub")))), MEROENGINE_ERROR_INTERNAL);
    EXPECT_EQ(m_listener.reports().back(),
              (Report{4, "Internal Error: all configs failed...", MEROENGINE_ERROR_INTERNAL}));
    EXPECT_TRUE(m_log.contains('E', "fopen failed to open file \"/tmp/MERO_Temp_Bundle__")) << m_log.dump();
    EXPECT_TRUE(m_log.containsCode('E', "writeSummary", "collector::printSummary",
                                   MEROENGINE_ERROR_FILE_OPEN_FAILURE))
        << m_log.dump();
    EXPECT_TRUE(
        m_log.containsCode('E', "Collect", "collector::writeSummary", MEROENGINE_ERROR_FILE_OPEN_FAILURE))
        << m_log.dump();
}

TEST_F(RequestRun, TellsOfASummaryWhoseEndCannotBeWritten) {
    // A folder of its name stands where the last lines are to go.
    const std::string text = request({"one"}, named("summary", "summary.txt/s.txt"));
    EXPECT_EQ(run(writeFile("request.xml", text)), MEROENGINE_ERROR_BUNDLE_INCOMPLETE);
    unpack();
    EXPECT_THAT(bundled("summary.txt/s.txt"), HasSubstr("MERO BUNDLE SUMMARY"));
    EXPECT_THAT(bundled("not-packed.txt"),
                HasSubstr("\nsummary.txt: lacks its last lines, which could not be written\n"));
}

TEST_F(RequestRun, PutsSummaryAndCommentsIntoTheFoldersThatTheyName) {
    runRequest(request({"one"}, named("summary", "about/this/s.txt") + named("comments", "about/c.txt") +
                                    "<comments>text</comments>"));
    EXPECT_THAT(bundledNames(),
                UnorderedElementsAre("one.log", "about/this/s.txt", "about/c.txt", "summary.txt"));
    EXPECT_THAT(bundled("about/this/s.txt"), HasSubstr("MERO BUNDLE SUMMARY"));
    EXPECT_EQ(bundled("about/c.txt"), "Comments from Varnel Corvane user:\ntext");
}

TEST_F(RequestRun, KeepsAnAbsoluteSummaryBelowTheBundle) {
    runRequest(request({"one"}, named("summary", path("evil"))));
    EXPECT_THAT(bundledNames(), UnorderedElementsAre("one.log", path("evil").substr(1), "summary.txt"));
    EXPECT_FALSE(exists("evil"));
}

TEST_F(RequestRun, TakesDotsThatAreNoParentFolder) {
    runRequest(request({"one"}, named("summary", "./s..txt") + named("comments", ".../..c//d..") +
                                    "<comments>text</comments>"));
    EXPECT_THAT(bundledNames(), UnorderedElementsAre("one.log", "s..txt", ".../..c/d..", "summary.txt"));
}

TEST_F(RequestRun, OmitsCommentsWithTheNameOfTheBundleItself) {
    runRequest(request({"one"}, named("comments", ".") + "<comments>text</comments>"));
    EXPECT_THAT(bundledNames(), UnorderedElementsAre("one.log", "summary.txt"));
    EXPECT_THAT(bundled("summary.txt"), HasSubstr("Internal error: can't write comments at"));
}

// Each name would lead to a file outside the bundle.
TEST_F(RequestRun, RefusesAParentFolderAsSummary) {
    refuseName("summary", "../" + path("evil").substr(5));
    EXPECT_FALSE(exists("evil"));
}

TEST_F(RequestRun, RefusesAParentFolderAsComments) {
    refuse(request({"one"}, named("comments", "../" + path("evil").substr(5)) + "<comments>text</comments>"));
    EXPECT_FALSE(exists("evil"));
}

TEST_F(RequestRun, RefusesAParentFolderAnywhereInAName) {
    for (const char* name : {"..", "a/..", "/..", "a//../b", "a/b/../../../c", "./.."}) {
        refuseName("summary", name);
    }
}

TEST_F(RequestRun, RefusesAParentFolderInWhateverFormItIsWritten) {
    for (const char* name :
         {"<![CDATA[../x]]>", "..&#47;x", "&#x2E;&#x2E;/x", ".<!-- -->./x", "a/.<?p i?>."}) {
        refuseName("comments", name);
    }
}

TEST_F(RequestRun, RefusesAParentFolderThatAVariableHolds) {
    ASSERT_EQ(::setenv("MERO_TEST_CLIMB", "../..", 1), 0);
    ASSERT_EQ(::setenv("MERO_TEST_DOT", ".", 1), 0);
    refuseName("summary", "a/$MERO_TEST_CLIMB/evil");
    refuseName("summary", ".$MERO_TEST_DOT/evil");
}

TEST_F(RequestRun, RefusesABadNameAtAnyDepthAndPlace) {
    refuse(request({"one"}, named("summary", "good") +
                                "<file id=\"summary\"><a><b><name>../evil</name></b></a></file>"));
}

TEST_F(RequestRun, TakesAsManyEntriesAsItIsToldTo) {
    EXPECT_EQ(runLimited({"one", "one", "two"}, {.mostEntries = 3, .mostOfOneId = 2}), 0u);
    EXPECT_EQ(runLimited({"one", "two", "three", "four"}, {.mostEntries = 3, .mostOfOneId = 2}),
              MEROENGINE_ERROR_INVALID_XML);
    EXPECT_TRUE(m_log.contains('W', "The request is refused: it has more than 3 entries")) << m_log.dump();
    EXPECT_EQ(runLimited({"one", "two", "one", "one"}, {.mostEntries = 9, .mostOfOneId = 2}),
              MEROENGINE_ERROR_INVALID_XML);
    EXPECT_TRUE(m_log.contains('W', "The request is refused: it has more than 2 entries of one id"))
        << m_log.dump();
}

TEST_F(RequestRun, TakesAnyNumberOfEntriesOfItsOwnUser) {
    runRequest(request(std::vector<std::string>(100, "one")));
    EXPECT_EQ(bundled("one.log"), "one");
}

TEST_F(RequestRun, LooksAtNoNameOfAnItem) {
    runRequest(request({}, named("one", "../../evil")));
    EXPECT_EQ(bundled("one.log"), "one");
}

TEST_F(RequestRun, RefusesAMissingFile) {
    expectRefusedRequest(path("missing.xml"));
}

TEST_F(RequestRun, RefusesAnEmptyFile) {
    refuse("");
}

TEST_F(RequestRun, RefusesAMalformedFile) {
    refuse("<request><file id=\"one\"></request>");
}

TEST_F(RequestRun, RefusesATruncatedFile) {
    refuse("<request><file id=\"one\"></file><comm");
}

TEST_F(RequestRun, RefusesACommentThatEndsItsSection) {
    refuse("<request><comments><![CDATA[a]]>b]]></comments></request>");
}

TEST_F(RequestRun, RefusesBytesThatAreNoText) {
    refuse(std::string("<request><comments>\xFF\x80</comments></request>"));
    EXPECT_TRUE(m_log.contains('E', "xml errorCB: ")) << m_log.dump();
}

TEST_F(RequestRun, RefusesNulBytes) {
    refuse(std::string("\0\0\0\0<request/>", 14));
}

TEST_F(RequestRun, RefusesAnEndlessNesting) {
    std::string text;
    for (int depth = 0; depth < 100000; ++depth) {
        text += "<a>";
    }
    refuse(text);
}

TEST_F(RequestRun, RefusesAnEntityBomb) {
    std::string text = "<!DOCTYPE request [<!ENTITY a0 \"aaaaaaaaaa\">";
    for (int level = 1; level < 12; ++level) {
        text += "<!ENTITY a" + std::to_string(level) + " \"";
        for (int i = 0; i < 10; ++i) {
            text += "&a" + std::to_string(level - 1) + ";";
        }
        text += "\">";
    }
    refuse(text + "]><request><comments>&a11;</comments></request>");
}

TEST_F(RequestRun, ReadsNoOtherFileThroughAnEntity) {
    const std::string secret = writeFile("secret", "top secret");
    EXPECT_NE(run(writeFile("request.xml", "<!DOCTYPE request [<!ENTITY x SYSTEM \"" + secret +
                                               "\">]><request><comments>&x;</comments></request>")),
              0u);
    EXPECT_FALSE(m_log.contains('*', "top secret"));
}

TEST_F(RequestRun, RefusesAFolder) {
    expectRefusedRequest(makeFolder("folder.xml"));
}

TEST_F(RequestRun, RefusesAPipeWithoutWaiting) {
    ASSERT_EQ(::mkfifo(path("pipe.xml").c_str(), 0600), 0);
    expectRefusedRequest(path("pipe.xml"));
}

TEST_F(RequestRun, RefusesASocket) {
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM, 0));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::string name = path("s.xml");
    ASSERT_LT(name.size(), sizeof address.sun_path);
    name.copy(address.sun_path, name.size());
    ASSERT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    expectRefusedRequest(name);
}

TEST_F(RequestRun, RefusesALoopingLink) {
    fs::create_symlink("loop.xml", path("loop.xml"));
    expectRefusedRequest(path("loop.xml"));
}

TEST_F(RequestRun, FailsForATreeWithoutARoot) {
    // No file gives such a tree, since a document without a root isn't well-formed; so it comes by hand.
    OpenEngine engine("request.xml", path("inst"), m_target, {}, kModeCollect, false, true);
    MEROXmlObject empty;
    EXPECT_EQ(engine.takeRequest({&empty}), MEROENGINE_ERROR_NULL_POINTER);
    EXPECT_THAT(m_listener.reports(),
                ElementsAre(Report{0, "Internal Error: MERO has encountered an error...",
                                   MEROENGINE_ERROR_NULL_POINTER}));
    EXPECT_TRUE(m_log.contains('E', "Internal Error: MERO has encountered an error...")) << m_log.dump();
}

/// Requests whose path others can guess.
class PrivateRequestRun : public RequestRun {
protected:
    void expectTaken(const std::string& requestPath) const {
        const auto one = engine(requestPath);
        one->setPrivateRequest();
        EXPECT_EQ(one->run(), 0u) << m_log.dump();
    }
    void expectRefused(const std::string& requestPath) const {
        const auto one = engine(requestPath);
        one->setPrivateRequest();
        EXPECT_EQ(one->run(), MEROENGINE_ERROR_INVALID_XML);
        EXPECT_FALSE(exists("out.zip"));
        // The same file is good for who names it.
        EXPECT_EQ(run(requestPath), 0u);
    }
    std::string m_request = writeFile("request.xml", request({"one"}));
};

TEST_F(PrivateRequestRun, TakesAFileOfTheUserAlone) {
    expectTaken(m_request);
    unpack();
    EXPECT_THAT(bundledNames(), UnorderedElementsAre("one.log", "summary.txt"));
}

TEST_F(PrivateRequestRun, FollowsNoLink) {
    fs::create_symlink(m_request, path("link.xml"));
    expectRefused(path("link.xml"));
}

TEST_F(PrivateRequestRun, TakesNoFileWithASecondName) {
    fs::create_hard_link(m_request, path("second.xml"));
    expectRefused(path("second.xml"));
}

TEST_F(PrivateRequestRun, TakesNoFileOfSomebodyElse) {
    if (!runsAsRoot()) {
        GTEST_SKIP() << "only root can give a file to another user";
    }
    ASSERT_EQ(::chown(m_request.c_str(), 65534, 65534), 0);
    expectRefused(m_request);
}
