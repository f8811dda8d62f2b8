#include "tests/support/InChild.h"
#include "tests/support/PrivateMounts.h"
#include "tests/unit/common/policy/LocalPolicyTest.h"

#include <cerrno>
#include <gmock/gmock.h>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class LocalPolicyLoad : public LocalPolicyTest {
protected:
    std::set<int> caching(const std::string& value) {
        return load("<RestrictPreferenceCaching>" + value + "</RestrictPreferenceCaching>")
            .getRestrictPreferenceCaching();
    }
    int tunnels(const std::string& value) {
        return load("<RestrictTunnelProtocols>" + value + "</RestrictTunnelProtocols>")
            .getRestrictTunnelProtocols();
    }
    std::list<std::string> servers(const std::string& content) {
        return load("<UpdatePolicy><AuthorizedServerList>" + content +
                    "</AuthorizedServerList></UpdatePolicy>")
            .getAuthorizedServerList();
    }
    void expectMisplaced(int times) const {
        EXPECT_EQ(m_log.count('W', kMisplaced), times) << m_log.dump();
        EXPECT_EQ(m_log.count('W', "Function: setElementValue\n"), times) << m_log.dump();
    }
};

TEST_F(LocalPolicyLoad, MissingFileLeavesTheDefaults) {
    EXPECT_EQ(m_policy->LoadLocalTrellinkPolicy(), 0U);
    const LocalTLPolicyInfo info = m_policy->getLocalPolicyInfo();
    EXPECT_THAT(changes(info), IsEmpty());
    for (const PolicySetting& setting : PolicySettings::all()) {
        if (setting.element.starts_with("Allow")) {
            EXPECT_EQ(setting.show(info), "true") << setting.element;
        }
    }
    EXPECT_FALSE(info.getBypassDefaultLocalization());
    EXPECT_EQ(info.getRestrictPreferenceCaching(), std::set<int>{0});
    EXPECT_EQ(info.getRestrictTunnelProtocols(), 0);
    EXPECT_THAT(info.getAuthorizedServerList(), IsEmpty());
    EXPECT_TRUE(m_log.lines().empty()) << m_log.dump();
}

TEST_F(LocalPolicyLoad, FileThatIsGoneAgainBringsTheDefaultsBack) {
    static_cast<void>(load("<BypassDownloader>true</BypassDownloader>"));
    ASSERT_TRUE(std::filesystem::remove(kFile));
    EXPECT_EQ(m_policy->LoadLocalTrellinkPolicy(), 0U);
    EXPECT_THAT(changes(m_policy->getLocalPolicyInfo()), IsEmpty());
}

TEST_F(LocalPolicyLoad, EachLoadBeginsWithTheDefaults) {
    static_cast<void>(load("<BypassDownloader>true</BypassDownloader>"
                           "<RestrictPreferenceCaching>All</RestrictPreferenceCaching>"
                           "<ExcludePemFileCertStore>true</ExcludePemFileCertStore>"));
    EXPECT_THAT(changes(load("<RestrictWebLaunch>true</RestrictWebLaunch>")),
                ElementsAre("RestrictWebLaunch=true"));
}

TEST_F(LocalPolicyLoad, CopyOfTheSettingsDoesNotFollowTheNextLoad) {
    const LocalTLPolicyInfo former = load("<BypassDownloader>true</BypassDownloader>");
    static_cast<void>(load(""));
    EXPECT_TRUE(former.getBypassDownloader());
}

TEST_F(LocalPolicyLoad, OnlyTheExactWordIsTrue) {
    for (const char* value : {"TRUE", "True", "yes", "1", "truee", "tru", "false", "true true", " "}) {
        EXPECT_FALSE(
            load("<BypassDownloader>" + std::string(value) + "</BypassDownloader>").getBypassDownloader())
            << value;
        LocalPolicyTestAccess::forgetFipsMode();
        EXPECT_FALSE(load("<FipsMode>" + std::string(value) + "</FipsMode>").getFipsMode()) << value;
    }
    EXPECT_TRUE(load("<BypassDownloader>\n\t true \n</BypassDownloader>").getBypassDownloader());
}

