#include <gtest/gtest.h>

#include "gatehall/users/AttributeValue.h"

namespace gatehall {
namespace {

const Value kTwo = Array{";basic;", "second"};

TEST(AttributeValue, IsAStringOrNumberWhateverTheIndex) {
  EXPECT_EQ(attrAtIndex("text", 0), Value("text"));
  EXPECT_EQ(attrAtIndex("text", 5), Value("text"));
  EXPECT_EQ(attrAtIndex(7, 0), Value(7));
  EXPECT_EQ(attrAtIndex(7, 0xFFFFFFFFFFFFFFFF), Value(7));
}

TEST(AttributeValue, IsTheListsElementAtTheIndexAndAbsentBeyondItsEnd) {
  EXPECT_EQ(attrAtIndex(kTwo, 1), Value("second"));
  EXPECT_EQ(attrAtIndex(kTwo, 2), std::nullopt);
  EXPECT_EQ(attrAtIndex(kTwo, 5), std::nullopt);
  EXPECT_EQ(attrAtIndex(Array{}, 0), std::nullopt);
}

TEST(AttributeValue, EqualsAStringExactly) {
  EXPECT_TRUE(isAttrEqualToString("basic", "basic"));
  EXPECT_FALSE(isAttrEqualToString("basic", "Basic"));
  EXPECT_FALSE(isAttrEqualToString(";basic;", "basic"));
  EXPECT_TRUE(isAttrEqualToString("", ""));
}

TEST(AttributeValue, EqualsWhenAnyElementIsEqual) {
  EXPECT_TRUE(isAttrEqualToString(kTwo, "second"));
  EXPECT_FALSE(isAttrEqualToString(kTwo, "basic"));
  EXPECT_FALSE(isAttrEqualToString(Array{}, ""));
}

TEST(AttributeValue, ContainsASubstringOfTheSameCase) {
  EXPECT_TRUE(doesAttrContainString(";basic;", "basic"));
  EXPECT_FALSE(doesAttrContainString(";basic;", "BASIC"));
}

TEST(AttributeValue, ContainsWhenAnyElementDoes) {
  EXPECT_TRUE(doesAttrContainString(kTwo, "basic"));
  EXPECT_TRUE(doesAttrContainString(kTwo, "con"));
  EXPECT_FALSE(doesAttrContainString(kTwo, "third"));
  EXPECT_FALSE(doesAttrContainString(Array{}, "basic"));
}

TEST(AttributeValue, ThatIsANumberEqualsAndContainsNoString) {
  EXPECT_FALSE(isAttrEqualToString(501, "501"));
  EXPECT_FALSE(doesAttrContainString(501, "50"));
}

}  // namespace
}  // namespace gatehall
