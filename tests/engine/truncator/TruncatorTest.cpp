#include "tools/MERO/MEROEngine/implementations/truncator.h"
#include "Common/Utility/ReturnCodes.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Sandbox.h"

#include <filesystem>
#include <limits>
#include <vector>

namespace fs = std::filesystem;

namespace {

constexpr const char* kWholeNote =
    "*1: When the request specifies file(whole) truncation for a file ID(group), MERO uses greedy algorithm\n"
    "         based on file sizes to decide which file in the ID group to keep and which to leave out.";
constexpr const char* kDataNote = "*2: When the request specifies data truncation for a file ID(group), MERO "
                                  "truncates all files of that ID\n"
                                  "         proportionally according to their original sizes, and uses "
                                  "defaults from configuration xml to decide "
                                  "whether to\n"
                                  "         truncate from front or end.";

using Texts = std::vector<std::string>;

class Truncator : public Sandbox {
protected:
    Truncator() : m_summary("summary", "MERO BUNDLE SUMMARY\n") {
        for (const char* name : {"Main_Info", "Manifest_Included", "Manifest_Not_Included", "Other_Note"}) {
            m_summary.addComponent(m_summary.GetRoot(), name, "");
        }
    }

    /// A record of a file that stands in the sandbox, `size` bytes long.
    MEROCollectedFile record(const std::string& id, const std::string& name, size_t size, int32_t type,
                             double allowed, int32_t defaultType = kTruncateNone) {
        std::string content;
        for (size_t i = 0; i < size; ++i) {
            content += static_cast<char>('a' + i % 26);
        }
        return {
            id,         writeFile(name, content), "about " + name, static_cast<double>(size), type, allowed,
            defaultType};
    }
    void perform(const std::list<MEROCollectedFile>& files) {
        truncator cutter(files, &m_summary);
        EXPECT_EQ(cutter.perform(), 0U);
    }
    /// The entries of a list: "name|value|first attribute|second attribute".
    [[nodiscard]] Texts entriesOf(const std::string& list) const {
        Texts texts;
        for (const MEROComponent* entry : m_summary.GetRoot()->FindChild(list)->getChildren()) {
            std::string text = entry->getName() + "|" + entry->getValue();
            for (const MEROAttribute* attribute : entry->getAttributes()) {
                text += "|" + attribute->getValue();
            }
            texts.push_back(text);
        }
        return texts;
    }
    [[nodiscard]] Texts included() const { return entriesOf("Manifest_Included"); }
    [[nodiscard]] Texts omitted() const { return entriesOf("Manifest_Not_Included"); }
    [[nodiscard]] Texts notes() const {
        Texts texts;
        for (const MEROComponent* note : m_summary.GetRoot()->FindChild("Other_Note")->getChildren()) {
            EXPECT_EQ(note->getName(), " - ");
            texts.push_back(note->getValue());
        }
        return texts;
    }
    [[nodiscard]] uintmax_t sizeOf(const std::string& name) const { return fs::file_size(path(name)); }
    static std::string warningFor(const std::string& name, const std::string& id) {
        return "Warning: the file " + name + " corresponding to ID " + id +
               " has WHOLE or NONE as default truncation type, however, requested to be DATA-truncated.\n"
               "\t MERO will truncate end, but there could be possible loss of useful data, or corruption of "
               "the file.";
    }

