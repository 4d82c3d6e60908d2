#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <string>

#include "gatehall/text/TruncationExtensions.h"
#include "tests/InstalledWorld.h"

namespace gatehall {
namespace {

/// Every composed character is ten points wide.
class Truncation : public InstalledWorld {
 protected:
  static std::u16string truncated(const std::u16string& text, float width) {
    return truncatedStringToFit(AttributedString(text), width).string();
  }
  static std::u16string truncated(const std::u16string& text, float width, TextRange range) {
    return truncatedStringToFit(AttributedString(text), width, range).string();
  }

  /// That truncating raises, and leaves the text as it is.
  static void expectRefused(const AttributedString& text, float width, TextRange range,
                            const std::string& message) {
    MutableAttributedString string(text);
    try {
      truncateToFit(string, width, range);
      ADD_FAILURE() << "nothing was raised for " << message;
    } catch (const RangeException& error) {
      EXPECT_EQ(error.what(), message);
    }
    EXPECT_EQ(string, text);
  }
};

TEST_F(Truncation, LeavesATextThatFitsWithThreePointsToSpare) {
  EXPECT_EQ(truncated(u"Ann Lee", 73), u"Ann Lee");
  // 0.1 points too many: an empty cut at 3, which swallows the space, then takes a unit on each
  // side.
  EXPECT_EQ(truncated(u"Ann Lee", 72.9F), u"An…ee");
}

TEST_F(Truncation, LeavesATextForAWidthThatIsNoNumber) {
  EXPECT_EQ(truncated(u"Ann Lee", std::numeric_limits<float>::quiet_NaN()), u"Ann Lee");
  EXPECT_EQ(truncated(u"Ann Lee", std::numeric_limits<float>::infinity()), u"Ann Lee");
}

TEST_F(Truncation, LeavesAnyTextWhoseRangeIsEmpty) {
  EXPECT_EQ(truncated(u"Ann Lee", 10, {3, 0}), u"Ann Lee");
  EXPECT_EQ(truncated(u"Ann Lee", 10, {99, 0}), u"Ann Lee");
  EXPECT_EQ(truncated(u"", 1), u"");
}

TEST_F(Truncation, MakesOneEllipsisOfARangeThatIsTooNarrowToCutEnoughOutOf) {
  EXPECT_EQ(truncated(u"abcdefghij", 50, {2, 3}), u"ab…fghij");
  EXPECT_EQ(truncated(u"abcdefghij", 2.9F), u"…");
  EXPECT_EQ(truncated(u"abcdefghij", -std::numeric_limits<float>::infinity()), u"…");
}

TEST_F(Truncation, GrowsSuchARangeToWholeCharacters) {
  EXPECT_EQ(truncated(u"ae\u0301b", 1, {2, 1}), u"a…b");
  EXPECT_EQ(truncated(u"a\U0001F600b", 1, {1, 1}), u"a…b");
}

TEST_F(Truncation, CutsARangeThatIsJustWideEnoughPassByPass) {
  // 10 units: 103 points needed, 3 given, so 100 are too many, which is the range's whole width.
  // A first cut of 10 - 8 at (10 - 2) / 2, which then grows up to the start.
  EXPECT_EQ(truncated(u"abcdefghij", 3), u"…");
}

TEST_F(Truncation, KeepsTheStartAndTheEndOfALongName) {
  // 26 units, 150 points too many: 15 - 8 cut at (26 - 7) / 2 = 9, and one more on each side in
  // each of 5 further passes: 4 up to 21, which leaves 10 characters.
  EXPECT_EQ(truncated(u"abcdefghijklmnopqrstuvwxyz", 113), u"abcd…vwxyz");
}

TEST_F(Truncation, SwallowsTheFullStopAndTheSpaceAfterAMiddleInitial) {
  // 13 units, 10 points too many: an empty cut at 6, behind the Q. It swallows ".", then " ".
  EXPECT_EQ(truncated(u"Mary Q. Smith", 123), u"Mary Q…Smith");
  // Then it grows to "Q. S", and swallows the " " before that.
  EXPECT_EQ(truncated(u"Mary Q. Smith", 113), u"Mary…mith");
  EXPECT_EQ(truncated(u"Anne-M. Jones", 123), u"Anne-M…Jones");
}

TEST_F(Truncation, SwallowsARunOfSpacesAndFullStopsOneOnEachSideAPass) {
  // An empty cut at 6 of 12: "  ..|..  " goes within 3 passes, none of which takes a letter.
  EXPECT_EQ(truncated(u"abc .... def", 73), u"abc…def");
}

TEST_F(Truncation, DoesNotSwallowWhatStandsBeforeTheRange) {
  // The cut stands at 2, where the range begins: nothing is swallowed, and there is one pass.
  EXPECT_EQ(truncated(u"a .. b cd", 85, {2, 4}), u"a ….. b cd");
}

TEST_F(Truncation, KeepsSurrogatePairsWhole) {
  EXPECT_EQ(truncated(u"aaaa\U0001F600\U0001F600\U0001F600\U0001F600bbbb", 93), u"aaaa…bbbb");
  // An empty cut at 5, in the middle of the pair, grows to the pair and then over "a" and "b".
  EXPECT_EQ(truncated(u"aaaa\U0001F600bbbbb", 93), u"aaa…bbbb");
}

TEST_F(Truncation, KeepsABaseLetterWithItsCombiningMark) {
  EXPECT_EQ(truncated(u"e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301", 53),
            u"e\u0301e\u0301…e\u0301e\u0301");
}

TEST_F(Truncation, StartsTheCutAsIfTheRangeBeganAtTheTextsStart) {
  // 100 points too many of 16 units, which are 160 points wide: 10 - 8 cut at (16 - 2) / 2 = 7, and
  // within 3 passes from 4 on, where the range begins.
  EXPECT_EQ(truncated(u"abcdefghijklmnopqrst", 103, {4, 16}), u"abcd…mnopqrst");
  // A cut that begins before the range is made once, wide enough or not.
  EXPECT_EQ(truncated(u"abcdefghijklmnopqrst", 103, {10, 10}), u"abcd…ghijklmnopqrst");
}

TEST_F(Truncation, EndsWhereSpacesAtTheRightEndLeadTheCutPastIt) {
  // The cut grows over "    ", takes the last one, and looks behind it.
  expectRefused(AttributedString(u"abcdefgh    "), 43, {0, 12}, "Invalid range {12, 1}.");
}

TEST_F(Truncation, RefusesARangeOutsideTheText) {
  const AttributedString text(u"Ann Lee");
  expectRefused(text, 10, {7, 1}, "Invalid range {7, 1}.");
  expectRefused(text, 10, {0, 8}, "Invalid range {0, 8}.");
  expectRefused(text, 10, {2, UINT64_MAX}, "Invalid range {2, 18446744073709551615}.");
}

TEST_F(Truncation, LeavesTheReceiverOfANewStringAsItIs) {
  const AttributedString text(u"abcdefghijklmnopqrstuvwxyz");
  EXPECT_NE(truncatedStringToFit(text, 100), text);
  EXPECT_EQ(text.string(), u"abcdefghijklmnopqrstuvwxyz");
}

TEST_F(Truncation, GivesTheEllipsisTheAttributesOfTheFirstReplacedCharacter) {
  MutableAttributedString text(u"abcdefgh", {{"Font", "bold"}});
  text.append(AttributedString(u"ijklmnopqrst", {{"Font", "thin"}}));
  truncateToFit(text, 103);
  EXPECT_EQ(text.string(), u"abcd…qrst");
  EXPECT_EQ(text.attributesAtIndex(4), (Dictionary{{"Font", "bold"}}));
  EXPECT_EQ(text.attributesAtIndex(5), (Dictionary{{"Font", "thin"}}));
}

TEST_F(Truncation, GoesByTheWidthsOfStyledText) {
  // 40 + 24 + 40 points, 12 too many with the slack: an empty cut at 10, which grows by 4 units on
  // each side, for 16 points, and an ellipsis of 2.
  MutableAttributedString text(u"aaaa");
  text.append(AttributedString(u"bbbbbbbbbbbb", {{"Advance", 2}}));
  text.append(AttributedString(u"cccc"));
  truncateToFit(text, 95);
  EXPECT_EQ(text.string(), u"aaaabb…bbcccc");
}

TEST_F(Truncation, AdjustsARangeToWholeComposedCharacters) {
  const AttributedString text(u"ae\u0301\U0001F600b");
  EXPECT_EQ(adjustRange(text, {2, 1}), (TextRange{1, 2}));
  EXPECT_EQ(adjustRange(text, {1, 3}), (TextRange{1, 4}));
  EXPECT_EQ(adjustRange(text, {4, 1}), (TextRange{3, 2}));
  EXPECT_EQ(adjustRange(text, {0, 2}), (TextRange{0, 3}));
  EXPECT_EQ(adjustRange(text, {2, 4}), (TextRange{1, 5}));
  EXPECT_EQ(adjustRange(text, {0, 6}), (TextRange{0, 6}));
}

TEST_F(Truncation, DoesNotAdjustAnEmptyRange) {
  EXPECT_EQ(adjustRange(AttributedString(u"e\u0301"), {1, 0}), (TextRange{1, 0}));
}

void expectInvalid(const AttributedString& text, TextRange range, const std::string& message) {
  try {
    adjustRange(text, range);
    ADD_FAILURE() << "nothing was raised for " << message;
  } catch (const RangeException& error) {
    EXPECT_EQ(error.what(), message);
  }
}

TEST_F(Truncation, RefusesToAdjustARangeOutsideTheText) {
  expectInvalid(AttributedString(), {0, 0}, "Invalid range {0, 0}.");
  expectInvalid(AttributedString(u"abc"), {3, 0}, "Invalid range {3, 0}.");
  expectInvalid(AttributedString(u"abc"), {1, 3}, "Invalid range {1, 3}.");
  expectInvalid(AttributedString(u"abc"), {1, UINT64_MAX},
                "Invalid range {1, 18446744073709551615}.");
  expectInvalid(AttributedString(u"abc"), {UINT64_MAX, 2},
                "Invalid range {18446744073709551615, 2}.");
}

}  // namespace
}  // namespace gatehall
