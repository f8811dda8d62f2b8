#include "tools/MERO/MEROConsole/ClearArguments.h"

#include "tools/MERO/MEROConsole/PathArguments.h"

#include <CLI/CLI.hpp>

ClearArguments::ClearArguments(CLI::App& program)
    : m_command(program.add_subcommand("clear", "Delete the logs of the suite")),
      m_installDirectory(addInstallFolder(*m_command, m_options.installDirectory)) {
    m_command->add_flag("--yes", m_options.withoutQuestion, "Delete without asking first");
    m_command->footer("Shows what will be deleted and asks; anything but y or yes deletes nothing.\n"
                      "Exit status: 0 the logs are gone or were to be kept, 1 something could not be "
                      "deleted, 2 the command "
                      "line is wrong.");
}

bool ClearArguments::given() const {
    return m_command->parsed();
}

ClearOptions ClearArguments::finish() const {
    ClearOptions options = m_options;
    options.installDirectory = installFolder(*m_installDirectory, m_options.installDirectory);
    return options;
}
