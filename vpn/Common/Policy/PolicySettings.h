#pragma once

#include "Common/Policy/LocalTLPolicyInfo.h"

#include <span>
#include <string>
#include <string_view>

/// Elements of the policy file that are no plain settings.
inline constexpr std::string_view kUpdatePolicyElement = "UpdatePolicy";
inline constexpr std::string_view kServerListElement = "AuthorizedServerList";
inline constexpr std::string_view kServerNameElement = "ServerName";

/// One setting of the local policy: how it is named, written, read and shown.
struct PolicySetting {
    std::string_view abbreviation;
    std::string_view element;
    /// Whether the element stands inside UpdatePolicy.
    bool isUpdatePolicy;
    /// The values that may be written; empty if all may. What is read is another matter: reading compares
    /// case-sensitively and knows the tunnel protocols in lower case only.
    std::span<const std::string_view> allowedValues;
    /// Takes a text of the element, or of one ServerName for the list of servers.
    void (*read)(LocalTLPolicyInfo& policy, const std::string& text);
    /// The value as it would stand in a file that sets it; names of a list stand between commas.
    std::string (*show)(const LocalTLPolicyInfo& policy);
};

/// The table of all settings. It does not change: any thread may use it.
class PolicySettings {
public:
    /// The 29 settings in the order of definition.
    [[nodiscard]] static std::span<const PolicySetting> all();
    /// The setting of an element, or null.
    [[nodiscard]] static const PolicySetting* find(std::string_view element);

private:
    /// Reading and showing of the single kinds of settings; a friend's part, so that the fields stay private.
    struct Kinds;
};

/// Calls `use` with each piece of a text, empty ones included, until it gives false.
/// @param separators  each of these characters ends a piece.
template <typename Use>
void forEachPiece(std::string_view text, std::string_view separators, const Use& use) {
    for (std::size_t end = text.find_first_of(separators); end != std::string_view::npos;
         end = text.find_first_of(separators)) {
        if (!use(text.substr(0, end))) {
            return;
        }
        text.remove_prefix(end + 1);
    }
    static_cast<void>(use(text)); // the last one anyway
}
