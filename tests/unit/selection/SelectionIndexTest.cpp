#include "tools/MERO/MEROOffline/Common/SelectionIndex.h"
#include "tests/unit/selection/SelectionPicture.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

class SelectionIndexTest : public testing::Test {
protected:
    const SelectionIndex& index(std::string_view picture,
                                const SelectionIndex::ShownText& shownText = &textWithoutMarker) {
        m_records = recordsOf(picture);
        return m_index.emplace(m_records, shownText);
    }
    [[nodiscard]] std::optional<std::size_t> rowAt(const std::vector<int>& positions) const {
        return m_index.value().rowAt(positions);
    }

    std::list<RootItem> m_records;
    std::optional<SelectionIndex> m_index;
};

std::vector<std::string> texts(const SelectionIndex& index) {
    std::vector<std::string> all;
    for (std::size_t row = 0; row < index.rows().size(); ++row) {
        all.push_back(index.textOf(row));
    }
    return all;
}

TEST_F(SelectionIndexTest, NumbersTheRowsLevelByLevel) {
    const SelectionIndex& rows = index("-A[-m[-f -g] -n[-h]] -B[-o[-i]]");
    EXPECT_THAT(texts(rows), ElementsAre("A", "B", "m", "n", "o", "f", "g", "h", "i"));
    EXPECT_EQ(rows.rootCount(), 2U);
    EXPECT_EQ(rows.row(1).parent, std::nullopt);
    EXPECT_EQ(rows.row(4).parent, 1U);
    EXPECT_EQ(rows.row(7).parent, 3U);
    EXPECT_EQ(rows.row(0).firstChild, 2U);
    EXPECT_EQ(rows.row(0).endChild, 4U);
    EXPECT_EQ(rows.row(2).firstChild, 5U);
    EXPECT_EQ(rows.row(2).endChild, 7U);
    EXPECT_EQ(rows.row(8).firstChild, rows.row(8).endChild);
}

TEST_F(SelectionIndexTest, OfNoRecordsHasNoRows) {
    const SelectionIndex& rows = index("");
    EXPECT_THAT(rows.rows(), IsEmpty());
    EXPECT_EQ(rows.rootCount(), 0U);
    EXPECT_EQ(rowAt({0}), std::nullopt);
}

TEST_F(SelectionIndexTest, FindsTheRowAtItsPositions) {
    index("-A[-m[-f -g] -n[-h]] -B[-o[-i]]");
    EXPECT_THAT(rowAt({0}), Optional(0U));
    EXPECT_THAT(rowAt({1}), Optional(1U));
    EXPECT_THAT(rowAt({0, 1}), Optional(3U));
    EXPECT_THAT(rowAt({0, 0, 1}), Optional(6U));
    EXPECT_THAT(rowAt({0, 1, 0}), Optional(7U));
    EXPECT_THAT(rowAt({1, 0, 0}), Optional(8U));
}

TEST_F(SelectionIndexTest, FindsNoRowAtNoPosition) {
    index("-A[-m[-f]]");
    EXPECT_EQ(rowAt({}), std::nullopt);
}

TEST_F(SelectionIndexTest, FindsNoRowBeforeTheFirst) {
    index("-A[-m[-f]]");
    EXPECT_EQ(rowAt({-1}), std::nullopt);
    EXPECT_EQ(rowAt({0, -1}), std::nullopt);
    EXPECT_EQ(rowAt({0, 0, std::numeric_limits<int>::min()}), std::nullopt);
}

TEST_F(SelectionIndexTest, FindsNoRowAfterTheLastOfItsSiblings) {
    index("-A[-m[-f]] -B[-n[-g -h]]");
    EXPECT_EQ(rowAt({2}), std::nullopt);
    EXPECT_EQ(rowAt({0, 1}), std::nullopt);
    EXPECT_EQ(rowAt({0, 0, 1}), std::nullopt);
    EXPECT_EQ(rowAt({1, 0, 2}), std::nullopt);
    EXPECT_EQ(rowAt({std::numeric_limits<int>::max()}), std::nullopt);
}

TEST_F(SelectionIndexTest, FindsNoRowBelowAnEmptyOneOrAFile) {
    index("-A -B[-m] -C[-n[-f]]");
    EXPECT_EQ(rowAt({0, 0}), std::nullopt);
    EXPECT_EQ(rowAt({1, 0, 0}), std::nullopt);
    EXPECT_EQ(rowAt({2, 0, 0, 0}), std::nullopt);
    EXPECT_EQ(rowAt({2, 0, 0, 0, 0, 0}), std::nullopt);
}

