#include "Common/Utility/ReturnCodes.h"
#include "tests/engine/collector/CollectorTest.h"
#include "tests/support/InChild.h"
#include "tests/support/SystemCallFilter.h"
#include "tools/MERO/MEROEngine/implementations/BundleText.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Files.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <gmock/gmock.h>

using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// Collections of so many files that their rows don't wait for the end in memory.
class ManyFiles : public CollectorTest {
protected:
    static constexpr int kFiles = 3000;

    /// Fills a folder with files and, one in three, with links to nowhere, which can't be copied.
    /// @return the item that collects it.
    [[nodiscard]] std::string folderItem(const std::string& id) const {
        for (int number = 0; number < kFiles; ++number) {
            const std::string name = "logs/" + id + "/" + std::to_string(number) + ".log";
            if (number % 3 == 2) {
                std::filesystem::create_symlink("nowhere", path(name));
            } else {
                writeFile(name, "xx");
            }
        }
        return "<file id=\"" + id + "\" directoryName=\"" + id +
               "\"><default>true</default><description>D</description><mero><os opsys=\"linux\">"
               "<directory_copy_action><action><loc>" +
               path("logs/" + id) +
               "</loc><pattern>*</pattern></action></directory_copy_action></os></mero></file>";
    }

    /// Appends the rows of that item, made one by one in the order of the folder.
    void addRows(const std::string& id, std::string& included, std::string& omitted) const {
        std::string folder = path("logs/" + id);
        std::list<std::string> patterns{"*"};
        std::list<helperUtil::FoundFile> files;
        ASSERT_EQ(helperUtil::fileFindAll(folder, patterns, true, files), 0U);
        for (const helperUtil::FoundFile& file : files) {
            const std::string source = file.directory + file.name;
            if (std::filesystem::exists(source)) {
                included += bundleText::row({id, file.name, "D", "2 bytes"}, bundleText::kIncludedWidths);
                continue;
            }
            const std::string reason =
                source + helperUtil::copyFailureReason(MEROENGINE_ERROR_FILE_NOT_FOUND, "");
            omitted += bundleText::row({id, file.name, "D", reason}, bundleText::kOmittedWidths);
        }
    }

    /// The part of the summary between two texts.
    [[nodiscard]] std::string between(const std::string& before, const std::string& behind) const {
        const std::string text = summary();
        const std::size_t start = text.find(before);
        EXPECT_NE(start, std::string::npos) << before;
        const std::size_t end = text.find(behind, start + before.size());
        EXPECT_NE(end, std::string::npos) << behind;
        return text.substr(start + before.size(), end - start - before.size());
    }
};

TEST_F(ManyFiles, HaveTheirRowsInTheOrderOfTheirCopies) {
    collectWell("<title>Many</title><fileGroup>" + folderItem("b") + logItem("c") + folderItem("a") +
                item("d", path("missing.log")) + logItem("e", "false") + "</fileGroup>");
    std::string included;
    std::string omitted;
    addRows("a", included, omitted);
    addRows("b", included, omitted);
    included += bundleText::row({"c", "c.log", "about c", "1 bytes"}, bundleText::kIncludedWidths);
    omitted += bundleText::row({"d", path("missing.log"), "about d", "No file found on endpoint"},
                               bundleText::kOmittedWidths);
    const std::string shortDashes = std::string(101, '-') + "\n";
    const std::string longDashes = std::string(141, '-') + "\n";
    EXPECT_EQ(between(shortDashes, shortDashes), included);
    EXPECT_EQ(
        between(shortDashes + "\n\nFiles Omitted from Bundle:\n", longDashes),
        bundleText::row({"ID", "Filename", "Description", "Reason Omitted"}, bundleText::kOmittedWidths));
    EXPECT_EQ(between(longDashes, longDashes), omitted);
    EXPECT_THAT(summary(), HasSubstr(longDashes + "\n\nNotes:\n - The file(s) of ID e is/are not included"));
}

TEST_F(ManyFiles, LeaveNothingButTheirCopiesInTheBundle) {
    collectWell("<fileGroup>" + folderItem("a") + "</fileGroup>");
    int files = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(m_bundle)) {
        files += entry.is_regular_file() ? 1 : 0;
    }
    EXPECT_EQ(files, kFiles / 3 * 2 + 1);
    EXPECT_THAT(m_collector->getCollected(), IsEmpty());
}

TEST_F(ManyFiles, HaveTheirRowsOnceWhenTwoConfigurationsFollowEachOther) {
    const std::string groups = "<fileGroup>" + folderItem("a") + "</fileGroup>";
    MEROXmlObject* config = parse("<configure>" + groups + "</configure>");
    collector& both = makeCollector();
    ASSERT_EQ(both.Collect(m_bundle, config), 0U);
    const std::string first = summary();
    ASSERT_EQ(both.Collect(m_bundle, config), 0U);
    EXPECT_EQ(summary(), first + first.substr(first.find("\n" + std::string(141, '='))));
}

TEST_F(ManyFiles, FailTheSectionWhoseRowsCannotBeReadBack) {
    const std::string groups = "<fileGroup>" + folderItem("a") + logItem("z") + "</fileGroup>";
    inChild([&] {
        m_listener.onMessage("Processing about z...", [] { replaceSystemCall(SYS_pread64, EIO); });
        EXPECT_EQ(collect(groups), MEROENGINE_ERROR_WRITE_FAILURE);
        EXPECT_TRUE(m_log.containsCode('E', "read", "pread", EIO)) << m_log.dump();
    });
}

TEST_F(ManyFiles, AreMissedInTheSummaryWhenTheirListCannotBeReadBack) {
    const std::string groups = "<fileGroup>" + folderItem("a") + "</fileGroup>";
    inChild([&] {
        m_listener.onMessage("Processing D...", [] { replaceSystemCall(SYS_pread64, EIO); });
        EXPECT_EQ(collect(groups), 0U);
        EXPECT_THAT(summary(), HasSubstr("\n\nFiles Omitted from Bundle:\n"));
        EXPECT_THAT(summary(), HasSubstr(std::strerror(EIO)));
    });
}
