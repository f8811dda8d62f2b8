#include "Common/Utility/log/Log.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/HelperProgram.h"

namespace {

/// Keeps the logger from static start-up to the end of the process.
const CLogClient g_logClient(nullptr, nullptr, makeHelperLogger());

} // namespace

int main(int argc, char* argv[]) {
    return runHelperProgram(argc, argv);
}
