#include "tools/MERO/MEROEngine/implementations/WantedEntries.h"

#include "tests/engine/collector/CollectorTest.h"
#include "tools/MERO/MEROEngine/implementations/parser/AttributeText.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <random>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

/// Requests and configurations at random, with few ids, so that most are met several times. Some entries and
/// items have none.
class RandomWalk {
public:
    explicit RandomWalk(unsigned seed) : m_random(seed) {}

    [[nodiscard]] std::string request() {
        std::string text = "<request>";
        for (int count = below(12); count > 0; --count) {
            text += "<file" + id() + "/>";
        }
        return text + "</request>";
    }
    [[nodiscard]] std::string groups() {
        std::string text;
        for (int count = below(4); count >= 0; --count) {
            text += "<fileGroup>";
            for (int items = below(8); items > 0; --items) {
                text += item();
            }
            text += "</fileGroup>";
        }
        return text;
    }

private:
    [[nodiscard]] int below(int bound) { return std::uniform_int_distribution<int>(0, bound - 1)(m_random); }
    [[nodiscard]] std::string id() {
        static const std::vector<std::string> kIds{"a", "b", "bb", "c", "d", "summary", "comments", "", "x"};
        return below(10) == 0 ? std::string() : " id=\"" + kIds[static_cast<std::size_t>(below(9))] + "\"";
    }
    [[nodiscard]] std::string item() {
        const std::string platform = below(6) == 0 ? "win" : "linux";
        return "<file" + id() + "><description>about " + std::to_string(++m_items) +
               "</description><mero><os opsys=\"" + platform + "\"/></mero></file>";
    }

    std::mt19937 m_random;
    int m_items = 0;
};

/// The descriptions of the items that a group runs, gone through entry by entry.
void walkPlainly(const MEROComponent& group, const MEROComponent& request, std::vector<std::string>& ran,
                 std::list<MEROComponent*>& unprocessed) {
    std::list<MEROComponent*> items = ItemWalk::fileElements(group);
    std::list<MEROComponent*> entries = ItemWalk::fileElements(request);
    ItemWalk::sortById(items);
    ItemWalk::sortById(entries);
    auto item = items.begin();
    for (MEROComponent* entry : entries) {
        const std::string id = attributeOf(*entry, "id");
        if (id == "summary" || id == "comments") {
            continue;
        }
        while (item != items.end() && id > attributeOf(**item, "id")) {
            ++item;
        }
        if (item != items.end() && id == attributeOf(**item, "id") &&
            attributeOf(*(*item)->FindChild("os"), "opsys") == "linux") {
            ran.push_back((*item)->FindChild("description")->getValue().substr(6));
            unprocessed.remove(entry);
        }
    }
}

} // namespace

class WantedEntriesTest : public CollectorTest {};

TEST_F(WantedEntriesTest, LeadToTheItemsThatAWalkEntryByEntryFinds) {
    std::size_t all = 0;
    for (unsigned seed = 0; seed < 400; ++seed) {
        RandomWalk random(seed);
        const std::string request = random.request();
        const std::string groups = random.groups();
        SCOPED_TRACE(std::string(request).append("\n").append(groups));
        setRequest(request);
        std::list<MEROComponent*> left = m_unprocessed;
        std::vector<std::string> ran = processed();
        const MEROXmlObject* config = parse(std::string("<configure>").append(groups).append("</configure>"));
        for (const MEROComponent* group : config->GetRoot()->getChildren()) {
            walkPlainly(*group, *m_request->GetRoot(), ran, left);
        }
        collectWell(groups);
        ASSERT_EQ(processed(), ran);
        ASSERT_EQ(m_unprocessed, left);
        all = ran.size();
    }
    EXPECT_GT(all, 400U);
}

TEST_F(WantedEntriesTest, HaveTheirReservedOnesApart) {
    setRequest("<request><file id=\"x\"/><file id=\"summary\"/><file id=\"comments\" n=\"1\"/>"
               "<file id=\"a\"/><file id=\"summary\"/><file id=\"comments\" n=\"2\"/></request>");
    WantedEntries wanted(m_request, m_unprocessed);
    std::vector<std::string> ids;
    std::ranges::transform(wanted.entries(), std::back_inserter(ids), &WantedEntries::Entry::id);
    EXPECT_THAT(ids, ElementsAre("a", "x"));
    EXPECT_EQ(wanted.summaryEntry(), *std::next(m_unprocessed.begin()));
    EXPECT_EQ(wanted.summaryPlace(), 1U);
    EXPECT_EQ(attributeOf(*wanted.commentsEntry(), "n"), "2");
}

TEST_F(WantedEntriesTest, AreTakenOffOnceByWhoeverComesFirst) {
    setRequest(request({"c", "a", "b", "d"}));
    const std::vector<MEROComponent*> elements(m_unprocessed.begin(), m_unprocessed.end());
    WantedEntries one(m_request, m_unprocessed);
    WantedEntries other(m_request, m_unprocessed);
    EXPECT_TRUE(one.takeOff(elements[1]));
    EXPECT_FALSE(other.takeOff(elements[1]));
    EXPECT_TRUE(other.takeOff(elements[0]));
    EXPECT_FALSE(one.takeOff(elements[0]));
    EXPECT_THAT(unprocessed(), ElementsAre("b", "d"));
    EXPECT_TRUE(one.takeOff(elements[3]));
    EXPECT_TRUE(other.takeOff(elements[2]));
    EXPECT_FALSE(other.takeOff(elements[2]));
    EXPECT_THAT(unprocessed(), IsEmpty());
}

TEST_F(WantedEntriesTest, PlaceTheSummaryBeforeTheItemsBehindItsEntry) {
    // Whoever lists the bundle sees in which order its folders were made.
    setRequest(request({"a", "z"}, "<file id=\"summary\"><name>told/here.txt</name></file>"));
    bool isThereForA = true;
    bool isThereForZ = false;
    m_listener.onMessage("Processing about a...", [&] { isThereForA = exists("bundle/told"); });
    m_listener.onMessage("Processing about z...", [&] { isThereForZ = exists("bundle/told"); });
    collectWell("<fileGroup>" + logItem("a") + logItem("z") + "</fileGroup>");
    EXPECT_FALSE(isThereForA);
    EXPECT_TRUE(isThereForZ);
}
