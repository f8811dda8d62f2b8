#include "tools/MERO/MEROEngine/implementations/helperUtil/SummaryEntries.h"
#include "Common/Utility/ReturnCodes.h"
#include "tests/support/CapturedLog.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlObject.h"
#include "tools/MERO/MEROEngine/implementations/truncator.h"

#include <array>
#include <clocale>
#include <cmath>
#include <gtest/gtest.h>
#include <iterator>
#include <limits>
#include <vector>

using helperUtil::fillSummaryFailedFile;
using helperUtil::fillSummaryNote;
using helperUtil::formatFileSize;
using helperUtil::truncationTypeText;

namespace {

class SummaryEntries : public ::testing::Test {
protected:
    SummaryEntries() : m_summary("summary", "MERO BUNDLE SUMMARY\n") {}

    CapturedLog m_log;
    MEROXmlObject m_summary;
};

TEST_F(SummaryEntries, AFailedFileIsEnteredAsOmitted) {
    m_summary.addComponent(m_summary.GetRoot(), "Manifest_Not_Included", "");
    EXPECT_EQ(fillSummaryFailedFile(&m_summary, "id", "a.log", "the log", "not found"), 0U);
    EXPECT_EQ(fillSummaryFailedFile(&m_summary, "id", "b.log", "", ""), 0U);
    const MEROComponent* const omitted = m_summary.GetRoot()->FindChild("Manifest_Not_Included");
    ASSERT_EQ(omitted->getChildren().size(), 2U);
    const MEROComponent* const entry = omitted->getChildren().front();
    EXPECT_EQ(entry->getName(), "id");
    EXPECT_EQ(entry->getValue(), "a.log");
    ASSERT_EQ(entry->getAttributes().size(), 2U);
    EXPECT_EQ(entry->getAttributes().front()->getName(), "description");
    EXPECT_EQ(entry->getAttributes().front()->getValue(), "the log");
    EXPECT_EQ(entry->getAttributes().back()->getName(), "reason");
    EXPECT_EQ(entry->getAttributes().back()->getValue(), "not found");
    EXPECT_EQ(omitted->getChildren().back()->getValue(), "b.log");
    EXPECT_TRUE(m_log.lines().empty()) << m_log.dump();
}

TEST_F(SummaryEntries, ANoteIsEnteredUnderItsDash) {
    m_summary.addComponent(m_summary.GetRoot(), "Other_Note", "Other notes:");
    EXPECT_EQ(fillSummaryNote(&m_summary, "something odd"), 0U);
    const MEROComponent* const notes = m_summary.GetRoot()->FindChild("Other_Note");
    ASSERT_EQ(notes->getChildren().size(), 1U);
    EXPECT_EQ(notes->getChildren().front()->getName(), " - ");
    EXPECT_EQ(notes->getChildren().front()->getValue(), "something odd");
    EXPECT_TRUE(notes->getChildren().front()->getAttributes().empty());
}

/// An item may be named as a part of the summary is.
class ItemsNamedAsParts : public SummaryEntries {
protected:
    /// The four parts, and in the first and the second an item of each of their names.
    ItemsNamedAsParts() {
        for (const char* part : kParts) {
            m_summary.addComponent(m_summary.GetRoot(), part, "");
        }
        for (const char* item : kParts) {
            this->part(0)->addChild(item, "item");
            this->part(1)->addChild(item, "item");
        }
    }

    [[nodiscard]] MEROComponent* part(std::size_t number) const {
        return *std::next(m_summary.GetRoot()->getChildren().begin(), static_cast<std::ptrdiff_t>(number));
    }
    [[nodiscard]] std::vector<std::size_t> sizes() const {
        return {part(0)->getChildren().size(), part(1)->getChildren().size(), part(2)->getChildren().size(),
                part(3)->getChildren().size()};
    }

