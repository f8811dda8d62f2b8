#include "tools/MERO/MEROConsole/ListArguments.h"

#include "tools/MERO/MEROConsole/PathArguments.h"

#include <CLI/CLI.hpp>

ListArguments::ListArguments(CLI::App& program)
    : m_command(program.add_subcommand("list", "Show what can be collected, with the ids of the items")),
      m_installDirectory(addInstallFolder(*m_command, m_options.installDirectory)) {
    m_command->add_flag("--json", m_options.json, "Print JSON, for other programs");
    m_command->footer(
        "An [x] marks what a bundle holds unless --only or --request tells otherwise.\n"
        "Exit status: 0 the items were printed, 1 there are none or they can't be printed, 2 the "
        "command line is wrong.");
}

bool ListArguments::given() const {
    return m_command->parsed();
}

ListOptions ListArguments::finish() const {
    ListOptions options = m_options;
    options.installDirectory = installFolder(*m_installDirectory, m_options.installDirectory);
    return options;
}
