#pragma once

#include "Common/Utility/log/Logger.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/ServiceSettings.h"

#include <memory>

/// The logger for the service and its workers: the usual one, with all that callers could do to the log or to
/// who reads it escaped.
[[nodiscard]] std::unique_ptr<ILogger> makeHelperLogger();

/// The program behind its main: the service on the system bus, or with the one argument kWorkerArgument the
/// worker of a job. Returns when it has ended.
/// @return exit status: 0, or 1 if the service could not be had; 2 for wrong arguments.
[[nodiscard]] int runHelperProgram(int argc, const char* const* argv, const ServiceSettings& settings = {});
