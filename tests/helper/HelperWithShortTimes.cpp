#include "HelperProgram.h"
#include "Log.h"

#include <cstdlib>

namespace {

const CLogClient g_logClient(nullptr, nullptr, makeHelperLogger());

void shorten(std::chrono::milliseconds& time, const char* variable) {
    if (const char* const text = std::getenv(variable); text != nullptr) {
        time = std::chrono::milliseconds(std::strtol(text, nullptr, 10));
    }
}

} // namespace

/// The helper with times that a test chooses by its environment, in milliseconds.
int main(int argc, char* argv[]) {
    ServiceSettings settings;
    shorten(settings.jobLimit, "MERO_TEST_JOB_LIMIT_MS");
    shorten(settings.idleLimit, "MERO_TEST_IDLE_LIMIT_MS");
    return runHelperProgram(argc, argv, settings);
}
