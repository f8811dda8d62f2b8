#include "Common/Policy/PolicySettings.h"

#include <algorithm>
#include <array>
#include <boost/algorithm/string/join.hpp>

namespace {

using Info = LocalTLPolicyInfo;

constexpr std::array<std::string_view, 2> kFalseTrue = {"false", "true"};
constexpr std::array<std::string_view, 2> kTrueFalse = {"true", "false"};
constexpr std::array<std::string_view, 3> kTunnelProtocols = {"false", "TLS", "IPSec"};

/// The names that are read, each at its number.
constexpr std::array<std::string_view, 3> kReadTunnelProtocols = {"false", "tls", "ipsec"};
constexpr std::array<std::string_view, 6> kPreferences = {
    "false", "Credentials", "Thumbprints", "CredentialsAndThumbprints", "AutomaticServerSelection", "All"};

constexpr std::string_view kTrue = "true";

std::string nameOf(bool value) {
    return value ? "true" : "false";
}

/// The number of a name, or the number of names.
template <std::size_t Count>
std::size_t numberOf(const std::array<std::string_view, Count>& names, std::string_view name) {
    return static_cast<std::size_t>(std::find(names.begin(), names.end(), name) - names.begin());
}

} // namespace

struct PolicySettings::Kinds {
    template <bool Info::*Field> static void readFlag(Info& policy, const std::string& text) {
        policy.*Field = text == kTrue;
    }
    template <bool Info::*Field> static std::string showFlag(const Info& policy) {
        return nameOf(policy.*Field);
    }

    template <uint32_t Bits> static void readStore(Info& policy, const std::string& text) {
        if (text == kTrue) {
            policy.m_excludedCertStores |= Bits;
        }
    }
    template <uint32_t Bits> static std::string showStore(const Info& policy) {
        return nameOf(policy.excludes(Bits));
    }

    /// Adds to the set; 0 stays in it.
    static void readPreferences(Info& policy, const std::string& text) {
        forEachPiece(text, ",", [&policy](std::string_view piece) {
            const std::size_t number = numberOf(kPreferences, piece);
            const bool known = number > 0 && number < kPreferences.size();
            policy.m_restrictPreferenceCaching.insert(known ? static_cast<int>(number) : 0);
            return known;
        });
    }
    /// Without the 0, unless nothing else is in the set.
    static std::string showPreferences(const Info& policy) {
        std::list<std::string> names;
        for (const int number : policy.m_restrictPreferenceCaching) {
            names.emplace_back(kPreferences.at(static_cast<std::size_t>(number)));
        }
        if (names.size() > 1) {
            names.pop_front();
        }
        return boost::algorithm::join(names, ",");
    }

    /// A name that isn't known changes nothing. "TLS" and "IPSec", as they are written, are not known:
    /// installed clients read the lower-case names only, and a file has to mean the same to all.
    static void readTunnels(Info& policy, const std::string& text) {
        const std::size_t number = numberOf(kReadTunnelProtocols, text);
        if (number < kReadTunnelProtocols.size()) {
            policy.m_restrictTunnelProtocols = static_cast<int>(number);
        }
    }
    static std::string showTunnels(const Info& policy) {
        return std::string(
            kReadTunnelProtocols.at(static_cast<std::size_t>(policy.m_restrictTunnelProtocols)));
    }

    static void readServer(Info& policy, const std::string& text) {
        // Blanks between tags name no server.
        if (!text.empty()) {
            policy.m_authorizedServerList.push_back(text);
        }
    }
    static std::string showServers(const Info& policy) {
        return boost::algorithm::join(policy.m_authorizedServerList, ",");
    }

    template <bool Info::*Field>
    static constexpr PolicySetting flag(std::string_view abbreviation, std::string_view element,
                                        std::span<const std::string_view> values = kFalseTrue) {
        return {abbreviation, element, false, values, &readFlag<Field>, &showFlag<Field>};
    }
    template <bool Info::*Field>
    static constexpr PolicySetting update(std::string_view abbreviation, std::string_view element) {
        return {abbreviation, element, true, kTrueFalse, &readFlag<Field>, &showFlag<Field>};
    }
    template <uint32_t Bits>
    static constexpr PolicySetting store(std::string_view abbreviation, std::string_view element) {
        return {abbreviation, element, false, kFalseTrue, &readStore<Bits>, &showStore<Bits>};
    }
    static std::span<const PolicySetting> all();
};

