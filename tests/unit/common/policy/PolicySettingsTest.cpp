#include "tests/unit/common/policy/LocalPolicyTest.h"

#include <gmock/gmock.h>

namespace {

using ::testing::ElementsAre;

class PolicySettingsTable : public LocalPolicyTest {};

struct Row {
    const char* abbreviation;
    const char* element;
    bool isUpdatePolicy;
    std::vector<std::string_view> allowedValues;
    const char* defaultValue;
};

const std::vector<std::string_view> kFalseTrue = {"false", "true"};
const std::vector<std::string_view> kTrueFalse = {"true", "false"};

const std::vector<Row> kRows = {
    {"fm", "FipsMode", false, kFalseTrue, "false"},
    {"bd", "BypassDownloader", false, kFalseTrue, "false"},
    {"bdl", "BypassDefaultLocalization", false, kFalseTrue, "false"},
    {"rswd", "RestrictScriptWebDeploy", false, kFalseTrue, "false"},
    {"rhwd", "RestrictHelpWebDeploy", false, kFalseTrue, "false"},
    {"rrwd", "RestrictResourceWebDeploy", false, kFalseTrue, "false"},
    {"rlwd", "RestrictLocalizationWebDeploy", false, kFalseTrue, "false"},
    {"rwl", "RestrictWebLaunch", false, kFalseTrue, "false"},
    {"sct", "StrictCertificateTrust", false, kFalseTrue, "false"},
    {"ecc", "EnableCRLCheck", false, kTrueFalse, "false"},
    {"orc", "OCSPRevocation", false, kFalseTrue, "false"},
    {"rpc", "RestrictPreferenceCaching", false, {}, "false"},
    {"rtp", "RestrictTunnelProtocols", false, {"false", "TLS", "IPSec"}, "false"},
    {"efn", "ExcludeFirefoxNSSCertStore", false, kFalseTrue, "false"},
    {"epf", "ExcludePemFileCertStore", false, kFalseTrue, "false"},
    {"emn", "ExcludeMacNativeCertStore", false, kFalseTrue, "false"},
    {"ewn", "ExcludeWinNativeCertStore", false, kFalseTrue, "false"},
    {"rsc", "RestrictServerCertStore", false, kFalseTrue, "false"},
    {"upsu", "AllowSoftwareUpdatesFromAnyServer", true, kTrueFalse, "true"},
    {"upcu", "AllowComplianceModuleUpdatesFromAnyServer", true, kTrueFalse, "true"},
    {"upvp", "AllowVPNProfileUpdatesFromAnyServer", true, kTrueFalse, "true"},
    {"upmv", "AllowManagementVPNProfileUpdatesFromAnyServer", true, kTrueFalse, "true"},
    {"upip", "AllowYREProfileUpdatesFromAnyServer", true, kTrueFalse, "true"},
    {"upsp", "AllowServiceProfileUpdatesFromAnyServer", true, kTrueFalse, "true"},
    {"upscr", "AllowScriptUpdatesFromAnyServer", true, kTrueFalse, "true"},
    {"uphlp", "AllowHelpUpdatesFromAnyServer", true, kTrueFalse, "true"},
    {"upres", "AllowResourceUpdatesFromAnyServer", true, kTrueFalse, "true"},
    {"uploc", "AllowLocalizationUpdatesFromAnyServer", true, kTrueFalse, "true"},
    {"upal", "AuthorizedServerList", true, {}, ""},
};

TEST_F(PolicySettingsTable, HasTheTwentyNineSettingsInOrder) {
    const std::span<const PolicySetting> settings = PolicySettings::all();
    ASSERT_EQ(kRows.size(), 29U);
    ASSERT_EQ(settings.size(), kRows.size());
    const LocalTLPolicyInfo defaults;
    for (std::size_t i = 0; i < kRows.size(); ++i) {
        SCOPED_TRACE(kRows[i].element);
        EXPECT_EQ(settings[i].abbreviation, kRows[i].abbreviation);
        EXPECT_EQ(settings[i].element, kRows[i].element);
        EXPECT_EQ(settings[i].isUpdatePolicy, kRows[i].isUpdatePolicy);
        EXPECT_TRUE(std::equal(settings[i].allowedValues.begin(), settings[i].allowedValues.end(),
                               kRows[i].allowedValues.begin(), kRows[i].allowedValues.end()));
        EXPECT_EQ(settings[i].show(defaults), kRows[i].defaultValue);
        EXPECT_EQ(PolicySettings::find(kRows[i].element), &settings[i]);
    }
}

TEST_F(PolicySettingsTable, KnowsNoOtherElement) {
    for (const char* element :
         {"", "fipsmode", "FIPSMODE", "FipsMode ", "UpdatePolicy", "ServerName", "fm"}) {
        EXPECT_EQ(PolicySettings::find(element), nullptr) << element;
    }
}

struct Flag {
    const char* element;
    bool (LocalTLPolicyInfo::*get)() const;
    bool byDefault;
};

const std::vector<Flag> kFlags = {
    {"FipsMode", &LocalTLPolicyInfo::getFipsMode, false},
    {"BypassDownloader", &LocalTLPolicyInfo::getBypassDownloader, false},
    {"BypassDefaultLocalization", &LocalTLPolicyInfo::getBypassDefaultLocalization, false},
    {"RestrictScriptWebDeploy", &LocalTLPolicyInfo::getRestrictScriptWebDeploy, false},
    {"RestrictHelpWebDeploy", &LocalTLPolicyInfo::getRestrictHelpWebDeploy, false},
    {"RestrictResourceWebDeploy", &LocalTLPolicyInfo::getRestrictResourceWebDeploy, false},
    {"RestrictLocalizationWebDeploy", &LocalTLPolicyInfo::getRestrictLocalizationWebDeploy, false},
    {"RestrictWebLaunch", &LocalTLPolicyInfo::getRestrictWebLaunch, false},
    {"StrictCertificateTrust", &LocalTLPolicyInfo::getStrictCertificateTrust, false},
    {"EnableCRLCheck", &LocalTLPolicyInfo::getEnableCRLCheck, false},
    {"OCSPRevocation", &LocalTLPolicyInfo::getOCSPRevocation, false},
    {"ExcludeFirefoxNSSCertStore", &LocalTLPolicyInfo::getExcludeFirefoxNSSCertStore, false},
    {"ExcludePemFileCertStore", &LocalTLPolicyInfo::getExcludePemFileCertStore, false},
    {"ExcludeMacNativeCertStore", &LocalTLPolicyInfo::getExcludeMacNativeCertStore, false},
    {"ExcludeWinNativeCertStore", &LocalTLPolicyInfo::getExcludeWinNativeCertStore, false},
    {"RestrictServerCertStore", &LocalTLPolicyInfo::getRestrictServerCertStore, false},
    {"AllowSoftwareUpdatesFromAnyServer", &LocalTLPolicyInfo::getAllowSoftwareUpdatesFromAnyServer, true},
    {"AllowComplianceModuleUpdatesFromAnyServer",
     &LocalTLPolicyInfo::getAllowComplianceModuleUpdatesFromAnyServer, true},
    {"AllowVPNProfileUpdatesFromAnyServer", &LocalTLPolicyInfo::getAllowVPNProfileUpdatesFromAnyServer, true},
    {"AllowManagementVPNProfileUpdatesFromAnyServer",
     &LocalTLPolicyInfo::getAllowManagementVPNProfileUpdatesFromAnyServer, true},
    {"AllowYREProfileUpdatesFromAnyServer", &LocalTLPolicyInfo::getAllowYREProfileUpdatesFromAnyServer, true},
    {"AllowServiceProfileUpdatesFromAnyServer",
     &LocalTLPolicyInfo::getAllowServiceProfileUpdatesFromAnyServer, true},
    {"AllowScriptUpdatesFromAnyServer", &LocalTLPolicyInfo::getAllowScriptUpdatesFromAnyServer, true},
    {"AllowHelpUpdatesFromAnyServer", &LocalTLPolicyInfo::getAllowHelpUpdatesFromAnyServer, true},
    {"AllowResourceUpdatesFromAnyServer", &LocalTLPolicyInfo::getAllowResourceUpdatesFromAnyServer, true},
    {"AllowLocalizationUpdatesFromAnyServer", &LocalTLPolicyInfo::getAllowLocalizationUpdatesFromAnyServer,
     true},
};

TEST_F(PolicySettingsTable, EachFlagIsReadIntoItsOwnGetter) {
    for (const Flag& flag : kFlags) {
        SCOPED_TRACE(flag.element);
        const std::string element = flag.element;
        const bool other = !flag.byDefault;
        const std::string value = other ? "true" : "false";
        std::string content = "<";
        content.append(element).append(">").append(value).append("</").append(element).append(">");
        LocalPolicyTestAccess::forgetFipsMode();
        const LocalTLPolicyInfo info =
            load(flag.byDefault ? "<UpdatePolicy>" + content + "</UpdatePolicy>" : content);
        EXPECT_EQ((info.*flag.get)(), other);
        EXPECT_THAT(changes(info), ElementsAre(std::string(element).append("=").append(value)));
        EXPECT_EQ((LocalTLPolicyInfo().*flag.get)(), flag.byDefault);
    }
}

TEST_F(PolicySettingsTable, ExcludedStoresShareOneMask) {
    const auto maskOf = [this](const std::string& element) {
        return load("<" + element + ">true</" + element + ">").getExcludedCertStores();
    };
    EXPECT_EQ(maskOf("ExcludeMacNativeCertStore"), 0x2104U);
    EXPECT_EQ(maskOf("ExcludeWinNativeCertStore"), 0x00C3U);
    EXPECT_EQ(maskOf("ExcludeFirefoxNSSCertStore"), 0x0008U);
    EXPECT_EQ(maskOf("ExcludePemFileCertStore"), 0x0C00U);
    EXPECT_EQ(load("<ExcludePemFileCertStore>true</ExcludePemFileCertStore>"
                   "<ExcludeFirefoxNSSCertStore>true</ExcludeFirefoxNSSCertStore>"
                   "<ExcludePemFileCertStore>false</ExcludePemFileCertStore>")
                  .getExcludedCertStores(),
              0x0C08U);
    EXPECT_EQ(LocalTLPolicyInfo().getExcludedCertStores(), 0U);
}

} // namespace