TEST_F(LocalPolicyLoad, FipsModeInCapitalsIsFalse) {
    EXPECT_FALSE(load("<FipsMode>TRUE</FipsMode>").getFipsMode());
    EXPECT_FALSE(m_policy->isFipsEnabled());
}

TEST_F(LocalPolicyLoad, AnythingButTrueForbidsUpdates) {
    for (const char* value : {"false", "TRUE", "x", " "}) {
        EXPECT_FALSE(load("<UpdatePolicy><AllowHelpUpdatesFromAnyServer>" + std::string(value) +
                          "</AllowHelpUpdatesFromAnyServer></UpdatePolicy>")
                         .getAllowHelpUpdatesFromAnyServer())
            << value;
    }
}

TEST_F(LocalPolicyLoad, ElementWithoutTextSetsNothing) {
    EXPECT_TRUE(load("<UpdatePolicy><AllowHelpUpdatesFromAnyServer/><AuthorizedServerList>"
                     "<ServerName/></AuthorizedServerList></UpdatePolicy>")
                    .getAllowHelpUpdatesFromAnyServer());
    EXPECT_THAT(m_policy->getLocalPolicyInfo().getAuthorizedServerList(), IsEmpty());
}

TEST_F(LocalPolicyLoad, LastOfTwoElementsCounts) {
    EXPECT_FALSE(load("<BypassDownloader>true</BypassDownloader><BypassDownloader>false</BypassDownloader>")
                     .getBypassDownloader());
}

TEST_F(LocalPolicyLoad, TextCountsAsAWhole) {
    for (const char* value : {"true<!-- a comment -->", "\n  true\n  <!-- a comment -->\n", "tr<!-- -->ue",
                              "tr&#117;e", "<![CDATA[true]]>", "<![CDATA[tr]]>ue"}) {
        EXPECT_TRUE(
            load("<BypassDownloader>" + std::string(value) + "</BypassDownloader>").getBypassDownloader())
            << value;
    }
    EXPECT_FALSE(load("<BypassDownloader>true<!-- -->x</BypassDownloader>").getBypassDownloader());
    EXPECT_THAT(servers("<ServerName>a<!-- -->.example</ServerName>"), ElementsAre("a.example"));
    EXPECT_EQ(caching("Credentials<!-- -->AndThumbprints"), (std::set<int>{0, 3}));
    EXPECT_EQ(
        load("<ExcludePemFileCertStore>true<!-- -->x</ExcludePemFileCertStore>").getExcludedCertStores(), 0U);
}

TEST_F(LocalPolicyLoad, TextBehindAChildElementIsIgnored) {
    EXPECT_TRUE(load("<BypassDownloader>true<x>false</x>false</BypassDownloader>").getBypassDownloader());
}

TEST_F(LocalPolicyLoad, TunnelProtocolsAreReadInLowerCaseOnly) {
    EXPECT_EQ(tunnels("TLS"), 0);
    EXPECT_EQ(tunnels("IPSec"), 0);
    EXPECT_EQ(tunnels("tls"), 1);
    EXPECT_EQ(tunnels("ipsec"), 2);
    EXPECT_EQ(tunnels("false"), 0);
}

TEST_F(LocalPolicyLoad, UnknownTunnelProtocolLeavesTheValue) {
    const std::string first = "tls</RestrictTunnelProtocols><RestrictTunnelProtocols>";
    EXPECT_EQ(tunnels(first + "TLS"), 1);
    EXPECT_EQ(tunnels(first + "False"), 1);
    EXPECT_EQ(tunnels(first + "false"), 0);
}

TEST_F(LocalPolicyLoad, CachingAddsToTheDefaultSet) {
    EXPECT_EQ(caching("Credentials"), (std::set<int>{0, 1}));
    EXPECT_EQ(caching("Thumbprints"), (std::set<int>{0, 2}));
    EXPECT_EQ(caching("CredentialsAndThumbprints"), (std::set<int>{0, 3}));
    EXPECT_EQ(caching("AutomaticServerSelection"), (std::set<int>{0, 4}));
    EXPECT_EQ(caching("All"), (std::set<int>{0, 5}));
    EXPECT_EQ(caching("false"), (std::set<int>{0}));
    EXPECT_EQ(caching("All,Credentials,All"), (std::set<int>{0, 1, 5}));
}

