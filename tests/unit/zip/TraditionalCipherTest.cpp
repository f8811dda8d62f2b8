#include "Common/Zip/TraditionalCipher.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <new>
#include <string>

namespace {

std::string encrypted(TraditionalCipher& cipher, std::string text) {
    cipher.encrypt({reinterpret_cast<unsigned char*>(text.data()), text.size()});
    return text;
}

TEST(TraditionalCipherTest, GivesTheKnownStream) {
    TraditionalCipher cipher("secret");
    EXPECT_EQ(encrypted(cipher, std::string(8, '\0')), std::string("\xC8\x89\xC9\x5B\xB4\xDE\xAC\x0E"));
}

TEST(TraditionalCipherTest, PiecesMakeTheSameStreamAsTheWhole) {
    TraditionalCipher whole("secret");
    TraditionalCipher pieces("secret");
    const std::string text = "a text that is encrypted in pieces";
    std::string joined;
    for (size_t at = 0; at < text.size(); at += 5) {
        joined += encrypted(pieces, text.substr(at, 5));
    }
    EXPECT_EQ(joined, encrypted(whole, text));
}

TEST(TraditionalCipherTest, HeadersDiffer) {
    TraditionalCipher::Header first{};
    TraditionalCipher::Header second{};
    ASSERT_EQ(TraditionalCipher("secret").makeHeader(0x12345678, first), 0);
    ASSERT_EQ(TraditionalCipher("secret").makeHeader(0x12345678, second), 0);
    EXPECT_NE(first, second);
}

TEST(TraditionalCipherTest, WipesItsKeysAtTheEnd) {
    alignas(TraditionalCipher) std::array<unsigned char, sizeof(TraditionalCipher)> storage{};
    auto* cipher = new (storage.data()) TraditionalCipher("secret");
    EXPECT_TRUE(std::any_of(storage.begin(), storage.end(), [](unsigned char byte) { return byte != 0; }));
    cipher->~TraditionalCipher();
    EXPECT_TRUE(std::all_of(storage.begin(), storage.end(), [](unsigned char byte) { return byte == 0; }));
}

} // namespace
