#include "Common/Utility/SystemIdentity.h"

#include "tests/support/CapturedLog.h"
#include "tests/support/InChild.h"
#include "tests/support/PrivateMounts.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <gmock/gmock.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/utsname.h>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kUbuntu = "PRETTY_NAME=\"Ubuntu 18.04.6 LTS\"\n"
                                "VERSION_ID=\"18.04\"\n"
                                "VERSION=\"18.04.6 LTS (Bionic Beaver)\"\n";
constexpr const char* kRedHat = "NAME=\"Red Hat Enterprise Linux Server\"\n"
                                "VERSION=\"7.9 (Maipo)\"\n"
                                "VERSION_ID=\"7.9\"\n";
constexpr const char* kBanner =
    "Linux version 5.4.0 (builder) (gcc 9.3.0 (Ubuntu 9.3.0-17)) #1 SMP\nsecond line\n";

std::string kernelDescription() {
    utsname kernel{};
    EXPECT_EQ(::uname(&kernel), 0);
    return std::string(kernel.sysname) + " " + kernel.release + " " + kernel.version + " " + kernel.machine;
}

/// Makes each later uname of the process fail.
void forbidUname() {
    std::array rules = {
        sock_filter BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_uname, 0, 1),
        sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
        sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program{static_cast<unsigned short>(rules.size()), rules.data()};
    ASSERT_EQ(::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0);
    ASSERT_EQ(::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program), 0);
}

class SystemIdentity : public Sandbox {
protected:
    CapturedLog m_log;
    /// None of them exists until a test writes it.
    OSReleaseFiles m_files{path("os-release"), path("version"), path("issue")};

    void expectSilence() const { EXPECT_TRUE(m_log.lines().empty()) << m_log.dump(); }
    [[nodiscard]] std::string description() const {
        OSInfo record{};
        getOSInfo(record, m_files);
        return record.description;
    }
    [[nodiscard]] Version version() const {
        Version numbers = {99};
        getOSVersion(numbers, m_files);
        return numbers;
    }
    [[nodiscard]] std::string releaseText() const {
        std::string text;
        EXPECT_TRUE(readOSReleaseText(text, m_files));
        return text;
    }
};

TEST_F(SystemIdentity, ReadsTheWholeReleaseFile) {
    writeFile("os-release", "one\ntwo\n");
    writeFile("version", "not this\n");
    writeFile("issue", "nor this\n");
    EXPECT_EQ(releaseText(), "one\ntwo\n");
    expectSilence();
}

TEST_F(SystemIdentity, ReadsAReleaseFileOfManyBlocks) {
    const std::string content(3 * 4096 + 17, 'x');
    writeFile("os-release", content);
    EXPECT_EQ(releaseText(), content);
}

TEST_F(SystemIdentity, ReadsTheFirstLineOfTheKernelsBanner) {
    writeFile("version", "banner\nsecond\n");
    writeFile("issue", "not this\n");
    EXPECT_EQ(releaseText(), "banner");
    expectSilence();
}

TEST_F(SystemIdentity, ReadsTheFirstLineOfTheIssueLast) {
    writeFile("issue", "Some System 1.2 \\n \\l\n\nmore\n");
    EXPECT_EQ(releaseText(), "Some System 1.2 \\n \\l");
    writeFile("issue", "no line end");
    EXPECT_EQ(releaseText(), "no line end");
    expectSilence();
}

TEST_F(SystemIdentity, PassesOverWhatIsNoRegularFile) {
    makeFolder("os-release");
    ASSERT_EQ(::mkfifo("version", 0600), 0);
    writeFile("issue", "issue\n");
    EXPECT_EQ(releaseText(), "issue");
    expectSilence();
}

TEST_F(SystemIdentity, HasNoTextWithoutAnyFile) {
    std::string text;
    EXPECT_FALSE(readOSReleaseText(text, m_files));
    expectSilence();
}

TEST_F(SystemIdentity, HasNoTextIfTheFirstFileThereCannotBeOpened) {
    writeFile("os-release", kUbuntu);
    writeFile("version", "banner\n");
    ASSERT_EQ(::chmod("os-release", 0), 0);
    m_files = {"os-release", "version", "issue"};
    asOrdinaryUser([this] {
        std::string text;
        EXPECT_FALSE(readOSReleaseText(text, m_files));
        EXPECT_FALSE(isUbuntu(m_files));
        EXPECT_EQ(description(), kernelDescription());
        expectSilence();
    });
}

