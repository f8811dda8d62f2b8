#pragma once

#include "tools/MERO/MEROConsole/PolicyOptions.h"

#include <string>

namespace CLI {
class App;
} // namespace CLI

/// The commands of `merocli policy` as they stand on the command line, bound to the parser.
class PolicyArguments {
public:
    /// Adds the commands.
    /// @param program  the parser, bound to this object: used only while both live.
    explicit PolicyArguments(CLI::App& program);
    PolicyArguments(const PolicyArguments&) = delete;
    PolicyArguments& operator=(const PolicyArguments&) = delete;

    /// Whether the command line has one of the commands, or the word before them.
    [[nodiscard]] bool given() const;
    /// The command that was given, "policy show" for instance.
    [[nodiscard]] std::string command() const;
    /// Completes the options. Throws UsageError.
    [[nodiscard]] PolicyOptions finish() const;

private:
    PolicyOptions m_options;
    /// Views into the parser.
    CLI::App* m_command;
    CLI::App* m_show;
    CLI::App* m_generate;
};
