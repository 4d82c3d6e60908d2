#include <gtest/gtest.h>
#include <stdexcept>

#include "gatehall/text/AttributedString.h"
#include "tests/InstalledWorld.h"

namespace gatehall {
namespace {

const Dictionary kBold{{"Font", "bold"}};
const Dictionary kThin{{"Font", "thin"}};

/// "boldthin", each word in its style.
MutableAttributedString boldThin() {
  MutableAttributedString text(u"bold", kBold);
  text.append(AttributedString(u"thin", kThin));
  return text;
}

TEST(AttributedString, CountsUTF16Units) {
  EXPECT_EQ(AttributedString().length(), 0U);
  EXPECT_EQ(AttributedString(u"a\U0001F600").length(), 3U);
  EXPECT_EQ(AttributedString(u"a\U0001F600").characterAtIndex(2), 0xDE00);
}

TEST(AttributedString, HasAttributesAtEveryUnit) {
  const auto text = boldThin();
  EXPECT_EQ(text.string(), u"boldthin");
  EXPECT_EQ(text.attributesAtIndex(3), kBold);
  EXPECT_EQ(text.attributesAtIndex(4), kThin);
}

TEST(AttributedString, RefusesIndexesAndRangesBeyondItsEnd) {
  const auto text = boldThin();
  EXPECT_THROW(text.characterAtIndex(8), RangeException);
  EXPECT_THROW(text.attributesAtIndex(8), RangeException);
  EXPECT_THROW(text.attributedSubstring({9, 0}), RangeException);
  EXPECT_THROW(text.attributedSubstring({7, 2}), RangeException);
  EXPECT_THROW(text.attributedSubstring({1, UINT64_MAX}), RangeException);
}

TEST(AttributedString, HandsOutAPartWithItsAttributes) {
  const auto part = boldThin().attributedSubstring({3, 2});
  EXPECT_EQ(part.string(), u"dt");
  EXPECT_EQ(part.attributesAtIndex(0), kBold);
  EXPECT_EQ(part.attributesAtIndex(1), kThin);
  EXPECT_EQ(boldThin().attributedSubstring({8, 0}), AttributedString());
}

TEST(AttributedString, IsEqualToOneThatWasPutTogetherOtherwise) {
  MutableAttributedString text(u"bo", kBold);
  text.append(AttributedString(u"ldthin", kBold));
  EXPECT_EQ(text, AttributedString(u"boldthin", kBold));
  EXPECT_NE(text, boldThin());
  EXPECT_NE(text, AttributedString(u"boldthis", kBold));
  text.append(AttributedString(u"", kThin));
  EXPECT_EQ(text, AttributedString(u"boldthin", kBold));
}

TEST(AttributedString, AppendsItself) {
  auto text = boldThin();
  text.append(text);
  EXPECT_EQ(text.string(), u"boldthinboldthin");
  EXPECT_EQ(text.attributesAtIndex(8), kBold);
  EXPECT_EQ(text.attributesAtIndex(15), kThin);
}

TEST(AttributedString, GivesReplacingTextTheAttributesOfTheFirstUnitReplaced) {
  auto text = boldThin();
  text.replaceCharacters({3, 2}, u"xyz");
  EXPECT_EQ(text.string(), u"bolxyzhin");
  EXPECT_EQ(text.attributesAtIndex(5), kBold);
  EXPECT_EQ(text.attributesAtIndex(6), kThin);
}

TEST(AttributedString, GivesInsertedTextTheAttributesOfTheUnitBeforeIt) {
  auto text = boldThin();
  text.replaceCharacters({4, 0}, u"x");
  EXPECT_EQ(text.attributesAtIndex(4), kBold);
  text.replaceCharacters({9, 0}, u"y");
  EXPECT_EQ(text.string(), u"boldxthiny");
  EXPECT_EQ(text.attributesAtIndex(9), kThin);
}

TEST(AttributedString, GivesTextInsertedAtTheStartTheAttributesOfTheUnitAfterIt) {
  auto text = boldThin();
  text.replaceCharacters({0, 0}, u"x");
  EXPECT_EQ(text.string(), u"xboldthin");
  EXPECT_EQ(text.attributesAtIndex(0), kBold);
  MutableAttributedString empty;
  empty.replaceCharacters({0, 0}, u"x");
  EXPECT_EQ(empty, AttributedString(u"x"));
}

TEST(AttributedString, RemovesWithoutATextInPlace) {
  auto text = boldThin();
  text.replaceCharacters({0, 4}, u"");
  EXPECT_EQ(text, AttributedString(u"thin", kThin));
}

TEST(AttributedString, StaysAsItIsWhenARangeToReplaceIsRefused) {
  auto text = boldThin();
  EXPECT_THROW(text.replaceCharacters({8, 1}, u"x"), RangeException);
  EXPECT_EQ(text, boldThin());
}

TEST(AttributedString, KeepsItsTextWhenAChangedCopyGoesItsOwnWay) {
  const AttributedString text(u"bold", kBold);
  MutableAttributedString copy(text);
  copy.replaceCharacters({0, 1}, u"c");
  EXPECT_EQ(text.string(), u"bold");
}

using MeasuredText = InstalledWorld;

TEST_F(MeasuredText, IsAsWideAsItsComposedCharacters) {
  EXPECT_EQ(AttributedString().width(), 0.0);
  EXPECT_EQ(AttributedString(u"abc").width(), 30.0);
  EXPECT_EQ(AttributedString(u"e\u0301x").width(), 20.0);
  EXPECT_EQ(AttributedString(u"\U0001F468\u200D\U0001F469").width(), 10.0);
}

TEST_F(MeasuredText, IsMeasuredInItsAttributes) {
  MutableAttributedString text(u"abc", {{"Advance", 4}});
  text.append(AttributedString(u"de", {{"Advance", 2.5}}));
  text.append(AttributedString(u"f"));
  EXPECT_EQ(text.width(), 27.0);
}

}  // namespace
}  // namespace gatehall