TEST_F(SystemIdentity, LogsAFailedStatOnly) {
    writeFile("file", "");
    m_files.osRelease = path("file/os-release");
    writeFile("version", "banner\n");
    EXPECT_EQ(releaseText(), "banner");
    EXPECT_TRUE(m_log.containsCode('E', "fileExists", "_tstat", ENOTDIR)) << m_log.dump();
    EXPECT_EQ(m_log.count('*', ""), 1);
}

TEST(NamedValue, RunsToTheLinesEnd) {
    std::string value;
    EXPECT_TRUE(getNamedValue("A=1\nKEY=some value \nB=2", "KEY", value));
    EXPECT_EQ(value, "some value ");
    EXPECT_TRUE(getNamedValue("KEY=last", "KEY", value));
    EXPECT_EQ(value, "last");
}

TEST(NamedValue, RunsToTheNextQuote) {
    std::string value;
    EXPECT_TRUE(getNamedValue("KEY=\"some value\" rest\n", "KEY", value));
    EXPECT_EQ(value, "some value");
    EXPECT_TRUE(getNamedValue("KEY=\"two\nlines\"\n", "KEY", value));
    EXPECT_EQ(value, "two\nlines");
}

TEST(NamedValue, RunsToTheTextsEndWithoutTheNextQuote) {
    std::string value;
    EXPECT_TRUE(getNamedValue("KEY=\"open\nend", "KEY", value));
    EXPECT_EQ(value, "open\nend");
    EXPECT_TRUE(getNamedValue("KEY=\"", "KEY", value));
    EXPECT_EQ(value, "");
}

TEST(NamedValue, KeepsQuotesInsideAndSingleQuotes) {
    std::string value;
    EXPECT_TRUE(getNamedValue("KEY=a\"b\"\n", "KEY", value));
    EXPECT_EQ(value, "a\"b\"");
    EXPECT_TRUE(getNamedValue("KEY='a b'\n", "KEY", value));
    EXPECT_EQ(value, "'a b'");
}

TEST(NamedValue, MayBeEmpty) {
    for (const char* const text : {"KEY=", "KEY=\nB=2", "KEY=\"\"\nB=2"}) {
        std::string value = "former";
        EXPECT_TRUE(getNamedValue(text, "KEY", value));
        EXPECT_EQ(value, "") << text;
    }
}

TEST(NamedValue, IsAlsoFoundBehindALongerKey) {
    std::string value;
    EXPECT_TRUE(getNamedValue("PRETTY_NAME=\"Pretty\"\nNAME=\"Plain\"\n", "NAME", value));
    EXPECT_EQ(value, "Pretty");
}

TEST(NamedValue, NeedsTheEqualSignRightBehindTheKey) {
    std::string value = "former";
    EXPECT_FALSE(getNamedValue("VERSION_ID=\"7\"\nVERSION =8\n", "VERSION", value));
    EXPECT_EQ(value, "");
}

TEST(NamedValue, ComparesCase) {
    std::string value;
    EXPECT_FALSE(getNamedValue("name=x", "NAME", value));
}

TEST(NamedValue, RefusesAnEmptyTextOrKey) {
    std::string value = "former";
    EXPECT_FALSE(getNamedValue("", "KEY", value));
    EXPECT_FALSE(getNamedValue("=x", "", value));
    EXPECT_EQ(value, "former");
}

TEST_F(SystemIdentity, RecordNamesThePlatform) {
    writeFile("os-release", kUbuntu);
    OSInfo record{};
    getOSInfo(record, m_files);
    EXPECT_EQ(record.platform, 6);
    EXPECT_STREQ(record.name, "Linux");
    EXPECT_EQ(sizeof record.name, 64U);
    EXPECT_EQ(sizeof record.description, 256U);
}

