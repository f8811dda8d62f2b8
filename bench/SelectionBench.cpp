// The file selection page with 5,000 items in 50 configuration files, 10 modules of 100 files below each of
// five roots, of which every other one is a default item. Needs a display.
//
//   ScanFolder       ParseConfigXML over the 50 files, up to the records; meant to stay under a second
//   LoadFolder       MEROXmlLoader over the same files, which ScanFolder contains
//   Click/root, Click/module, Click/file
//                    one click in the real window with the whole tree open: the rules, the changes of rows,
//                    and all that GTK does about them until it is idle; meant to stay under 16 ms
//   Store            what Next does on that page

#include "bench/Records.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlLoader.h"
#include "tools/MERO/MEROOffline/Common/ParseConfigXML.h"
#include "tools/MERO/MEROOffline/Linux/MEROGtkMainWindow.h"
#include "tools/MERO/MEROOffline/Linux/Widgets.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtk/gtk.h>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr int kFolderFiles = 50;
constexpr int kRoots = 5;
constexpr int kItems = 100;

std::string item(int module, int number) {
    const std::string name = std::to_string(module) + "-" + std::to_string(number);
    return "<file id=\"item-" + name + "\"><gui><label>_tr(\"Journal of service " + name +
           "\")</label></gui><default>" + (number % 2 == 0 ? "true" : "false") +
           "</default><description>_tr(\"What service " + name +
           " has written\")</description><mero><os opsys=\"linux\"><file_copy_action><action><loc>/var/log/" +
           name + "</loc></action></file_copy_action></os></mero></file>\n";
}

/// The configuration set, in a folder of its own for the time of the run.
class ConfigurationSet {
public:
    ConfigurationSet() : m_folder(std::filesystem::temp_directory_path() / "mero_selection_bench_XXXXXX") {
        std::string name = m_folder.string();
        if (::mkdtemp(name.data()) == nullptr) {
            std::abort();
        }
        m_folder = name;
        std::filesystem::create_directories(m_folder / "xml/config");
        for (int module = 0; module < kFolderFiles; ++module) {
            writeModule(module);
        }
    }
    ~ConfigurationSet() { std::filesystem::remove_all(m_folder); }
    ConfigurationSet(const ConfigurationSet&) = delete;
    ConfigurationSet& operator=(const ConfigurationSet&) = delete;

    [[nodiscard]] std::string installPath() const { return m_folder.string() + "/"; }
    [[nodiscard]] std::string folder() const { return installPath() + "xml/config/"; }

private:
    void writeModule(int module) const {
        const std::string number = std::to_string(module);
        std::ofstream file(folder() + number + ".xml");
        file << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<configure><fileGroup treeRootName=\"Area "
             << module % kRoots << "\"><title>_tr(\"Module " << number << "\")</title>\n";
        for (int entry = 0; entry < kItems; ++entry) {
            file << item(module, entry);
        }
        file << "</fileGroup></configure>\n";
    }

    std::filesystem::path m_folder;
};

void settle() {
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
    }
}

/// The window on its file selection page, with every row open.
class SelectionPage {
public:
    explicit SelectionPage(const ConfigurationSet& set) {
        m_window = std::make_unique<CMEROGtkMainWindow>(BENCH_PROGRAM_FOLDER);
        Records records;
        ParseConfigXML(&records, nullptr, set.installPath()).run();
        for (const RootItem& root : records.getModuleTree()) {
            for (const ModuleItem& module : root.m_modules) {
                m_window->addModule(root.m_name, module);
            }
        }
        m_window->changePage(static_cast<uint32_t>(WizardPage::FileSelection));
        while (gtk_widget_get_sensitive(LookUpWidget("buttonNext")) == FALSE) {
            g_main_context_iteration(nullptr, TRUE);
        }
        m_view = GTK_TREE_VIEW(gtk_bin_get_child(GTK_BIN(LookUpWidget("scrolledwindowFileSelDlg"))));
        gtk_tree_view_expand_all(m_view);
        const GListHandle cells(
            gtk_cell_layout_get_cells(GTK_CELL_LAYOUT(gtk_tree_view_get_column(m_view, 0))));
        m_renderer = GTK_CELL_RENDERER(cells->data);
        settle();
    }

    void click(const char* path) {
        GtkTreeModel* model = gtk_tree_view_get_model(m_view);
        GtkTreeIter row;
        gtk_tree_model_get_iter_from_string(model, &row, path);
        gboolean checked = FALSE;
        gtk_tree_model_get(model, &row, 0, &checked, -1);
        g_object_set(m_renderer, "active", checked, nullptr);
        g_signal_emit_by_name(m_renderer, "toggled", path);
        settle();
    }

    void store() { gtk_button_clicked(GTK_BUTTON(LookUpWidget("buttonNext"))); }
    void back() { gtk_button_clicked(GTK_BUTTON(LookUpWidget("buttonBack"))); }

private:
    using GListHandle = std::unique_ptr<GList, Releaser<&g_list_free>>;

    std::unique_ptr<CMEROGtkMainWindow> m_window;
    GtkTreeView* m_view = nullptr;
    GtkCellRenderer* m_renderer = nullptr;
};

const ConfigurationSet& configurationSet() {
    static const ConfigurationSet set;
    return set;
}

void ScanFolder(benchmark::State& state) {
    const std::string installPath = configurationSet().installPath();
    for ([[maybe_unused]] auto round : state) {
        Records records;
        ParseConfigXML(&records, nullptr, installPath).run();
        benchmark::DoNotOptimize(records.getModuleTree().size());
    }
}
BENCHMARK(ScanFolder)->Unit(benchmark::kMillisecond);

void LoadFolder(benchmark::State& state) {
    const std::string folder = configurationSet().folder();
    for ([[maybe_unused]] auto round : state) {
        MEROXmlLoader loader;
        std::list<MEROXmlObject*> trees;
        benchmark::DoNotOptimize(loader.load(folder, kLoadFolder, trees));
        for (MEROXmlObject* tree : trees) {
            delete tree;
        }
    }
}
BENCHMARK(LoadFolder)->Unit(benchmark::kMillisecond);

void Click(benchmark::State& state, const char* path) {
    SelectionPage page(configurationSet());
    for ([[maybe_unused]] auto round : state) {
        page.click(path);
    }
}
BENCHMARK_CAPTURE(Click, root, "0")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Click, module, "2:5")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Click, file, "4:9:99")->Unit(benchmark::kMillisecond);

void Store(benchmark::State& state) {
    SelectionPage page(configurationSet());
    for ([[maybe_unused]] auto round : state) {
        page.store();
        state.PauseTiming();
        page.back();
        state.ResumeTiming();
    }
}
BENCHMARK(Store)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    gtk_init(&argc, &argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
