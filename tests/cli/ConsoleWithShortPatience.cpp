#include "tools/MERO/MEROConsole/CollectCommand.h"
#include "tools/MERO/MEROConsole/ConsoleFront.h"
#include "tools/MERO/MEROConsole/ConsoleOptions.h"

#include <variant>

/// `merocli collect` with little patience for a run that was interrupted and doesn't come to its end.
int main(int argc, char* argv[]) {
    prepareProcess();
    ParsedCommandLine command = parseCommandLine(argc, argv);
    auto* const options = std::get_if<CollectOptions>(&command);
    if (options == nullptr) {
        return 2;
    }
    options->interruptPatience = std::chrono::milliseconds(500);
    return collectBundle(*options);
}