TEST_F(SystemIdentity, RecordIsZeroedFirst) {
    writeFile("os-release", "NAME=a\nVERSION=b\n");
    OSInfo record{};
    std::fill_n(record.name, sizeof record.name, '#');
    std::fill_n(record.description, sizeof record.description, '#');
    getOSInfo(record, m_files);
    EXPECT_EQ(std::string(record.name, sizeof record.name), "Linux" + std::string(59, '\0'));
    EXPECT_EQ(std::string(record.description, sizeof record.description), "a b" + std::string(253, '\0'));
}

TEST_F(SystemIdentity, DescriptionIsNameAndVersion) {
    writeFile("os-release", "NAME=\"Ubuntu\"\nVERSION=\"18.04.6 LTS (Bionic Beaver)\"\n");
    EXPECT_EQ(description(), "Ubuntu 18.04.6 LTS (Bionic Beaver)");
    expectSilence();
}

TEST_F(SystemIdentity, DescriptionIsCutAtItsSize) {
    writeFile("os-release", "NAME=" + std::string(300, 'n') + "\nVERSION=1\n");
    EXPECT_EQ(description(), std::string(255, 'n'));
}

TEST_F(SystemIdentity, DescriptionIsTheKernelsWithoutAVersion) {
    writeFile("os-release", "NAME=\"Rolling\"\nVERSION_ID=\"7\"\n");
    EXPECT_EQ(description(), kernelDescription().substr(0, 255));
    expectSilence();
}

TEST_F(SystemIdentity, DescriptionIsTheKernelsWithoutANameOrAFile) {
    EXPECT_EQ(description(), kernelDescription().substr(0, 255));
    writeFile("os-release", "VERSION=\"1\"\n");
    EXPECT_EQ(description(), kernelDescription().substr(0, 255));
    expectSilence();
}

TEST_F(SystemIdentity, DescriptionIsUnknownIfTheKernelDoesNotTell) {
    inChild([this] {
        forbidUname();
        utsname kernel{};
        ASSERT_EQ(::uname(&kernel), -1);
        EXPECT_EQ(description(), "Unknown");
        expectSilence();
    });
}

TEST_F(SystemIdentity, FactsAreReadAfresh) {
    writeFile("os-release", "NAME=a\nVERSION=1\n");
    EXPECT_EQ(description(), "a 1");
    writeFile("os-release", "NAME=b\nVERSION=2\n");
    EXPECT_EQ(description(), "b 2");
}

TEST_F(SystemIdentity, ThePlatformIsLinuxAndNoOther) {
    EXPECT_TRUE(isLinux());
    EXPECT_FALSE(isWindows());
    EXPECT_FALSE(isMac());
}

TEST_F(SystemIdentity, ADistributionIsNamedInAnyCase) {
    writeFile("os-release", "ID=uBuNtU\n");
    EXPECT_TRUE(isUbuntu(m_files));
    EXPECT_FALSE(isRedHat(m_files));
    writeFile("os-release", kRedHat);
    EXPECT_TRUE(isRedHat(m_files));
    EXPECT_FALSE(isUbuntu(m_files));
    writeFile("os-release", "NAME=RedHat\n");
    EXPECT_FALSE(isRedHat(m_files)) << "the two words stand apart";
}

TEST_F(SystemIdentity, NoDistributionWithoutAText) {
    EXPECT_FALSE(isUbuntu(m_files));
    EXPECT_FALSE(isRedHat(m_files));
    EXPECT_FALSE(isRedHat7(m_files));
    EXPECT_FALSE(isUbuntu1804OrLater(m_files));
    expectSilence();
}

TEST_F(SystemIdentity, TheKernelsBannerNamesItsCompilersDistribution) {
    writeFile("version", kBanner);
    EXPECT_TRUE(isUbuntu(m_files));
    EXPECT_FALSE(isRedHat(m_files));
}

TEST_F(SystemIdentity, OnlyTheBannersFirstLineCounts) {
    writeFile("version", "Linux version\nubuntu red hat\n");
    EXPECT_FALSE(isUbuntu(m_files));
    EXPECT_FALSE(isRedHat(m_files));
}

TEST(Versions, AreSplitAtEachSeparator) {
    EXPECT_THAT(parseVersion("18.04.6", "."), ElementsAre(18, 4, 6));
    EXPECT_THAT(parseVersion("1,2.3", ".,"), ElementsAre(1, 2, 3));
    EXPECT_THAT(parseVersion("7", ".,"), ElementsAre(7));
    EXPECT_THAT(parseVersion("1,2", "."), ElementsAre(1));
    EXPECT_THAT(parseVersion("", ".,"), IsEmpty());
}

