#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlObject.h"

#include <gtest/gtest.h>
#include <memory>

namespace {

MEROComponent* newNode(const std::string& name, const std::string& value = {}) {
    return std::make_unique<MEROComponent>(name, value).release();
}

TEST(MEROXmlObject, IsEmptyByDefault) {
    const MEROXmlObject object;
    EXPECT_EQ(object.GetRoot(), nullptr);
    EXPECT_EQ(object.getCount(), 0u);
}

TEST(MEROXmlObject, MadeFromNameAndValueHasOneNode) {
    const MEROXmlObject object("name", "value");
    ASSERT_NE(object.GetRoot(), nullptr);
    EXPECT_EQ(object.GetRoot()->getName(), "name");
    EXPECT_EQ(object.GetRoot()->getValue(), "value");
    EXPECT_EQ(object.getCount(), 1u);
}

TEST(MEROXmlObject, MadeFromANodeIsADeepCopyWithItsCount) {
    MEROComponent node("n", "");
    node.addChild("c", "1");
    const MEROXmlObject object(&node);
    EXPECT_NE(object.GetRoot(), &node);
    EXPECT_EQ(object.getCount(), 2u);
    EXPECT_EQ(object.GetRoot()->FindChild("c")->getValue(), "1");
}

TEST(MEROXmlObject, MadeFromNullIsEmpty) {
    const MEROXmlObject object(static_cast<const MEROComponent*>(nullptr));
    EXPECT_EQ(object.GetRoot(), nullptr);
    EXPECT_EQ(object.getCount(), 0u);
}

TEST(MEROXmlObject, CopyIsDeep) {
    auto source = std::make_unique<MEROXmlObject>("r", "");
    source->addComponent(source->GetRoot(), "c", "1");
    const MEROXmlObject copy(*source);
    source.reset();
    EXPECT_EQ(copy.getCount(), 2u);
    EXPECT_EQ(copy.GetRoot()->FindChild("c")->getValue(), "1");
}

TEST(MEROXmlObject, AssignmentIsDeepAndDropsTheOwnTree) {
    MEROXmlObject source("r", "");
    source.addComponent(source.GetRoot(), "c", "1");
    MEROXmlObject target("old", "");
    target = source;
    EXPECT_NE(target.GetRoot(), source.GetRoot());
    EXPECT_EQ(target.GetRoot()->getName(), "r");
    EXPECT_EQ(target.getCount(), 2u);
    const MEROXmlObject& same = target;
    target = same;
    EXPECT_EQ(target.getCount(), 2u);
}

TEST(MEROXmlObject, AssigningOneWithoutARootDeletesTheOwnRoot) {
    MEROXmlObject target("old", "");
    target = MEROXmlObject();
    EXPECT_EQ(target.GetRoot(), nullptr);
    EXPECT_EQ(target.getCount(), 0u);
}

TEST(MEROXmlObject, SetRootAdoptsTheNodeAndItsCount) {
    MEROXmlObject object("former", "");
    MEROComponent* root = newNode("r");
    root->addChild("c", "");
    object.SetRoot(root);
    EXPECT_EQ(object.GetRoot(), root);
    EXPECT_EQ(object.getCount(), 2u);
    object.SetRoot(root);
    EXPECT_EQ(object.GetRoot()->getName(), "r");
    object.SetRoot(nullptr);
    EXPECT_EQ(object.GetRoot(), nullptr);
    EXPECT_EQ(object.getCount(), 0u);
}

TEST(MEROXmlObject, SetRootNameValueMakesARootOrRenamesIt) {
    MEROXmlObject object;
    object.setRootNameValue("first", "1");
    ASSERT_NE(object.GetRoot(), nullptr);
    EXPECT_EQ(object.GetRoot()->getName(), "first");
    EXPECT_EQ(object.getCount(), 1u);
    const MEROComponent* root = object.GetRoot();
    object.addComponent(object.GetRoot(), "c", "");
    object.setRootNameValue("second", "2");
    EXPECT_EQ(object.GetRoot(), root);
    EXPECT_EQ(root->getName(), "second");
    EXPECT_EQ(root->getValue(), "2");
    EXPECT_EQ(object.getCount(), 2u);
}

TEST(MEROXmlObject, AddComponentWithoutAParentAdoptsTheChildAsRoot) {
    MEROXmlObject object;
    MEROComponent* root = newNode("r");
    object.addComponent(nullptr, root);
    EXPECT_EQ(object.GetRoot(), root);
    EXPECT_EQ(object.getCount(), 1u);
}

TEST(MEROXmlObject, AddComponentByNameWithoutAParentRenamesTheRoot) {
    MEROXmlObject object("old", "x");
    const MEROComponent* root = object.GetRoot();
    object.addComponent(nullptr, "new", "y");
    EXPECT_EQ(object.GetRoot(), root);
    EXPECT_EQ(root->getName(), "new");
    EXPECT_EQ(root->getValue(), "y");
    EXPECT_EQ(object.getCount(), 1u);
}

TEST(MEROXmlObject, AddComponentGrowsByTheChildsCount) {
    MEROXmlObject object("r", "");
    MEROComponent* child = newNode("c");
    child->addChild("d", "");
    object.addComponent(object.GetRoot(), child);
    EXPECT_EQ(object.getCount(), 3u);
    EXPECT_EQ(child->getParent(), object.GetRoot());
    object.addComponent(child, "e", "5");
    EXPECT_EQ(object.getCount(), 4u);
    EXPECT_EQ(object.GetRoot()->getCount(), 4u);
    EXPECT_EQ(child->getChildren().back()->getValue(), "5");
}

TEST(MEROXmlObject, AddComponentIgnoresNullAndCountZeroChildren) {
    MEROXmlObject object("r", "");
    const auto child = std::make_unique<MEROComponent>();
    object.addComponent(object.GetRoot(), child.get());
    object.addComponent(object.GetRoot(), nullptr);
    object.addComponent(nullptr, nullptr);
    EXPECT_EQ(object.getCount(), 1u);
    ASSERT_NE(object.GetRoot(), nullptr);
    EXPECT_TRUE(object.GetRoot()->getChildren().empty());
}

TEST(MEROXmlObject, RemoveComponentShrinksByTheChildsCount) {
    MEROXmlObject object("r", "");
    MEROComponent* child = newNode("c");
    child->addChild("d", "");
    object.addComponent(object.GetRoot(), child);
    object.addComponent(object.GetRoot(), "e", "");
    object.removeComponent(object.GetRoot(), child);
    EXPECT_EQ(object.getCount(), 2u);
    object.removeComponent(object.GetRoot(), "e");
    EXPECT_EQ(object.getCount(), 1u);
    EXPECT_EQ(object.GetRoot()->getCount(), 1u);
}

TEST(MEROXmlObject, RemoveComponentDoesNothingForNullOrAMiss) {
    MEROXmlObject object("r", "");
    object.addComponent(object.GetRoot(), "c", "");
    MEROComponent* child = object.GetRoot()->getChildren().front();
    object.addComponent(child, "deep", "");
    MEROComponent stranger("s", "");
    object.removeComponent(nullptr, child);
    object.removeComponent(object.GetRoot(), static_cast<MEROComponent*>(nullptr));
    object.removeComponent(object.GetRoot(), &stranger);
    object.removeComponent(nullptr, "c");
    object.removeComponent(object.GetRoot(), "none");
    object.removeComponent(object.GetRoot(), "deep");
    EXPECT_EQ(object.getCount(), 3u);
    EXPECT_EQ(object.GetRoot()->getCount(), 3u);
}

TEST(MEROXmlObject, FindChildSearchesBelowTheStart) {
    MEROXmlObject object("r", "");
    object.addComponent(object.GetRoot(), "c", "1");
    ASSERT_NE(object.FindChild(object.GetRoot(), "c"), nullptr);
    EXPECT_EQ(object.FindChild(object.GetRoot(), "c")->getValue(), "1");
    EXPECT_EQ(object.FindChild(object.GetRoot(), "r"), nullptr);
    EXPECT_EQ(object.FindChild(static_cast<const MEROComponent*>(nullptr), "c"), nullptr);
}

TEST(MEROXmlObject, FindAllByNameGoesThroughTheTreeInDocumentOrder) {
    MEROXmlObject object("x", "root");
    MEROComponent* first = newNode("x", "outer");
    first->addChild("x", "inner");
    object.addComponent(object.GetRoot(), first);
    object.addComponent(object.GetRoot(), "X", "other");
    object.addComponent(object.GetRoot(), "x", "last");
    std::list<MEROComponent*> found{first};
    object.findAllByName("x", found);
    std::list<std::string> values;
    for (const MEROComponent* node : found) {
        values.push_back(node->getValue());
    }
    EXPECT_EQ(values, (std::list<std::string>{"outer", "root", "outer", "inner", "last"}));
}

TEST(MEROXmlObject, FindAllByNameOfAnEmptyObjectFindsNothing) {
    std::list<MEROComponent*> found;
    MEROXmlObject().findAllByName("x", found);
    EXPECT_TRUE(found.empty());
    EXPECT_EQ(MEROXmlObject().FindChild("x", "y"), nullptr);
}

TEST(MEROXmlObject, FindChildByElementGoesOnToTheNextElementWithAHit) {
    MEROXmlObject object("root", "");
    object.addComponent(object.GetRoot(), "configure", "");
    object.addComponent(object.GetRoot(), "configure", "");
    object.GetRoot()->getChildren().back()->addChild("title", "second");
    ASSERT_NE(object.FindChild("configure", "title"), nullptr);
    EXPECT_EQ(object.FindChild("configure", "title")->getValue(), "second");
    EXPECT_EQ(object.FindChild("configure", "none"), nullptr);
    EXPECT_EQ(object.FindChild("none", "title"), nullptr);
}

TEST(MEROXmlObject, FindsTheTitleOfTheRootElementAtAnyDepth) {
    MEROXmlObject object("configure", "");
    object.addComponent(object.GetRoot(), "fileGroup", "");
    object.GetRoot()->getChildren().front()->addChild("title", "group");
    ASSERT_NE(object.FindChild("configure", "title"), nullptr);
    EXPECT_EQ(object.FindChild("configure", "title")->getValue(), "group");
}

TEST(MEROXmlObject, HandlesTheAttributesOfAComponent) {
    MEROXmlObject object("r", "");
    object.addAttribute(object.GetRoot(), "a", "1");
    object.addAttribute(object.GetRoot(), std::make_unique<MEROAttribute>("b", "2").release());
    ASSERT_NE(object.FindAttribute(object.GetRoot(), "b"), nullptr);
    EXPECT_EQ(object.FindAttribute(object.GetRoot(), "b")->getValue(), "2");
    object.removeAttribute(object.GetRoot(), "a");
    object.removeAttribute(object.GetRoot(), object.FindAttribute(object.GetRoot(), "b"));
    EXPECT_TRUE(object.GetRoot()->getAttributes().empty());
}

TEST(MEROXmlObject, AttributeCallsOnANullComponentDoNothing) {
    const auto attribute = std::make_unique<MEROAttribute>("b", "2");
    MEROXmlObject object("r", "");
    object.addAttribute(nullptr, "a", "1");
    object.addAttribute(nullptr, attribute.get());
    object.removeAttribute(nullptr, attribute.get());
    object.removeAttribute(nullptr, "a");
    EXPECT_EQ(object.FindAttribute(nullptr, "a"), nullptr);
    EXPECT_TRUE(object.GetRoot()->getAttributes().empty());
}

} // namespace
