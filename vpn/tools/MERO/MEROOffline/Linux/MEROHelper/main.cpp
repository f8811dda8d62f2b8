#include "HelperProgram.h"
#include "Log.h"

namespace {

/// Keeps the logger from static start-up to the end of the process.
const CLogClient g_logClient(nullptr, nullptr, makeHelperLogger());

} // namespace

int main(int argc, char* argv[]) {
    return runHelperProgram(argc, argv);
}
