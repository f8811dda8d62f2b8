#include "Common/Utility/process/ChildEnvironment.h"

#include <optional>
#include <unistd.h>
#include <utility>

namespace {

/// Made before any fork: what a child does with it allocates nothing.
struct Prepared {
    ChildEnvironment environment;
    /// Views the variables; ended by null.
    std::vector<char*> variables;
};

std::optional<Prepared> g_prepared;

} // namespace

void setChildEnvironment(ChildEnvironment environment) {
    Prepared& prepared = g_prepared.emplace(Prepared{std::move(environment), {}});
    prepared.variables.reserve(prepared.environment.variables.size() + 1);
    for (std::string& variable : prepared.environment.variables) {
        prepared.variables.push_back(variable.data());
    }
    prepared.variables.push_back(nullptr);
}

char** childVariables() noexcept {
    return g_prepared ? g_prepared->variables.data() : ::environ;
}

const std::vector<std::string>& hiddenFromChildren() noexcept {
    static const std::vector<std::string> none;
    return g_prepared ? g_prepared->environment.hidden : none;
}

bool enterChildFolder() noexcept {
    return !g_prepared || ::chdir(g_prepared->environment.folder.c_str()) == 0;
}
