#pragma once

#include "tools/MERO/MEROConsole/CollectOptions.h"

#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

/// The options of `merocli collect` as they stand on the command line, bound to the parser.
class CollectArguments {
public:
    /// Adds the command.
    /// @param program  the parser, bound to this object: used only while both live.
    explicit CollectArguments(CLI::App& program);
    CollectArguments(const CollectArguments&) = delete;
    CollectArguments& operator=(const CollectArguments&) = delete;

    /// Whether the command line has the command.
    [[nodiscard]] bool given() const;
    /// Checks and completes the options. Throws UsageError.
    [[nodiscard]] CollectOptions finish() const;

private:
    [[nodiscard]] std::vector<std::string> requestedIds() const;
    [[nodiscard]] std::string targetPath() const;

    CollectOptions m_options;
    bool m_noSystemLogs = false;
    bool m_noProgress = false;
    /// Views into the parser.
    CLI::App* m_command;
    CLI::Option* m_installDirectory;
    CLI::Option* m_only;
    CLI::Option* m_comment;
    CLI::Option* m_request;
    CLI::Option* m_target;
    CLI::Option* m_password;
};
