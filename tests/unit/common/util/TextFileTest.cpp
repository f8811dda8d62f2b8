#include "Common/Utility/files/TextFile.h"

#include "tests/support/CapturedLog.h"
#include "tests/support/InChild.h"

#include <cerrno>
#include <gmock/gmock.h>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A regular file that opens but fails at its first byte: nothing is mapped at address 0.
constexpr const char* kUnreadable = "/proc/self/mem";

class TextFiles : public Sandbox {
protected:
    CapturedLog m_log;

    void expectSilence() const { EXPECT_TRUE(m_log.lines().empty()) << m_log.dump(); }
    /// The one line that was logged, by this function and with this text.
    void expectFailure(const std::string& function, const std::string& text) const {
        ASSERT_EQ(m_log.lines().size(), 1U) << m_log.dump();
        const LogLine line = m_log.lines().front();
        EXPECT_EQ(line.severity, 'E');
        EXPECT_NE(line.text.find("Function: " + function + "\n"), std::string::npos) << line.text;
        EXPECT_NE(line.text.find(text), std::string::npos) << line.text;
    }
    /// That many lines were logged, all with this text.
    void expectFailures(int times, const std::string& text) const {
        EXPECT_EQ(m_log.count('E', text), times) << m_log.dump();
        EXPECT_EQ(m_log.count('*', ""), times) << m_log.dump();
    }
};

class MatchingLineInsertion : public TextFiles {};

TEST_F(MatchingLineInsertion, BeforeTheFirstMatch) {
    writeFile("file", "one\nkey=1\nkey=2\n");
    EXPECT_TRUE(insertIntoFilePrePostMatchingLine("file", "new", "key", true));
    EXPECT_EQ(readFile("file"), "one\nnew\nkey=1\nkey=2\n");
    EXPECT_TRUE(insertIntoFileBeforeMatchingLine("file", "first", "one"));
    EXPECT_EQ(readFile("file"), "first\none\nnew\nkey=1\nkey=2\n");
    expectSilence();
}

TEST_F(MatchingLineInsertion, AfterTheFirstMatch) {
    writeFile("file", "one\nkey=1\nkey=2\n");
    EXPECT_TRUE(insertIntoFilePrePostMatchingLine("file", "new", "key", false));
    EXPECT_EQ(readFile("file"), "one\nkey=1\nnew\nkey=2\n");
    EXPECT_TRUE(insertIntoFileAfterMatchingLine("file", "last", "key=2"));
    EXPECT_EQ(readFile("file"), "one\nkey=1\nnew\nkey=2\nlast\n");
    expectSilence();
}

TEST_F(MatchingLineInsertion, AtTheEndWithoutAMatch) {
    writeFile("file", "one\n key\n");
    EXPECT_TRUE(insertIntoFileBeforeMatchingLine("file", "new", "key"));
    EXPECT_EQ(readFile("file"), "one\n key\nnew\n");
    EXPECT_TRUE(insertIntoFileAfterMatchingLine("file", "newer", "KEY"));
    EXPECT_EQ(readFile("file"), "one\n key\nnew\nnewer\n");
    expectSilence();
}

TEST_F(MatchingLineInsertion, IntoAnEmptyFile) {
    writeFile("file", "");
    EXPECT_TRUE(insertIntoFileBeforeMatchingLine("file", "new", "key"));
    EXPECT_EQ(readFile("file"), "new\n");
}

TEST_F(MatchingLineInsertion, MakesAllLineEndsLineFeeds) {
    writeFile("file", "one\r\nkey\r\nthree");
    EXPECT_TRUE(insertIntoFileAfterMatchingLine("file", "new", "key"));
    EXPECT_EQ(readFile("file"), "one\nkey\nnew\nthree\n");
}

TEST_F(MatchingLineInsertion, KeepsEmptyLinesAndOddBytes) {
    const std::string content("\n\nkey\n a \0 b\t\n\xFF\n", 16);
    writeFile("file", content);
    EXPECT_TRUE(insertIntoFileBeforeMatchingLine("file", "new", "key"));
    EXPECT_EQ(readFile("file"), "\n\nnew\n" + content.substr(2));
}

