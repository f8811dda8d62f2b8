#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/JobArguments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using Entries = std::vector<JobEntry>;

constexpr const char* kGoodBundle = "/home/somebody/bundle.zip";

JobEntry entry(std::string key, std::string_view value) {
    return {std::move(key), WipedString(value)};
}

Entries withBundle(Entries others) {
    others.push_back(entry("MEROBundlePath", kGoodBundle));
    return others;
}

/// The arguments of a call that is taken; fails the test for one that is refused.
JobArguments taken(const Entries& entries, bool callerIsRoot = false) {
    CheckedJob job = checkJobArguments(entries, callerIsRoot);
    if (const auto* refusal = std::get_if<JobRefusal>(&job)) {
        ADD_FAILURE() << "refused: " << refusal->reason;
        return {};
    }
    return std::get<JobArguments>(std::move(job));
}

/// The reason of a call that is refused; empty for one that is taken.
std::string refused(const Entries& entries, bool callerIsRoot = false) {
    const CheckedJob job = checkJobArguments(entries, callerIsRoot);
    const auto* refusal = std::get_if<JobRefusal>(&job);
    return refusal == nullptr ? "" : refusal->reason;
}

std::string refusedBundle(std::string_view path) {
    return refused({entry("MEROBundlePath", path)});
}

std::string refusedRequest(std::string_view path) {
    return refused(withBundle({entry("MERORequestDir", path)}));
}

std::string refusedConfig(std::string_view path, bool callerIsRoot) {
    return refused(withBundle({entry("MEROConfigDir", path)}), callerIsRoot);
}

std::string longPath(std::size_t bytes) {
    std::string path("/");
    path.append(bytes - 1, 'a');
    return path;
}

/// A path with one byte in its middle.
std::string pathWith(int byte) {
    std::string path("/tmp/a");
    path.push_back(static_cast<char>(byte));
    return path.append("b");
}

TEST(JobArguments, TakesEveryKey) {
    const JobArguments job =
        taken({entry("MERORequestDir", "/tmp/request.xml"), entry("MEROConfigDir", "/etc/mero"),
               entry("MEROBundlePath", kGoodBundle), entry("MEROBundlePassword", "secret")},
              true);
    EXPECT_EQ(job.requestPath, "/tmp/request.xml");
    EXPECT_EQ(job.configFolder, "/etc/mero");
    EXPECT_EQ(job.bundlePath, kGoodBundle);
    EXPECT_EQ(job.bundlePassword.view(), "secret");
}

TEST(JobArguments, MissingKeysCountAsEmpty) {
    const JobArguments job = taken(withBundle({}));
    EXPECT_THAT(job.requestPath, IsEmpty());
    EXPECT_THAT(job.configFolder, IsEmpty());
    EXPECT_TRUE(job.bundlePassword.empty());
}

TEST(JobArguments, EmptyValuesAreAsMissingKeys) {
    const JobArguments job = taken(withBundle(
        {entry("MERORequestDir", ""), entry("MEROConfigDir", ""), entry("MEROBundlePassword", "")}));
    EXPECT_THAT(job.requestPath, IsEmpty());
    EXPECT_THAT(job.configFolder, IsEmpty());
    EXPECT_TRUE(job.bundlePassword.empty());
}

TEST(JobArguments, BundlePathMayNotBeMissing) {
    EXPECT_EQ(refused({}), "MEROBundlePath is not an absolute path");
    EXPECT_EQ(refusedBundle(""), "MEROBundlePath is not an absolute path");
}

TEST(JobArguments, IgnoresUnknownKeys) {
    const JobArguments job = taken(withBundle(
        {entry("Other", "x"), entry("", "y"), entry("merobundlepath", "z"), entry("Other", "\n")}));
    EXPECT_EQ(job.bundlePath, kGoodBundle);
}

TEST(JobArguments, AKeyWithNulIsNotTheKeyBeforeIt) {
    EXPECT_EQ(refused({entry(std::string("MEROBundlePath\0x", 16), kGoodBundle)}),
              "MEROBundlePath is not an absolute path");
}

