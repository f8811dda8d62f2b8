// Scans and writers on threads of their own, as the wizard runs them, and several of them at once.

#include "Common/Utility/ReturnCodes.h"
#include "tests/unit/offline/RecordingWindow.h"
#include "tests/unit/offline/RequestFile.h"
#include "tools/MERO/MEROOffline/Common/GenerateReqXML.h"
#include "tools/MERO/MEROOffline/Common/ParseConfigXML.h"

#include <array>
#include <gmock/gmock.h>
#include <latch>
#include <map>
#include <memory>
#include <thread>

using ::testing::ElementsAre;

namespace {

constexpr int kThreads = 6;
constexpr int kGroups = 20;

/// A configuration of groups "<name>0", "<name>1" ... with one selected file each.
std::string configuration(const std::string& rootName, const std::string& name) {
    std::string text = "<configure>";
    for (int number = 0; number < kGroups; ++number) {
        const std::string title = name + std::to_string(number);
        text.append("<fileGroup treeRootName=\"").append(rootName).append("\"><title>").append(title);
        text.append("</title><file id=\"id ").append(title).append("\"><default>true</default>");
        text.append("<mero><os opsys=\"linux\"/></mero></file></fileGroup>");
    }
    return text.append("</configure>");
}

std::vector<std::string> titles(const std::string& name, const std::string& prefix = {}) {
    std::vector<std::string> all;
    all.reserve(kGroups);
    for (int number = 0; number < kGroups; ++number) {
        all.push_back(prefix + name + std::to_string(number));
    }
    return all;
}

/// Lets a thread wait for the first status.
class AwaitedWindow : public RecordingWindow {
public:
    void updateStatus(const MEROStatusInfo* info, uint64_t status) override {
        RecordingWindow::updateStatus(info, status);
        m_told.count_down();
    }
    void await() { m_told.wait(); }

private:
    std::latch m_told{1};
};

class OfflineThreads : public OfflineTest {
protected:
    /// Writes the configuration of an installation folder and gives that folder's path.
    std::string install(int number, const std::string& rootName) const {
        const std::string folder = "inst" + std::to_string(number);
        writeFile(folder + "/xml/config/a.xml",
                  configuration(rootName, std::string(1, static_cast<char>('a' + number))));
        return path(folder);
    }