std::span<const PolicySetting> PolicySettings::Kinds::all() {
    static constexpr std::array kAll = {
        flag<&Info::m_fipsMode>("fm", "FipsMode"),
        flag<&Info::m_bypassDownloader>("bd", "BypassDownloader"),
        flag<&Info::m_bypassDefaultLocalization>("bdl", "BypassDefaultLocalization"),
        flag<&Info::m_restrictScriptWebDeploy>("rswd", "RestrictScriptWebDeploy"),
        flag<&Info::m_restrictHelpWebDeploy>("rhwd", "RestrictHelpWebDeploy"),
        flag<&Info::m_restrictResourceWebDeploy>("rrwd", "RestrictResourceWebDeploy"),
        flag<&Info::m_restrictLocalizationWebDeploy>("rlwd", "RestrictLocalizationWebDeploy"),
        flag<&Info::m_restrictWebLaunch>("rwl", "RestrictWebLaunch"),
        flag<&Info::m_strictCertificateTrust>("sct", "StrictCertificateTrust"),
        flag<&Info::m_enableCrlCheck>("ecc", "EnableCRLCheck", kTrueFalse),
        flag<&Info::m_ocspRevocation>("orc", "OCSPRevocation"),
        PolicySetting{"rpc", "RestrictPreferenceCaching", false, {}, &readPreferences, &showPreferences},
        PolicySetting{"rtp", "RestrictTunnelProtocols", false, kTunnelProtocols, &readTunnels, &showTunnels},
        store<kFirefoxNssCertStore>("efn", "ExcludeFirefoxNSSCertStore"),
        store<kPemFileCertStore>("epf", "ExcludePemFileCertStore"),
        store<kMacNativeCertStore>("emn", "ExcludeMacNativeCertStore"),
        store<kWinNativeCertStore>("ewn", "ExcludeWinNativeCertStore"),
        flag<&Info::m_restrictServerCertStore>("rsc", "RestrictServerCertStore"),
        update<&Info::m_allowSoftwareUpdatesFromAnyServer>("upsu", "AllowSoftwareUpdatesFromAnyServer"),
        update<&Info::m_allowComplianceModuleUpdatesFromAnyServer>(
            "upcu", "AllowComplianceModuleUpdatesFromAnyServer"),
        update<&Info::m_allowVpnProfileUpdatesFromAnyServer>("upvp", "AllowVPNProfileUpdatesFromAnyServer"),
        update<&Info::m_allowManagementVpnProfileUpdatesFromAnyServer>(
            "upmv", "AllowManagementVPNProfileUpdatesFromAnyServer"),
        update<&Info::m_allowYreProfileUpdatesFromAnyServer>("upip", "AllowYREProfileUpdatesFromAnyServer"),
        update<&Info::m_allowServiceProfileUpdatesFromAnyServer>("upsp",
                                                                 "AllowServiceProfileUpdatesFromAnyServer"),
        update<&Info::m_allowScriptUpdatesFromAnyServer>("upscr", "AllowScriptUpdatesFromAnyServer"),
        update<&Info::m_allowHelpUpdatesFromAnyServer>("uphlp", "AllowHelpUpdatesFromAnyServer"),
        update<&Info::m_allowResourceUpdatesFromAnyServer>("upres", "AllowResourceUpdatesFromAnyServer"),
        update<&Info::m_allowLocalizationUpdatesFromAnyServer>("uploc",
                                                               "AllowLocalizationUpdatesFromAnyServer"),
        PolicySetting{"upal", kServerListElement, true, {}, &readServer, &showServers},
    };
    return kAll;
}

std::span<const PolicySetting> PolicySettings::all() {
    return Kinds::all();
}

const PolicySetting* PolicySettings::find(std::string_view element) {
    const std::span<const PolicySetting> settings = all();
    const auto found = std::find_if(settings.begin(), settings.end(),
                                    [element](const PolicySetting& row) { return row.element == element; });
    return found == settings.end() ? nullptr : &*found;
}
