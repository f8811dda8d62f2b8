#include "tools/MERO/MEROEngine/implementations/helperUtil/Paths.h"

#include "Common/Utility/ReturnCodes.h"
#include "tests/unit/files/FileTest.h"

#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

using namespace helperUtil;

namespace {

class TranslatePath : public FileTest {
protected:
    [[nodiscard]] int countFailures(const std::string& name, const std::string& text) const {
        return countMessages('E', "translatePath",
                             "Cannot determine environment variable " + name + ", path " + text +
                                 " cannot be translated");
    }
};
using EnvironmentVariable = FileTest;
using UserNames = FileTest;
using ProgramFolders = FileTest;
using DesktopFolder = FileTest;
using CurrentFolder = FileTest;

TEST_F(TranslatePath, LeavesTextWithoutAVariableAlone) {
    EXPECT_EQ(translatePath("/var/log/app.log"), "/var/log/app.log");
    EXPECT_EQ(translatePath(""), "");
    EXPECT_EQ(lineCount(), 0u);
}

TEST_F(TranslatePath, ReplacesAVariableAndKeepsTheArgument) {
    setEnvironment("HOME", "/home/u");
    const std::string path = "$HOME/.vpn/log";
    EXPECT_EQ(translatePath(path), "/home/u/.vpn/log");
    EXPECT_EQ(path, "$HOME/.vpn/log");
}

TEST_F(TranslatePath, ReplacesOneVariableAfterTheOther) {
    setEnvironment("HOME", "/home/u");
    setEnvironment("USER", "u");
    EXPECT_EQ(translatePath("$HOME/x/$USER/y"), "/home/u/x/u/y");
}

TEST_F(TranslatePath, KeepsTheTextInFrontOfTheVariable) {
    setEnvironment("USER", "u");
    EXPECT_EQ(translatePath("/home/x$USER/y"), "/home/xu/y");
}

TEST_F(TranslatePath, KnowsAVariableOnlyByTheSlashBehindIt) {
    setEnvironment("HOME", "/home/u");
    EXPECT_EQ(translatePath("a/$HOME"), "a/$HOME");
    EXPECT_EQ(translatePath("$HOME"), "$HOME");
    EXPECT_EQ(translatePath("$HOME/"), "/home/u/");
    EXPECT_EQ(translatePath("$"), "$");
    EXPECT_EQ(lineCount(), 0u);
}

TEST_F(TranslatePath, DoesNotDoubleTheSlashOfTheValue) {
    setEnvironment("HOME", "/home/u/");
    EXPECT_EQ(translatePath("$HOME/x"), "/home/u/x");
}

TEST_F(TranslatePath, LogsAMissingVariableOnceAndKeepsIt) {
    setEnvironment("NOSUCH", std::nullopt);
    EXPECT_EQ(translatePath("$NOSUCH/x"), "$NOSUCH/x");
    EXPECT_EQ(countFailures("NOSUCH", "$NOSUCH/x"), 1) << log.dump();
    EXPECT_EQ(lineCount(), 1u);
}

TEST_F(TranslatePath, TakesAnEmptyVariableForAMissingOne) {
    setEnvironment("EMPTY", "");
    EXPECT_EQ(translatePath("$EMPTY/x"), "$EMPTY/x");
    EXPECT_EQ(countFailures("EMPTY", "$EMPTY/x"), 1) << log.dump();
}

TEST_F(TranslatePath, KeepsEarlierReplacementsWhenALaterVariableIsMissing) {
    setEnvironment("HOME", "/home/u");
    setEnvironment("NOSUCH", std::nullopt);
    EXPECT_EQ(translatePath("$HOME/$NOSUCH/$HOME/x"), "/home/u/$NOSUCH/$HOME/x");
    EXPECT_EQ(countFailures("NOSUCH", "/home/u/$NOSUCH/$HOME/x"), 1) << log.dump();
}

TEST_F(TranslatePath, TranslatesTheValueToo) {
    setEnvironment("OUTER", "$INNER/b");
    setEnvironment("INNER", "/a");
    EXPECT_EQ(translatePath("$OUTER/c"), "/a/b/c");
}

TEST_F(TranslatePath, HasNoEscapeAndDropsADoubledDollar) {
    setEnvironment("HOME", "/home/u");
    setEnvironment("NOSUCH", std::nullopt);
    EXPECT_EQ(translatePath("$$HOME/x"), "/home/u/x");
    EXPECT_EQ(translatePath("$$NOSUCH/x"), "$$NOSUCH/x");
    EXPECT_EQ(countFailures("NOSUCH", "$$NOSUCH/x"), 1) << log.dump();
}

TEST_F(TranslatePath, LogsADollarWithoutAName) {
    EXPECT_EQ(translatePath("a$/x"), "a$/x");
    EXPECT_EQ(countFailures("", "a$/x"), 1) << log.dump();
}

TEST_F(TranslatePath, EndsWithAVariableThatNamesItself) {
    setEnvironment("SELF", "$SELF");
    EXPECT_EQ(translatePath("$SELF/x"), "$SELF/x");
    EXPECT_EQ(countFailures("SELF", "$SELF/x"), 1) << log.dump();
}

TEST_F(TranslatePath, MakesAtMost64Replacements) {
    setEnvironment("X", "v");
    std::string path;
    std::string translated;
    for (int i = 0; i < 64; ++i) {
        path += "$X/";
        translated += "v/";
    }
    EXPECT_EQ(translatePath(path), translated);
    EXPECT_EQ(lineCount(), 0u);
    EXPECT_EQ(translatePath(path + "$X/end"), translated + "$X/end");
    EXPECT_EQ(countFailures("X", translated + "$X/end"), 1) << log.dump();
}

TEST_F(TranslatePath, StopsGrowingAt64KiB) {
    setEnvironment("BIG", std::string(40000, 'b'));
    std::string once(40001, 'b');
    once.back() = '/';
    EXPECT_EQ(translatePath("$BIG/$BIG/x"), once + "$BIG/x");
    EXPECT_EQ(log.count('E', "Cannot determine environment variable BIG, path bbb"), 1);

    setEnvironment("FIT", std::string(65534, 'f'));
    EXPECT_EQ(translatePath("$FIT/x").size(), 65536u);
    EXPECT_EQ(translatePath("$FIT/xy"), "$FIT/xy");
}

TEST_F(TranslatePath, EndsWithAVariableThatGrowsByItself) {
    setEnvironment("GROW", "$GROW/$GROW/" + std::string(5000, 'g'));
    EXPECT_LE(translatePath("$GROW/x").size(), 65536u);
    EXPECT_EQ(lineCount(), 1u);
}

TEST_F(TranslatePath, KeepsBytesThatAreNoText) {
    setEnvironment("ODD", "/o\n\"\xff");
    EXPECT_EQ(translatePath("$ODD/\xfe"), "/o\n\"\xff/\xfe");
}

TEST_F(EnvironmentVariable, GivesTheValueOrNothing) {
    setEnvironment("SOME", "value");
    setEnvironment("NOSUCH", std::nullopt);
    std::string some = "SOME";
    std::string none = "NOSUCH";
    std::string empty;
    EXPECT_EQ(getEnvironmentVariable(some), "value");
    EXPECT_EQ(some, "SOME");
    EXPECT_EQ(getEnvironmentVariable(none), "");
    EXPECT_EQ(getEnvironmentVariable(empty), "");
    EXPECT_EQ(lineCount(), 0u);
}

TEST_F(EnvironmentVariable, RemovesOneLeadingDollarInTheCallersStringToo) {
    setEnvironment("SOME", "value");
    std::string name = "$SOME";
    EXPECT_EQ(getEnvironmentVariable(name), "value");
    EXPECT_EQ(name, "SOME");
    std::string doubled = "$$SOME";
    EXPECT_EQ(getEnvironmentVariable(doubled), "");
    EXPECT_EQ(doubled, "$SOME");
}

TEST_F(UserNames, SessionUserIsNotAvailable) {
    std::string userName = "before";
    EXPECT_EQ(GetSessionUsername(userName), MEROENGINE_ERROR_NOT_IMPLEMENTED);
    EXPECT_EQ(MEROENGINE_ERROR_NOT_IMPLEMENTED, 0xFEB00001u);
    EXPECT_EQ(userName, "");
    EXPECT_EQ(lineCount(), 0u);
}

TEST_F(UserNames, CurrentUserIsTheVariable) {
    setEnvironment("USER", "somebody");
    EXPECT_EQ(getCurrentUserName(), "somebody");
    setEnvironment("USER", std::nullopt);
    EXPECT_EQ(getCurrentUserName(), "");
}

TEST_F(ProgramFolders, ExecutableFolderIsThatOfTheRunningProgram) {
    const std::string program = std::filesystem::canonical("/proc/self/exe").string();
    EXPECT_EQ(getExecutableDirectory(), program.substr(0, program.rfind('/') + 1));
}

TEST_F(ProgramFolders, ExecutableFolderIsTheInstallFolderWithoutProc) {
    if (!runsAsRoot()) {
        GTEST_SKIP() << "only root may change the root folder, which is what takes /proc away";
    }
    EXPECT_TRUE(holdsInChild([&] {
        ASSERT_EQ(::chroot(path().c_str()), 0);
        EXPECT_EQ(getExecutableDirectory(), "/opt/varnel/corvane/mero/");
        EXPECT_EQ(getConfigDirectory(""), "/opt/varnel/corvane/mero/xml/config/");
    }));
}

TEST_F(ProgramFolders, ConfigFolderIsBesideTheProgramByDefault) {
    EXPECT_EQ(getConfigDirectory(""), getExecutableDirectory() + "xml/config/");
}

TEST_F(ProgramFolders, ConfigFolderIsBelowTheGivenFolder) {
    EXPECT_EQ(getConfigDirectory("/a/b"), "/a/b/xml/config/");
    EXPECT_EQ(getConfigDirectory("/a/b/"), "/a/b/xml/config/");
    EXPECT_EQ(getConfigDirectory("b"), "b/xml/config/");
}

TEST_F(DesktopFolder, ComesFromTheXdgConfigFolder) {
    writeFile(".config/user-dirs.dirs", "# comment\n"
                                        "XDG_MUSIC_DIR=\"$HOME/Musik\"\n"
                                        "XDG_DESKTOP_DIR=\"$HOME/Schreibtisch\"\n"
                                        "XDG_PUBLICSHARE_DIR=\"$HOME/\"\n");
    EXPECT_EQ(getXdgDesktopDirectory(), "$HOME/Schreibtisch/");
    EXPECT_EQ(getDesktopDirectory(), "$HOME/Schreibtisch/");
}

TEST_F(DesktopFolder, ComesFromTheHomeFolderWithoutXdgConfigHome) {
    setEnvironment("XDG_CONFIG_HOME", std::nullopt);
    writeFile(".config/user-dirs.dirs", "XDG_DESKTOP_DIR=\"/desk\"");
    EXPECT_EQ(getXdgDesktopDirectory(), "/desk/");
}

TEST_F(DesktopFolder, PrefersXdgConfigHome) {
    setEnvironment("XDG_CONFIG_HOME", path("xdg"));
    writeFile(".config/user-dirs.dirs", "XDG_DESKTOP_DIR=\"/home-desk\"\n");
    EXPECT_EQ(getXdgDesktopDirectory(), "");
    writeFile("xdg/user-dirs.dirs", "XDG_DESKTOP_DIR=\"/xdg-desk\"\n");
    EXPECT_EQ(getXdgDesktopDirectory(), "/xdg-desk/");
}

TEST_F(DesktopFolder, FallsBackToTheHomeFoldersDesktopUntranslated) {
    EXPECT_EQ(getXdgDesktopDirectory(), "");
    EXPECT_EQ(getDesktopDirectory(), "$HOME/Desktop/");
    writeFile(".config/user-dirs.dirs", "XDG_MUSIC_DIR=\"$HOME/Musik\"\n");
    EXPECT_EQ(getXdgDesktopDirectory(), "");
    EXPECT_EQ(getDesktopDirectory(), "$HOME/Desktop/");
}

TEST_F(DesktopFolder, IsUnknownWithoutAHome) {
    setEnvironment("XDG_CONFIG_HOME", std::nullopt);
    setEnvironment("HOME", std::nullopt);
    EXPECT_EQ(getXdgDesktopDirectory(), "");
    EXPECT_EQ(getDesktopDirectory(), "$HOME/Desktop/");
}

TEST_F(DesktopFolder, TakesTheLastMatchingLine) {
    writeFile(".config/user-dirs.dirs", "XDG_DESKTOP_DIR=\"/one\"\nXDG_DESKTOP_DIR=\"/two\"\n\n");
    EXPECT_EQ(getXdgDesktopDirectory(), "/two/");
}

TEST_F(DesktopFolder, CountsACommentedLineAndItsQuote) {
    // The length is counted from the start of the line, so a key further on takes the quote along.
    writeFile(".config/user-dirs.dirs", "#XDG_DESKTOP_DIR=\"/one\"\n");
    EXPECT_EQ(getXdgDesktopDirectory(), "/one\"/");
}

TEST_F(DesktopFolder, EndsAtTheLastQuoteOfTheLine) {
    writeFile(".config/user-dirs.dirs", "XDG_DESKTOP_DIR=\"/one\" # \"mine\"\r\n");
    EXPECT_EQ(getXdgDesktopDirectory(), "/one\" # \"mine/");
}

TEST_F(DesktopFolder, TakesTheRestOfALineWithoutAClosingQuote) {
    writeFile(".config/user-dirs.dirs", "XDG_DESKTOP_DIR=\"/one");
    EXPECT_EQ(getXdgDesktopDirectory(), "/one/");
    writeFile(".config/user-dirs.dirs", "XDG_DESKTOP_DIR=\"");
    EXPECT_EQ(getXdgDesktopDirectory(), "/");
}

TEST_F(DesktopFolder, CountsTheLengthFromTheLineStartWithoutAClosingQuoteToo) {
    writeFile(".config/user-dirs.dirs", "   XDG_DESKTOP_DIR=\"/one");
    EXPECT_EQ(getXdgDesktopDirectory(), "/o/");
}

TEST_F(DesktopFolder, GivesAnEmptyValueItsSlash) {
    writeFile(".config/user-dirs.dirs", "XDG_DESKTOP_DIR=\"\"\n");
    EXPECT_EQ(getXdgDesktopDirectory(), "/");
}

TEST_F(DesktopFolder, NeverReadsFromAPipe) {
    makeFolder(".config");
    ASSERT_EQ(::mkfifo(path(".config/user-dirs.dirs").c_str(), 0600), 0);
    EXPECT_EQ(getXdgDesktopDirectory(), "");
}

TEST_F(DesktopFolder, NeverReadsAFolder) {
    makeFolder(".config/user-dirs.dirs");
    EXPECT_EQ(getXdgDesktopDirectory(), "");
}

TEST_F(DesktopFolder, ClosesItsFile) {
    writeFile(".config/user-dirs.dirs", "XDG_DESKTOP_DIR=\"/one\"\n");
    const size_t before = openDescriptors();
    EXPECT_EQ(getXdgDesktopDirectory(), "/one/");
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(CurrentFolder, IsGivenWhole) {
    EXPECT_EQ(getCurrentDirectory(), path());
}

TEST_F(CurrentFolder, GrowsItsBufferForLongPaths) {
    std::string expected = path();
    for (int level = 0; level < 12; ++level) {
        const std::string name(100, static_cast<char>('a' + level));
        ASSERT_EQ(::mkdir(name.c_str(), 0700), 0);
        ASSERT_EQ(::chdir(name.c_str()), 0);
        expected += "/" + name;
        EXPECT_EQ(getCurrentDirectory(), expected);
    }
    EXPECT_GT(expected.size(), 1024u);
}

TEST_F(CurrentFolder, IsEmptyAndLoggedWhenItIsGone) {
    const std::string gone = makeFolder("gone");
    ASSERT_EQ(::chdir(gone.c_str()), 0);
    ASSERT_EQ(::rmdir(gone.c_str()), 0);
    EXPECT_EQ(getCurrentDirectory(), "");
    EXPECT_TRUE(log.containsCode('E', "getCurrentDirectory", "getcwd", ENOENT)) << log.dump();
    std::string bundle = "b.zip";
    EXPECT_EQ(makeAbsolutePath(bundle), "b.zip");
}

TEST_F(CurrentFolder, ReplacesALeadingDotSlash) {
    std::string bundle = "./sub/b.zip";
    EXPECT_EQ(makeAbsolutePath(bundle), path("sub/b.zip"));
    EXPECT_EQ(bundle, path("sub/b.zip"));
}

TEST_F(CurrentFolder, PrecedesABareName) {
    std::string bundle = "b.zip";
    EXPECT_EQ(makeAbsolutePath(bundle), path("b.zip"));
    EXPECT_EQ(bundle, path("b.zip"));
    std::string empty;
    EXPECT_EQ(makeAbsolutePath(empty), path() + "/");
}

TEST_F(CurrentFolder, LeavesOtherPathsAsTheyAre) {
    for (const char* text : {"/tmp/b.zip", "sub/b.zip", "../b.zip", "/"}) {
        std::string bundle = text;
        EXPECT_EQ(makeAbsolutePath(bundle), text);
        EXPECT_EQ(bundle, text);
    }
}

TEST_F(CurrentFolder, DoesNotDoubleTheSlashOfTheRoot) {
    ASSERT_EQ(::chdir("/"), 0);
    std::string bundle = "b.zip";
    EXPECT_EQ(makeAbsolutePath(bundle), "/b.zip");
}

} // namespace