TEST_F(MatchingLineInsertion, KeepsPlaceAndMode) {
    writeFile("file", "key\n");
    ASSERT_EQ(::chmod("file", 0640), 0);
    ASSERT_EQ(::link("file", "other-name"), 0);
    ASSERT_EQ(::symlink("file", "link"), 0);
    EXPECT_TRUE(insertIntoFileAfterMatchingLine("link", "new", "key"));
    EXPECT_EQ(readFile("other-name"), "key\nnew\n");
    EXPECT_TRUE(std::filesystem::is_symlink("link"));
    EXPECT_EQ(std::filesystem::status("file").permissions(), std::filesystem::perms(0640));
}

TEST_F(MatchingLineInsertion, RefusesEmptyArguments) {
    writeFile("file", "key\n");
    EXPECT_FALSE(insertIntoFilePrePostMatchingLine("", "new", "key", true));
    EXPECT_FALSE(insertIntoFilePrePostMatchingLine("file", "", "key", true));
    EXPECT_FALSE(insertIntoFilePrePostMatchingLine("file", "new", "", true));
    EXPECT_FALSE(insertIntoFileBeforeMatchingLine("file", "new", ""));
    EXPECT_FALSE(insertIntoFileAfterMatchingLine("file", "", "key"));
    EXPECT_EQ(readFile("file"), "key\n");
    expectFailures(5, "At least one argument is invalid");
}

TEST_F(MatchingLineInsertion, DoesNotMakeAMissingFile) {
    EXPECT_FALSE(insertIntoFileBeforeMatchingLine("missing", "new", "key"));
    EXPECT_FALSE(exists("missing"));
    expectFailure("insertIntoFilePrePostMatchingLine", "Failed to open file missing");
}

TEST_F(MatchingLineInsertion, LogsAReadErrorInItsOwnWords) {
    EXPECT_FALSE(insertIntoFileBeforeMatchingLine(kUnreadable, "new", "key"));
    expectFailure("insertIntoFilePrePostMatchingLine", "Failed to fully inspect file /proc/self/mem");
}

TEST_F(MatchingLineInsertion, LogsAFileThatCannotBeWritten) {
    writeFile("file", "key\n");
    ASSERT_EQ(::chmod("file", 0444), 0);
    asOrdinaryUser([this] {
        EXPECT_FALSE(insertIntoFileBeforeMatchingLine("file", "new", "key"));
        expectFailure("insertIntoFilePrePostMatchingLine", "Failed to update file file");
    });
    EXPECT_EQ(readFile("file"), "key\n");
}

TEST_F(MatchingLineInsertion, LogsAFullDisk) {
    writeFile("file", "key\n");
    withFileSizeLimit(4, [this] {
        EXPECT_FALSE(insertIntoFileBeforeMatchingLine("file", "new", "key"));
        expectFailure("insertIntoFilePrePostMatchingLine", "Failed to update file file");
    });
}

class TextFileContents : public TextFiles {};

TEST_F(TextFileContents, AreReplacedByTheTextAsItStands) {
    writeFile("file", "a long former content\n");
    EXPECT_TRUE(SetTextFileContents("file", "new\r\ntext"));
    EXPECT_EQ(readFile("file"), "new\r\ntext");
    expectSilence();
}

TEST_F(TextFileContents, MakeAMissingFile) {
    EXPECT_TRUE(SetTextFileContents("file", "text\n"));
    EXPECT_EQ(readFile("file"), "text\n");
    expectSilence();
}

TEST_F(TextFileContents, RefuseEmptyArguments) {
    writeFile("file", "kept");
    EXPECT_FALSE(SetTextFileContents("", "text"));
    EXPECT_FALSE(SetTextFileContents("file", ""));
    EXPECT_EQ(readFile("file"), "kept");
    expectFailures(2, "At least one argument is invalid");
}

TEST_F(TextFileContents, GoIntoNothingButRegularFiles) {
    makeFolder("folder");
    ASSERT_EQ(::mkfifo("pipe", 0600), 0);
    EXPECT_FALSE(SetTextFileContents("folder", "text"));
    EXPECT_FALSE(SetTextFileContents("pipe", "text"));
    EXPECT_FALSE(SetTextFileContents("/dev/null", "text"));
    EXPECT_FALSE(SetTextFileContents("missing/file", "text"));
    for (const char* const name : {"folder", "pipe", "/dev/null", "missing/file"}) {
        EXPECT_TRUE(m_log.contains('E', std::string("Failed to open file ") + name)) << m_log.dump();
    }
    expectFailures(4, "Failed to open file ");
}

