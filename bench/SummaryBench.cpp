// Printing of one section of the summary, 3,000 files with their wrapped descriptions, beside a plain fprintf
// of the same bytes, line by line. The difference is what building and wrapping the rows costs; both append
// to a file in the folder for temporary files, which is emptied between the rounds.
#include "tools/MERO/MEROEngine/implementations/collector.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace {

constexpr int kRows = 3000;

/// A private folder with a summary of kRows rows that can be printed again and again.
class Section {
public:
    Section()
        : m_folder(makeFolder()), m_config("configure", ""),
          m_collector(&m_request, m_unprocessed, "bundle.zip", false, false) {
        m_config.addComponent(m_config.GetRoot(), "title", "Client logs");
        if (m_collector.initializeSummary() != 0) {
            std::abort();
        }
        MEROXmlObject& summary = *m_collector.getSummary();
        MEROComponent* const included = summary.FindChild(summary.GetRoot(), "Manifest_Included");
        for (int row = 0; row < kRows; ++row) {
            auto entry = std::make_unique<MEROComponent>("client.log." + std::to_string(row % 40),
                                                         "vpnagent_session_" + std::to_string(row) + ".log");
            entry->addAttribute("description", "Log of the agent with the connections that were made and the "
                                               "reasons for which they ended");
            entry->addAttribute("file_size", "12.34K");
            summary.addComponent(included, entry.release());
        }
        // The head stands before the first section of a process only; from here on every print is the same.
        // It is this call, too, that tells the collector where the file is.
        if (m_collector.writeSummary(m_folder.string(), &m_config) != 0) {
            std::abort();
        }
        empty();
    }
    Section(const Section&) = delete;
    Section& operator=(const Section&) = delete;
    ~Section() {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }

    [[nodiscard]] std::string path() const { return (m_folder / "summary.txt").string(); }
    void empty() const { std::filesystem::resize_file(path(), 0); }
    [[nodiscard]] bool print() {
        const LockGuard guard(g_summaryLock);
        return m_collector.printSummary(&m_config, m_folder.string()) == 0;
    }
    [[nodiscard]] size_t size() const { return std::filesystem::file_size(path()); }
    [[nodiscard]] std::vector<std::string> lines() const {
        std::ifstream file(path());
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);) {
            lines.push_back(line);
        }
        return lines;
    }

private:
    static std::filesystem::path makeFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "summary_bench_XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) {
            std::abort();
        }
        return pattern;
    }

    std::filesystem::path m_folder;
    MEROXmlObject m_request;
    MEROXmlObject m_config;
    std::list<MEROComponent*> m_unprocessed;
    collector m_collector;
};

bool printLines(const std::string& path, const std::vector<std::string>& lines) {
    std::FILE* const file = std::fopen(path.c_str(), "ae");
    if (file == nullptr) {
        return false;
    }
    const bool isWritten = std::all_of(lines.begin(), lines.end(), [&](const std::string& line) {
        return std::fprintf(file, "%s\n", line.c_str()) >= 0;
    });
    return std::fclose(file) == 0 && isWritten;
}

/// Runs a printer round by round on an emptied file.
template <typename Printer> void measure(benchmark::State& state, const Section& section, Printer printer) {
    size_t bytes = 0;
    for ([[maybe_unused]] auto round : state) {
        if (!printer()) {
            state.SkipWithError("the summary can't be written");
            return;
        }
        state.PauseTiming();
        bytes = section.size();
        section.empty();
        state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<int64_t>(bytes) * state.iterations());
    state.SetItemsProcessed(int64_t{kRows} * state.iterations());
}

void printSummary(benchmark::State& state) {
    Section section;
    measure(state, section, [&] { return section.print(); });
}

void plainPrint(benchmark::State& state) {
    Section section;
    if (!section.print()) {
        state.SkipWithError("the summary can't be written");
        return;
    }
    const std::vector<std::string> lines = section.lines();
    section.empty();
    measure(state, section, [&] { return printLines(section.path(), lines); });
}

BENCHMARK(printSummary)->Unit(benchmark::kMicrosecond);
BENCHMARK(plainPrint)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