    CapturedLog m_log;
    MEROXmlObject m_summary;
};

TEST_F(Truncator, AnEmptyListIsNotInitialized) {
    truncator cutter({}, &m_summary);
    EXPECT_EQ(cutter.perform(), 0xFEB00007U);
    EXPECT_TRUE(m_log.contains('E', "m_TruncAttrsList is empty"));
    EXPECT_TRUE(m_log.contains('E', "Function: perform")) << m_log.dump();
    EXPECT_EQ(cutter.fillSummaryGoodFiles(), 0U);
}

TEST_F(Truncator, KeepsLargestFirstAndWhatStillFits) {
    perform({record("id", "fifty", 50, kTruncateWholeFile, 100),
             record("id", "thirty", 30, kTruncateWholeFile, 100),
             record("id", "seventy", 70, kTruncateWholeFile, 100)});
    EXPECT_EQ(included(), (Texts{"id|seventy|about seventy; see note *1|70 bytes",
                                 "id|thirty|about thirty; see note *1|30 bytes"}));
    EXPECT_EQ(omitted(),
              Texts{"id|fifty|about fifty|See note *1; File/whole truncate type specified; total allowed "
                    "size for this ID is 100 bytes; this file is 50 bytes"});
    EXPECT_FALSE(exists("fifty"));
    EXPECT_TRUE(exists("seventy") && exists("thirty"));
    EXPECT_EQ(notes(), Texts{kWholeNote});
    EXPECT_TRUE(m_log.lines().empty()) << m_log.dump();
}

TEST_F(Truncator, DropsASingleFileAboveTheLimit) {
    perform({record("id", "a.log", 1024, kTruncateWholeFile, 100)});
    EXPECT_EQ(included(), Texts{});
    EXPECT_EQ(omitted(),
              Texts{"id|a.log|about a.log|See note *1; File/whole truncate type specified; total allowed "
                    "size for this ID is 100 bytes; this file is 1.00K"});
    EXPECT_EQ(notes(), Texts{kWholeNote});
}

TEST_F(Truncator, LimitsOfDifferentIdsAreApart) {
    perform({record("a", "a1", 60, kTruncateWholeFile, 100), record("b", "b1", 60, kTruncateWholeFile, 100)});
    EXPECT_EQ(included().size(), 2U);
    EXPECT_TRUE(omitted().empty());
}

TEST_F(Truncator, EachRecordHasItsOwnLimit) {
    perform({record("id", "large", 60, kTruncateWholeFile, 10),
             record("id", "small", 50, kTruncateWholeFile, 100)});
    EXPECT_EQ(included(), Texts{"id|small|about small; see note *1|50 bytes"});
    EXPECT_FALSE(exists("large"));
}

TEST_F(Truncator, RecordsEqualInIdAndSizeKeepTheirOrder) {
    perform({record("id", "first", 40, kTruncateWholeFile, 80),
             record("id", "second", 40, kTruncateWholeFile, 80),
             record("id", "third", 40, kTruncateWholeFile, 80)});
    EXPECT_TRUE(exists("first") && exists("second"));
    EXPECT_FALSE(exists("third"));
}

TEST_F(Truncator, AFileThatCannotBeDroppedStaysUnreported) {
    MEROCollectedFile folder{"id", makeFolder("folder"), "", 500, kTruncateWholeFile, 100, kTruncateNone};
    perform({folder});
    EXPECT_TRUE(exists("folder"));
    EXPECT_EQ(omitted().size(), 1U);
    EXPECT_EQ(notes(), Texts{kWholeNote});
}

TEST_F(Truncator, CutsAGroupInProportion) {
    perform({record("id", "large", 300, kTruncateData, 200, kTruncateEnd),
             record("id", "small", 100, kTruncateData, 200, kTruncateEnd)});
    EXPECT_EQ(sizeOf("large"), 150U);
    EXPECT_EQ(sizeOf("small"), 50U);
    EXPECT_EQ(readFile("small").substr(0, 3), "abc");
    EXPECT_EQ(included(), (Texts{"id|large|about large; see Note *2|300 bytes",
                                 "id|small|about small; see Note *2|100 bytes"}));
    EXPECT_EQ(notes(), Texts{kDataNote});
}

TEST_F(Truncator, CutsTheFrontWhereThatIsTheDefault) {
    perform({record("id", "a.log", 300, kTruncateData, 100, kTruncateFront)});
    EXPECT_EQ(sizeOf("a.log"), 101U) << "the tail and the one byte that every cut of the front adds";
    EXPECT_EQ(readFile("a.log").back(), '\xFF');
    EXPECT_EQ(notes(), Texts{kDataNote});
}

TEST_F(Truncator, WarnsWhereTheDefaultNamesNoEnd) {
    perform({record("id", "none.log", 300, kTruncateData, 200, kTruncateNone),
             record("id", "whole.log", 100, kTruncateData, 200, kTruncateWholeFile),
             record("id2", "data.log", 100, kTruncateData, 50, kTruncateData)});
    EXPECT_EQ(sizeOf("none.log"), 150U);
    EXPECT_EQ(sizeOf("whole.log"), 50U);
    EXPECT_EQ(sizeOf("data.log"), 50U);
    EXPECT_EQ(notes(), (Texts{warningFor("none.log", "id"), warningFor("whole.log", "id"),
                              warningFor("data.log", "id2"), kDataNote}));
}

TEST_F(Truncator, AGroupOfTotalSizeZeroIsCutToNothing) {
    MEROCollectedFile first = record("id", "first", 20, kTruncateData, 200, kTruncateEnd);
    MEROCollectedFile second = record("id", "second", 10, kTruncateData, 200, kTruncateEnd);
    first.fileSize = 0;
    second.fileSize = 0;
    perform({first, second});
    EXPECT_EQ(sizeOf("first"), 0U);
    EXPECT_EQ(sizeOf("second"), 0U);
    EXPECT_EQ(included().size(), 2U);
}

TEST_F(Truncator, AGroupUnderItsLimitGrowsByOneByteAtTheEnd) {
    perform({record("id", "a.log", 30, kTruncateData, 200, kTruncateEnd),
             record("id", "b.log", 20, kTruncateData, 200, kTruncateEnd)});
    EXPECT_EQ(sizeOf("a.log"), 31U);
    EXPECT_EQ(sizeOf("b.log"), 21U);
    EXPECT_EQ(readFile("b.log"), "abcdefghijklmnopqrst\xFF");
}

TEST_F(Truncator, AGroupUnderItsLimitIsEmptiedWhereTheFrontGoes) {
    perform({record("id", "a.log", 30, kTruncateData, 200, kTruncateFront)});
    EXPECT_EQ(sizeOf("a.log"), 0U);
    EXPECT_EQ(included(), Texts{"id|a.log|about a.log; see Note *2|30 bytes"});
}

TEST_F(Truncator, KeepsTheLowBitsOfALargeCount) {
    // 2^32 + 7 bytes to keep come down to 7.
    MEROCollectedFile file = record("id", "a.log", 20, kTruncateData, 4294967303.0, kTruncateEnd);
    perform({file});
    EXPECT_EQ(readFile("a.log"), "abcdefg");
}

TEST_F(Truncator, ACountBeyondSixtyFourBitsHasNoLowBits) {
    for (const double allowed : {1e300, std::numeric_limits<double>::infinity(), -1e300,
                                 std::numeric_limits<double>::quiet_NaN(), 9223372036854775808.0}) {
        perform({record("id", "a.log", 20, kTruncateData, allowed, kTruncateEnd)});
        EXPECT_EQ(sizeOf("a.log"), 0U) << allowed;
    }
}

TEST_F(Truncator, ADataFileThatCannotBeCutIsListedAllTheSame) {
    MEROCollectedFile gone = record("id", "gone.log", 30, kTruncateData, 10, kTruncateEnd);
    fs::remove(gone.path);
    perform({gone});
    EXPECT_EQ(included(), Texts{"id|gone.log|about gone.log; see Note *2|30 bytes"});
    EXPECT_TRUE(m_log.contains('E', "Failed to open \"" + gone.path + "\"")) << m_log.dump();
}

TEST_F(Truncator, AnEmptyDataGroupNeedsNoNote) {
    truncator cutter({record("id", "a.log", 5, kTruncateNone, 0)}, &m_summary);
    std::list<MEROCollectedFile> nothing;
    EXPECT_EQ(cutter.DATATruncateAll(nothing, 0.0), 0U);
    EXPECT_EQ(cutter.perform(), 0U);
    EXPECT_TRUE(notes().empty());
}

TEST_F(Truncator, DataTruncationMarksTheRecordsOfTheList) {
    std::list<MEROCollectedFile> group{record("id", "a.log", 50, kTruncateData, 20, kTruncateEnd)};
    truncator cutter(group, &m_summary);
    EXPECT_EQ(cutter.DATATruncateAll(group, 100.0), 0U);
    EXPECT_EQ(group.front().description, "about a.log; see Note *2");
    EXPECT_EQ(group.front().fileSize, 50.0);
    EXPECT_EQ(sizeOf("a.log"), 10U);
}

TEST_F(Truncator, HandlesIdsInTheOrderOfTheirBytes) {
    perform({record("b", "1", 5, kTruncateNone, 0), record("a", "2", 5, kTruncateNone, 0),
             record("\xC3\xA4", "3", 5, kTruncateNone, 0), record("B", "4", 5, kTruncateNone, 0),
             record("ab", "5", 5, kTruncateNone, 0), record("a", "6", 9, kTruncateNone, 0)});
    EXPECT_EQ(included(),
              (Texts{"B|4|about 4|5 bytes", "a|6|about 6|9 bytes", "a|2|about 2|5 bytes",
                     "ab|5|about 5|5 bytes", "b|1|about 1|5 bytes", "\xC3\xA4|3|about 3|5 bytes"}));
    EXPECT_TRUE(notes().empty());
}

TEST_F(Truncator, AStrangerInAGroupIsDroppedAsAnInternalError) {
    perform(
        {record("id", "larger", 50, kTruncateNone, 0), record("id", "smaller", 40, kTruncateWholeFile, 100)});
    EXPECT_EQ(included(), Texts{"id|larger|about larger|50 bytes"});
    EXPECT_EQ(omitted(), Texts{"id|smaller|about smaller|Internal error"});
    EXPECT_FALSE(exists("smaller"));
    EXPECT_TRUE(m_log.contains(
        'I', "Two files corresponding to the same fileID have different requested truncation scheme"));
    EXPECT_TRUE(m_log.contains('I', "Function: perform")) << m_log.dump();
}

TEST_F(Truncator, AStrangerTakesNoShareOfItsGroup) {
    perform({record("data", "d1", 300, kTruncateData, 100, kTruncateEnd),
             record("data", "d2", 200, kTruncateWholeFile, 100),
             record("data", "d3", 100, kTruncateData, 100, kTruncateEnd),
             record("whole", "w1", 90, kTruncateWholeFile, 100),
             record("whole", "w2", 50, kTruncateFront, 100),
             record("whole", "w3", 10, kTruncateWholeFile, 100)});
    EXPECT_EQ(sizeOf("d1"), 75U);
    EXPECT_EQ(sizeOf("d3"), 25U);
    EXPECT_FALSE(exists("d2") || exists("w2"));
    EXPECT_TRUE(exists("w1") && exists("w3"));
    EXPECT_EQ(omitted(), (Texts{"data|d2|about d2|Internal error", "whole|w2|about w2|Internal error"}));
    EXPECT_EQ(notes(), (Texts{kWholeNote, kDataNote})) << "the note on whole files comes first";
}

TEST_F(Truncator, AGroupOfNoKnownTypeIsLost) {
    const std::list<MEROCollectedFile> files{record("id", "a.log", 50, kTruncateEnd, 100),
                                             record("id", "b.log", 40, kTruncateNone, 100)};
    perform(files);
    EXPECT_TRUE(included().empty());
    EXPECT_EQ(omitted(),
              (Texts{"id|a.log|about a.log|Internal error", "id|b.log|about b.log|Internal error"}));
    EXPECT_FALSE(exists("a.log") || exists("b.log"));
    EXPECT_TRUE(m_log.contains('I', "Lost fileID for file: \"" + files.front().path + "\"")) << m_log.dump();
    EXPECT_TRUE(m_log.contains('I', "Lost fileID for file: \"" + files.back().path + "\""));
    EXPECT_TRUE(notes().empty());
}

TEST_F(Truncator, ALostFileThatCannotBeDeletedIsNoted) {
    const std::string folder = makeFolder("folder");
    perform({{"id", folder, "", 50, 7, 100, kTruncateNone}});
    EXPECT_EQ(notes(), Texts{"Dead file: " + folder + " in bundle."});
    EXPECT_TRUE(m_log.contains('E', "Dead file: " + folder + " in bundle.")) << m_log.dump();
    EXPECT_EQ(omitted(), Texts{"id|folder||Internal error"});
}

TEST_F(Truncator, WithoutLimitsOnlyTheOrderIsPerformed) {
    const std::list<MEROCollectedFile> files{record("b", "1", 5, kTruncateNone, 0),
                                             record("a", "2", 6, kTruncateNone, 0),
                                             record("a", "3", 7, kTruncateNone, 0)};
    truncator lister(files, &m_summary);
    EXPECT_EQ(lister.fillSummaryGoodFiles(), 0U);
    const Texts listed = included();
    EXPECT_EQ(listed, (Texts{"b|1|about 1|5 bytes", "a|2|about 2|6 bytes", "a|3|about 3|7 bytes"}));
    perform(files);
    const Texts all = included();
    EXPECT_EQ(Texts(all.begin() + 3, all.end()), (Texts{listed[2], listed[1], listed[0]}));
    EXPECT_TRUE(notes().empty());
    EXPECT_TRUE(omitted().empty());
}

TEST_F(Truncator, ListingLooksAtNoLimit) {
    truncator lister(
        {record("id", "a.log", 2048, kTruncateWholeFile, 1), record("id", "b.log", 5, kTruncateData, 1)},
        &m_summary);
    EXPECT_EQ(lister.fillSummaryGoodFiles(), 0U);
    EXPECT_EQ(included(), (Texts{"id|a.log|about a.log|2.00K", "id|b.log|about b.log|5 bytes"}));
    EXPECT_EQ(sizeOf("a.log"), 2048U);
    EXPECT_TRUE(notes().empty());
}

TEST_F(Truncator, AnEntryHasTheBaseNameAndItsAttributesInOrder) {
    truncator lister({}, &m_summary);
    EXPECT_EQ(lister.fillSummaryGoodFile({"id", "/bundle/logs/a.log", "about", -1.0, 4, 0, 4}), 0U);
    EXPECT_EQ(lister.fillSummaryGoodFile({"id", "plain", "", 1536, 4, 0, 4}), 0U);
    EXPECT_EQ(included(), (Texts{"id|a.log|about|-1 bytes", "id|plain||1.50K"}));
    const MEROComponent* const entry = m_summary.GetRoot()->FindChild("id");
    EXPECT_EQ(entry->getAttributes().front()->getName(), "description");
    EXPECT_EQ(entry->getAttributes().back()->getName(), "file_size");
}

TEST_F(Truncator, TheCallersListStaysAsItWas) {
    const std::list<MEROCollectedFile> files{record("id", "a.log", 5, kTruncateWholeFile, 100)};
    perform(files);
    EXPECT_EQ(files.front().description, "about a.log");
}

TEST_F(Truncator, WithoutASummaryNothingIsEntered) {
    truncator cutter({record("id", "a.log", 5, kTruncateWholeFile, 100)}, nullptr);
    EXPECT_EQ(cutter.fillSummaryGoodFile({}), 0xFEB00007U);
    EXPECT_TRUE(m_log.contains('E', "m_pXMLSummary is uninitialized"));
    EXPECT_EQ(cutter.fillSummaryInternalError({}), 0U);
    EXPECT_EQ(cutter.perform(), 0U);
    EXPECT_TRUE(m_log.containsCode('E', "perform", "truncator::fillSummaryGoodFile",
                                   MEROENGINE_ERROR_NOT_INITIALIZED))
        << m_log.dump();
}

TEST_F(Truncator, WithoutARootNothingIsEntered) {
    MEROXmlObject empty;
    truncator cutter({record("id", "a.log", 5, kTruncateData, 100, kTruncateEnd)}, &empty);
    EXPECT_EQ(cutter.fillSummaryGoodFile({}), 0xFEB0000FU);
    EXPECT_TRUE(m_log.contains('E', "pDCSummaryRoot is NULL"));
    EXPECT_EQ(cutter.perform(), 0U);
    EXPECT_TRUE(m_log.containsCode('E', "DATATruncateAll", "truncator::fillSummaryGoodFile",
                                   MEROENGINE_ERROR_NULL_XML_ROOT))
        << m_log.dump();
}

TEST_F(Truncator, WithoutTheListOfIncludedFilesNothingIsEntered) {
    MEROXmlObject bare("summary", "");
    truncator cutter({}, &bare);
    EXPECT_EQ(cutter.fillSummaryGoodFile({}), 0xFEB00010U);
    EXPECT_TRUE(m_log.contains('E', "pDCGoodFiles is NULL"));
}

/// Stands in for a data truncation that fails, which the real one never does.
class FailingTruncator : public truncator {
public:
    using truncator::truncator;
    uint32_t DATATruncateAll(std::list<MEROCollectedFile>& /*group*/, double /*totalSize*/) override {
        return MEROENGINE_ERROR_INTERNAL;
    }
};

TEST_F(Truncator, LogsAFailedDataTruncationAndGoesOn) {
    FailingTruncator cutter({record("a", "1", 5, kTruncateData, 100), record("b", "2", 5, kTruncateNone, 0)},
                            &m_summary);
    EXPECT_EQ(cutter.perform(), 0U);
    EXPECT_TRUE(m_log.containsCode('E', "perform", "truncator::DATATruncateAll", MEROENGINE_ERROR_INTERNAL));
    EXPECT_EQ(included(), Texts{"b|2|about 2|5 bytes"});
}

} // namespace
