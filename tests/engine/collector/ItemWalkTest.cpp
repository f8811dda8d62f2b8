#include "tools/MERO/MEROEngine/implementations/ItemWalk.h"

#include "tests/engine/collector/CollectorTest.h"
#include "tools/MERO/MEROEngine/implementations/ClearPreview.h"
#include "tools/MERO/MEROOffline/Common/ParseConfigXML.h"

#include <algorithm>
#include <filesystem>
#include <random>

namespace {

/// The window of a scan, which keeps what is chosen from.
class ScannedItems : public CMEROClientIfc, public CMEROOfflineIfc {
public:
    void updateStatus(const MEROStatusInfo* /*info*/, uint64_t /*status*/) override {}
    [[nodiscard]] std::string getComments() override { return {}; }
    [[nodiscard]] std::list<RootItem>& getModuleTree() override { return m_tree; }
    void addModule(const std::string& /*rootName*/, const ModuleItem& module) override {
        for (const FileItem& file : module.m_files) {
            names.push_back(file.m_description + (file.m_default != 0 ? " by default" : ""));
        }
    }

    std::vector<std::string> names;

private:
    std::list<RootItem> m_tree;
};

/// Configurations at random, in which groups, ids, marks and instructions are missing, double or of other
/// platforms. Each item is described by a number of its own, and so is the file that each of its instructions
/// names.
class RandomConfiguration {
public:
    RandomConfiguration(unsigned seed, std::string folder) : m_random(seed), m_folder(std::move(folder)) {}

    [[nodiscard]] std::string document() {
        std::string text = "<configure>";
        for (int count = below(4); count >= 0; --count) {
            text += group();
        }
        return text + "</configure>";
    }
    [[nodiscard]] int instructionCount() const { return m_instructions; }

private:
    [[nodiscard]] int below(int bound) { return std::uniform_int_distribution<int>(0, bound - 1)(m_random); }
    [[nodiscard]] std::string oneOf(const std::vector<std::string>& texts) {
        return texts[static_cast<std::size_t>(below(static_cast<int>(texts.size())))];
    }
    [[nodiscard]] std::string group() {
        const std::string name = oneOf({"fileGroup", "fileGroup", "fileGroup", "filegroup"});
        std::string text =
            "<" + name + oneOf({" treeRootName=\"A\"", " treeRootName=\"B\"", ""}) + "><title>T</title>";
        for (int count = below(6); count > 0; --count) {
            text += item();
        }
        return text + "</" + name + ">";
    }
    [[nodiscard]] std::string item() {
        std::string text = "<file" + oneOf({" id=\"a\"", " id=\"b\"", " id=\"c\"", " id=\"d\"", ""}) +
                           "><description>about " + std::to_string(++m_items) + "</description>";
        for (int count = oneOf({"0", "1", "1", "1", "2"})[0] - '0'; count > 0; --count) {
            text += "<default>" + oneOf({"true", "true", "false", "True"}) + "</default>";
        }
        for (int count = oneOf({"0", "1", "1", "1", "2"})[0] - '0'; count > 0; --count) {
            text += instructions();
        }
        return text + "</file>";
    }
    [[nodiscard]] std::string instructions() {
        std::string text = "<mero>";
        for (const std::string& platform :
             {oneOf({"win", "mac", "linux"}), oneOf({"linux", "linux", "win"})}) {
            text += section(platform, oneOf({"", "", section("linux", "")}));
        }
        return text + "</mero>";
    }
    [[nodiscard]] std::string section(const std::string& platform, const std::string& more) {
        return "<os opsys=\"" + platform + "\"><file_copy_action><action><loc>" + m_folder + "/" +
               std::to_string(++m_instructions) +
               ".log</loc><clear_log apply=\"true\"/></action></file_copy_action>" + more + "</os>";
    }

    std::mt19937 m_random;
    std::string m_folder;
    int m_items = 0;
    int m_instructions = 0;
};

} // namespace

class ItemWalkOfAllWays : public CollectorTest {
protected:
    /// "about 3: 5.log" for item 3 with the instructions 5.
    static std::string named(const std::string& description, const std::string& path) {
        return description + ": " + std::filesystem::path(path).filename().string();
    }
    static std::string description(const WalkedItem& item) {
        return item.element->FindChild("description")->getValue();
    }
    static std::string fileOf(const MEROComponent& section) {
        return section.FindChild("file_copy_action")->FindChild("action")->FindChild("loc")->getValue();
    }

