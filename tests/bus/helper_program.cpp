#include "tests/bus/StandInHelper.h"

#include <cstdlib>

/// The stand-in for the helper as a program that the bus starts. Takes every job and ends when asked to.
int main() {
    StandInHelper helper(std::getenv("DBUS_STARTER_ADDRESS"));
    helper.waitForExit();
    return 0;
}