TEST_F(LocalPolicyLoad, UnknownPieceEndsTheScanOfCaching) {
    EXPECT_EQ(caching("Credentials,false,All"), (std::set<int>{0, 1}));
    EXPECT_EQ(caching("Credentials,x,All"), (std::set<int>{0, 1}));
    EXPECT_EQ(caching("Credentials,,All"), (std::set<int>{0, 1}));
    EXPECT_EQ(caching("Credentials, All"), (std::set<int>{0, 1})) << "pieces aren't trimmed";
    EXPECT_EQ(caching("credentials"), (std::set<int>{0}));
    EXPECT_EQ(caching(","), (std::set<int>{0}));
    EXPECT_EQ(caching(" "), (std::set<int>{0}));
}

TEST_F(LocalPolicyLoad, ServersStandInTheOrderOfTheFile) {
    EXPECT_THAT(servers("\n<ServerName>b.example</ServerName>\n<ServerName> a.example </ServerName>\n"
                        "<ServerName>b.example</ServerName><ServerName> </ServerName>"),
                ElementsAre("b.example", "a.example", "b.example"));
    EXPECT_TRUE(m_policy->getWarnings().empty());
}

TEST_F(LocalPolicyLoad, UpdateSettingUnderTheRootIsLoggedAndIgnored) {
    EXPECT_THAT(changes(load("<AllowHelpUpdatesFromAnyServer>false</AllowHelpUpdatesFromAnyServer>")),
                IsEmpty());
    expectMisplaced(1);
    EXPECT_THAT(m_policy->getWarnings(), ElementsAre(kMisplaced));
}

TEST_F(LocalPolicyLoad, UpdateSettingBehindUpdatePolicyIsMisplaced) {
    EXPECT_THAT(changes(load("<UpdatePolicy></UpdatePolicy>"
                             "<AllowHelpUpdatesFromAnyServer>false</AllowHelpUpdatesFromAnyServer>"
                             "<AllowScriptUpdatesFromAnyServer>false</AllowScriptUpdatesFromAnyServer>")),
                IsEmpty());
    expectMisplaced(2);
    EXPECT_THAT(m_policy->getWarnings(), ElementsAre(kMisplaced));
    static_cast<void>(load(""));
    EXPECT_THAT(m_policy->getWarnings(), IsEmpty());
}

TEST_F(LocalPolicyLoad, ServerListUnderTheRootIsLoggedAndIgnored) {
    EXPECT_THAT(changes(load("<AuthorizedServerList>\n<ServerName>a</ServerName>\n</AuthorizedServerList>")),
                IsEmpty());
    expectMisplaced(1);
}

TEST_F(LocalPolicyLoad, ServerNameOutsideTheListIsIgnoredWithoutAWord) {
    EXPECT_THAT(changes(load("<ServerName>a</ServerName><UpdatePolicy><ServerName>b</ServerName>"
                             "<AuthorizedServerList>c</AuthorizedServerList><ServerName>d</ServerName>"
                             "</UpdatePolicy>")),
                IsEmpty());
    EXPECT_EQ(m_log.count('W', ""), 0) << m_log.dump();
}

TEST_F(LocalPolicyLoad, UnknownElementsAreIgnoredWithoutAWord) {
    EXPECT_THAT(changes(load("<Unknown>true</Unknown><bypassdownloader>true</bypassdownloader><UpdatePolicy>"
                             "<Other a=\"b\">false</Other></UpdatePolicy>text")),
                IsEmpty());
    EXPECT_EQ(m_log.count('W', ""), 0) << m_log.dump();
}

TEST_F(LocalPolicyLoad, PlainSettingCountsAtAnyDepth) {
    EXPECT_THAT(changes(load("<UpdatePolicy><RestrictWebLaunch>true</RestrictWebLaunch></UpdatePolicy>"
                             "<Other><BypassDownloader>true</BypassDownloader></Other>")),
                ElementsAre("BypassDownloader=true", "RestrictWebLaunch=true"));
}

TEST_F(LocalPolicyLoad, AttributesSetNothing) {
    EXPECT_THAT(changes(load("<BypassDownloader value=\"true\" true=\"true\"/>")), IsEmpty());
}

