#pragma once

#include "tools/MERO/MEROConsole/ListOptions.h"

namespace CLI {
class App;
class Option;
} // namespace CLI

/// The options of `merocli list` as they stand on the command line, bound to the parser.
class ListArguments {
public:
    /// Adds the command.
    /// @param program  the parser, bound to this object: used only while both live.
    explicit ListArguments(CLI::App& program);
    ListArguments(const ListArguments&) = delete;
    ListArguments& operator=(const ListArguments&) = delete;

    /// Whether the command line has the command.
    [[nodiscard]] bool given() const;
    /// Checks and completes the options. Throws UsageError.
    [[nodiscard]] ListOptions finish() const;

private:
    ListOptions m_options;
    /// Views into the parser.
    CLI::App* m_command;
    CLI::Option* m_installDirectory;
};
