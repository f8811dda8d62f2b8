#include "Common/Utility/memory/WipedString.h"

#include "tests/support/HeapWatch.h"

#include <array>
#include <cstring>
#include <gtest/gtest.h>
#include <new>
#include <string>
#include <string_view>
#include <utility>

namespace {

/// Stands all over the secrets of these tests and nowhere else.
constexpr std::string_view kSecret = "hunter2!";

/// A secret that needs heap storage.
std::string longSecret() {
    std::string secret;
    for (std::size_t count = 0; count < 20; ++count) {
        secret += kSecret;
    }
    return secret;
}

/// True if the secret, or the rest of it, stands in the bytes of an object.
bool showsSecret(const void* object, std::size_t sizeBytes) {
    return ::memmem(object, sizeBytes, kSecret.data(), kSecret.size() / 2) != nullptr;
}

TEST(HeapWatchTest, NoticesASecretThatIsFreed) {
    std::string plain = longSecret();
    const HeapWatch watch(kSecret);
    std::string().swap(plain);
    EXPECT_EQ(HeapWatch::secretsFreed(), 1);
}

TEST(WipedString, ShortSecretIsGoneWhenTheObjectIs) {
    alignas(WipedString) std::array<char, sizeof(WipedString)> place{};
    auto* const secret = new (place.data()) WipedString(kSecret);
    ASSERT_TRUE(showsSecret(place.data(), place.size())) << "the secret was to stand inside the object";
    secret->~WipedString();
    EXPECT_FALSE(showsSecret(place.data(), place.size()));
}

TEST(WipedString, ShortSecretIsGoneWhenCleared) {
    WipedString secret(kSecret);
    ASSERT_TRUE(showsSecret(&secret, sizeof secret));
    secret.clear();
    EXPECT_FALSE(showsSecret(&secret, sizeof secret));
    EXPECT_TRUE(secret.empty());
}

TEST(WipedString, LongSecretIsGoneWhenCleared) {
    WipedString secret(longSecret());
    secret.append(kSecret);
    const std::size_t size = secret.size();
    const char* const storage = secret.c_str();
    secret.clear();
    ASSERT_EQ(secret.c_str(), storage);
    EXPECT_EQ(std::string_view(storage, size), std::string(size, '\0'));
    EXPECT_TRUE(secret.empty());
    EXPECT_EQ(secret.view(), "");
}

TEST(WipedString, LongSecretIsGoneWhenDestroyed) {
    const std::string source = longSecret();
    const HeapWatch watch(kSecret);
    { const WipedString secret(source); }
    EXPECT_EQ(HeapWatch::blocksFreed(), 1);
    EXPECT_EQ(HeapWatch::secretsFreed(), 0);
}

TEST(WipedString, BytesBehindAShortenedSecretAreWipedToo) {
    const std::string source = longSecret();
    const HeapWatch watch(kSecret);
    {
        WipedString secret(source);
        secret.clear();
        secret.append("x");
    }
    EXPECT_EQ(HeapWatch::secretsFreed(), 0);
}

TEST(WipedString, GrowingLeavesNoSecretBehind) {
    const HeapWatch watch(kSecret);
    {
        WipedString secret;
        for (int round = 0; round < 1000; ++round) {
            secret.append(kSecret);
        }
        EXPECT_EQ(secret.size(), 8000U);
    }
    EXPECT_GT(HeapWatch::blocksFreed(), 5);
    EXPECT_EQ(HeapWatch::secretsFreed(), 0);
}

TEST(WipedString, GrowingOutOfTheObjectLeavesNoSecretInIt) {
    WipedString secret(kSecret);
    secret.append(std::string(100, 'x'));
    EXPECT_FALSE(showsSecret(&secret, sizeof secret));
    EXPECT_EQ(secret.view(), std::string(kSecret) + std::string(100, 'x'));
}

TEST(WipedString, GrowsByTheOldAndTheNewLengthAnd256BytesMore) {
    WipedString secret(std::string(100, 'a'));
    secret.append(std::string(50, 'b'));
    EXPECT_EQ(secret.str().capacity(), 100U + 50U + 256U);
    EXPECT_EQ(secret.view(), std::string(100, 'a') + std::string(50, 'b'));
}

TEST(WipedString, AppendThatFitsKeepsTheStorage) {
    WipedString secret(std::string(100, 'a'));
    secret.push_back('b');
    const char* const storage = secret.c_str();
    const std::size_t room = secret.str().capacity() - secret.size();
    EXPECT_EQ(room, 256U);
    for (std::size_t count = 0; count < room; ++count) {
        secret.push_back('c');
    }
    EXPECT_EQ(secret.c_str(), storage);
    secret.push_back('d');
    EXPECT_NE(secret.c_str(), storage);
    EXPECT_EQ(secret.view(), std::string(100, 'a') + 'b' + std::string(256, 'c') + 'd');
}

TEST(WipedString, AppendsAPartOfItself) {
    WipedString secret("abcdef");
    secret.append(secret.view().substr(2, 3));
    EXPECT_EQ(secret.view(), "abcdefcde");
    secret.append(secret.view());
    EXPECT_EQ(secret.view(), "abcdefcdeabcdefcde");
}

TEST(WipedString, AppendingNothingChangesNothing) {
    WipedString secret("abc");
    secret.append("");
    EXPECT_EQ(secret.view(), "abc");
}

TEST(WipedString, HoldsAnyBytes) {
    const std::string bytes("a\0\xFF\n", 4);
    WipedString secret(bytes);
    secret.push_back('\0');
    EXPECT_EQ(secret.view(), bytes + '\0');
    EXPECT_EQ(secret.size(), 5U);
}

TEST(WipedString, CopyHoldsTheSame) {
    const WipedString secret(longSecret());
    const WipedString copy(secret); // NOLINT(performance-unnecessary-copy-initialization): the subject
    EXPECT_EQ(copy.view(), secret.view());
    EXPECT_NE(copy.c_str(), secret.c_str());
}

TEST(WipedString, MoveEmptiesTheSourceAndWipesIt) {
    WipedString source(kSecret);
    const WipedString target(std::move(source));
    EXPECT_EQ(target.view(), kSecret);
    // What a moved-from secret still shows is the subject.
    // NOLINTBEGIN(bugprone-use-after-move,hicpp-invalid-access-moved,clang-analyzer-cplusplus.Move)
    EXPECT_TRUE(source.empty());
    EXPECT_FALSE(showsSecret(&source, sizeof source));
    // NOLINTEND(bugprone-use-after-move,hicpp-invalid-access-moved,clang-analyzer-cplusplus.Move)
}

TEST(WipedString, AssignmentWipesTheFormerContent) {
    const std::string source = longSecret();
    const HeapWatch watch(kSecret);
    {
        WipedString secret(source);
        secret = std::string_view("short");
        EXPECT_EQ(secret.view(), "short");
        EXPECT_FALSE(showsSecret(&secret, sizeof secret));
        WipedString other(source);
        other = secret;
        EXPECT_EQ(other.view(), "short");
        WipedString third(source);
        third = std::move(other);
        EXPECT_EQ(third.view(), "short");
        WipedString fourth("short");
        fourth = WipedString(source);
        EXPECT_EQ(fourth.view(), source);
    }
    EXPECT_EQ(HeapWatch::secretsFreed(), 0);
}

TEST(WipedString, AssignmentOfALongSecretLeavesNoShortOneBehind) {
    WipedString secret(kSecret);
    secret = std::string_view(std::string(100, 'x'));
    EXPECT_FALSE(showsSecret(&secret, sizeof secret));
}

TEST(WipedString, AssignmentToItselfKeepsTheContent) {
    WipedString secret(longSecret());
    WipedString& same = secret;
    secret = same;
    EXPECT_EQ(secret.view(), longSecret());
    secret = std::move(same);
    EXPECT_EQ(secret.view(), longSecret());
    secret = secret.view().substr(8, 8);
    EXPECT_EQ(secret.view(), kSecret);
}

TEST(WipedString, TrimTakesWhiteSpaceOffBothEnds) {
    WipedString secret(" \t\n\v\f\r a b \xA0\r\n");
    secret.trim();
    EXPECT_EQ(secret.view(), "a b \xA0");
    WipedString blank(" \n ");
    blank.trim();
    EXPECT_TRUE(blank.empty());
    WipedString none;
    none.trim();
    EXPECT_TRUE(none.empty());
}

TEST(WipedString, TrimLeavesNoSecretBehind) {
    const std::string source = "  " + longSecret() + "  ";
    const HeapWatch watch(kSecret);
    {
        WipedString secret(source);
        secret.trim();
        EXPECT_EQ(secret.size(), source.size() - 4);
    }
    EXPECT_EQ(HeapWatch::secretsFreed(), 0);
}

TEST(WipedString, PlainStringIsWipedInPlace) {
    {
        std::string text = longSecret();
        const HeapWatch watch(kSecret);
        wipe(text);
        EXPECT_TRUE(text.empty());
        std::string().swap(text);
        EXPECT_EQ(HeapWatch::blocksFreed(), 1);
        EXPECT_EQ(HeapWatch::secretsFreed(), 0);
    }
    std::string small(kSecret);
    wipe(small);
    EXPECT_FALSE(showsSecret(small.data(), small.capacity()));
}

TEST(WipedString, SwapOfOwnersNeverFreesASecret) {
    const std::string source = longSecret();
    const HeapWatch watch(kSecret);
    {
        WipedString one(source);
        WipedString two(source);
        one.append("1");
        std::swap(one, two);
        EXPECT_EQ(one.view(), source);
        EXPECT_EQ(two.view().substr(source.size()), "1");
    }
    EXPECT_EQ(HeapWatch::secretsFreed(), 0);
}

} // namespace
