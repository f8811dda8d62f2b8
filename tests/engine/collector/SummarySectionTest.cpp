#include "tools/MERO/MEROEngine/implementations/SummarySection.h"

#include "Common/Utility/ReturnCodes.h"
#include "tests/support/Sandbox.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/SummaryEntries.h"

#include <cstdio>
#include <gtest/gtest.h>

namespace {

/// A summary's tree, as a collector makes it.
class SummarySections : public Sandbox {
protected:
    SummarySections() {
        for (const char* part : {helperUtil::kMainInfoPart, helperUtil::kIncludedPart,
                                 helperUtil::kOmittedPart, helperUtil::kNotesPart}) {
            m_tree.addComponent(m_tree.GetRoot(), part, "");
        }
    }

    void include(const std::string& id) { add(helperUtil::kIncludedPart, id, "file_size"); }
    void omit(const std::string& id) { add(helperUtil::kOmittedPart, id, "reason"); }

    [[nodiscard]] std::size_t entriesOf(const char* part) const {
        return m_tree.FindChild(m_tree.GetRoot(), part)->getChildren().size();
    }

    /// What the file gets.
    [[nodiscard]] std::string written(const MEROXmlObject* tree) const {
        EXPECT_EQ(bundleText::writeAndClose(FileHandle(std::fopen(path("text").c_str(), "we")),
                                            m_section.text(tree, "Title")),
                  0);
        return readFile("text");
    }

    static std::string includedTable(const std::string& rows = {}) {
        const std::string dashes = std::string(101, '-') + "\n";
        return "\n" + std::string(141, '=') + "\nTitle:\n\nFiles Included in Bundle:\n" +
               bundleText::row({"ID", "Filename", "Description", "File Size"}, bundleText::kIncludedWidths) +
               dashes + rows + dashes;
    }
    static std::string omittedTable(const std::string& rows) {
        const std::string dashes = std::string(141, '-') + "\n";
        return "\n\nFiles Omitted from Bundle:\n" +
               bundleText::row({"ID", "Filename", "Description", "Reason Omitted"},
                               bundleText::kOmittedWidths) +
               dashes + rows + dashes;
    }
    static std::string includedRow(const std::string& id) {
        return bundleText::row({id, "name", "about", "last"}, bundleText::kIncludedWidths);
    }
    static std::string omittedRow(const std::string& id) {
        return bundleText::row({id, "name", "about", "last"}, bundleText::kOmittedWidths);
    }

    MEROXmlObject m_tree{"summary", "HEAD\n"};
    SummarySection m_section{path()};

private:
    void add(const char* part, const std::string& id, const char* lastAttribute) {
        const helperUtil::SummaryPartSearch search{.caller = "test",
                                                   .part = part,
                                                   .noTree = "",
                                                   .noTreeCode = MEROENGINE_ERROR_BAD_PARAMETER,
                                                   .noRoot = "",
                                                   .noPart = ""};
        ASSERT_EQ(helperUtil::addSummaryFile(search, &m_tree, {id, "name", "about", lastAttribute, "last"}),
                  0U);
    }
};

TEST_F(SummarySections, HaveAnEmptyTableWithoutATreeAndWithoutARoot) {
    EXPECT_EQ(written(nullptr), includedTable());
    const MEROXmlObject rootless;
    EXPECT_EQ(written(&rootless), includedTable());
}

TEST_F(SummarySections, HaveNoHeadingWithoutATreeAndWithoutARoot) {
    EXPECT_EQ(SummarySection::head(nullptr), "\n");
    const MEROXmlObject rootless;
    EXPECT_EQ(SummarySection::head(&rootless), "\n");
    EXPECT_EQ(SummarySection::head(&m_tree), "HEAD\n\n");
}

TEST_F(SummarySections, KeepTheRowsThatTheyHaveTakenInFrontOfThoseInTheTree) {
    include("a");
    omit("b");
    m_section.takeRows(m_tree);
    include("c");
    omit("d");
    m_section.takeRows(m_tree);
    include("e");
    omit("f");
    EXPECT_EQ(written(&m_tree), includedTable(includedRow("a") + includedRow("c") + includedRow("e")) +
                                    omittedTable(omittedRow("b") + omittedRow("d") + omittedRow("f")));
}

TEST_F(SummarySections, HaveATableOfWhatIsOmittedAlsoOfTakenRowsAlone) {
    omit("a");
    m_section.takeRows(m_tree);
    EXPECT_EQ(written(&m_tree), includedTable() + omittedTable(omittedRow("a")));
    EXPECT_EQ(written(nullptr), includedTable() + omittedTable(omittedRow("a")));
}

TEST_F(SummarySections, TakeTheFilesOutOfTheTreeAndLeaveTheNotes) {
    include("a");
    omit("b");
    ASSERT_EQ(helperUtil::fillSummaryNote(&m_tree, "noted"), 0U);
    m_section.takeRows(m_tree);
    EXPECT_EQ(entriesOf(helperUtil::kIncludedPart), 0U);
    EXPECT_EQ(entriesOf(helperUtil::kOmittedPart), 0U);
    EXPECT_EQ(written(&m_tree),
              includedTable(includedRow("a")) + omittedTable(omittedRow("b")) + "\n\nNotes:\n - noted\n");
}

} // namespace
