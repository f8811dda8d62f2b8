// The rows of the wizard's selection tree, as growth_steps.   growth_tree STEP SIZE ROUNDS
//
//   files    a module of SIZE files
//   modules  a root of SIZE modules with a file each
//   roots    SIZE roots with a module and a file each
//   clicks   two clicks on a module of SIZE files; the store counts the siblings in front of each row that
//   changes

#include "bench/Growth.h"
#include "tools/MERO/MEROOffline/Linux/SelectionStore.h"

#include <list>
#include <memory>

namespace {

using Records = std::list<RootItem>;

std::shared_ptr<Records> recordsOf(std::size_t roots, std::size_t modulesInRoot, std::size_t filesInModule) {
    auto records = std::make_shared<Records>();
    for (std::size_t root = 0; root < roots; ++root) {
        RootItem& rootItem = records->emplace_back();
        rootItem.m_name = "Root " + std::to_string(root);
        for (std::size_t module = 0; module < modulesInRoot; ++module) {
            ModuleItem& moduleItem = rootItem.m_modules.emplace_back();
            moduleItem.m_name = "Module " + std::to_string(module);
            for (std::size_t file = 0; file < filesInModule; ++file) {
                moduleItem.m_files.emplace_back().m_label = "File " + std::to_string(file);
            }
        }
    }
    return records;
}

std::string asItStands(const std::string& name) {
    return name;
}

/// Makes the tree's store over and over.
std::function<double()> storeOf(const std::shared_ptr<Records>& records) {
    return [records] {
        return growth::secondsOf([&records] {
            const SelectionIndex index(*records, &asItStands);
            const SelectionStore store(index);
        });
    };
}

std::function<double()> clicks(std::size_t size) {
    return [records = recordsOf(1, 1, size)] {
        SelectionIndex index(*records, &asItStands);
        SelectionStore store(index);
        SelectionRules rules(index, store);
        const std::size_t module = index.rootCount();
        return growth::secondsOf([&] {
            rules.toggle(module, false);
            rules.toggle(module, true);
        });
    };
}

} // namespace

int main(int argc, char** argv) {
    const std::map<std::string, growth::Step> steps{
        {"files", [](std::size_t size) { return storeOf(recordsOf(1, 1, size)); }},
        {"modules", [](std::size_t size) { return storeOf(recordsOf(1, size, 1)); }},
        {"roots", [](std::size_t size) { return storeOf(recordsOf(size, 1, 1)); }},
        {"clicks", clicks}};
    return growth::runStep(steps, argc, argv);
}
