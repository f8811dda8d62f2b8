#include "tools/MERO/MEROEngine/implementations/helperUtil/Names.h"

#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>

using namespace helperUtil;

namespace {

struct Cut {
    const char* text;
    const char* delimiter;
    const char* expected;
};

TEST(StringAfterLast, GivesTheTextBehindTheLastDelimiter) {
    for (const Cut& cut :
         {Cut{"a/b/c", "/", "c"}, Cut{"a/b/", "/", ""}, Cut{"/", "/", ""}, Cut{"a..b", ".", "b"},
          Cut{"a::b::c", "::", "c"}, Cut{".profile", ".", "profile"}}) {
        EXPECT_EQ(stringAfterLast(cut.text, cut.delimiter), cut.expected) << cut.text;
    }
}

TEST(StringAfterLast, GivesTheWholeTextWithoutADelimiter) {
    EXPECT_EQ(stringAfterLast("messages", "/"), "messages");
    EXPECT_EQ(stringAfterLast("", "/"), "");
    EXPECT_EQ(stringAfterLast("messages", ""), "messages");
    EXPECT_EQ(stringAfterLast("a:b", "::"), "a:b");
}

TEST(StringBeforeLast, KeepsTheDelimiterWhenAsked) {
    for (const Cut& cut : {Cut{"/var/log/app.log", "/", "/var/log/"}, Cut{"/app.log", "/", "/"},
                           Cut{"a//b", "/", "a//"}, Cut{"a/", "/", "a/"}, Cut{"a::b::c", "::", "a::b::"}}) {
        EXPECT_EQ(stringBeforeLast(cut.text, cut.delimiter, true), cut.expected) << cut.text;
    }
}

TEST(StringBeforeLast, DropsTheWholeRunOfDelimitersThatEndsAtTheLast) {
    for (const Cut& cut :
         {Cut{"a.b.c", ".", "a.b"}, Cut{"a...c", ".", "a"}, Cut{"a.b..", ".", "a.b"},
          Cut{"/usr/bin/tool", "/", "/usr/bin"}, Cut{"a::::c", "::", "a"}, Cut{"a:::c", "::", "a:"}}) {
        EXPECT_EQ(stringBeforeLast(cut.text, cut.delimiter, false), cut.expected) << cut.text;
    }
}

TEST(StringBeforeLast, IsEmptyWhenTheRunStartsTheText) {
    EXPECT_EQ(stringBeforeLast(".profile", ".", false), "");
    EXPECT_EQ(stringBeforeLast("...profile", ".", false), "");
    EXPECT_EQ(stringBeforeLast("//", "/", false), "");
}

TEST(StringBeforeLast, GivesTheWholeTextWithoutADelimiter) {
    for (const bool keep : {true, false}) {
        EXPECT_EQ(stringBeforeLast("messages", "/", keep), "messages");
        EXPECT_EQ(stringBeforeLast("", "/", keep), "");
        EXPECT_EQ(stringBeforeLast("messages", "", keep), "messages");
    }
}

TEST(StringBeforeFirst, GivesTheTextBeforeTheFirstDelimiter) {
    for (const Cut& cut :
         {Cut{"tool -a -b", " ", "tool"}, Cut{" tool", " ", ""}, Cut{"a::b::c", "::", "a"}}) {
        EXPECT_EQ(stringBeforeFirst(cut.text, cut.delimiter), cut.expected) << cut.text;
    }
}

TEST(StringBeforeFirst, GivesTheWholeTextWithoutADelimiter) {
    EXPECT_EQ(stringBeforeFirst("tool", " "), "tool");
    EXPECT_EQ(stringBeforeFirst("", " "), "");
    EXPECT_EQ(stringBeforeFirst("tool", ""), "tool");
}

TEST(StringAfterFirst, KeepsTheTextFromTheDelimiterOnWhenAsked) {
    EXPECT_EQ(stringAfterFirst("tool  -a", " ", true), "  -a");
    EXPECT_EQ(stringAfterFirst("/a/b", "/", true), "/a/b");
    EXPECT_EQ(stringAfterFirst("a::b::c", "::", true), "::b::c");
}

TEST(StringAfterFirst, DropsTheWholeRunOfDelimitersThatStartsAtTheFirst) {
    EXPECT_EQ(stringAfterFirst("tool   -a -b", " ", false), "-a -b");
    EXPECT_EQ(stringAfterFirst("/a/b", "/", false), "a/b");
    EXPECT_EQ(stringAfterFirst("a:::c", "::", false), ":c");
}

TEST(StringAfterFirst, IsEmptyWhenTheRunReachesTheEnd) {
    EXPECT_EQ(stringAfterFirst("tool   ", " ", false), "");
    EXPECT_EQ(stringAfterFirst(" ", " ", false), "");
}

TEST(StringAfterFirst, GivesTheWholeTextWithoutADelimiter) {
    for (const bool keep : {true, false}) {
        EXPECT_EQ(stringAfterFirst("tool", " ", keep), "tool");
        EXPECT_EQ(stringAfterFirst("", " ", keep), "");
        EXPECT_EQ(stringAfterFirst("tool", "", keep), "tool");
    }
}

TEST(TrimLeadingBlanks, DropsBlanksAndTabsAtTheStartOnly) {
    EXPECT_EQ(trimLeadingBlanks(" \t a \tb\t "), "a \tb\t ");
    EXPECT_EQ(trimLeadingBlanks("a"), "a");
    EXPECT_EQ(trimLeadingBlanks("\n a"), "\n a");
}

TEST(TrimLeadingBlanks, LeavesNothingOfBlanksAlone) {
    EXPECT_EQ(trimLeadingBlanks(" \t "), "");
    EXPECT_EQ(trimLeadingBlanks(""), "");
}

TEST(MergeFileNames, TakesTheHiddenNameWithoutItsDotWhenNoneIsConfigured) {
    EXPECT_EQ(mergeFileNames("", ".profile"), "profile");
    EXPECT_EQ(mergeFileNames("", "..profile"), "profile");
    EXPECT_EQ(mergeFileNames("", ""), "");
}

TEST(MergeFileNames, TakesTheFoundNameWhenNoneIsConfigured) {
    EXPECT_EQ(mergeFileNames("", "app.log"), "app.log");
    EXPECT_EQ(mergeFileNames("", "messages"), "messages");
    EXPECT_EQ(mergeFileNames("", "messages."), "messages.");
}

TEST(MergeFileNames, ClosesTheNameOfTwoHiddenFilesWithUnderscores) {
    EXPECT_EQ(mergeFileNames(".bashrc", ".profile"), ".bashrc__profile__");
    EXPECT_EQ(mergeFileNames(".bashrc", ""), ".bashrc____");
    EXPECT_EQ(mergeFileNames(".", ".profile"), ".__profile__");
}

TEST(MergeFileNames, PutsAHiddenConfiguredNameInFront) {
    EXPECT_EQ(mergeFileNames(".bashrc", "messages.1"), ".bashrc__messages__1");
    EXPECT_EQ(mergeFileNames(".bashrc", "messages"), ".bashrc__messages__messages");
}

TEST(MergeFileNames, TakesTheFoundExtensionWhenTheConfiguredNameEndsInADot) {
    EXPECT_EQ(mergeFileNames("bundle.", "messages.1"), "bundle__messages.1");
    EXPECT_EQ(mergeFileNames("bundle.", "messages"), "bundle__messages.messages");
    EXPECT_EQ(mergeFileNames("bundle.", ".profile"), "bundle__.profile");
}

TEST(MergeFileNames, PutsTheFoundNameBetweenConfiguredBaseAndExtension) {
    EXPECT_EQ(mergeFileNames("bundle.log", "messages.1"), "bundle__messages__1.log");
    EXPECT_EQ(mergeFileNames("vpn.txt", "app.1"), "vpn__app__1.txt");
    EXPECT_EQ(mergeFileNames("bundle.log", ".profile"), "bundle____profile.log");
    EXPECT_EQ(mergeFileNames("bundle.log", "messages"), "bundle__messages__messages.log");
    EXPECT_EQ(mergeFileNames("a.b.log", "c.d.1"), "a.b__c.d__1.log");
}

TEST(MergeFileNames, TakesAConfiguredNameWithoutADotForBaseAndExtension) {
    EXPECT_EQ(mergeFileNames("bundle", "messages.1"), "bundle__messages__1.bundle");
}

TEST(MergeFileNames, KeepsBytesThatAreNoText) {
    EXPECT_EQ(mergeFileNames("b\n.log", "\xff\".1"), "b\n__\xff\"__1.log");
}

TEST(WithZipExtension, AddsItUnlessZipStandsBehindTheLastDot) {
    for (const char* path : {"/tmp/a.zip", "zip"}) {
        EXPECT_EQ(withZipExtension(path), path);
    }
    for (const std::string path : {"/tmp/a", "/tmp/a.ZIP", "/tmp/a.zip.", "/tmp/b.c/zip"}) {
        EXPECT_EQ(withZipExtension(path), path + ".zip");
    }
}

TEST(RandomNumber, StaysBelowOneHundredThousand) {
    EXPECT_LT(getRandomNumber(), 100000u);
}

TEST(RandomNumber, ComesFromTheSecondItIsTakenIn) {
    // Two calls give the same number unless the second changes between them, which can't happen each time.
    bool same = false;
    for (int attempt = 0; attempt < 10 && !same; ++attempt) {
        const uint32_t first = getRandomNumber();
        same = getRandomNumber() == first;
    }
    EXPECT_TRUE(same);
}

TEST(RandomNumber, IsTheFirstOfTheSecondsSequence) {
    // The second may change around a call, which can't happen each time.
    bool equal = false;
    for (int attempt = 0; attempt < 10 && !equal; ++attempt) {
        std::srand(static_cast<unsigned int>(std::time(nullptr)));
        // NOLINTNEXTLINE(misc-predictable-rand): the sequence that is expected
        const int first = std::rand() % 100000;
        equal = getRandomNumber() == static_cast<uint32_t>(first);
    }
    EXPECT_TRUE(equal);
}

} // namespace
