// Files that are no good policy.

#include "Common/Utility/ReturnCodes.h"
#include "tests/support/InChild.h"
#include "tests/unit/common/policy/LocalPolicyTest.h"

#include <fstream>
#include <gmock/gmock.h>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class HostileLocalPolicy : public LocalPolicyTest {
protected:
    void expectUnreadable() {
        EXPECT_EQ(m_policy->LoadLocalTrellinkPolicy(), GLOBAL_ERROR_UNEXPECTED);
        EXPECT_TRUE(m_log.containsCode('E', "LoadLocalTrellinkPolicy", "XmlParser::parseFile",
                                       GLOBAL_ERROR_UNEXPECTED))
            << m_log.dump();
        EXPECT_EQ(m_log.count('I', "FIPS mode"), 0);
    }
    /// A file of about 100 MB: `head`, `part` over and over, `tail`.
    void writeBig(const std::string& head, const std::string& part, const std::string& tail) const {
        constexpr std::size_t kBytes = 100U << 20;
        std::string block;
        while (block.size() < (1U << 20)) {
            block += part;
        }
        std::ofstream stream(path(kFile), std::ios::binary);
        stream << "<TrellinkLocalPolicy>" << head;
        for (std::size_t written = 0; written < kBytes; written += block.size()) {
            stream << block;
        }
        stream << tail << "</TrellinkLocalPolicy>";
        ASSERT_TRUE(stream.flush());
    }
};

TEST_F(HostileLocalPolicy, MalformedFileLeavesWhatWasReadAndTheDefaults) {
    writeFile(kFile, "<TrellinkLocalPolicy><BypassDownloader>true</BypassDownloader></Other>"
                     "<RestrictWebLaunch>true</RestrictWebLaunch>");
    expectUnreadable();
    EXPECT_THAT(changes(m_policy->getLocalPolicyInfo()), ElementsAre("BypassDownloader=true"));
}

TEST_F(HostileLocalPolicy, TextOfATruncatedFileCounts) {
    writeFile(kFile, "<TrellinkLocalPolicy><BypassDownloader>true");
    expectUnreadable();
    EXPECT_THAT(changes(m_policy->getLocalPolicyInfo()), ElementsAre("BypassDownloader=true"));
}

TEST_F(HostileLocalPolicy, MalformedFileDoesNotDecideTheFipsMode) {
    writeFile(kFile, "<TrellinkLocalPolicy><FipsMode>true</FipsMode>");
    expectUnreadable();
    EXPECT_FALSE(m_policy->isFipsEnabled());
    EXPECT_TRUE(load("<FipsMode>true</FipsMode>").getFipsMode());
    writeFile(kFile, "<TrellinkLocalPolicy><FipsMode>false</FipsMode>");
    EXPECT_EQ(m_policy->LoadLocalTrellinkPolicy(), GLOBAL_ERROR_UNEXPECTED);
    EXPECT_TRUE(m_policy->isFipsEnabled());
}

TEST_F(HostileLocalPolicy, PositionOfABrokenFileIsForgotten) {
    writeFile(kFile, "<TrellinkLocalPolicy><UpdatePolicy><AuthorizedServerList><ServerName>");
    expectUnreadable();
    EXPECT_THAT(changes(load("<AllowHelpUpdatesFromAnyServer>false</AllowHelpUpdatesFromAnyServer>"
                             "<ServerName>a</ServerName>")),
                IsEmpty());
    EXPECT_EQ(m_log.count('W', kMisplaced), 1) << m_log.dump();
}

TEST_F(HostileLocalPolicy, FilesThatAreNoDocumentAreFailures) {
    for (const std::string& text :
         {std::string(), std::string(" \n"), std::string("FipsMode=true"), std::string("\0\0\0\0", 4),
          std::string("<a/><b/>"), std::string("<a>&entity;</a>")}) {
        writeFile(kFile, text);
        expectUnreadable();
        EXPECT_THAT(changes(m_policy->getLocalPolicyInfo()), IsEmpty()) << text;
    }
}

