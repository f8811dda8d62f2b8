// What it costs to translate a text, beside the C library's dgettext for the same text in the same catalogue
// of 2,000 texts, made by msgfmt with its hash table.
//
// look-up: getLocaleText with an explicit language. Goal: no slower than dgettext.
// message: MsgCatalog::getMessage as a whole, with its locks and its copy. Goal: no more than twice dgettext.
//
// Each once with one and the same text, and once with all texts in turn, out of order, where the caches of
// the machine count. Times are in nanoseconds a call, see SideBySide.h. That a hit allocates nothing is
// tested, not measured.

#include "bench/SideBySide.h"
#include "Common/i18n/GettextRuntime.h"
#include "Common/i18n/MsgCatalog.h"
#include "Common/Utility/StoragePath.h"

#include <array>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <libintl.h>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr int kTexts = 2000;
constexpr const char* kDomain = "Trellink";
constexpr const char* kLanguage = "de-de";
/// A locale that every machine has; the C library looks for its catalogues in a folder of this name.
constexpr const char* kLocale = "C.UTF-8";

std::string textOf(int number) {
    static constexpr std::array kTopics = {"Collecting the log of module", "Connection", "The certificate",
                                           "Copying files of item"};
    return std::string(kTopics[static_cast<std::size_t>(number) % kTopics.size()]) + " " +
           std::to_string(number * 7919 % 100000) + " is being processed";
}

/// The catalogue of a folder of its own, and everything set up for it.
class Catalogue {
public:
    Catalogue() {
        std::string pattern = (fs::temp_directory_path() / "catalogue_bench_XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("no temporary folder");
        }
        m_folder = pattern;
        compile();
        ::setenv("LC_ALL", kLocale, 1);
        ::unsetenv("LANGUAGE");
        if (CStoragePath::CreateSingletonInstance(m_paths) != 0) {
            throw std::runtime_error("no paths");
        }
        MsgCatalog::setLocalizationPath(m_folder.string() + "/");
        MsgCatalog::init(kDomain, "", kLanguage);
        check();
    }
    ~Catalogue() {
        CStoragePath::releaseInstance(m_paths);
        std::error_code ignored;
        fs::remove_all(m_folder, ignored);
    }
    Catalogue(const Catalogue&) = delete;
    Catalogue& operator=(const Catalogue&) = delete;

    /// The texts, out of order.
    [[nodiscard]] const std::vector<std::string>& keys() const { return m_keys; }

private:
    void compile() {
        const fs::path l10n = m_folder / "l10n";
        fs::create_directories(l10n / kLanguage / "LC_MESSAGES");
        fs::create_directory_symlink(kLanguage, l10n / kLocale);
        std::ofstream source(m_folder / "source.po");
        source << "msgid \"\"\nmsgstr \"Content-Type: text/plain; charset=utf-8\\n\"\n";
        m_keys.reserve(kTexts);
        for (int number = 0; number < kTexts; ++number) {
            m_keys.push_back(textOf(number));
            source << "\nmsgid \"" << m_keys.back() << "\"\nmsgstr \"Übersetzung von: " << m_keys.back()
                   << "\"\n";
        }
        source.close();
        const fs::path target = l10n / kLanguage / "LC_MESSAGES" / (std::string(kDomain) + ".mo");
        const std::string command =
            "msgfmt -o '" + target.string() + "' '" + (m_folder / "source.po").string() + "'";
        // NOLINTNEXTLINE(bugprone-command-processor): the paths are this program's own
        if (std::system(command.c_str()) != 0) {
            throw std::runtime_error("msgfmt failed");
        }
    }
    /// Both ways find every text.
    void check() const {
        for (const std::string& key : m_keys) {
            const std::string wanted = "Übersetzung von: " + key;
            if (wanted != getLocaleText(nullptr, key.c_str(), kLanguage) ||
                wanted != dgettext(kDomain, key.c_str())) {
                throw std::runtime_error("not translated: " + key);
            }
        }
    }

    fs::path m_folder;
    CStoragePath* m_paths = nullptr;
    std::vector<std::string> m_keys;
};

const Catalogue& catalogue() {
    static const Catalogue instance;
    return instance;
}

/// One text or all in turn, from the start again at the end.
class Keys {
public:
    explicit Keys(bool all) : m_keys(catalogue().keys()), m_count(all ? m_keys.size() : 1) {}
    const char* next() {
        m_place = m_place + 1 < m_count ? m_place + 1 : 0;
        return m_keys[m_place].c_str();
    }

private:
    const std::vector<std::string>& m_keys;
    std::size_t m_count;
    std::size_t m_place = 0;
};

template <typename Own> void compareWithDgettext(benchmark::State& state, const std::string& name, Own own) {
    Keys ownKeys(state.range(0) != 0);
    Keys otherKeys = ownKeys;
    sideBySide::compare(
        state, name, [&] { own(ownKeys.next()); }, "dgettext",
        [&] { benchmark::DoNotOptimize(dgettext(kDomain, otherKeys.next())); });
}

void lookUp(benchmark::State& state) {
    compareWithDgettext(state, "look-up", [](const char* key) {
        benchmark::DoNotOptimize(getLocaleText(nullptr, key, kLanguage));
    });
}

void message(benchmark::State& state) {
    std::string text;
    compareWithDgettext(state, "message", [&text](const char* key) {
        MsgCatalog::getMessage(key, text);
        benchmark::DoNotOptimize(text.data());
    });
}

BENCHMARK(lookUp)->ArgName("all")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(message)->ArgName("all")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