TEST_F(LocalPolicyLoad, FirstFileFixesTheFipsModeAndLogsIt) {
    EXPECT_TRUE(load("<FipsMode>true</FipsMode>").getFipsMode());
    EXPECT_TRUE(m_policy->isFipsEnabled());
    EXPECT_FALSE(m_policy->isFipsRestartNeeded());
    EXPECT_EQ(m_log.count('I', "FIPS mode is enabled."), 1) << m_log.dump();
    EXPECT_EQ(m_log.count('I', "Function: LoadLocalTrellinkPolicy\n"), 1) << m_log.dump();
}

TEST_F(LocalPolicyLoad, FileWithoutFipsModeFixesItAsDisabled) {
    static_cast<void>(load(""));
    EXPECT_EQ(m_log.count('I', "FIPS mode is disabled."), 1) << m_log.dump();
    EXPECT_FALSE(load("<FipsMode>true</FipsMode>").getFipsMode());
    EXPECT_FALSE(m_policy->isFipsEnabled());
    EXPECT_TRUE(m_policy->isFipsRestartNeeded());
    EXPECT_EQ(m_log.count('I', "FIPS mode is disabled."), 2) << m_log.dump();
}

TEST_F(LocalPolicyLoad, LaterFileOnlyAsksForARestart) {
    static_cast<void>(load("<FipsMode>true</FipsMode>"));
    EXPECT_TRUE(load("<FipsMode>false</FipsMode>").getFipsMode());
    EXPECT_TRUE(m_policy->isFipsRestartNeeded());
    EXPECT_EQ(m_log.count('I', "FIPS mode is enabled."), 2) << m_log.dump();
    EXPECT_TRUE(load("<FipsMode>true</FipsMode>").getFipsMode());
    EXPECT_FALSE(m_policy->isFipsRestartNeeded());
}

TEST_F(LocalPolicyLoad, FipsModeOutlivesTheFileAndTheInstance) {
    static_cast<void>(load("<FipsMode>true</FipsMode>"));
    ASSERT_TRUE(std::filesystem::remove(kFile));
    EXPECT_EQ(m_policy->LoadLocalTrellinkPolicy(), 0U);
    EXPECT_TRUE(m_policy->isFipsEnabled());
    XmlLocalTLPolMgr::releaseInstance(m_policy);
    ASSERT_EQ(XmlLocalTLPolMgr::CreateSingletonInstance(m_policy), 0U);
    EXPECT_TRUE(m_policy->isFipsEnabled());
    EXPECT_TRUE(load("<FipsMode>false</FipsMode>").getFipsMode());
}

TEST_F(LocalPolicyLoad, LoadWithoutAFileLeavesTheFipsModeOpen) {
    EXPECT_EQ(m_policy->LoadLocalTrellinkPolicy(), 0U);
    EXPECT_EQ(m_log.count('I', "FIPS mode"), 0) << m_log.dump();
    EXPECT_TRUE(load("<FipsMode>true</FipsMode>").getFipsMode());
}

// The real place; everything else here is about a place of the test's own.
TEST(LocalPolicyPlace, IsTheInstallationFolder) {
    if (!allowsMounts()) {
        GTEST_SKIP() << "needs mounts of its own, which this environment does not allow";
    }
    inChild([] {
        ASSERT_TRUE(makeMountsPrivate());
        ASSERT_EQ(::mount("none", "/opt", "tmpfs", 0, "size=1m,mode=0755"), 0) << errno;
        CStoragePath* paths = nullptr;
        ASSERT_EQ(CStoragePath::CreateSingletonInstance(paths), 0U);
        XmlLocalTLPolMgr* policy = nullptr;
        ASSERT_EQ(XmlLocalTLPolMgr::CreateSingletonInstance(policy), 0U);
        const char* const arguments[] = {"bd=true"};
        EXPECT_TRUE(policy->GenerateLocalPolicy(arguments, 1, false));
        EXPECT_TRUE(std::filesystem::is_regular_file("/opt/varnel/corvane/TrellinkLocalPolicy.xml"));
        EXPECT_EQ(policy->LoadLocalTrellinkPolicy(), 0U);
        EXPECT_TRUE(policy->getLocalPolicyInfo().getBypassDownloader());
        XmlLocalTLPolMgr::releaseInstance(policy);
        CStoragePath::releaseInstance(paths);
    });
}

} // namespace
