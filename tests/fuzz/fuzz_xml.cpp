// A document in memory, as a request is: it loads or it does not, and a tree that loaded is whole.

#include "tests/fuzz/FuzzTarget.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlLoader.h"

namespace {

uint32_t countNodes(const MEROComponent& node) {
    uint32_t count = 1;
    for (const MEROComponent* child : node.getChildren()) {
        require(child->getParent() == &node, "a child points at its parent");
        count += countNodes(*child);
    }
    require(node.getCount() == count, "a node counts its subtree");
    require(node.getValue().find('\0') == std::string::npos, "a value holds no NUL byte");
    return count;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argumentCount*/, char*** /*arguments*/) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    MEROXmlLoader loader;
    std::list<MEROXmlObject*> trees;
    const bool loaded = loader.load(textOf(data, size), kLoadText, trees) != nullptr;
    require(loaded == loader.isLoaded() && trees.size() == (loaded ? 1U : 0U),
            "one tree for a good document");
    if (loaded) {
        const MEROXmlObject& tree = *trees.front();
        require(tree.GetRoot() != nullptr, "a good document has a root");
        const uint32_t count = countNodes(*tree.GetRoot());
        require(tree.getCount() == count, "the tree counts its nodes");
        const MEROXmlObject copy(tree);
        require(copy.getCount() == count, "a copy has as many nodes");
    }
    return 0;
}
