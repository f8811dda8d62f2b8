#pragma once

#include "tools/MERO/MEROConsole/ClearOptions.h"

namespace CLI {
class App;
class Option;
} // namespace CLI

/// The options of `merocli clear` as they stand on the command line, bound to the parser.
class ClearArguments {
public:
    /// Adds the command.
    /// @param program  the parser, bound to this object: used only while both live.
    explicit ClearArguments(CLI::App& program);
    ClearArguments(const ClearArguments&) = delete;
    ClearArguments& operator=(const ClearArguments&) = delete;

    /// Whether the command line has the command.
    [[nodiscard]] bool given() const;
    /// Checks and completes the options. Throws UsageError.
    [[nodiscard]] ClearOptions finish() const;

private:
    ClearOptions m_options;
    /// Views into the parser.
    CLI::App* m_command;
    CLI::Option* m_installDirectory;
};
