#include "Common/Utility/log/EscapingLogger.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/log/StdoutLogger.h"
#include "Common/Utility/ReturnCodes.h"
#include "tests/unit/common/log/RedirectedStdout.h"

#include <gmock/gmock.h>

namespace {

using ::testing::EndsWith;

std::string escapedByte(int byte) {
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "\\x%02X", static_cast<unsigned>(byte));
    return text.data();
}

TEST(EscapeForLog, KeepsTextAsItIs) {
    for (const char* text : {"", "plain \\ text\n\n", "\\x1B", "\xC3\xA4 \xE6\x97\xA5 \xF0\x9F\x94\x92",
                             "\xC2\xA0", "\xEF\xBF\xBD", "\xF4\x8F\xBF\xBF"}) {
        EXPECT_EQ(escapeForLog(text), text);
    }
}

TEST(EscapeForLog, EscapesEachControlByteButTheLineFeed) {
    for (int byte = 0; byte < 0x80; ++byte) {
        const std::string text = "a" + std::string(1, static_cast<char>(byte)) + "z";
        const bool control = (byte < 0x20 && byte != '\n') || byte == 0x7F;
        EXPECT_EQ(escapeForLog(text), control ? "a" + escapedByte(byte) + "z" : text) << byte;
    }
}

TEST(EscapeForLog, EscapesEachControlCharacterOfTwoBytes) {
    for (int byte = 0x80; byte < 0xA0; ++byte) {
        const std::string text = "a\xC2" + std::string(1, static_cast<char>(byte)) + "z";
        EXPECT_EQ(escapeForLog(text), "a\\xC2" + escapedByte(byte) + "z") << byte;
    }
}

TEST(EscapeForLog, EscapesEachByteThatIsNoPartOfACharacter) {
    for (int byte = 0x80; byte < 0x100; ++byte) {
        EXPECT_EQ(escapeForLog(std::string(1, static_cast<char>(byte))), escapedByte(byte)) << byte;
    }
    EXPECT_EQ(escapeForLog("\xC3\xA4\xC3"), "\xC3\xA4\\xC3");
    EXPECT_EQ(escapeForLog("\xE6\x97z\xA4\xC3\xA4"), "\\xE6\\x97z\\xA4\xC3\xA4");
    // A character in more bytes than it takes, half of a pair, and one beyond the last.
    EXPECT_EQ(escapeForLog("\xC0\x8A"), "\\xC0\\x8A");
    EXPECT_EQ(escapeForLog("\xED\xA0\x80"), "\\xED\\xA0\\x80");
    EXPECT_EQ(escapeForLog("\xF4\x90\x80\x80"), "\\xF4\\x90\\x80\\x80");
}

TEST(EscapingLogger, HandsEscapedLinesOn) {
    const CLogClient client(nullptr, "id",
                            std::make_unique<CEscapingLogger>(std::make_unique<CStdoutLogger>("id")));
    const RedirectedStdout redirected;
    ZRN_LOG_CODE_TEXT('E', "open", 2, "File: %s\nError: %s", "\x1B[2J\xC2\x9B\nfaked", "none");
    EXPECT_THAT(redirected.output(), EndsWith("File: \\x1B[2J\\xC2\\x9B faked Error: none\n"));
    EXPECT_EQ(redirected.output().find('\n'), redirected.output().size() - 1);
}

TEST(EscapingLogger, LeavesANullTextToTheOther) {
    CEscapingLogger logger(std::make_unique<CStdoutLogger>("id"));
    const RedirectedStdout redirected;
    EXPECT_EQ(logger.write(7, nullptr, "MID_NAME", 1, 'E'), GLOBAL_ERROR_BAD_PARAMETER);
    EXPECT_EQ(redirected.output(), "");
}

} // namespace