TEST_F(TextFileContents, LogAFileThatCannotBeWritten) {
    writeFile("file", "kept");
    ASSERT_EQ(::chmod("file", 0444), 0);
    asOrdinaryUser([this] {
        EXPECT_FALSE(SetTextFileContents("file", "text"));
        expectFailure("SetTextFileContents", "Failed to open file file");
    });
    EXPECT_EQ(readFile("file"), "kept");
}

TEST_F(TextFileContents, LogAFullDisk) {
    withFileSizeLimit(10, [this] {
        EXPECT_FALSE(SetTextFileContents("file", std::string(100000, 'x')));
        expectFailure("SetTextFileContents", "Failed to update file file");
    });
}

TEST_F(TextFileContents, LogAFullDiskThatShowsInTheCloseOnly) {
    withFileSizeLimit(10, [this] {
        EXPECT_FALSE(SetTextFileContents("file", std::string(20, 'x')));
        expectFailure("SetTextFileContents", "Failed to update file file");
    });
}

class MatchingLineRemoval : public TextFiles {};

TEST_F(MatchingLineRemoval, DropsEachMatchingLine) {
    writeFile("file", "key=1\none\nkey=2\n key\nkey");
    EXPECT_TRUE(RemoveFromFileMatchingLine("file", "key"));
    EXPECT_EQ(readFile("file"), "one\n key\n");
    expectSilence();
}

TEST_F(MatchingLineRemoval, MayLeaveAnEmptyFile) {
    writeFile("file", "key\n");
    EXPECT_TRUE(RemoveFromFileMatchingLine("file", "key"));
    EXPECT_EQ(readFile("file"), "");
}

TEST_F(MatchingLineRemoval, LeavesAFileWithoutAMatchUntouched) {
    writeFile("file", "one\r\ntwo");
    EXPECT_TRUE(RemoveFromFileMatchingLine("file", "key"));
    EXPECT_EQ(readFile("file"), "one\r\ntwo");
    expectSilence();
}

TEST_F(MatchingLineRemoval, RefusesEmptyArguments) {
    writeFile("file", "kept\n");
    EXPECT_FALSE(RemoveFromFileMatchingLine("", "key"));
    EXPECT_FALSE(RemoveFromFileMatchingLine("file", ""));
    EXPECT_EQ(readFile("file"), "kept\n");
    expectFailures(2, "At least one argument is invalid");
}

TEST_F(MatchingLineRemoval, LogsAMissingFile) {
    EXPECT_FALSE(RemoveFromFileMatchingLine("missing", "key"));
    expectFailure("RemoveFromFileMatchingLine", "Failed to open file missing");
}

TEST_F(MatchingLineRemoval, LogsAReadError) {
    EXPECT_FALSE(RemoveFromFileMatchingLine(kUnreadable, "key"));
    expectFailure("RemoveFromFileMatchingLine", "Failed to inspect all lines in file /proc/self/mem");
}

TEST_F(MatchingLineRemoval, LogsAFileThatCannotBeWritten) {
    writeFile("file", "key\n");
    ASSERT_EQ(::chmod("file", 0444), 0);
    asOrdinaryUser([this] {
        EXPECT_FALSE(RemoveFromFileMatchingLine("file", "key"));
        expectFailure("RemoveFromFileMatchingLine", "Failed to update file file");
    });
    EXPECT_EQ(readFile("file"), "key\n");
}

class MatchingLineSearch : public TextFiles {};

TEST_F(MatchingLineSearch, FindsALineThatBeginsWithTheText) {
    writeFile("file", "one\nkey=1");
    EXPECT_TRUE(SeachFileForMatchingLine("file", "key"));
    EXPECT_TRUE(SeachFileForMatchingLine("file", "key=1"));
    expectSilence();
}

