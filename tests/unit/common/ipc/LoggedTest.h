#pragma once

#include "tests/support/CapturedLog.h"

#include <algorithm>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

/// Fixture that looks at every line that a test logs.
class LoggedTest : public ::testing::Test {
protected:
    void expectLines(std::size_t number) const { EXPECT_EQ(m_log.lines().size(), number) << m_log.dump(); }
    void expectSilence() const { expectLines(0); }
    /// A failed call and its code.
    void expectCode(const char* function, const char* invoked, uint32_t code) const {
        EXPECT_TRUE(m_log.containsCode('E', function, invoked, code))
            << function << ", " << invoked << ", " << code << " is not in:\n"
            << m_log.dump();
    }
    /// A line of this function that ends in this text, so many times.
    void expectMessage(const std::string& function, const std::string& text, int times = 1) const {
        const std::vector<LogLine> lines = m_log.lines();
        EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                                [&](const LogLine& line) {
                                    return line.severity == 'E' &&
                                           line.text.find("Function: " + function + "\n") !=
                                               std::string::npos &&
                                           line.text.ends_with("\n" + text);
                                }),
                  times)
            << function << ", " << text << " is not in:\n"
            << m_log.dump();
    }

    CapturedLog m_log;
};
