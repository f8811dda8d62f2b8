#include "tools/MERO/MEROEngine/implementations/parser/MEROComponent.h"

#include <gtest/gtest.h>
#include <memory>

namespace {

TEST(MEROComponent, MadeFromNameAndValueIsALeafOfCountOne) {
    const MEROComponent node("name", "value");
    EXPECT_EQ(node.getName(), "name");
    EXPECT_EQ(node.getValue(), "value");
    EXPECT_TRUE(node.isLeaf());
    EXPECT_EQ(node.getParent(), nullptr);
    EXPECT_EQ(node.getCount(), 1u);
    EXPECT_TRUE(node.getChildren().empty());
    EXPECT_TRUE(node.getAttributes().empty());
}

TEST(MEROComponent, DefaultConstructedHasCountZero) {
    const MEROComponent node;
    EXPECT_EQ(node.getCount(), 0u);
    EXPECT_TRUE(node.isLeaf());
    EXPECT_EQ(node.getName(), "");
}

TEST(MEROComponent, IgnoresADefaultConstructedChildWhichStaysTheCallers) {
    MEROComponent parent("p", "");
    const auto child = std::make_unique<MEROComponent>();
    EXPECT_FALSE(parent.addChild(child.get()));
    EXPECT_TRUE(parent.getChildren().empty());
    EXPECT_TRUE(parent.isLeaf());
    EXPECT_EQ(parent.getCount(), 1u);
    EXPECT_EQ(child->getParent(), nullptr);
}

TEST(MEROComponent, IgnoresANullChild) {
    MEROComponent parent("p", "");
    EXPECT_FALSE(parent.addChild(nullptr));
    EXPECT_TRUE(parent.isLeaf());
    EXPECT_EQ(parent.getCount(), 1u);
}

TEST(MEROComponent, AttachesChildrenInOrderAndClearsTheLeafMark) {
    MEROComponent parent("p", "");
    parent.addChild("a", "1");
    parent.addChild("b", "2");
    ASSERT_EQ(parent.getChildren().size(), 2u);
    EXPECT_EQ(parent.getChildren().front()->getName(), "a");
    EXPECT_EQ(parent.getChildren().back()->getValue(), "2");
    EXPECT_EQ(parent.getChildren().front()->getParent(), &parent);
    EXPECT_FALSE(parent.isLeaf());
    EXPECT_TRUE(parent.getChildren().front()->isLeaf());
}

TEST(MEROComponent, AttachingASubtreeRaisesTheCountOfEveryAncestor) {
    MEROComponent root("r", "");
    root.addChild("mid", "");
    MEROComponent* mid = root.getChildren().front();
    auto subtree = std::make_unique<MEROComponent>("s", "");
    subtree->addChild("x", "");
    subtree->addChild("y", "");
    ASSERT_EQ(subtree->getCount(), 3u);
    ASSERT_TRUE(mid->addChild(subtree.release()));
    EXPECT_EQ(mid->getCount(), 4u);
    EXPECT_EQ(root.getCount(), 5u);
}

TEST(MEROComponent, RemovingASubtreeLowersTheCountOfEveryAncestor) {
    MEROComponent root("r", "");
    root.addChild("mid", "");
    MEROComponent* mid = root.getChildren().front();
    mid->addChild("s", "");
    mid->getChildren().front()->addChild("x", "");
    ASSERT_EQ(root.getCount(), 4u);
    mid->removeChild(mid->getChildren().front());
    EXPECT_EQ(mid->getCount(), 1u);
    EXPECT_EQ(root.getCount(), 2u);
}

TEST(MEROComponent, StaysNoLeafAfterItsOnlyChildIsRemoved) {
    MEROComponent parent("p", "");
    parent.addChild("c", "");
    parent.removeChild("c");
    EXPECT_FALSE(parent.isLeaf());
    EXPECT_EQ(parent.getCount(), 1u);
    EXPECT_TRUE(parent.getChildren().empty());
}

TEST(MEROComponent, RemovingByNameLeavesADeeperMatchAlone) {
    MEROComponent root("r", "");
    root.addChild("mid", "");
    root.getChildren().front()->addChild("deep", "");
    root.removeChild("deep");
    EXPECT_EQ(root.getCount(), 3u);
    EXPECT_NE(root.FindChild("deep"), nullptr);
}

TEST(MEROComponent, RemovingByNameLeavesADirectChildBehindADeeperMatchAlone) {
    MEROComponent root("r", "");
    root.addChild("mid", "");
    root.getChildren().front()->addChild("x", "deep");
    root.addChild("x", "direct");
    root.removeChild("x");
    EXPECT_EQ(root.getCount(), 4u);
    EXPECT_EQ(root.getChildren().size(), 2u);
}

TEST(MEROComponent, RemovingWhatIsNoDirectChildDoesNothing) {
    MEROComponent root("r", "");
    root.addChild("mid", "");
    root.getChildren().front()->addChild("deep", "");
    MEROComponent stranger("s", "");
    root.removeChild(&stranger);
    root.removeChild(root.FindChild("deep"));
    root.removeChild(static_cast<MEROComponent*>(nullptr));
    root.removeChild("none");
    EXPECT_EQ(root.getCount(), 3u);
}

TEST(MEROComponent, FindChildDoesNotMatchTheNodeItIsCalledOn) {
    MEROComponent node("x", "");
    EXPECT_EQ(node.FindChild("x"), nullptr);
    node.addChild("x", "below");
    ASSERT_NE(node.FindChild("x"), nullptr);
    EXPECT_EQ(node.FindChild("x")->getValue(), "below");
}

TEST(MEROComponent, FindChildPrefersAGrandchildOfTheFirstChildToTheSecondChild) {
    MEROComponent root("r", "");
    root.addChild("a", "");
    root.getChildren().front()->addChild("x", "grandchild");
    root.addChild("x", "child");
    ASSERT_NE(root.FindChild("x"), nullptr);
    EXPECT_EQ(root.FindChild("x")->getValue(), "grandchild");
}

TEST(MEROComponent, FindOwnChildLooksAtNoGrandchild) {
    MEROComponent root("r", "");
    root.addChild("a", "");
    root.getChildren().front()->addChild("x", "grandchild");
    root.getChildren().front()->addChild("y", "grandchild");
    root.addChild("x", "child");
    root.addChild("x", "later child");
    ASSERT_NE(root.findOwnChild("x"), nullptr);
    EXPECT_EQ(root.findOwnChild("x")->getValue(), "child");
    EXPECT_EQ(root.findOwnChild("y"), nullptr);
    EXPECT_EQ(root.findOwnChild("r"), nullptr);
}

TEST(MEROComponent, FindChildPrefersAChildToItsOwnDescendant) {
    MEROComponent root("r", "");
    root.addChild("x", "outer");
    root.getChildren().front()->addChild("x", "inner");
    EXPECT_EQ(root.FindChild("x")->getValue(), "outer");
}

TEST(MEROComponent, FindChildComparesNamesExactly) {
    MEROComponent root("r", "");
    root.addChild("Title", "");
    root.addChild("titles", "");
    root.addChild(std::string("title\0", 6), "");
    EXPECT_EQ(root.FindChild("title"), nullptr);
}

TEST(MEROComponent, FindAttributeGivesTheFirstOfItsExactName) {
    MEROComponent node("n", "");
    node.addAttribute("ID", "upper");
    node.addAttribute("id", "first");
    node.addAttribute("id", "second");
    ASSERT_NE(node.FindAttribute("id"), nullptr);
    EXPECT_EQ(node.FindAttribute("id")->getValue(), "first");
    EXPECT_EQ(node.FindAttribute("i"), nullptr);
}

TEST(MEROComponent, TakesOverAttributesAndIgnoresNull) {
    MEROComponent node("n", "");
    node.addAttribute(std::make_unique<MEROAttribute>("id", "v").release());
    node.addAttribute(nullptr);
    ASSERT_EQ(node.getAttributes().size(), 1u);
    EXPECT_EQ(node.getAttributes().front()->getValue(), "v");
}

TEST(MEROComponent, RemovesAttributesByPointerAndByName) {
    MEROComponent node("n", "");
    node.addAttribute("a", "1");
    node.addAttribute("b", "2");
    node.addAttribute("a", "3");
    node.removeAttribute("a");
    EXPECT_EQ(node.FindAttribute("a")->getValue(), "3");
    node.removeAttribute(node.FindAttribute("b"));
    MEROAttribute stranger("a", "");
    node.removeAttribute(&stranger);
    node.removeAttribute("none");
    EXPECT_EQ(node.getAttributes().size(), 1u);
}

TEST(MEROComponent, AppendedPiecesFollowTheValue) {
    MEROComponent node("n", "a");
    node.appendValue("");
    node.appendValue("b");
    EXPECT_EQ(node.getValue(), "ab");
}

/// root(a(x), b) with attributes, for the copies.
void fill(MEROComponent& root) {
    root.addChild("a", "1");
    root.getChildren().front()->addChild("x", "deep");
    root.addChild("b", "2");
    root.addAttribute("first", "1");
    root.addAttribute("second", "2");
    root.getChildren().front()->addAttribute("id", "inner");
}

TEST(MEROComponent, CopyIsDeepAndKeepsTheOrder) {
    auto source = std::make_unique<MEROComponent>("r", "v");
    fill(*source);
    const MEROComponent copy(*source);
    const MEROComponent* sourceDeep = source->FindChild("x");
    EXPECT_NE(copy.FindChild("x"), sourceDeep);
    source.reset();
    EXPECT_EQ(copy.getCount(), 4u);
    EXPECT_FALSE(copy.isLeaf());
    ASSERT_EQ(copy.getChildren().size(), 2u);
    EXPECT_EQ(copy.getChildren().front()->getName(), "a");
    EXPECT_EQ(copy.getChildren().front()->FindAttribute("id")->getValue(), "inner");
    EXPECT_EQ(copy.getChildren().back()->getName(), "b");
    EXPECT_EQ(copy.FindChild("x")->getValue(), "deep");
    ASSERT_EQ(copy.getAttributes().size(), 2u);
    EXPECT_EQ(copy.getAttributes().front()->getName(), "first");
    EXPECT_EQ(copy.getAttributes().back()->getName(), "second");
}

// A copy is read downwards only; its parents are those of the source on purpose.
TEST(MEROComponent, EveryNodeOfACopyKeepsTheParentPointerOfItsSource) {
    MEROComponent top("top", "");
    top.addChild("r", "");
    MEROComponent* source = top.getChildren().front();
    fill(*source);
    const MEROComponent copy(*source);
    EXPECT_EQ(copy.getParent(), &top);
    EXPECT_EQ(copy.getChildren().front()->getParent(), source);
    EXPECT_EQ(copy.FindChild("x")->getParent(), source->FindChild("a"));
    MEROComponent assigned("other", "");
    assigned = *source;
    EXPECT_EQ(assigned.getParent(), &top);
    EXPECT_EQ(assigned.FindChild("x")->getParent(), source->FindChild("a"));
}

TEST(MEROComponent, AssignmentReplacesChildrenAndAttributes) {
    MEROComponent source("r", "v");
    fill(source);
    MEROComponent target("old", "old");
    target.addChild("gone", "");
    target.addAttribute("gone", "");
    target = source;
    EXPECT_EQ(target.getName(), "r");
    EXPECT_EQ(target.getCount(), 4u);
    EXPECT_EQ(target.FindChild("gone"), nullptr);
    EXPECT_EQ(target.FindAttribute("gone"), nullptr);
    EXPECT_EQ(target.FindAttribute("second")->getValue(), "2");
}

TEST(MEROComponent, CanBeAssignedItselfAndItsOwnDescendant) {
    MEROComponent node("r", "v");
    fill(node);
    const MEROComponent& same = node;
    node = same;
    EXPECT_EQ(node.getCount(), 4u);
    node = *node.getChildren().front();
    EXPECT_EQ(node.getName(), "a");
    EXPECT_EQ(node.getCount(), 2u);
    EXPECT_EQ(node.FindChild("x")->getValue(), "deep");
}

/// Larger than the nodes that stand together in blocks.
class LargeComponent : public MEROComponent {
public:
    using MEROComponent::MEROComponent;
    char m_room[200] = "";
};

TEST(MEROComponent, ANodeOfADerivedClassCanBeAChild) {
    MEROComponent parent("p", "");
    ASSERT_TRUE(parent.addChild(std::make_unique<LargeComponent>("c", "v").release()));
    EXPECT_EQ(parent.FindChild("c")->getValue(), "v");
    parent.removeChild("c");
    EXPECT_EQ(parent.getCount(), 1u);
}

TEST(MEROComponent, CopyOfACountZeroNodeCannotBeAttachedEither) {
    const MEROComponent source;
    const auto copy = std::make_unique<MEROComponent>(source);
    MEROComponent parent("p", "");
    EXPECT_FALSE(parent.addChild(copy.get()));
}

} // namespace
