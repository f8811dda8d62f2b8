#include "tools/MERO/MEROConsole/ConsoleOptions.h"

#include <array>
#include <gtest/gtest.h>

namespace {

TEST(CollectOptions, GiveAnInterruptedRunTenSeconds) {
    const std::array<const char*, 2> arguments{"merocli", "collect"};
    const ParsedCommandLine parsed = parseCommandLine(arguments.size(), arguments.data());
    EXPECT_EQ(std::get<CollectOptions>(parsed).interruptPatience, std::chrono::seconds(10));
}

} // namespace
