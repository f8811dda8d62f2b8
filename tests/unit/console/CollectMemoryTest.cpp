#include "tests/engine/pipeline/EngineRun.h"
#include "tests/support/HeapWatch.h"
#include "tools/MERO/MEROConsole/CollectCommand.h"
#include "tools/MERO/MEROEngine/implementations/Progress.h"

namespace {

/// Longer than what fits into a string object, and nowhere but where a password is.
constexpr const char* kSecret = "correct horse battery staple";

/// Whole runs of the console front, as it does them for `merocli collect --password-file`.
class CollectMemory : public EngineRun {
public:
    ~CollectMemory() override { g_consoleMode = false; }

protected:
    CollectMemory() {
        writeThreeItems();
        m_options.installDirectory = path("inst");
        m_options.targetPath = m_target;
        m_options.passwordFile = writeFile("password", "correct horse battery staple\n");
    }
    void expectWiped() {
        {
            const HeapWatch watch(kSecret);
            EXPECT_EQ(collectBundle(m_options), 0);
        }
        EXPECT_GT(HeapWatch::blocksFreed(), 100);
        EXPECT_EQ(HeapWatch::secretsFreed(), 0);
        unpack("out.zip", kSecret);
    }

    CollectOptions m_options;
};

TEST_F(CollectMemory, OfADefaultBundleShowsNoPassword) {
    expectWiped();
}

TEST_F(CollectMemory, OfSelectedItemsShowsNoPassword) {
    writeConfiguration(
        "shown.xml", "<fileGroup treeRootName=\"Shown\"><title>Shown</title><file id=\"two\"><gui><label>Two"
                     "</label></gui><mero><os opsys=\"linux\"/></mero></file></fileGroup>");
    m_options.onlyIds = {"two"};
    expectWiped();
}

} // namespace
