#include "tools/MERO/MEROEngine/implementations/helperUtil/TreeCopy.h"
#include "Common/Utility/process/StopRequest.h"
#include "Common/Utility/ReturnCodes.h"
#include "tests/support/SystemCallFilter.h"
#include "tests/unit/files/FileTest.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/FileAccess.h"

#include <cerrno>
#include <filesystem>

using namespace helperUtil;

namespace {

/// Copies of a folder with what is in it.
class TreeCopies : public FileTest {
protected:
    CopyFailure copy(const std::string& source, const std::string& destination) {
        m_omitted.clear();
        const OmissionSink sink = [this](const std::string& path, const std::string& reason) {
            m_omitted.push_back(path + reason);
        };
        return TreeCopy(sink).copyPath(source, destination, nullptr);
    }

    /// Path and reason of what the last copy left out.
    std::vector<std::string> m_omitted;
};

TEST_F(TreeCopies, TellOnceOfAFolderThatIsMetTooOften) {
    for (const uint32_t more : {1U, 5U}) {
        const std::string top = "tree" + std::to_string(more);
        writeFile("met/a.log", "a");
        makeFolder(top);
        for (uint32_t link = 0; link < FolderVisits::kMost + more; ++link) {
            std::filesystem::create_symlink("../met", path(top + "/" + std::to_string(link)));
        }
        EXPECT_EQ(copy(top, "copy").code, 0U);
        ASSERT_EQ(m_omitted.size(), 1U);
        EXPECT_TRUE(m_omitted.front().starts_with(top + "/"));
        EXPECT_TRUE(m_omitted.front().ends_with(kMetTooOften));
        const auto copies = std::filesystem::directory_iterator(path("copy"));
        EXPECT_EQ(std::distance(begin(copies), end(copies)), FolderVisits::kMost);
        std::filesystem::remove_all(path("copy"));
    }
}

TEST_F(TreeCopies, EndWithoutAWordAtAStop) {
    writeFile("tree/a.log", "a");
    EXPECT_TRUE(holdsInChild([this] {
        requestStop();
        EXPECT_EQ(copy("tree", "copy").code, 0U);
        EXPECT_FALSE(exists("copy/a.log"));
        EXPECT_TRUE(m_omitted.empty());
        EXPECT_EQ(lineCount(), 0U) << log.dump();
    }));
}

TEST_F(TreeCopies, FailWhereTheEndOfAFileIsLost) {
    writeFile("a.log", "a");
    EXPECT_TRUE(holdsInChild([this] {
        replaceSystemCall(SYS_close, EIO);
        const CopyFailure failure = copy("a.log", "copy.log");
        EXPECT_EQ(failure.code, MEROENGINE_ERROR_WRITE_FAILURE);
        EXPECT_EQ(failure.errorText, "Input/output error");
        EXPECT_TRUE(log.containsCode('E', "fileCopy", "close", EIO)) << log.dump();
    }));
}

} // namespace