TEST(Versions, AreDecimalAndZeroWhereThereIsNoNumber) {
    EXPECT_THAT(parseVersion("010.0x10.x.-3. 5b", "."), ElementsAre(10, 0, 0, -3, 5));
    EXPECT_THAT(parseVersion("1..2.", "."), ElementsAre(1, 0, 2, 0));
}

TEST(Versions, KeepToThirtyTwoBits) {
    EXPECT_THAT(parseVersion("99999999999999999999.-99999999999999999999.2147483648", "."),
                ElementsAre(INT32_MAX, INT32_MIN, INT32_MAX));
}

TEST(Versions, AreComparedNumberByNumber) {
    EXPECT_EQ(compareVersions({18, 4}, {18, 4}), 0);
    EXPECT_EQ(compareVersions({18, 4}, {18, 10}), -1);
    EXPECT_EQ(compareVersions({20}, {18, 10}), 1);
    EXPECT_EQ(compareVersions({1, 2, 3}, {1, 3, 0}), -1);
    EXPECT_EQ(compareVersions({-1}, {1}), -1);
}

TEST(Versions, CountAMissingNumberAsZero) {
    EXPECT_EQ(compareVersions({18, 4}, {18, 4, 0, 0}), 0);
    EXPECT_EQ(compareVersions({18}, {18, 4}), -1);
    EXPECT_EQ(compareVersions({18, 4}, {18}), 1);
    EXPECT_EQ(compareVersions({}, {}), 0);
    EXPECT_EQ(compareVersions({}, {0, 1}), -1);
}

TEST(Versions, HaveAPrefixUpToTheShorterLength) {
    EXPECT_TRUE(versionHasPrefix({7, 9}, {7}));
    EXPECT_TRUE(versionHasPrefix({7}, {7, 9}));
    EXPECT_FALSE(versionHasPrefix({8, 7}, {7}));
    EXPECT_FALSE(versionHasPrefix({7, 9}, {7, 8, 1}));
    EXPECT_TRUE(versionHasPrefix({7}, {}));
}

TEST(Versions, HaveNoPrefixWithoutNumbers) {
    EXPECT_FALSE(versionHasPrefix({}, {7}));
    EXPECT_FALSE(versionHasPrefix({}, {}));
}

TEST_F(SystemIdentity, VersionIsTheReleaseFilesVersionId) {
    writeFile("os-release", kUbuntu);
    EXPECT_THAT(version(), ElementsAre(18, 4));
    writeFile("os-release", "VERSION_ID=12\n");
    EXPECT_THAT(version(), ElementsAre(12));
}

TEST_F(SystemIdentity, VersionIsElseReadFromTheDescription) {
    writeFile("os-release", "NAME=\"8,1.2\"\nVERSION=\"x\"\n");
    EXPECT_THAT(version(), ElementsAre(8, 1, 2));
}

TEST_F(SystemIdentity, VersionOfTheKernelsDescription) {
    EXPECT_EQ(version(), parseVersion(kernelDescription().substr(0, 255), ".,"));
}

TEST_F(SystemIdentity, RedHat7IsAnyRedHatOfThatMajorVersion) {
    writeFile("os-release", kRedHat);
    EXPECT_TRUE(isRedHat7(m_files));
    writeFile("os-release", "NAME=\"Red Hat\"\nVERSION_ID=\"7\"\n");
    EXPECT_TRUE(isRedHat7(m_files));
    writeFile("os-release", "NAME=\"Red Hat\"\nVERSION_ID=\"8.7\"\n");
    EXPECT_FALSE(isRedHat7(m_files));
    writeFile("os-release", "NAME=\"Other\"\nVERSION_ID=\"7\"\n");
    EXPECT_FALSE(isRedHat7(m_files));
    writeFile("os-release", "NAME=\"Red Hat\"\nVERSION_ID=\"\"\n");
    EXPECT_FALSE(isRedHat7(m_files)) << "of an unknown version";
}

