#include "Common/Utility/log/Log.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/HelperProgram.h"

#include <cstdint>
#include <cstdlib>

namespace {

const CLogClient g_logClient(nullptr, nullptr, makeHelperLogger());

void shorten(std::chrono::milliseconds& time, const char* variable) {
    if (const char* const text = std::getenv(variable); text != nullptr) {
        time = std::chrono::milliseconds(std::strtol(text, nullptr, 10));
    }
}

void choose(uint64_t& bytes, const char* variable) {
    constexpr uint64_t kMebibyte = uint64_t{1024} * 1024;
    if (const char* const text = std::getenv(variable); text != nullptr) {
        bytes = std::strtoull(text, nullptr, 10) * kMebibyte;
    }
}

} // namespace

/// The helper with times and bounds that a test chooses by its environment, in milliseconds and mebibytes.
int main(int argc, char* argv[]) {
    ServiceSettings settings;
    shorten(settings.lockLimit, "MERO_TEST_LOCK_LIMIT_MS");
    shorten(settings.authorisationLimit, "MERO_TEST_AUTHORISATION_LIMIT_MS");
    shorten(settings.readerLimit, "MERO_TEST_READER_LIMIT_MS");
    shorten(settings.jobLimit, "MERO_TEST_JOB_LIMIT_MS");
    shorten(settings.killLimit, "MERO_TEST_KILL_LIMIT_MS");
    shorten(settings.leftoverLimit, "MERO_TEST_LEFTOVER_LIMIT_MS");
    shorten(settings.idleLimit, "MERO_TEST_IDLE_LIMIT_MS");
    choose(settings.spaceLimits.mostBytes, "MERO_TEST_MOST_MIB");
    choose(settings.spaceLimits.keptFreeBytes, "MERO_TEST_KEPT_MIB");
    return runHelperProgram(argc, argv, settings);
}
