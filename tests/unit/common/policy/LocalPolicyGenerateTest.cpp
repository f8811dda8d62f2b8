#include "Common/Utility/ReturnCodes.h"
#include "tests/support/InChild.h"
#include "tests/unit/common/policy/LocalPolicyTest.h"

#include <gmock/gmock.h>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<TrellinkLocalPolicy xmlns=\"http://schemas.xmlsoap.org/encoding/\""
    " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""
    " xsi:schemaLocation=\"http://schemas.xmlsoap.org/encoding/ TrellinkLocalPolicy.xsd\""
    " tlversion=\"" SUITE_VERSION "\">";
const std::string kTail = "\n</TrellinkLocalPolicy>\n";

class LocalPolicyGenerate : public LocalPolicyTest {
protected:
    bool generate(const std::vector<const char*>& arguments, bool overwrite = true) {
        return m_policy->GenerateLocalPolicy(arguments.data(), static_cast<int>(arguments.size()), overwrite);
    }
    /// Generates a policy. @return what stands inside its root.
    std::string generated(const std::vector<const char*>& arguments) {
        EXPECT_TRUE(generate(arguments)) << m_log.dump();
        const std::string text = readFile(kFile);
        EXPECT_TRUE(text.starts_with(kHead) && text.ends_with(kTail)) << text;
        return text.substr(kHead.size(), text.size() - kHead.size() - kTail.size());
    }
    /// The one warning there is.
    void expectWarning(const std::string& text) const {
        EXPECT_THAT(m_policy->getWarnings(), ElementsAre(text));
        EXPECT_EQ(m_log.count('W', text), 1) << m_log.dump();
        EXPECT_EQ(m_log.count('W', "Function: GenerateLocalPolicy\n"), 1) << m_log.dump();
    }
};

TEST_F(LocalPolicyGenerate, WritesTheSettingsByNameAndTheUpdatesInUpdatePolicy) {
    EXPECT_EQ(generated({"upsu=false", "rwl=true", "upal=a.example", "bd=true", "ecc=false", "uphlp=true",
                         "rpc=Credentials,All"}),
              "\n<BypassDownloader>true</BypassDownloader>"
              "\n<EnableCRLCheck>false</EnableCRLCheck>"
              "\n<RestrictPreferenceCaching>Credentials,All</RestrictPreferenceCaching>"
              "\n<RestrictWebLaunch>true</RestrictWebLaunch>"
              "\n<UpdatePolicy>"
              "\n<AllowHelpUpdatesFromAnyServer>true</AllowHelpUpdatesFromAnyServer>"
              "\n<AllowSoftwareUpdatesFromAnyServer>false</AllowSoftwareUpdatesFromAnyServer>"
              "\n<AuthorizedServerList>\n<ServerName>a.example</ServerName></AuthorizedServerList>"
              "</UpdatePolicy>");
    EXPECT_THAT(m_policy->getWarnings(), IsEmpty());
    EXPECT_TRUE(m_log.lines().empty()) << m_log.dump();
}

TEST_F(LocalPolicyGenerate, EverySettingCanBeWritten) {
    std::vector<std::string> arguments;
    for (const PolicySetting& setting : PolicySettings::all()) {
        const std::string_view value = setting.allowedValues.empty() ? "All" : setting.allowedValues.back();
        arguments.push_back(std::string(setting.abbreviation) + "=" + std::string(value));
    }
    std::vector<const char*> given;
    given.reserve(arguments.size());
    for (const std::string& argument : arguments) {
        given.push_back(argument.c_str());
    }
    const std::string content = generated(given);
    for (const PolicySetting& setting : PolicySettings::all()) {
        EXPECT_NE(content.find("\n<" + std::string(setting.element) + ">"), std::string::npos)
            << setting.element;
    }
    EXPECT_THAT(m_policy->getWarnings(), IsEmpty());
}

TEST_F(LocalPolicyGenerate, WithoutUpdateArgumentThereIsNoUpdatePolicy) {
    EXPECT_EQ(generated({"bd=true"}).find("UpdatePolicy"), std::string::npos);
}

TEST_F(LocalPolicyGenerate, WithoutAnArgumentThereIsNoSetting) {
    EXPECT_EQ(generated({nullptr, nullptr}), "");
    const char* const arguments[] = {"bd=true"};
    EXPECT_TRUE(m_policy->GenerateLocalPolicy(arguments, 0, true));
    EXPECT_EQ(readFile(kFile), kHead + kTail);
}