TEST(JobArguments, RefusesAKnownKeyGivenTwice) {
    for (const char* key : {"MERORequestDir", "MEROBundlePath", "MEROBundlePassword", "MEROConfigDir"}) {
        EXPECT_EQ(refused({entry(key, "/a"), entry(key, "/a")}, true),
                  std::string(key).append(" is given more than once"));
    }
}

TEST(JobArguments, TakesSixtyFourEntriesAndNoMore) {
    Entries entries = withBundle({});
    while (entries.size() < 64) {
        entries.push_back(entry(std::to_string(entries.size()), ""));
    }
    EXPECT_EQ(taken(entries).bundlePath, kGoodBundle);
    entries.push_back(entry("last", ""));
    EXPECT_EQ(refused(entries), "too many arguments");
}

TEST(JobArguments, TakesValuesOf4096BytesAndNoMore) {
    for (const char* key : {"MERORequestDir", "MEROConfigDir", "MEROBundlePassword", "Unknown"}) {
        EXPECT_EQ(refused(withBundle({entry(key, longPath(4096))}), true), "") << key;
        EXPECT_EQ(refused(withBundle({entry(key, longPath(4097))}), true),
                  std::string(key).append(" is too long"));
    }
    EXPECT_EQ(refusedBundle(longPath(4096)), "");
    EXPECT_EQ(refusedBundle(longPath(4097)), "MEROBundlePath is too long");
}

TEST(JobArguments, RefusesNulInAnyValue) {
    const std::string value("/a\0b", 4);
    for (const char* key : {"MERORequestDir", "MEROConfigDir", "MEROBundlePassword", "Unknown"}) {
        EXPECT_EQ(refused(withBundle({entry(key, value)}), true),
                  std::string(key).append(" holds a NUL byte"));
    }
    EXPECT_EQ(refusedBundle(value), "MEROBundlePath holds a NUL byte");
    EXPECT_EQ(refusedBundle(std::string("/a\0", 3)), "MEROBundlePath holds a NUL byte");
}

TEST(JobArguments, OnlyRootChoosesTheConfiguration) {
    for (const char* folder : {"/etc/mero", "relative", "/a/../b", "/"}) {
        EXPECT_EQ(refusedConfig(folder, false), "MEROConfigDir is for root only") << folder;
    }
    EXPECT_EQ(refusedConfig("/etc/mero", true), "");
    EXPECT_EQ(refusedConfig("/etc/mero/", true), "");
    EXPECT_EQ(refusedConfig("/", true), "");
}

TEST(JobArguments, RootsConfigurationIsAStraightAbsolutePath) {
    EXPECT_EQ(refusedConfig("etc/mero", true), "MEROConfigDir is not an absolute path");
    EXPECT_EQ(refusedConfig("/etc/../mero", true), "MEROConfigDir has a component \"..\"");
    EXPECT_EQ(refusedConfig("/etc/mero\n", true), "MEROConfigDir holds a control byte");
}

TEST(JobArguments, BundlePathIsAbsolute) {
    for (const char* path : {"bundle.zip", "./bundle.zip", "~/bundle.zip", " /bundle.zip", "../bundle.zip"}) {
        EXPECT_EQ(refusedBundle(path), "MEROBundlePath is not an absolute path") << path;
    }
}

TEST(JobArguments, BundlePathDoesNotClimb) {
    for (const char* path : {"/..", "/../a", "/a/..", "/a/../b", "/a/../", "//..//b", "/a/b/.."}) {
        EXPECT_EQ(refusedBundle(path), "MEROBundlePath has a component \"..\"") << path;
    }
}

TEST(JobArguments, DotsInsideANameAreNoClimbing) {
    for (const char* path :
         {"/a..", "/..a", "/a/...", "/a/..b/c", "/a/b../c", "/./a", "//a", "/a/./b", "/.a"}) {
        EXPECT_EQ(refusedBundle(path), "") << path;
    }
}

