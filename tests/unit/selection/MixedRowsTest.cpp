#include "tools/MERO/MEROOffline/Common/MixedRows.h"
#include "tests/unit/selection/SelectionPicture.h"
#include "tests/unit/selection/SelectionWalk.h"

#include <gmock/gmock.h>
#include <random>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A tree's rows, of which a test sets the checks.
class MixedRowsTest : public testing::Test {
protected:
    void make(std::list<RootItem> records) {
        m_records = std::move(records);
        m_index.emplace(m_records, &textWithoutMarker);
        m_mixed.emplace(*m_index);
        m_checked.clear();
        for (std::size_t row = 0; row < m_index->rows().size(); ++row) {
            m_checked.push_back(m_index->isStored(row));
        }
    }

    std::vector<std::size_t> set(std::size_t row, bool checked) {
        m_checked[row] = checked;
        return m_mixed->setChecked(row, checked);
    }

    /// The texts of the mixed rows, in their order.
    [[nodiscard]] std::vector<std::string> mixed() const {
        std::vector<std::string> texts;
        for (std::size_t row = 0; row < m_checked.size(); ++row) {
            if (m_mixed->isMixed(row)) {
                texts.push_back(m_index->textOf(row));
            }
        }
        return texts;
    }

    /// What isMixed is to say, told by a walk over everything below.
    [[nodiscard]] bool isMixedAtSight(std::size_t row) const { return m_checked[row] && !isWhole(row); }

    std::list<RootItem> m_records;
    std::optional<SelectionIndex> m_index;
    std::optional<MixedRows> m_mixed;
    std::vector<bool> m_checked;

private:
    [[nodiscard]] bool isWhole(std::size_t row) const {
        bool whole = m_checked[row];
        for (std::size_t child = m_index->row(row).firstChild; child < m_index->row(row).endChild; ++child) {
            whole = whole && isWhole(child);
        }
        return whole;
    }
};

TEST_F(MixedRowsTest, AreCheckedOnesThatLackSomethingBelow) {
    make(recordsOf("+A[+m[+f -g] +n[+h]] +B[+o[+i]] -C[-p[-j]] +D[+q[+k] -r[-l]]"));
    EXPECT_THAT(mixed(), ElementsAre("A", "D", "m"));
}

TEST_F(MixedRowsTest, AreNoneThatAreUncheckedWhateverIsBelow) {
    make(recordsOf("-A[-m[+f -g]]"));
    EXPECT_THAT(mixed(), IsEmpty());
}

TEST_F(MixedRowsTest, IncludeCheckedOnesWithNothingCheckedBelow) {
    make(recordsOf("+A[+m[-f]]"));
    EXPECT_THAT(mixed(), ElementsAre("A", "m"));
}

TEST_F(MixedRowsTest, AreNeverTheLowestOnes) {
    make(recordsOf("+A[+m[+f] +n]"));
    EXPECT_THAT(mixed(), IsEmpty());
}

TEST_F(MixedRowsTest, ChangeUpToTheRootWithOneFile) {
    make(recordsOf("+A[+m[+f +g]]"));
    EXPECT_THAT(set(2, false), ElementsAre(1, 0));
    EXPECT_THAT(mixed(), ElementsAre("A", "m"));
    EXPECT_THAT(set(3, false), IsEmpty());
    EXPECT_THAT(set(3, true), IsEmpty());
    EXPECT_THAT(set(2, true), ElementsAre(1, 0));
    EXPECT_THAT(mixed(), IsEmpty());
}

TEST_F(MixedRowsTest, StayWhenARowIsSetToWhatItIs) {
    make(recordsOf("+A[+m[+f -g]]"));
    EXPECT_THAT(set(3, false), IsEmpty());
    EXPECT_THAT(set(2, true), IsEmpty());
    EXPECT_THAT(mixed(), ElementsAre("A", "m"));
}

TEST_F(MixedRowsTest, AreWhatAWalkOverTheTreeFindsAfterAnyChanges) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        std::mt19937 random(seed);
        make(randomTree(random));
        for (int step = 0; step < 500 && !m_checked.empty(); ++step) {
            std::vector<bool> before;
            for (std::size_t row = 0; row < m_checked.size(); ++row) {
                before.push_back(m_mixed->isMixed(row));
            }
            const std::size_t target = random() % m_checked.size();
            const std::vector<std::size_t> changed = set(target, random() % 2 == 0);
            for (std::size_t row = 0; row < m_checked.size(); ++row) {
                ASSERT_EQ(m_mixed->isMixed(row), isMixedAtSight(row)) << "seed " << seed << ", row " << row;
                const bool told = std::find(changed.begin(), changed.end(), row) != changed.end();
                ASSERT_TRUE(row == target || told == (before[row] != m_mixed->isMixed(row)))
                    << "seed " << seed << ", row " << row;
            }
        }
    }
}

} // namespace
