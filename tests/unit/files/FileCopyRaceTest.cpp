#include "tools/MERO/MEROEngine/implementations/helperUtil/Files.h"

#include "tests/unit/files/FileTest.h"

#include <atomic>
#include <thread>
#include <unistd.h>

using namespace helperUtil;

namespace {

using FileCopyRace = FileTest;

} // namespace

TEST_F(FileCopyRace, TwoWorkersMayCopyToOneName) {
    const std::string content(5000, 'c');
    const std::string source = writeFile("source", content);
    const std::string destination = path("destination");
    constexpr int kCopies = 300;
    std::atomic<int> failures = 0;
    const auto work = [&] {
        for (int i = 0; i < kCopies; ++i) {
            std::string errorText;
            failures += fileCopy(source, destination, errorText) == 0 ? 0 : 1;
        }
    };
    std::thread other(work);
    work();
    other.join();
    EXPECT_EQ(failures, 0) << log.dump();
    EXPECT_EQ(readFile("destination"), content);
}

TEST_F(FileCopyRace, NeverWritesThroughALinkThatAppearsMeanwhile) {
    writeFile("precious", "keep me");
    const std::string source = writeFile("source", "new content");
    const std::string destination = path("destination");
    std::atomic<bool> done = false;
    std::atomic<int> planted = 0;
    std::thread intruder([&] {
        while (!done) {
            planted += ::symlink("precious", destination.c_str()) == 0 ? 1 : 0;
        }
    });
    for (int i = 0; i < 2000; ++i) {
        std::string errorText;
        // Against a stubborn intruder the copy may fail, but it never goes where the link points to.
        static_cast<void>(fileCopy(source, destination, errorText));
    }
    done = true;
    intruder.join();
    EXPECT_EQ(readFile("precious"), "keep me") << planted << " links in the way";
}