TEST_F(LocalPolicyGenerate, NullArgumentsAreRefused) {
    EXPECT_FALSE(m_policy->GenerateLocalPolicy(nullptr, 1, true));
    EXPECT_FALSE(m_policy->GenerateLocalPolicy(nullptr, 0, true));
    const char* const arguments[] = {"bd=true"};
    EXPECT_FALSE(m_policy->GenerateLocalPolicy(arguments, -1, true));
    EXPECT_EQ(m_log.count('E', "Invalid Arguments"), 3) << m_log.dump();
    EXPECT_EQ(m_log.count('E', "Function: GenerateLocalPolicy\n"), 3) << m_log.dump();
    EXPECT_FALSE(exists(kFile));
}

TEST_F(LocalPolicyGenerate, FileThatIsThereStaysUnlessItMayBeReplaced) {
    writeFile(kFile, "former");
    EXPECT_TRUE(generate({"bd=true"}, false));
    EXPECT_EQ(readFile(kFile), "former");
    expectWarning("Local Security Policy file already exists and therefore will not be generated");
    EXPECT_TRUE(generate({"bd=true"}, true));
    EXPECT_NE(readFile(kFile), "former");
    EXPECT_THAT(m_policy->getWarnings(), IsEmpty());
}

TEST_F(LocalPolicyGenerate, MissingFileIsMadeThoughNoneMayBeReplaced) {
    EXPECT_TRUE(generate({"bd=true"}, false));
    EXPECT_TRUE(exists(kFile));
}

TEST_F(LocalPolicyGenerate, MissingFolderIsMade) {
    StoragePathTestAccess::setInstallPath(*m_paths, path("a/b/"));
    EXPECT_TRUE(generate({"bd=true"}, false));
    EXPECT_TRUE(exists(std::string("a/b/") + kFile));
}

TEST_F(LocalPolicyGenerate, ArgumentWithoutAnEqualsSignIsIgnored) {
    EXPECT_EQ(generated({"bd", "rwl=true"}), "\n<RestrictWebLaunch>true</RestrictWebLaunch>");
    expectWarning("ignoring invalid argument bd. Arguments in the form policy_abbreviation=value expected");
}

TEST_F(LocalPolicyGenerate, EmptyValueIsPassedOverWithoutAWord) {
    EXPECT_EQ(generated({"bd=", "nothing=", "="}), "");
    EXPECT_THAT(m_policy->getWarnings(), IsEmpty());
    EXPECT_TRUE(m_log.lines().empty()) << m_log.dump();
}

TEST_F(LocalPolicyGenerate, UndefinedAbbreviationIsIgnored) {
    EXPECT_EQ(generated({"xy=true"}), "");
    expectWarning("ignoring undefined abbreviation xy");
    for (const char* argument : {"BD=true", "BypassDownloader=true", "=true", " bd=true"}) {
        EXPECT_EQ(generated({argument}), "") << argument;
    }
}

TEST_F(LocalPolicyGenerate, ValueGetsTheSpellingOfTheTable) {
    EXPECT_EQ(generated({"fm=TRUE"}), "\n<FipsMode>true</FipsMode>");
    EXPECT_EQ(generated({"rtp=tls"}), "\n<RestrictTunnelProtocols>TLS</RestrictTunnelProtocols>");
    EXPECT_EQ(generated({"rtp=IPSEC"}), "\n<RestrictTunnelProtocols>IPSec</RestrictTunnelProtocols>");
}

TEST_F(LocalPolicyGenerate, TunnelProtocolsThatAreWrittenAreNotReadBack) {
    static_cast<void>(generated({"rtp=tls"}));
    EXPECT_EQ(m_policy->LoadLocalTrellinkPolicy(), 0U);
    EXPECT_EQ(m_policy->getLocalPolicyInfo().getRestrictTunnelProtocols(), 0);
}

TEST_F(LocalPolicyGenerate, ValueThatIsNotAllowedIsDropped) {
    EXPECT_EQ(generated({"fm=yes"}), "");
    expectWarning("yes is not an allowed value for policy FipsMode");
    EXPECT_EQ(generated({"fm=true=false", "rtp=TLS "}), "");
}

