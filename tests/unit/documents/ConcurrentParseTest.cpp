// Several threads read documents at once, and several read one tree.

#include "tests/unit/documents/DocumentTest.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROMgr.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlLoader.h"

#include <atomic>
#include <latch>
#include <memory>
#include <thread>

namespace {

constexpr int kThreads = 6;
constexpr int kRounds = 40;

class ConcurrentParse : public DocumentTest {
protected:
    /// Runs `job` with a number of its own on several threads that start together.
    template <typename Job> void onAllThreads(Job job) {
        std::latch start(kThreads);
        std::vector<std::jthread> threads;
        threads.reserve(kThreads);
        for (int number = 0; number < kThreads; ++number) {
            threads.emplace_back([&start, &job, number] {
                start.arrive_and_wait();
                job(number);
            });
        }
    }
};

// The first parses of the process start together, so the readying of the library is among what is tried.
TEST_F(ConcurrentParse, EachThreadGetsItsOwnTree) {
    std::atomic<int> good = 0;
    onAllThreads([&](int number) {
        for (int round = 0; round < kRounds; ++round) {
            const std::string name = "n" + std::to_string(number) + "_" + std::to_string(round);
            MEROXmlLoader loader;
            std::list<MEROXmlObject*> trees;
            std::string text = "<r>";
            text.append("<").append(name).append(" id=\"").append(name).append("\">").append(name);
            text.append("</").append(name).append("></r>");
            if (loader.load(text, kLoadText, trees) != nullptr &&
                trees.front()->GetRoot()->FindChild(name)->getValue() == name) {
                ++good;
            }
        }
    });
    EXPECT_EQ(good, kThreads * kRounds);
    EXPECT_TRUE(m_log.lines().empty()) << m_log.dump();
}

TEST_F(ConcurrentParse, EachThreadGetsItsOwnFile) {
    for (int number = 0; number < kThreads; ++number) {
        writeFile(std::to_string(number) + ".xml", "<f" + std::to_string(number) + "/>");
    }
    std::atomic<int> good = 0;
    onAllThreads([&](int number) {
        for (int round = 0; round < kRounds; ++round) {
            MEROXmlLoader loader;
            std::list<MEROXmlObject*> trees;
            if (loader.load(path(std::to_string(number) + ".xml"), kLoadFile, trees) != nullptr &&
                trees.front()->GetRoot()->getName() == "f" + std::to_string(number)) {
                ++good;
            }
        }
    });
    EXPECT_EQ(good, kThreads * kRounds);
}

TEST_F(ConcurrentParse, FailuresOfOneThreadLeaveTheOthersAlone) {
    std::atomic<int> failed = 0;
    onAllThreads([&](int number) {
        for (int round = 0; round < kRounds; ++round) {
            MEROXmlLoader loader;
            std::list<MEROXmlObject*> trees;
            const bool broken = number % 2 == 0;
            if (loader.load(broken ? "<a><b></a>" : "<a><b/></a>", kLoadText, trees) == nullptr) {
                failed += broken ? 1 : 1000;
            }
        }
    });
    EXPECT_EQ(failed, kThreads / 2 * kRounds);
    EXPECT_EQ(m_log.count('E', "Invoked Function: xmlParseDocument\n"), kThreads / 2 * kRounds);
}

TEST_F(ConcurrentParse, ManyThreadsReadOneTree) {
    writeFile("set/a.xml", "<r><g><x id=\"1\">v</x></g></r>");
    std::list<MEROXmlObject*> trees;
    const MEROMgr manager(trees, path("set/"));
    ASSERT_EQ(trees.size(), 1u);
    const std::unique_ptr<MEROXmlObject> tree(trees.front());
    std::atomic<int> found = 0;
    onAllThreads([&](int) {
        for (int round = 0; round < kRounds; ++round) {
            const MEROComponent* node = tree->GetRoot()->FindChild("x");
            const MEROXmlObject copy(node);
            if (copy.GetRoot()->getValue() == "v" && node->FindAttribute("id")->getValue() == "1") {
                ++found;
            }
        }
    });
    EXPECT_EQ(found, kThreads * kRounds);
}

} // namespace
