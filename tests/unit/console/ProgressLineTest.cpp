#include "tools/MERO/MEROConsole/ProgressLine.h"

#include <gtest/gtest.h>

namespace {

using std::chrono::milliseconds;

class ProgressText : public ::testing::Test {
protected:
    void packing(uint64_t bytesDone, uint64_t bytes, uint64_t filesDone, uint64_t files) {
        m_work.packing.bytesDone = bytesDone;
        m_work.packing.bytes = bytes;
        m_work.packing.filesDone = filesDone;
        m_work.packing.files = files;
    }
    std::string text(std::size_t columns = 100, milliseconds lasted = milliseconds(0)) const {
        return progressText("Zipping...", m_work, lasted, columns);
    }

    WorkProgress m_work;
};

TEST_F(ProgressText, IsTheStepAloneWhereNothingWasCopied) {
    EXPECT_EQ(text(), "Zipping...");
    EXPECT_EQ(progressText({}, m_work, {}, 80), "");
}

TEST_F(ProgressText, TellsWhatWasCopied) {
    m_work.filesCopied = 1;
    EXPECT_EQ(text(), "Zipping... 0 B, 1 file");
    m_work.filesCopied = 12;
    m_work.bytesCopied = 3'456'789;
    EXPECT_EQ(text(), "Zipping... 3.5 MB, 12 files");
}

TEST_F(ProgressText, TellsHowMuchIsPackedOfHowMuch) {
    m_work.filesCopied = 12;
    packing(40'000'000, 195'000'000, 600, 3000);
    EXPECT_EQ(text(), "Zipping... 40 MB of 195 MB, 600 of 3000 files");
    EXPECT_EQ(text(100, milliseconds(999)), text());
    EXPECT_EQ(text(100, milliseconds(2000)),
              "Zipping... 40 MB of 195 MB, 600 of 3000 files, 20 MB/s, 8 s left");
}

TEST_F(ProgressText, GivesTheTimeLeftAsClocksDo) {
    packing(1'000'000, 126'000'000, 0, 1);
    EXPECT_TRUE(text(100, milliseconds(1000)).ends_with("1.0 MB/s, 2:05 left"))
        << text(100, milliseconds(1000));
    packing(1'000'000, 3'726'000'000, 0, 1);
    EXPECT_TRUE(text(100, milliseconds(1000)).ends_with("1.0 MB/s, 1:02:05 left"));
    packing(10, 5'000'000'000'000, 0, 1);
    EXPECT_TRUE(text(100, milliseconds(20000)).ends_with("0 B/s")) << "that would never end";
}

TEST_F(ProgressText, GivesSizesInThreeDigits) {
    for (const auto& [bytes, expected] : {std::pair{uint64_t{999}, "999 B"},
                                          {1000, "1.0 kB"},
                                          {9949, "9.9 kB"},
                                          {9950, "10 kB"},
                                          {999'499, "999 kB"},
                                          {999'500, "1.0 MB"},
                                          {5'000'000'000, "5.0 GB"},
                                          {5'000'000'000'000'000, "5000 TB"}}) {
        m_work.filesCopied = 1;
        m_work.bytesCopied = bytes;
        EXPECT_EQ(progressText({}, m_work, {}, 80), std::string(expected) + ", 1 file");
    }
}

TEST_F(ProgressText, IsNeverMoreThanAll) {
    // What is read twice counts twice, and files may be added to the list's end.
    packing(250, 200, 4, 3);
    EXPECT_EQ(text(), "Zipping... 200 B of 200 B, 3 of 3 files");
}

TEST_F(ProgressText, LeavesOutWhatDoesNotFitTheLeastImportantFirst) {
    packing(40'000'000, 195'000'000, 600, 3000);
    const auto fitted = [&](std::size_t columns) {
        return progressText("A step of some length", m_work, milliseconds(2000), columns);
    };
    const std::string facts = "40 MB of 195 MB, 600 of 3000 files, 20 MB/s, 8 s left";
    EXPECT_EQ(fitted(100), "A step of some length " + facts);
    EXPECT_EQ(fitted(facts.size() + 17), "A step of some  " + facts);
    EXPECT_EQ(fitted(facts.size() + 12), facts) << "a step of eleven characters says nothing";
    EXPECT_EQ(fitted(facts.size()), "40 MB of 195 MB, 600 of 3000 files, 20 MB/s");
    EXPECT_EQ(fitted(16), "40 MB of 195 MB");
    EXPECT_EQ(fitted(15), "A step of some");
    EXPECT_EQ(fitted(1), "");
    EXPECT_EQ(fitted(0), "");
}

TEST_F(ProgressText, StaysOnOneLineAndCutsNoCharacter) {
    EXPECT_EQ(progressText("two\nlines \x1b[2J", m_work, {}, 80), "two lines  [2J");
    EXPECT_EQ(progressText("\xc3\xa4\xc3\xb6\xc3\xbc", m_work, {}, 3), "\xc3\xa4\xc3\xb6");
}

} // namespace