    /// Runs all jobs at once, each on a Thread, and waits for their end.
    template <typename Job> static void runTogether(const std::vector<std::unique_ptr<Job>>& jobs) {
        std::vector<std::unique_ptr<Thread>> threads;
        for (const std::unique_ptr<Job>& job : jobs) {
            threads.push_back(std::make_unique<Thread>(job.get()));
            threads.back()->start();
        }
        for (const std::unique_ptr<Thread>& thread : threads) {
            thread->join();
        }
    }
};

TEST_F(OfflineThreads, ScansAndTellsOnAThreadOfItsOwn) {
    const std::string folder = install(0, "root");
    const std::string broken = writeFile("inst0/xml/config/b.xml", "<");
    ParseConfigXML parser(&m_window, nullptr, folder);
    Thread thread(&parser);
    thread.start();
    thread.join();
    EXPECT_TRUE(m_window.gotOnly(MEROOFFLINE_ERROR_XML_CONFIG_PARSE_SUCCESS));
    EXPECT_NE(m_window.statuses().front().thread, std::this_thread::get_id());
    EXPECT_EQ(m_window.files().size(), static_cast<std::size_t>(kGroups));
    EXPECT_THAT(parser.getFailedFiles(), ElementsAre(broken));
}

TEST_F(OfflineThreads, HandsTheTreeOverWithTheStatus) {
    AwaitedWindow window;
    ParseConfigXML parser(&window, nullptr, install(0, "root"));
    Thread thread(&parser);
    thread.start();
    window.await();
    ASSERT_EQ(window.m_roots.size(), 1u);
    EXPECT_EQ(window.m_roots.front().m_modules.size(), static_cast<std::size_t>(kGroups));
    sortRoots(window.m_roots);
    window.m_roots.front().m_selected = 0;
    thread.join();
}

TEST_F(OfflineThreads, HandsTheRequestOverWithTheStatus) {
    AwaitedWindow window;
    window.m_comments = "text";
    GenerateReqXML writer(&window, nullptr, path("Request"));
    Thread thread(&writer);
    thread.start();
    window.await();
    const std::optional<ReadRequest> request = readRequest(writer.getRequestPath());
    ASSERT_TRUE(request) << m_log.dump();
    EXPECT_EQ(request->comment, "text");
    window.m_comments = "next";
    thread.join();
}

TEST_F(OfflineThreads, TakesSeveralScansIntoOneTree) {
    std::vector<std::unique_ptr<ParseConfigXML>> parsers;
    parsers.reserve(kThreads);
    for (int number = 0; number < kThreads; ++number) {
        parsers.push_back(std::make_unique<ParseConfigXML>(
            &m_window, nullptr, install(number, "root " + std::to_string(number % 2))));
    }
    runTogether(parsers);
    EXPECT_TRUE(m_window.gotOnly(MEROOFFLINE_ERROR_XML_CONFIG_PARSE_SUCCESS, kThreads));
    ASSERT_EQ(m_window.m_roots.size(), 2u);
    std::map<char, std::vector<std::string>> modulesOfScans;
    for (const RootItem& root : m_window.m_roots) {
        EXPECT_EQ(root.m_selected, 1u);
        for (const ModuleItem& module : root.m_modules) {
            modulesOfScans[module.m_name.front()].push_back(module.m_name);
        }
    }
    // Mixed with each other, but each in its own order.
    EXPECT_EQ(modulesOfScans.size(), static_cast<std::size_t>(kThreads));
    for (const auto& [scan, modules] : modulesOfScans) {
        EXPECT_EQ(modules, titles(std::string(1, scan)));
    }
    EXPECT_EQ(m_log.count('E', ""), 0) << m_log.dump();
}

TEST_F(OfflineThreads, LetsSeveralWritersReadOneTree) {
    ParseConfigXML(&m_window, nullptr, install(0, "root")).run();
    m_window.m_comments = "5 < 6";
    std::vector<std::unique_ptr<GenerateReqXML>> writers;
    writers.reserve(kThreads);
    for (int number = 0; number < kThreads; ++number) {
        writers.push_back(
            std::make_unique<GenerateReqXML>(&m_window, nullptr, path("Request" + std::to_string(number))));
    }
    runTogether(writers);
    for (const std::unique_ptr<GenerateReqXML>& writer : writers) {
        const std::optional<ReadRequest> request = readRequest(writer->getRequestPath());
        ASSERT_TRUE(request) << m_log.dump();
        EXPECT_EQ(request->ids, titles("a", "id "));
        EXPECT_EQ(request->comment, "5 < 6");
    }
    EXPECT_EQ(m_log.count('E', ""), 0) << m_log.dump();
}

TEST_F(OfflineThreads, LeavesAWholeRequestWhenTheWritersOfAMinuteMeet) {
    ParseConfigXML(&m_window, nullptr, install(0, "root")).run();
    std::vector<std::unique_ptr<GenerateReqXML>> writers;
    do { // once more if a minute ends in between
        writers.clear();
        for (int number = 0; number < kThreads; ++number) {
            writers.push_back(std::make_unique<GenerateReqXML>(&m_window, nullptr, path("Request")));
        }
    } while (writers.front()->getRequestPath() != writers.back()->getRequestPath());
    runTogether(writers);
    const std::optional<ReadRequest> request = readRequest(writers.front()->getRequestPath());
    ASSERT_TRUE(request) << m_log.dump();
    EXPECT_EQ(request->ids, titles("a", "id "));
}

TEST_F(OfflineThreads, RunsWholeWizardsBesideEachOther) {
    std::array<std::string, kThreads> folders;
    std::array<std::optional<ReadRequest>, kThreads> requests;
    for (int number = 0; number < kThreads; ++number) {
        folders[static_cast<std::size_t>(number)] = install(number, "root");
    }
    {
        std::latch start(kThreads);
        std::vector<std::jthread> threads;
        for (std::size_t number = 0; number < folders.size(); ++number) {
            threads.emplace_back([this, &start, &folders, &requests, number] {
                const std::string stem = path("Request" + std::to_string(number));
                start.arrive_and_wait();
                RecordingWindow window;
                window.m_comments = folders[number];
                ParseConfigXML(&window, nullptr, folders[number]).run();
                GenerateReqXML writer(&window, nullptr, stem);
                writer.run();
                requests[number] = readRequest(writer.getRequestPath());
            });
        }
    }
    for (std::size_t number = 0; number < folders.size(); ++number) {
        ASSERT_TRUE(requests[number]) << m_log.dump();
        EXPECT_EQ(requests[number]->ids, titles(std::string(1, static_cast<char>('a' + number)), "id "));
        EXPECT_EQ(requests[number]->comment, folders[number]);
    }
    EXPECT_EQ(m_log.count('*', "Invoked Function: "), 0) << m_log.dump();
}

} // namespace
