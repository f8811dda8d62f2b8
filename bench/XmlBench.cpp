// Reading one configuration file of 2 MB, generated in the manner of the shipped set: groups of items, each
// with its texts and three instructions, indented, about 40,000 elements.
//
//   BareParse       libxml2 alone: the same file through the same element callbacks, which do nothing
//   ReadIntoTree    MEROXmlLoader on the file: parse and build the tree
//   ReadAndRelease  the same and the release of the tree
//   ReadFolder      the same file as the only one of a folder, with the copy that the caller gets
//
// ReadIntoTree is meant to stay within three times BareParse of the same run.

#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlLoader.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

constexpr std::size_t kDocumentBytes = 2u << 20;

std::string itemText(int number) {
    const std::string id = std::to_string(number);
    return R"(    <file id="item-)" + id + R"(" directoryName="logs/part)" + id + R"(">
      <gui>
        <label>_tr("Journal of service )" +
           id + R"(")</label>
        <description>_tr("What service )" +
           id + R"( has written since the last start")</description>
      </gui>
      <default>true</default>
      <description>_tr("Journal of service )" +
           id + R"(")</description>
      <mero>
        <os opsys="linux">
          <file_copy_action>
            <action>
              <loc gather_newest="true">/var/log/service)" +
           id + R"(/*.log</loc>
              <truncate_type>front</truncate_type>
            </action>
            <action>
              <loc>$HOME/.config/service)" +
           id + R"(/settings.conf</loc>
            </action>
          </file_copy_action>
          <use_extern_action>
            <action>
              <path>/usr/bin/journalctl</path>
              <args>--no-pager --unit service)" +
           id + R"( &gt; [BUNDLE_DIR]</args>
              <stdout>service)" +
           id + R"(.txt</stdout>
            </action>
          </use_extern_action>
        </os>
      </mero>
    </file>
)";
}

std::string documentText() {
    std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<configure>\n  <title>Generated</title>\n";
    for (int number = 0; text.size() < kDocumentBytes; ++number) {
        if (number % 20 == 0) {
            text += number == 0 ? "" : "  </fileGroup>\n";
            text +=
                "  <!-- Services of one kind. -->\n  <fileGroup treeRootName=\"_tr(&quot;Services&quot;)\" "
                "directoryName=\"services\">\n    <title>_tr(\"Services\")</title>\n";
        }
        text += itemText(number);
    }
    return text + "  </fileGroup>\n</configure>\n";
}

/// The document as the only file of a folder of its own, removed at the end.
class GeneratedSet {
public:
    GeneratedSet() {
        std::string pattern = (std::filesystem::temp_directory_path() / "mero_bench_XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("no temporary folder");
        }
        m_folder = pattern + "/";
        m_file = m_folder + "config.xml";
        const std::string text = documentText();
        m_size = text.size();
        std::ofstream(m_file, std::ios::binary) << text;
    }
    ~GeneratedSet() {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }
    GeneratedSet(const GeneratedSet&) = delete;
    GeneratedSet& operator=(const GeneratedSet&) = delete;

    [[nodiscard]] const std::string& folder() const { return m_folder; }
    [[nodiscard]] const std::string& file() const { return m_file; }
    void count(benchmark::State& state) const {
        state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(m_size));
    }

private:
    std::string m_folder;
    std::string m_file;
    std::size_t m_size = 0;
};

const GeneratedSet& generatedSet() {
    static const GeneratedSet set;
    return set;
}

void ignoreStart(void* /*context*/, const xmlChar* /*name*/, const xmlChar** /*attributes*/) {}
void ignoreEnd(void* /*context*/, const xmlChar* /*name*/) {}
void ignoreText(void* /*context*/, const xmlChar* /*text*/, int /*length*/) {}

void BareParse(benchmark::State& state) {
    const GeneratedSet& set = generatedSet();
    while (state.KeepRunning()) {
        xmlParserCtxtPtr context = xmlCreateFileParserCtxt(set.file().c_str());
        xmlSAXHandler handler = {};
        handler.startElement = &ignoreStart;
        handler.endElement = &ignoreEnd;
        handler.characters = &ignoreText;
        xmlSAXHandler* former = context->sax;
        context->sax = &handler;
        if (xmlParseDocument(context) != 0) {
            state.SkipWithError("the document does not parse");
        }
        context->sax = former;
        xmlFreeDoc(context->myDoc);
        context->myDoc = nullptr;
        xmlFreeParserCtxt(context);
    }
    set.count(state);
}
BENCHMARK(BareParse)->Unit(benchmark::kMillisecond);

/// Loads the file and gives the loader that holds its tree.
std::unique_ptr<MEROXmlLoader> readFile(benchmark::State& state, const std::string& file) {
    auto loader = std::make_unique<MEROXmlLoader>();
    std::list<MEROXmlObject*> trees;
    if (loader->load(file, kLoadFile, trees) == nullptr) {
        state.SkipWithError("the document does not load");
    }
    return loader;
}

void ReadIntoTree(benchmark::State& state) {
    const GeneratedSet& set = generatedSet();
    while (state.KeepRunning()) {
        std::unique_ptr<MEROXmlLoader> loader = readFile(state, set.file());
        state.PauseTiming();
        loader.reset();
        state.ResumeTiming();
    }
    set.count(state);
}
BENCHMARK(ReadIntoTree)->Unit(benchmark::kMillisecond);

void ReadAndRelease(benchmark::State& state) {
    const GeneratedSet& set = generatedSet();
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(readFile(state, set.file()));
    }
    set.count(state);
}
BENCHMARK(ReadAndRelease)->Unit(benchmark::kMillisecond);

void ReadFolder(benchmark::State& state) {
    const GeneratedSet& set = generatedSet();
    while (state.KeepRunning()) {
        MEROXmlLoader loader;
        std::list<MEROXmlObject*> trees;
        if (loader.load(set.folder(), kLoadFolder, trees) == nullptr) {
            state.SkipWithError("the folder does not load");
        }
        for (const MEROXmlObject* tree : trees) {
            delete tree;
        }
    }
    set.count(state);
}
BENCHMARK(ReadFolder)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