TEST_F(MatchingLineSearch, DoesNotFindTextElsewhere) {
    writeFile("file", "one\n key=1\nthe key\nKEY\nke\ny\n");
    EXPECT_FALSE(SeachFileForMatchingLine("file", "key"));
    EXPECT_FALSE(SeachFileForMatchingLine("file", "one\n"));
    expectSilence();
}

TEST_F(MatchingLineSearch, FindsNothingInAnEmptyFile) {
    writeFile("file", "");
    EXPECT_FALSE(SeachFileForMatchingLine("file", "key"));
    expectSilence();
}

TEST_F(MatchingLineSearch, RefusesEmptyArguments) {
    writeFile("file", "key\n");
    EXPECT_FALSE(SeachFileForMatchingLine("", "key"));
    EXPECT_FALSE(SeachFileForMatchingLine("file", ""));
    expectFailures(2, "At least one argument is invalid");
}

TEST_F(MatchingLineSearch, LogsAMissingFile) {
    EXPECT_FALSE(SeachFileForMatchingLine("missing", "key"));
    expectFailure("SeachFileForMatchingLine", "Failed to open file missing");
}

TEST_F(MatchingLineSearch, LogsAReadError) {
    EXPECT_FALSE(SeachFileForMatchingLine(kUnreadable, "key"));
    expectFailure("SeachFileForMatchingLine", "Failed to inspect all lines in file /proc/self/mem");
}

class LineAppending : public TextFiles {};

TEST_F(LineAppending, AddsALineOfItsOwn) {
    writeFile("file", "one\n");
    EXPECT_TRUE(AppendLineToFile("file", "two"));
    EXPECT_TRUE(AppendLineToFile("file", "three"));
    EXPECT_EQ(readFile("file"), "one\ntwo\nthree\n");
    expectSilence();
}

TEST_F(LineAppending, EndsALastLineWithoutAnEnd) {
    writeFile("file", "one");
    EXPECT_TRUE(AppendLineToFile("file", "two"));
    EXPECT_EQ(readFile("file"), "one\ntwo\n");
}

TEST_F(LineAppending, StartsAnEmptyOrMissingFile) {
    writeFile("empty", "");
    EXPECT_TRUE(AppendLineToFile("empty", "one"));
    EXPECT_TRUE(AppendLineToFile("missing", "one"));
    EXPECT_EQ(readFile("empty"), "one\n");
    EXPECT_EQ(readFile("missing"), "one\n");
    expectSilence();
}

TEST_F(LineAppending, RefusesEmptyArguments) {
    writeFile("file", "kept");
    EXPECT_FALSE(AppendLineToFile("", "line"));
    EXPECT_FALSE(AppendLineToFile("file", ""));
    EXPECT_EQ(readFile("file"), "kept");
    expectFailures(2, "At least one argument is invalid");
}

TEST_F(LineAppending, LogsWhatCannotBeOpened) {
    makeFolder("folder");
    ASSERT_EQ(::mkfifo("pipe", 0600), 0);
    EXPECT_FALSE(AppendLineToFile("folder", "line"));
    EXPECT_FALSE(AppendLineToFile("pipe", "line"));
    EXPECT_TRUE(m_log.contains('E', "Failed to open file folder")) << m_log.dump();
    EXPECT_TRUE(m_log.contains('E', "Failed to open file pipe")) << m_log.dump();
    EXPECT_TRUE(m_log.contains('E', "Function: AppendLineToFile\n")) << m_log.dump();
}

TEST_F(LineAppending, LogsAFullDisk) {
    writeFile("file", "one\n");
    withFileSizeLimit(4, [this] {
        EXPECT_FALSE(AppendLineToFile("file", "two"));
        expectFailure("AppendLineToFile", "Failed to update file file");
    });
    EXPECT_EQ(readFile("file"), "one\n");
}

class WhiteSpaceFiles : public TextFiles {};

TEST_F(WhiteSpaceFiles, HoldNothingButTheSixCharacters) {
    writeFile("file", " \t\n\r\v\f\n\r\n   ");
    EXPECT_TRUE(FileHasOnlyWhiteSpace("file"));
    expectSilence();
}

TEST_F(WhiteSpaceFiles, MayBeEmpty) {
    writeFile("file", "");
    EXPECT_TRUE(FileHasOnlyWhiteSpace("file"));
    expectSilence();
}

