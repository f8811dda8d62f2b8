#include "tools/MERO/MEROConsole/CollectCommand.h"
#include "tools/MERO/MEROConsole/ConsoleFront.h"
#include "tools/MERO/MEROConsole/ConsoleOptions.h"

#include <variant>

/// `merocli collect` with little patience for a run that was interrupted and doesn't come to its end.
int main(int argc, char* argv[]) {
    prepareProcess();
    CollectOptions options = std::get<CollectOptions>(parseCommandLine(argc, argv));
    options.interruptPatience = std::chrono::milliseconds(500);
    return collectBundle(options);
}
