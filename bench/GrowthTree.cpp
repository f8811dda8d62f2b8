// The rows of the wizard's selection tree, as growth_steps.   growth_tree STEP SIZE ROUNDS
//
//   files    a module of SIZE files
//   modules  a root of SIZE modules with a file each
//   roots    SIZE roots with a module and a file each

#include "bench/Growth.h"
#include "tools/MERO/MEROOffline/Linux/SelectionStore.h"

#include <list>
#include <memory>

namespace {

/// Makes the tree's store over and over.
std::function<double()> storeOf(std::size_t roots, std::size_t modulesInRoot, std::size_t filesInModule) {
    auto records = std::make_shared<std::list<RootItem>>();
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
    return [records] {
        return growth::secondsOf([&records] {
            const SelectionIndex index(*records, [](const std::string& name) { return name; });
            const SelectionStore store(index);
        });
    };
}

} // namespace

int main(int argc, char** argv) {
    const std::map<std::string, growth::Step> steps{
        {"files", [](std::size_t size) { return storeOf(1, 1, size); }},
        {"modules", [](std::size_t size) { return storeOf(1, size, 1); }},
        {"roots", [](std::size_t size) { return storeOf(size, 1, 1); }}};
    return growth::runStep(steps, argc, argv);
}
