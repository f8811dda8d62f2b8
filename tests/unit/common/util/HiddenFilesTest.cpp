#include "Common/Utility/files/HiddenFiles.h"

#include "Common/Utility/memory/Handles.h"
#include "tests/support/Sandbox.h"

#include <deque>
#include <fcntl.h>

namespace {

class HiddenFiles : public Sandbox {
protected:
    HiddenFiles() { m_folder.reset(::open(".", O_PATH | O_DIRECTORY | O_CLOEXEC)); }

    void list(HiddenFile& file, const std::string& name) const {
        writeFile(name, "");
        file.list(m_folder.get(), name.c_str());
    }

    FileDescriptor m_folder;
};

TEST_F(HiddenFiles, AreThoseThatAreListedAtThatTime) {
    HiddenFile listed;
    HiddenFile dropped;
    HiddenFile changed;
    list(listed, "listed");
    list(dropped, "dropped");
    dropped.drop();
    list(changed, "first");
    list(changed, "second");
    {
        HiddenFile past;
        list(past, "past");
    }
    removeHiddenFiles();
    EXPECT_FALSE(exists("listed"));
    EXPECT_TRUE(exists("dropped"));
    EXPECT_TRUE(exists("first"));
    EXPECT_FALSE(exists("second"));
    EXPECT_TRUE(exists("past"));
}

TEST_F(HiddenFiles, AreNeverMoreThanThereIsRoomFor) {
    constexpr int kFiles = 100;
    std::deque<HiddenFile> files(kFiles);
    for (int file = 0; file < kFiles; ++file) {
        list(files[static_cast<std::size_t>(file)], std::to_string(file));
    }
    files.clear();
    HiddenFile last;
    list(last, "last");
    HiddenFile longNamed;
    list(longNamed, std::string(200, 'x'));
    removeHiddenFiles();
    EXPECT_TRUE(exists("0"));
    EXPECT_TRUE(exists("99"));
    EXPECT_FALSE(exists("last"));
    EXPECT_TRUE(exists(std::string(200, 'x')));
}

} // namespace
