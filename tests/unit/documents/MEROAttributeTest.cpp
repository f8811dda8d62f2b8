#include "tools/MERO/MEROEngine/implementations/parser/MEROAttribute.h"

#include <gtest/gtest.h>

namespace {

TEST(MEROAttribute, IsEmptyByDefault) {
    const MEROAttribute attribute;
    EXPECT_EQ(attribute.getName(), "");
    EXPECT_EQ(attribute.getValue(), "");
}

TEST(MEROAttribute, TakesNameAndValueFromCStrings) {
    const MEROAttribute attribute("id", "a b");
    EXPECT_EQ(attribute.getName(), "id");
    EXPECT_EQ(attribute.getValue(), "a b");
}

TEST(MEROAttribute, NullStandsForTheEmptyText) {
    const MEROAttribute attribute(nullptr, nullptr);
    EXPECT_EQ(attribute.getName(), "");
    EXPECT_EQ(attribute.getValue(), "");
}

TEST(MEROAttribute, AssignmentEndsTheValueAtAnEmbeddedNul) {
    MEROAttribute source("id", "");
    source.setValue(std::string("ab\0cd", 5));
    MEROAttribute target("other", "x");
    target = source;
    EXPECT_EQ(target.getName(), "id");
    EXPECT_EQ(target.getValue(), "ab");
}

TEST(MEROAttribute, CopyKeepsAnEmbeddedNul) {
    MEROAttribute source("id", "");
    source.setValue(std::string("ab\0cd", 5));
    const MEROAttribute copy(source);
    EXPECT_EQ(copy.getValue(), std::string("ab\0cd", 5));
    EXPECT_FALSE(copy != source);
}

TEST(MEROAttribute, AssignmentToItselfChangesNothing) {
    MEROAttribute attribute("id", "value");
    const MEROAttribute& same = attribute;
    attribute = same;
    EXPECT_EQ(attribute.getName(), "id");
    EXPECT_EQ(attribute.getValue(), "value");
}

TEST(MEROAttribute, DiffersByNameOrByValue) {
    const MEROAttribute attribute("id", "value");
    EXPECT_FALSE(attribute != MEROAttribute("id", "value"));
    EXPECT_TRUE(attribute != MEROAttribute("ID", "value"));
    EXPECT_TRUE(attribute != MEROAttribute("id", "Value"));
}

} // namespace