TEST_F(SelectionIndexTest, ReadsAndWritesWhatIsStored) {
    index("+A[-m[+f -g]]");
    SelectionIndex& rows = m_index.value();
    EXPECT_TRUE(rows.isStored(0));
    EXPECT_FALSE(rows.isStored(1));
    EXPECT_TRUE(rows.isStored(2));
    rows.setStored(0, false);
    rows.setStored(1, true);
    rows.setStored(3, true);
    EXPECT_EQ(pictureOf(m_records), "-A[+m[+f +g]]");
    EXPECT_EQ(m_records.front().m_modules.front().m_selected, 1U);
}

TEST_F(SelectionIndexTest, TakesAnyNumberButZeroForStored) {
    m_records = recordsOf("-A");
    m_records.front().m_selected = 0x80000000U;
    EXPECT_TRUE(SelectionIndex(m_records, &textWithoutMarker).isStored(0));
}

TEST_F(SelectionIndexTest, FindsTheRootsOfOneTextInTheirOrder) {
    const SelectionIndex& rows = index("-A -B -_tr(\"A\") -A");
    EXPECT_THAT(rows.rootsLike(0), ElementsAre(0, 2, 3));
    EXPECT_THAT(rows.rootsLike(2), ElementsAre(0, 2, 3));
    EXPECT_THAT(rows.rootsLike(1), ElementsAre(1));
}

TEST_F(SelectionIndexTest, FindsTheModulesOfOneTextInAllRoots) {
    const SelectionIndex& rows = index("-A[-m -n -m] -B[-_tr(\"m\")]");
    EXPECT_THAT(rows.modulesLike(2), ElementsAre(2, 4, 5));
    EXPECT_THAT(rows.modulesLike(5), ElementsAre(2, 4, 5));
    EXPECT_THAT(rows.modulesLike(3), ElementsAre(3));
}

TEST_F(SelectionIndexTest, KeepsTheLevelsApartWhereTextsAreEqual) {
    const SelectionIndex& rows = index("-A[-A[-A]] -B[-A]");
    EXPECT_THAT(rows.rootsLike(0), ElementsAre(0));
    EXPECT_THAT(rows.modulesLike(2), ElementsAre(2, 3));
    // The texts of a root or a file lead to modules just the same.
    EXPECT_THAT(rows.modulesLike(4), ElementsAre(2, 3));
    EXPECT_THAT(rows.modulesLike(1), IsEmpty());
    EXPECT_THAT(rows.rootsLike(4), ElementsAre(0));
}

TEST_F(SelectionIndexTest, FindsTheFirstOfEqualTextsBelowARecord) {
    const SelectionIndex& rows = index("-A[-m -n -m[-f -g -f]] -B[-m]");
    EXPECT_THAT(rows.childLike(0, 4), Optional(2U));
    EXPECT_THAT(rows.childLike(0, 5), Optional(2U));
    EXPECT_THAT(rows.childLike(1, 4), Optional(5U));
    EXPECT_THAT(rows.childLike(4, 8), Optional(6U));
}

TEST_F(SelectionIndexTest, FindsNothingBelowARecordWithoutTheText) {
    const SelectionIndex& rows = index("-A[-m] -B[-n] -C");
    EXPECT_EQ(rows.childLike(0, 4), std::nullopt);
    EXPECT_EQ(rows.childLike(2, 3), std::nullopt);
    EXPECT_EQ(rows.childLike(3, 3), std::nullopt);
}

TEST_F(SelectionIndexTest, ComparesShownTextsAndNotNames) {
    const SelectionIndex& rows = index("-one[-m] -two[-n]", [](const std::string&) { return "same"; });
    EXPECT_THAT(rows.rootsLike(0), ElementsAre(0, 1));
    EXPECT_THAT(rows.modulesLike(2), ElementsAre(2, 3));
    EXPECT_THAT(rows.childLike(1, 2), Optional(3U));
    EXPECT_EQ(rows.textOf(3), "same");
}

TEST_F(SelectionIndexTest, ComparesTextsByteForByte) {
    const SelectionIndex& rows = index("-logs -Logs -logs\t -\xC3\xA4 -a\xCC\x88 - -");
    EXPECT_THAT(rows.rootsLike(0), ElementsAre(0));
    EXPECT_THAT(rows.rootsLike(3), ElementsAre(3));
    EXPECT_THAT(rows.rootsLike(5), ElementsAre(5, 6));
    EXPECT_EQ(rows.textOf(5), "");
}

TEST_F(SelectionIndexTest, LooksUpEachTextOnce) {
    int lookUps = 0;
    const SelectionIndex& rows = index("-A[-m[-f -f]]", [&](const std::string& name) {
        ++lookUps;
        return name;
    });
    EXPECT_EQ(lookUps, 4);
    static_cast<void>(rows.rootsLike(0));
    static_cast<void>(rows.modulesLike(1));
    static_cast<void>(rows.childLike(1, 2));
    EXPECT_EQ(lookUps, 4);
}

} // namespace