TEST_F(WhiteSpaceFiles, HoldNoOtherCharacter) {
    for (const std::string& content :
         {std::string("\n\n x\n"), std::string("x"), std::string(" \0 ", 3), std::string("\xC2\xA0")}) {
        writeFile("file", content);
        EXPECT_FALSE(FileHasOnlyWhiteSpace("file")) << content;
    }
    expectSilence();
}

TEST_F(WhiteSpaceFiles, HaveAName) {
    EXPECT_FALSE(FileHasOnlyWhiteSpace(""));
    expectFailure("FileHasOnlyWhiteSpace", "File name argument is invalid");
}

TEST_F(WhiteSpaceFiles, AreThere) {
    EXPECT_FALSE(FileHasOnlyWhiteSpace("missing"));
    expectFailure("FileHasOnlyWhiteSpace", "Failed to open file missing");
}

TEST_F(WhiteSpaceFiles, CanBeRead) {
    EXPECT_FALSE(FileHasOnlyWhiteSpace(kUnreadable));
    expectFailure("FileHasOnlyWhiteSpace", "Failed to inspect all lines in file /proc/self/mem");
}

class TextFileReading : public TextFiles {};

TEST_F(TextFileReading, GivesTheLinesWithoutTheirEnds) {
    writeFile("file", "one\r\n\n two \nthree");
    std::list<std::string> lines = {"former"};
    EXPECT_TRUE(ReadTextFile("file", lines));
    EXPECT_THAT(lines, ElementsAre("one", "", " two ", "three"));
    expectSilence();
}

TEST_F(TextFileReading, GivesNoLineOfAnEmptyFile) {
    writeFile("file", "");
    std::list<std::string> lines = {"former"};
    EXPECT_TRUE(ReadTextFile("file", lines));
    EXPECT_THAT(lines, IsEmpty());
}

TEST_F(TextFileReading, GivesLinesOfAnyLength) {
    const std::string longLine(300000, 'x');
    writeFile("file", longLine + "\nshort\n");
    std::list<std::string> lines;
    EXPECT_TRUE(ReadTextFile("file", lines));
    EXPECT_THAT(lines, ElementsAre(longLine, "short"));
}

TEST_F(TextFileReading, NeedsAName) {
    std::list<std::string> lines = {"former"};
    EXPECT_FALSE(ReadTextFile("", lines));
    EXPECT_THAT(lines, IsEmpty());
    expectFailure("ReadTextFile", "File name argument is invalid");
}

TEST_F(TextFileReading, LogsAMissingFile) {
    std::list<std::string> lines;
    EXPECT_FALSE(ReadTextFile("missing", lines));
    expectFailure("ReadTextFile", "Failed to open file missing");
}

TEST_F(TextFileReading, LogsAReadError) {
    std::list<std::string> lines;
    EXPECT_FALSE(ReadTextFile(kUnreadable, lines));
    expectFailure("ReadTextFile", "Failed to inspect all lines in file /proc/self/mem");
}

TEST_F(TextFileReading, LogsAFileThatIsClosedToTheUser) {
    writeFile("file", "text");
    ASSERT_EQ(::chmod("file", 0), 0);
    asOrdinaryUser([this] {
        std::list<std::string> lines;
        EXPECT_FALSE(ReadTextFile("file", lines));
        expectFailure("ReadTextFile", "Failed to open file file");
    });
}

TEST_F(TextFileReading, NeverWaitsForAPipe) {
    ASSERT_EQ(::mkfifo("pipe", 0600), 0);
    std::list<std::string> lines;
    EXPECT_FALSE(ReadTextFile("pipe", lines));
    expectFailure("ReadTextFile", "Failed to open file pipe");
}

TEST_F(TextFileReading, OpensRegularFilesOnly) {
    writeFile("file", "text");
    makeFolder("folder");
    EXPECT_NE(openTextFile("file"), nullptr);
    errno = 0;
    EXPECT_EQ(openTextFile("folder"), nullptr);
    EXPECT_EQ(errno, EISDIR);
    EXPECT_EQ(openTextFile("/dev/null"), nullptr);
    EXPECT_EQ(openTextFile("missing"), nullptr);
    EXPECT_EQ(errno, ENOENT);
    expectSilence();
}

} // namespace
