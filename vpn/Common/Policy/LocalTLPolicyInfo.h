#pragma once

#include <cstdint>
#include <list>
#include <set>
#include <string>

/// Bits of the certificate stores that the policy can exclude.
inline constexpr uint32_t kFirefoxNssCertStore = 0x0008;
inline constexpr uint32_t kPemFileCertStore = 0x0C00;
inline constexpr uint32_t kMacNativeCertStore = 0x2104;
inline constexpr uint32_t kWinNativeCertStore = 0x00C3;

/// The settings of the local policy, each under the name of its element; at first those that hold without a
/// policy. A plain value: copies are independent. Most are for callers outside of this system.
class LocalTLPolicyInfo {
public:
    /// Whether the process is in FIPS mode, which may differ from what the file says by now.
    [[nodiscard]] bool getFipsMode() const { return m_fipsMode; }
    [[nodiscard]] bool getBypassDownloader() const { return m_bypassDownloader; }
    [[nodiscard]] bool getBypassDefaultLocalization() const { return m_bypassDefaultLocalization; }
    [[nodiscard]] bool getRestrictScriptWebDeploy() const { return m_restrictScriptWebDeploy; }
    [[nodiscard]] bool getRestrictHelpWebDeploy() const { return m_restrictHelpWebDeploy; }
    [[nodiscard]] bool getRestrictResourceWebDeploy() const { return m_restrictResourceWebDeploy; }
    [[nodiscard]] bool getRestrictLocalizationWebDeploy() const { return m_restrictLocalizationWebDeploy; }
    [[nodiscard]] bool getRestrictWebLaunch() const { return m_restrictWebLaunch; }
    [[nodiscard]] bool getStrictCertificateTrust() const { return m_strictCertificateTrust; }
    [[nodiscard]] bool getEnableCRLCheck() const { return m_enableCrlCheck; }
    [[nodiscard]] bool getOCSPRevocation() const { return m_ocspRevocation; }
    /// What of the user's preferences is not stored: numbers 0 (nothing is kept back) to 5 (all). 0 is always
    /// in it.
    [[nodiscard]] const std::set<int>& getRestrictPreferenceCaching() const {
        return m_restrictPreferenceCaching;
    }
    /// 0: any tunnel, 1: TLS only, 2: IPsec only.
    [[nodiscard]] int getRestrictTunnelProtocols() const { return m_restrictTunnelProtocols; }
    /// The bits of all excluded certificate stores.
    [[nodiscard]] uint32_t getExcludedCertStores() const { return m_excludedCertStores; }
    [[nodiscard]] bool getExcludeFirefoxNSSCertStore() const { return excludes(kFirefoxNssCertStore); }
    [[nodiscard]] bool getExcludePemFileCertStore() const { return excludes(kPemFileCertStore); }
    [[nodiscard]] bool getExcludeMacNativeCertStore() const { return excludes(kMacNativeCertStore); }
    [[nodiscard]] bool getExcludeWinNativeCertStore() const { return excludes(kWinNativeCertStore); }
    [[nodiscard]] bool getRestrictServerCertStore() const { return m_restrictServerCertStore; }
    [[nodiscard]] bool getAllowSoftwareUpdatesFromAnyServer() const {
        return m_allowSoftwareUpdatesFromAnyServer;
    }
    [[nodiscard]] bool getAllowComplianceModuleUpdatesFromAnyServer() const {
        return m_allowComplianceModuleUpdatesFromAnyServer;
    }
    [[nodiscard]] bool getAllowVPNProfileUpdatesFromAnyServer() const {
        return m_allowVpnProfileUpdatesFromAnyServer;
    }
    [[nodiscard]] bool getAllowManagementVPNProfileUpdatesFromAnyServer() const {
        return m_allowManagementVpnProfileUpdatesFromAnyServer;
    }
    [[nodiscard]] bool getAllowYREProfileUpdatesFromAnyServer() const {
        return m_allowYreProfileUpdatesFromAnyServer;
    }
    [[nodiscard]] bool getAllowServiceProfileUpdatesFromAnyServer() const {
        return m_allowServiceProfileUpdatesFromAnyServer;
    }
    [[nodiscard]] bool getAllowScriptUpdatesFromAnyServer() const {
        return m_allowScriptUpdatesFromAnyServer;
    }
    [[nodiscard]] bool getAllowHelpUpdatesFromAnyServer() const { return m_allowHelpUpdatesFromAnyServer; }
    [[nodiscard]] bool getAllowResourceUpdatesFromAnyServer() const {
        return m_allowResourceUpdatesFromAnyServer;
    }
    [[nodiscard]] bool getAllowLocalizationUpdatesFromAnyServer() const {
        return m_allowLocalizationUpdatesFromAnyServer;
    }
    /// The servers that may update the suite where not any server may, in the order of the file.
    [[nodiscard]] const std::list<std::string>& getAuthorizedServerList() const {
        return m_authorizedServerList;
    }

private:
    friend class PolicySettings;
    // NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): its releaseInstance alone may delete it
    friend class XmlLocalTLPolMgr;

    [[nodiscard]] bool excludes(uint32_t store) const { return (m_excludedCertStores & store) == store; }

    bool m_fipsMode = false;
    bool m_bypassDownloader = false;
    bool m_bypassDefaultLocalization = false;
    bool m_restrictScriptWebDeploy = false;
    bool m_restrictHelpWebDeploy = false;
    bool m_restrictResourceWebDeploy = false;
    bool m_restrictLocalizationWebDeploy = false;
    bool m_restrictWebLaunch = false;
    bool m_strictCertificateTrust = false;
    bool m_enableCrlCheck = false;
    bool m_ocspRevocation = false;
    std::set<int> m_restrictPreferenceCaching = {0};
    int m_restrictTunnelProtocols = 0;
    uint32_t m_excludedCertStores = 0;
    bool m_restrictServerCertStore = false;
    bool m_allowSoftwareUpdatesFromAnyServer = true;
    bool m_allowComplianceModuleUpdatesFromAnyServer = true;
    bool m_allowVpnProfileUpdatesFromAnyServer = true;
    bool m_allowManagementVpnProfileUpdatesFromAnyServer = true;
    bool m_allowYreProfileUpdatesFromAnyServer = true;
    bool m_allowServiceProfileUpdatesFromAnyServer = true;
    bool m_allowScriptUpdatesFromAnyServer = true;
    bool m_allowHelpUpdatesFromAnyServer = true;
    bool m_allowResourceUpdatesFromAnyServer = true;
    bool m_allowLocalizationUpdatesFromAnyServer = true;
    std::list<std::string> m_authorizedServerList;
};
