#include "tools/MERO/MEROConsole/PolicyArguments.h"

#include "Common/Policy/PolicySettings.h"
#include "tools/MERO/MEROConsole/UsageError.h"

#include <algorithm>
#include <CLI/CLI.hpp>

namespace {

/// The abbreviations with the values that they take, and what they stand for.
std::string settingsHelp() {
    constexpr std::size_t kColumn = 24;
    std::string text = "Settings:\n";
    for (const PolicySetting& setting : PolicySettings::all()) {
        std::string line = "  " + std::string(setting.abbreviation) + "=";
        if (setting.allowedValues.empty()) {
            line += "TEXT";
        }
        for (const std::string_view value : setting.allowedValues) {
            line.append(line.ends_with('=') ? "" : "|").append(value);
        }
        line.resize(std::max(line.size(), kColumn), ' ');
        text.append(line).append(setting.element).append("\n");
    }
    return text;
}

} // namespace

PolicyArguments::PolicyArguments(CLI::App& program)
    : m_command(program.add_subcommand("policy", "Show or write the local policy of the suite")),
      m_show(m_command->add_subcommand("show", "Print the settings in force and where the file is")),
      m_generate(m_command->add_subcommand("generate", "Write the policy file")) {
    m_command->require_subcommand(0, 1); // none is told in words of our own
    m_command->footer("Run 'merocli policy COMMAND --help' for the options of a command.\n"
                      "Exit status: 0 the policy was shown or written, 1 it could not be, 2 the command line "
                      "is wrong.");
    m_show->footer(
        "Exit status: 0 the settings were printed, 1 the file is broken or they can't be printed, 2 "
        "the command line is wrong.");
    m_generate->add_flag("--overwrite", m_options.overwrite, "Replace a file that is there");
    m_generate->add_option("settings", m_options.settings, "What to write; see below")
        ->type_name("ABBREVIATION=VALUE");
    m_generate->footer(settingsHelp() +
                       "What can't be used is left out with a warning; settings not named keep their "
                       "defaults.\n"
                       "Exit status: 0 the file was written or was to be kept, 1 it could not be written, 2 "
                       "the command line is wrong.");
}

bool PolicyArguments::given() const {
    return m_command->parsed();
}

std::string PolicyArguments::command() const {
    if (m_show->parsed()) {
        return "policy show";
    }
    return m_generate->parsed() ? "policy generate" : "policy";
}

PolicyOptions PolicyArguments::finish() const {
    if (!m_show->parsed() && !m_generate->parsed()) {
        throw UsageError{"a command is missing behind policy; to see the settings run 'merocli policy show'"};
    }
    if (m_generate->parsed() && m_options.settings.empty()) {
        throw UsageError{"what to write is missing; name settings as abbreviation=value"};
    }
    PolicyOptions options = m_options;
    options.generate = m_generate->parsed();
    return options;
}