TEST(JobArguments, BundlePathEndsInAFileName) {
    for (const char* path : {"/", "//", "/a/", "/a//", "/.", "/a/."}) {
        EXPECT_EQ(refusedBundle(path), "MEROBundlePath does not end in a file name") << path;
    }
}

TEST(JobArguments, PathsHoldNoControlByte) {
    for (int byte = 0x01; byte <= 0xFF; ++byte) {
        const bool control = byte < 0x20 || byte == 0x7F;
        const std::string path = pathWith(byte);
        EXPECT_EQ(refusedBundle(path), control ? "MEROBundlePath holds a control byte" : "") << byte;
        EXPECT_EQ(refusedRequest(path), control ? "MERORequestDir holds a control byte" : "") << byte;
        EXPECT_EQ(refusedConfig(path, true), control ? "MEROConfigDir holds a control byte" : "") << byte;
    }
}

TEST(JobArguments, RequestPathIsAbsoluteAndMayClimb) {
    EXPECT_EQ(refusedRequest("request.xml"), "MERORequestDir is not an absolute path");
    EXPECT_EQ(refusedRequest("../request.xml"), "MERORequestDir is not an absolute path");
    EXPECT_EQ(refusedRequest("/tmp/../home/request.xml"), "");
    EXPECT_EQ(refusedRequest("/"), "");
}

TEST(JobArguments, PasswordHoldsAnyByteButNul) {
    std::string password;
    for (int byte = 0x01; byte <= 0xFF; ++byte) {
        password.push_back(static_cast<char>(byte));
    }
    EXPECT_EQ(taken(withBundle({entry("MEROBundlePassword", password)})).bundlePassword.view(), password);
}

TEST(JobArguments, NoReasonHoldsAValue) {
    std::string secret("hunter2!");
    EXPECT_THAT(refused({entry("MEROBundlePassword", secret)}), Not(HasSubstr("hunter2")));
    EXPECT_THAT(refused({entry("MEROBundlePassword", secret), entry("MEROBundlePassword", secret)}),
                Not(HasSubstr("hunter2")));
    secret.push_back('\0');
    EXPECT_THAT(refused(withBundle({entry("MEROBundlePassword", secret)})), Not(HasSubstr("hunter2")));
    secret.append(4096, 'x');
    EXPECT_THAT(refused(withBundle({entry("MEROBundlePassword", secret)})), Not(HasSubstr("hunter2")));
    EXPECT_THAT(refused(withBundle({entry("MERORequestDir", "hunter2")})), Not(HasSubstr("hunter2")));
}

TEST(JobArguments, ReasonNamesTheStartOfAnUnknownKey) {
    EXPECT_EQ(refused({entry("a b", std::string(4097, 'x'))}), "a b is too long");
    EXPECT_EQ(refused({entry(std::string(5000, 'k'), std::string(4097, 'x'))}),
              std::string(200, 'k').append(" is too long"));
}

TEST(ShortForLog, KeepsAShortText) {
    for (const char* text : {"", "%s%n", "a\r\nb\x7F"}) {
        EXPECT_EQ(shortForLog(text), text);
    }
}

TEST(ShortForLog, KeepsTwoHundredBytes) {
    EXPECT_EQ(shortForLog(std::string(200, 'a')), std::string(200, 'a'));
    EXPECT_EQ(shortForLog(std::string(201, 'a')), std::string(200, 'a'));
}

TEST(ShortForLog, CutsNoCharacterInTwo) {
    for (const std::string_view character : {"\xC3\xA4", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"}) {
        for (std::size_t inside = 1; inside < character.size(); ++inside) {
            const std::string start(200 - inside, 'a');
            EXPECT_EQ(shortForLog(std::string(start).append(character)), start) << inside;
        }
        const std::string whole = std::string(200 - character.size(), 'a').append(character);
        EXPECT_EQ(shortForLog(std::string(whole).append(character)), whole);
    }
}

TEST(ShortForLog, BytesThatAreNoTextAreCutAllTheSame) {
    EXPECT_EQ(shortForLog(std::string(300, '\xBF')), std::string(197, '\xBF'));
}

} // namespace
