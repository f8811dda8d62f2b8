#pragma once

#include <string>
#include <vector>

/// What `merocli policy` was asked for.
struct PolicyOptions {
    /// Write the policy instead of showing it.
    bool generate = false;
    /// Replace a policy that is there.
    bool overwrite = false;
    /// What to write, "abbreviation=value" each.
    std::vector<std::string> settings;
};