    static constexpr std::array<const char*, 4> kParts = {"Main_Info", "Manifest_Included",
                                                          "Manifest_Not_Included", "Other_Note"};
};

TEST_F(ItemsNamedAsParts, HideNoRowOfAnOmittedFile) {
    EXPECT_EQ(fillSummaryFailedFile(&m_summary, "Other_Note", "a.log", "", ""), 0U);
    EXPECT_EQ(sizes(), (std::vector<std::size_t>{4, 4, 1, 0}));
}

TEST_F(ItemsNamedAsParts, HideNoNote) {
    EXPECT_EQ(fillSummaryFailedFile(&m_summary, "Other_Note", "a.log", "", ""), 0U);
    EXPECT_EQ(fillSummaryNote(&m_summary, "odd"), 0U);
    EXPECT_EQ(sizes(), (std::vector<std::size_t>{4, 4, 1, 1}));
}

TEST_F(ItemsNamedAsParts, HideNoIncludedFile) {
    MEROCollectedFile file;
    file.id = "Main_Info";
    file.path = "/bundle/a.log";
    EXPECT_EQ(truncator({file}, &m_summary).fillSummaryGoodFiles(), 0U);
    EXPECT_EQ(sizes(), (std::vector<std::size_t>{4, 5, 0, 0}));
}

TEST_F(ItemsNamedAsParts, AreNoParts) {
    MEROXmlObject summary("summary", "");
    summary.addComponent(summary.GetRoot(), "Main_Info", "");
    for (const char* item : kParts) {
        summary.GetRoot()->getChildren().front()->addChild(item, "item");
    }
    EXPECT_EQ(fillSummaryFailedFile(&summary, "id", "a.log", "", ""), MEROENGINE_ERROR_NULL_XML_CHILD);
    EXPECT_EQ(fillSummaryNote(&summary, "odd"), MEROENGINE_ERROR_NULL_XML_CHILD);
}

TEST_F(SummaryEntries, AFailedFileNeedsASummary) {
    EXPECT_EQ(fillSummaryFailedFile(nullptr, "id", "a.log", "", ""), 0xFEB00002U);
    EXPECT_TRUE(m_log.contains('E', "pXMLSummary is NULL"));
    EXPECT_TRUE(m_log.contains('E', "Function: fillSummaryFailedFile")) << m_log.dump();
}

TEST_F(SummaryEntries, AFailedFileNeedsARoot) {
    MEROXmlObject empty;
    EXPECT_EQ(fillSummaryFailedFile(&empty, "id", "a.log", "", ""), MEROENGINE_ERROR_NULL_XML_ROOT);
    EXPECT_TRUE(m_log.contains('E', "pXMLSummary->GetRoot() is NULL"));
}

TEST_F(SummaryEntries, AFailedFileNeedsTheListOfOmittedFiles) {
    EXPECT_EQ(fillSummaryFailedFile(&m_summary, "id", "a.log", "", ""), 0xFEB00010U);
    EXPECT_TRUE(m_log.contains('E', "pDCFailedFiles is NULL"));
}

TEST_F(SummaryEntries, ANoteNeedsASummary) {
    EXPECT_EQ(fillSummaryNote(nullptr, "text"), MEROENGINE_ERROR_BAD_PARAMETER);
    EXPECT_TRUE(m_log.contains('E', "pXMLSummary is NULL"));
    EXPECT_TRUE(m_log.contains('E', "Function: fillSummaryNote")) << m_log.dump();
}

TEST_F(SummaryEntries, ANoteNeedsARoot) {
    MEROXmlObject empty;
    EXPECT_EQ(fillSummaryNote(&empty, "text"), 0xFEB0000FU);
    EXPECT_TRUE(m_log.contains('E', "pXMLSummary->GetRoot() is NULL"));
}

TEST_F(SummaryEntries, ANoteNeedsTheListOfNotes) {
    EXPECT_EQ(fillSummaryNote(&m_summary, "text"), MEROENGINE_ERROR_NULL_XML_CHILD);
    EXPECT_TRUE(m_log.contains('E', "pDCNoteComponent is NULL"));
}

TEST(FormatFileSize, IsWholeBytesBelow1024) {
    EXPECT_EQ(formatFileSize(0, 2), "0 bytes");
    EXPECT_EQ(formatFileSize(1, 2), "1 bytes");
    EXPECT_EQ(formatFileSize(1023, 2), "1023 bytes");
    EXPECT_EQ(formatFileSize(1023.9, 2), "1023 bytes");
}

TEST(FormatFileSize, ShowsAnUnknownSizeAsItStands) {
    EXPECT_EQ(formatFileSize(-1.0, 2), "-1 bytes");
    EXPECT_EQ(formatFileSize(-5000.0, 2), "-5000 bytes");
    EXPECT_EQ(formatFileSize(-0.5, 2), "0 bytes");
}

TEST(FormatFileSize, TakesTheLargestUnitThatFits) {
    EXPECT_EQ(formatFileSize(1024, 2), "1.00K");
    EXPECT_EQ(formatFileSize(1536, 2), "1.50K");
    EXPECT_EQ(formatFileSize(1048576, 2), "1.00M");
    const std::string units = "KMGTPEZY";
    for (size_t i = 0; i < units.size(); ++i) {
        const double unit = std::pow(1024.0, static_cast<double>(i + 1));
        EXPECT_EQ(formatFileSize(unit, 2), std::string("1.00") + units[i]);
        EXPECT_EQ(formatFileSize(unit * 1000.25, 2), std::string("1000.25") + units[i]);
    }
}

TEST(FormatFileSize, RoundsWithinTheUnit) {
    EXPECT_EQ(formatFileSize(1048575, 2), "1024.00K");
    EXPECT_EQ(formatFileSize(1030, 2), "1.01K");
}

TEST(FormatFileSize, CountsInSinglePrecision) {
    // In double precision the text would be "1000.100000K".
    EXPECT_EQ(formatFileSize(1000.1 * 1024, 6), "1000.099976K");
}

TEST(FormatFileSize, WritesAsManyDigitsAsAskedFor) {
    EXPECT_EQ(formatFileSize(1536, 0), "2K");
    EXPECT_EQ(formatFileSize(1536, 1), "1.5K");
    EXPECT_EQ(formatFileSize(1536, 5), "1.50000K");
}

TEST(FormatFileSize, IsBytesAgainBeyondTheLastUnit) {
    EXPECT_EQ(formatFileSize(std::pow(1024.0, 9), 2), "1237940039285380274899124224 bytes");
    EXPECT_TRUE(formatFileSize(std::numeric_limits<double>::max(), 2).ends_with(" bytes"));
    EXPECT_EQ(formatFileSize(std::numeric_limits<double>::infinity(), 2), "inf bytes");
    EXPECT_EQ(formatFileSize(std::numeric_limits<double>::quiet_NaN(), 2), "nan bytes");
}

TEST(FormatFileSize, HasAPointInEveryLocale) {
    // Without such a locale on the machine the test still holds what it says of the one in use.
    for (const char* name : {"de_DE.UTF-8", "fr_FR.UTF-8"}) {
        static_cast<void>(std::setlocale(LC_NUMERIC, name));
        EXPECT_EQ(formatFileSize(1536, 2), "1.50K");
    }
    static_cast<void>(std::setlocale(LC_NUMERIC, "C"));
}

TEST(TruncationTypeText, NamesEachScheme) {
    EXPECT_STREQ(truncationTypeText(0), "Whole File");
    EXPECT_STREQ(truncationTypeText(1), "Data (front or end)");
    EXPECT_STREQ(truncationTypeText(2), "Truncate end");
    EXPECT_STREQ(truncationTypeText(3), "Truncate front");
    EXPECT_STREQ(truncationTypeText(4), "No");
}

TEST(TruncationTypeText, CallsEverythingElseUnknown) {
    EXPECT_STREQ(truncationTypeText(5), "Unknown");
    EXPECT_STREQ(truncationTypeText(-1), "Unknown");
}

} // namespace