// With it in the file no setting at all could be read.
TEST_F(LocalPolicyGenerate, ValueThatNoDocumentCanHoldIsDropped) {
    EXPECT_EQ(generated({"upal=a\x01"}), "");
    expectWarning("a\x01 is not an allowed value for policy AuthorizedServerList");
    for (const char* argument :
         {"rpc=\xFF", "rpc=a]]>", "rpc=a]]>,b", "upal=a]]>b", "upal=<;]]>", "upal=a]]>,&b"}) {
        EXPECT_EQ(generated({argument}), "") << argument;
        EXPECT_EQ(m_policy->getWarnings().size(), 1U) << argument;
    }
}

// Markup anywhere in it puts the whole value into sections; only the names of servers are texts of their own.
TEST_F(LocalPolicyGenerate, ValueCountsAsAWholeUnlessItIsAListOfServers) {
    EXPECT_EQ(generated({"rpc=a]]>,&b"}), "\n<RestrictPreferenceCaching><![CDATA[a]]]]><![CDATA[>,&b]]>"
                                          "</RestrictPreferenceCaching>");
    EXPECT_TRUE(m_policy->getWarnings().empty());
    EXPECT_EQ(m_policy->LoadLocalTrellinkPolicy(), 0U) << m_log.dump();
}

TEST_F(LocalPolicyGenerate, FirstOfTwoValuesCounts) {
    EXPECT_EQ(generated({"fm=true", "fm=false"}), "\n<FipsMode>true</FipsMode>");
    expectWarning("ignoring duplicate policy arg fm=false. The first value will be used");
}

TEST_F(LocalPolicyGenerate, DroppedValueIsNoFirstOne) {
    EXPECT_EQ(generated({"fm=yes", "fm=", "fm=false"}), "\n<FipsMode>false</FipsMode>");
}

TEST_F(LocalPolicyGenerate, ServersAreSplitAtCommasAndSemicolons) {
    EXPECT_EQ(generated({"upal=a.example;b.example,,c.example"}),
              "\n<UpdatePolicy>\n<AuthorizedServerList>\n<ServerName>a.example</ServerName>"
              "\n<ServerName>b.example</ServerName>\n<ServerName>c.example</ServerName>"
              "</AuthorizedServerList></UpdatePolicy>");
    EXPECT_EQ(generated({"upal=,;"}),
              "\n<UpdatePolicy>\n<AuthorizedServerList></AuthorizedServerList></UpdatePolicy>");
}

TEST_F(LocalPolicyGenerate, MarkupInAValueComesBackAsItWas) {
    static_cast<void>(generated({"upal=<a>]]>&amp,b\"'"}));
    EXPECT_EQ(m_policy->LoadLocalTrellinkPolicy(), 0U) << m_log.dump();
    EXPECT_THAT(m_policy->getLocalPolicyInfo().getAuthorizedServerList(), ElementsAre("<a>]]>&amp", "b\"'"));
}

TEST_F(LocalPolicyGenerate, WhatIsWrittenIsReadBack) {
    static_cast<void>(generated({"fm=true", "rpc=Thumbprints", "emn=true", "upres=false", "upal=a,b"}));
    EXPECT_EQ(m_policy->LoadLocalTrellinkPolicy(), 0U);
    EXPECT_THAT(changes(m_policy->getLocalPolicyInfo()),
                ElementsAre("FipsMode=true", "RestrictPreferenceCaching=Thumbprints",
                            "ExcludeMacNativeCertStore=true", "AllowResourceUpdatesFromAnyServer=false",
                            "AuthorizedServerList=a,b"));
}

TEST_F(LocalPolicyGenerate, GeneratingChangesNoSettingInForce) {
    static_cast<void>(generated({"bd=true"}));
    EXPECT_THAT(changes(m_policy->getLocalPolicyInfo()), IsEmpty());
}

TEST_F(LocalPolicyGenerate, FailedWriteIsLoggedAndGivesFalse) {
    makeFolder(kFile);
    EXPECT_FALSE(generate({"bd=true"}));
    EXPECT_TRUE(
        m_log.containsCode('E', "writeLocalPolicy", "ZMTSaxWriter::writeDocument", GLOBAL_ERROR_UNEXPECTED))
        << m_log.dump();
}

TEST_F(LocalPolicyGenerate, PipeInTheFilesPlaceIsAFailedWriteAtOnce) {
    ASSERT_EQ(::mkfifo(kFile, 0600), 0);
    EXPECT_FALSE(generate({"bd=true"}, false));
}

TEST_F(LocalPolicyGenerate, FullDiskGivesFalse) {
    withFileSizeLimit(50, [this] { EXPECT_FALSE(generate({"bd=true"})); });
}

} // namespace