TEST_F(HostileLocalPolicy, FolderInTheFilesPlaceIsNoFile) {
    makeFolder(kFile);
    EXPECT_EQ(m_policy->LoadLocalTrellinkPolicy(), 0U);
    EXPECT_THAT(changes(m_policy->getLocalPolicyInfo()), IsEmpty());
}

TEST_F(HostileLocalPolicy, PipeInTheFilesPlaceIsNoFile) {
    ASSERT_EQ(::mkfifo(kFile, 0600), 0);
    EXPECT_EQ(m_policy->LoadLocalTrellinkPolicy(), 0U);
    EXPECT_THAT(changes(m_policy->getLocalPolicyInfo()), IsEmpty());
}

TEST_F(HostileLocalPolicy, LinkIsFollowedToAFile) {
    writeFile("elsewhere.xml", "<a><BypassDownloader>true</BypassDownloader></a>");
    ASSERT_EQ(::symlink("elsewhere.xml", kFile), 0);
    EXPECT_EQ(m_policy->LoadLocalTrellinkPolicy(), 0U);
    EXPECT_TRUE(m_policy->getLocalPolicyInfo().getBypassDownloader());
}

TEST_F(HostileLocalPolicy, LinkToNothingIsNoFile) {
    ASSERT_EQ(::symlink("missing", kFile), 0);
    EXPECT_EQ(m_policy->LoadLocalTrellinkPolicy(), 0U);
    EXPECT_TRUE(m_log.lines().empty()) << m_log.dump();
}

TEST_F(HostileLocalPolicy, LinkToItselfIsNoFile) {
    ASSERT_EQ(::symlink(kFile, kFile), 0);
    EXPECT_EQ(m_policy->LoadLocalTrellinkPolicy(), 0U);
    EXPECT_THAT(changes(m_policy->getLocalPolicyInfo()), IsEmpty());
    EXPECT_TRUE(m_log.containsCode('E', "fileExists", "_tstat", ELOOP)) << m_log.dump();
}

TEST_F(HostileLocalPolicy, FileThatTheUserMayNotReadIsAFailure) {
    writePolicy("<BypassDownloader>true</BypassDownloader>");
    ASSERT_EQ(::chmod(kFile, 0), 0);
    asOrdinaryUser([this] {
        expectUnreadable();
        EXPECT_THAT(changes(m_policy->getLocalPolicyInfo()), IsEmpty());
    });
}

TEST_F(HostileLocalPolicy, AHundredMegabytesOfUnknownElementsAreReadPast) {
    writeBig("", "<x y=\"" + std::string(4000, 'v') + "\">t</x>",
             "<BypassDownloader>true</BypassDownloader>");
    EXPECT_EQ(m_policy->LoadLocalTrellinkPolicy(), 0U) << m_log.dump();
    EXPECT_THAT(changes(m_policy->getLocalPolicyInfo()), ElementsAre("BypassDownloader=true"));
}

TEST_F(HostileLocalPolicy, AHundredMegabytesInOneValueAreOneValue) {
    writeBig("<BypassDownloader>", "true", "</BypassDownloader>");
    EXPECT_EQ(m_policy->LoadLocalTrellinkPolicy(), 0U) << m_log.dump();
    EXPECT_THAT(changes(m_policy->getLocalPolicyInfo()), IsEmpty());
}

TEST_F(HostileLocalPolicy, AHundredMegabytesOfCachingNamesAreASet) {
    writeBig("<RestrictPreferenceCaching>All", ",Credentials", "</RestrictPreferenceCaching>");
    EXPECT_EQ(m_policy->LoadLocalTrellinkPolicy(), 0U) << m_log.dump();
    EXPECT_EQ(m_policy->getLocalPolicyInfo().getRestrictPreferenceCaching(), (std::set<int>{0, 1, 5}));
}

} // namespace
