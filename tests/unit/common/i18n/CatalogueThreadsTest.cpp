#include "Common/i18n/GettextRuntime.h"
#include "tests/unit/common/i18n/MsgCatalogTest.h"

#include <atomic>
#include <barrier>
#include <functional>
#include <gtest/gtest.h>
#include <libintl.h>
#include <thread>
#include <vector>

namespace {

constexpr int kThreads = 16;
constexpr int kRounds = 200;

void onAllThreads(const std::function<void(int)>& work) {
    std::barrier start(kThreads);
    std::vector<std::jthread> threads;
    threads.reserve(kThreads);
    for (int number = 0; number < kThreads; ++number) {
        threads.emplace_back([&, number] {
            start.arrive_and_wait();
            work(number);
        });
    }
}

class CatalogueThreads : public MsgCatalogTest {
protected:
    void SetUp() override {
        setLanguage("de_DE.UTF-8");
        compileCatalogue("de", "Trellink", {{"Next", "Weiter"}, {"Back", "Zurück"}});
        compileCatalogue("de", "CorvaneDefault", {{"Cancel", "Abbrechen"}});
    }
};

TEST_F(CatalogueThreads, AskAtOnceAndSetEverythingUpOnce) {
    std::atomic<int> failures = 0;
    onAllThreads([&](int /*number*/) {
        for (int round = 0; round < kRounds; ++round) {
            failures += message("Next") == "Weiter" && message("Back") == "Zurück" ? 0 : 1;
        }
    });
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(m_log.count('I', "initialized catalog"), 1) << m_log.dump();
}

TEST_F(CatalogueThreads, AskWhileTheCatalogueIsUnloaded) {
    MsgCatalog::initMsgCatalog("");
    useDefaultCatalogue();
    std::atomic<int> failures = 0;
    onAllThreads([&](int number) {
        for (int round = 0; round < kRounds; ++round) {
            if (number % 4 == 0) {
                MsgCatalog::unloadCatalog();
            }
            failures += message("Next") == "Weiter" && message("Cancel") == "Abbrechen" ? 0 : 1;
        }
    });
    EXPECT_EQ(failures, 0);
}

TEST_F(CatalogueThreads, AskWhileTheLanguageIsSet) {
    MsgCatalog::initMsgCatalog("");
    std::atomic<int> failures = 0;
    onAllThreads([&](int number) {
        for (int round = 0; round < kRounds; ++round) {
            MsgCatalog::setLocale(number % 2 == 0 ? "de-de" : "de");
            std::string folderName;
            MsgCatalog::getLocalizationPath(folderName);
            failures += message("Next") == "Weiter" && folderName == folder() ? 0 : 1;
        }
    });
    EXPECT_EQ(failures, 0);
}

TEST_F(CatalogueThreads, AskWhileLibrariesBindDomainsOfTheirOwn) {
    MsgCatalog::initMsgCatalog("");
    std::atomic<int> failures = 0;
    onAllThreads([&](int number) {
        const std::string domain = "library " + std::to_string(number);
        for (int round = 0; round < kRounds; ++round) {
            const char* const bound = bindtextdomain(domain.c_str(), folder().c_str());
            failures += bound == domain.c_str() ? 0 : 1;
            failures += bind_textdomain_codeset(domain.c_str(), "UTF-8") == nullptr ? 0 : 1;
            failures += std::string(textdomain(nullptr)) == "Trellink" ? 0 : 1;
            failures += message("Next") == "Weiter" ? 0 : 1;
        }
    });
    EXPECT_EQ(failures, 0);
}

} // namespace