    /// The default items that have instructions here, as the engine's walk gives them.
    [[nodiscard]] static std::vector<std::string> walked(const MEROXmlObject& config) {
        std::vector<std::string> names;
        ItemWalk walk(kEngineRules);
        for (const MEROComponent* group : walk.groupsOf(config)) {
            for (const WalkedItem& item : walk.itemsOf(*group)) {
                const MEROComponent* section =
                    item.isDefault ? walk.instructionsOf(*item.element).section : nullptr;
                if (section != nullptr) {
                    names.push_back(named(description(item), fileOf(*section)));
                }
            }
        }
        return names;
    }
    [[nodiscard]] std::vector<std::string> previewed() const {
        std::vector<std::string> names;
        for (const ClearableItem& item : previewClearRun(path("install")).items) {
            for (const ClearStep& step : item.steps) {
                names.push_back(named(item.description, step.files));
            }
        }
        return names;
    }
    /// What the scan's walk gives.
    [[nodiscard]] static std::vector<std::string> offered(const MEROXmlObject& config) {
        std::vector<std::string> names;
        ItemWalk walk(kScanRules);
        for (const MEROComponent* group : walk.groupsOf(config)) {
            for (const WalkedItem& item : walk.itemsOf(*group)) {
                const ItemInstructions instructions = walk.instructionsOf(*item.element);
                if (!instructions.areGiven || instructions.section != nullptr) {
                    names.push_back(description(item) + (item.isDefault ? " by default" : ""));
                }
            }
        }
        return names;
    }
};

TEST_F(ItemWalkOfAllWays, FindsTheSameItems) {
    std::size_t seen = 0;
    for (unsigned seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        std::filesystem::remove_all(m_bundle);
        makeFolder("bundle");
        RandomConfiguration random(seed, path("logs"));
        const std::string text = random.document();
        SCOPED_TRACE(text);
        writeFile("install/xml/config/one.xml", text);
        for (int number = 1; number <= random.instructionCount(); ++number) {
            writeFile("logs/" + std::to_string(number) + ".log", "x");
        }
        MEROXmlObject* config = parse(text);
        const std::vector<std::string> items = walked(*config);
        seen += items.size();

        EXPECT_EQ(previewed(), items);

        const auto before = static_cast<std::ptrdiff_t>(processed().size());
        EXPECT_EQ(makeCollector().Collect(m_bundle, config), 0U);
        std::vector<std::string> numbers = processed();
        numbers.erase(numbers.begin(), numbers.begin() + before);
        std::vector<std::string> files;
        for (const auto& entry : std::filesystem::directory_iterator(m_bundle)) {
            files.push_back(entry.path().filename().string());
        }
        ASSERT_EQ(numbers.size(), items.size());
        for (std::size_t at = 0; at < items.size(); ++at) {
            const std::string file = items[at].substr(items[at].find(' ', 6) + 1);
            EXPECT_EQ(items[at], "about " + numbers[at] + ": " + file);
            EXPECT_NE(std::find(files.begin(), files.end(), file), files.end()) << file;
        }

        ScannedItems scanned;
        ParseConfigXML(&scanned, nullptr, path("install")).run();
        EXPECT_EQ(scanned.names, offered(*config));
    }
    EXPECT_GT(seen, 60U);
}

/// The ways differ here, each as its name says.
class ItemWalkRulesOf : public CollectorTest {
protected:
    [[nodiscard]] std::vector<std::string> ids(const std::string& groups, const ItemWalkRules& rules) {
        std::vector<std::string> ids;
        const ItemWalk walk(rules);
        for (const MEROComponent* group : walk.groupsOf(*parse("<configure>" + groups + "</configure>"))) {
            for (const WalkedItem& item : walk.itemsOf(*group)) {
                ids.push_back(item.id + (item.isDefault ? "+" : "-"));
            }
        }
        return ids;
    }
    const std::string kItems =
        R"(<file id="b"><default>true</default><default>no</default></file><file id="a"/>)";
};

TEST_F(ItemWalkRulesOf, TheEngineSortsTheGroupsOfItsNameAndTakesTheFirstMark) {
    EXPECT_EQ(ids("<fileGroup>" + kItems + "</fileGroup>", kEngineRules),
              (std::vector<std::string>{"a-", "b+"}));
    EXPECT_EQ(ids("<area treeRootName=\"A\">" + kItems + "</area>", kEngineRules),
              std::vector<std::string>());
}

TEST_F(ItemWalkRulesOf, TheScanKeepsTheOrderOfAllThatNameATreeAndTakesTheLastMark) {
    EXPECT_EQ(ids("<fileGroup>" + kItems + "</fileGroup>", kScanRules), std::vector<std::string>());
    EXPECT_EQ(ids("<area treeRootName=\"A\">" + kItems + "</area>", kScanRules),
              (std::vector<std::string>{"b-", "a-"}));
}

TEST_F(ItemWalkRulesOf, InstructionsPassOnToAnItemWithoutInTheEngineOnly) {
    const MEROXmlObject* config = parse(
        R"(<configure><fileGroup treeRootName="A"><file id="a"><mero><os opsys="linux"><os opsys="linux"/></os></mero>)"
        R"(</file><file id="b"/></fileGroup></configure>)");
    for (const ItemWalkRules& rules : {kEngineRules, kScanRules}) {
        ItemWalk walk(rules);
        const std::vector<WalkedItem> items = walk.itemsOf(*walk.groupsOf(*config).front());
        const MEROComponent* first = walk.instructionsOf(*items[0].element).section;
        ASSERT_NE(first, nullptr);
        const ItemInstructions second = walk.instructionsOf(*items[1].element);
        EXPECT_FALSE(second.areGiven);
        EXPECT_EQ(second.section, rules.instructionsPassOn ? first->FindChild("os") : nullptr);
    }
}