TEST_F(SystemIdentity, RedHatWithAnEmptyVersionIsNotVersion7) {
    writeFile("os-release", "NAME=\"Red Hat\"\nVERSION_ID=\"\"\n");
    EXPECT_THAT(version(), IsEmpty());
    EXPECT_TRUE(isRedHat(m_files));
    EXPECT_FALSE(isRedHat7(m_files));
}

TEST_F(SystemIdentity, Ubuntu1804OrLaterTakesTheVersionInAccount) {
    const std::array<std::pair<const char*, bool>, 6> cases = {{{"16.04", false},
                                                                {"17.10", false},
                                                                {"18", false},
                                                                {"18.04", true},
                                                                {"18.10", true},
                                                                {"22.04", true}}};
    for (const auto& [id, expected] : cases) {
        writeFile("os-release", std::string("NAME=Ubuntu\nVERSION_ID=\"") + id + "\"\n");
        EXPECT_EQ(isUbuntu1804OrLater(m_files), expected) << id;
    }
    writeFile("os-release", "NAME=Other\nVERSION_ID=\"22.04\"\n");
    EXPECT_FALSE(isUbuntu1804OrLater(m_files));
}

TEST_F(SystemIdentity, DeviceIdIsThereIfTheKernelOffersIt) {
    EXPECT_EQ(hasNduid(), std::filesystem::exists("/proc/nduid"));
}

TEST_F(SystemIdentity, DeviceIdIsFoundWhereTheKernelKeepsIt) {
    if (!allowsMounts()) {
        GTEST_SKIP() << "this environment allows no mounts, and no kernel of today offers the id";
    }
    inChild([] {
        ASSERT_TRUE(makeMountsPrivate());
        ASSERT_EQ(::mount("none", "/proc", "tmpfs", 0, nullptr), 0);
        EXPECT_FALSE(hasNduid());
        ASSERT_EQ(::mkdir("/proc/nduid", 0700), 0);
        EXPECT_TRUE(hasNduid());
    });
}

TEST_F(SystemIdentity, IsReadFromTheSystemsOwnFiles) {
    const OSReleaseFiles files;
    EXPECT_EQ(files.osRelease, "/etc/os-release");
    EXPECT_EQ(files.kernelVersion, "/proc/version");
    EXPECT_EQ(files.issue, "/etc/issue");
}

TEST_F(SystemIdentity, SummaryLineNamesTheSystemAndDescribesIt) {
    OSInfo record{6, "Linux", "Ubuntu 18.04"};
    EXPECT_EQ(getOSSummaryLine(record), "Linux: Ubuntu 18.04");
    record.platform = 5;
    EXPECT_EQ(getOSSummaryLine(record), "macOS Ubuntu 18.04");
    for (const int32_t other : {0, 4, 7, -1}) {
        record.platform = other;
        EXPECT_EQ(getOSSummaryLine(record), "Unknown: Ubuntu 18.04");
    }
}

TEST_F(SystemIdentity, SummaryLineOfThisSystem) {
    OSInfo record{};
    getOSInfo(record);
    EXPECT_EQ(getOSSummaryLine(), std::string("Linux: ") + record.description);
}

TEST_F(SystemIdentity, DisplayStringIsDistributionAndVersion) {
    writeFile("os-release", kUbuntu);
    EXPECT_EQ(getOSDisplayString(m_files), "Ubuntu 18.04");
    writeFile("os-release", kRedHat);
    EXPECT_EQ(getOSDisplayString(m_files), "RHEL 7.9");
    writeFile("os-release", "NAME=Other\nVERSION_ID=12\n");
    EXPECT_EQ(getOSDisplayString(m_files), "Linux 12");
}

TEST_F(SystemIdentity, DisplayStringTestsForUbuntuFirst) {
    writeFile("os-release", "NAME=\"Red Hat\"\nVERSION_ID=9\nLIKE=ubuntu\n");
    EXPECT_EQ(getOSDisplayString(m_files), "Ubuntu 9");
}

TEST_F(SystemIdentity, DisplayStringTakesTheDescriptionsNumbersWithoutAVersionId) {
    writeFile("os-release", "NAME=\"8.1\"\nVERSION=\"x\"\n");
    EXPECT_EQ(getOSDisplayString(m_files), "Linux 8.1");
}

} // namespace
