#include "Common/Utility/log/Log.h"
#include "tools/MERO/MEROConsole/ConsoleFront.h"

namespace {

/// Logging works from the first line of main to the last static destructor.
const CLogClient g_logClient(nullptr, "zrn_merocli");

} // namespace

int main(int argc, char* argv[]) {
    prepareProcess();
    return runConsole(argc, argv);
}
