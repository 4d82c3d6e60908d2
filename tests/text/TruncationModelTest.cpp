#include <algorithm>
#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <optional>
#include <ostream>
#include <random>
#include <string_view>

#include "gatehall/text/TruncationExtensions.h"
#include "tests/InstalledWorld.h"
#include "tests/text/PlainTruncation.h"

namespace gatehall {

namespace plain {

void PrintTo(const Text& text, std::ostream* out) {
  for (const auto& [character, advance] : text) {
    *out << std::hex << static_cast<unsigned>(character) << std::dec << "*" << advance << " ";
  }
}

}  // namespace plain

namespace {

constexpr std::array<std::u16string_view, 24> kPieces = {u"a",
                                                         u"W",
                                                         u"i",
                                                         u" ",
                                                         u" ",
                                                         u".",
                                                         u".",
                                                         u". ",
                                                         u"   ",
                                                         u"...",
                                                         u"e\u0301",
                                                         u"\u0301",
                                                         u"\U0001F600",
                                                         u"\U0001F468\u200D\U0001F469",
                                                         u"\U0001F44D\U0001F3FD",
                                                         u"\u2764\uFE0F",
                                                         u"\U0001F1E9\U0001F1EA",
                                                         u"\u200D",
                                                         u"\u674E",
                                                         u"\u05D0",
                                                         u"\u1112\u1161\u11AB",
                                                         u"\uAC00\u11A8",
                                                         u"\xD83D",
                                                         u"\r\n"};

constexpr std::array kAdvances = {10.0, 10.0, 4.0, 7.3, 1.0 / 3, 0.0, 1e7};

AttributedString styled(const plain::Text& text) {
  MutableAttributedString result;
  for (const auto& [character, advance] : text) {
    result.append(AttributedString({character}, {{"Advance", advance}}));
  }
  return result;
}

plain::Text plainText(const AttributedString& text) {
  plain::Text result;
  for (std::uint64_t index = 0; index < text.length(); ++index) {
    const auto& advance = text.attributesAtIndex(index).at("Advance");
    result.push_back({text.characterAtIndex(index), std::get<double>(advance.storage())});
  }
  return result;
}

/// Texts with all that makes cutting hard, in one style or in several.
class TruncationModel : public InstalledWorld {
 protected:
  std::size_t below(std::size_t count) { return mRandom() % count; }

  plain::Text text(std::size_t pieces, std::size_t styles) {
    plain::Text result;
    double advance = 10;
    for (std::size_t piece = 0; piece < pieces; ++piece) {
      if (below(4) == 0) advance = kAdvances.at(below(styles));
      for (const auto character : kPieces.at(below(kPieces.size()))) {
        result.push_back({character, advance});
      }
    }
    return result;
  }

  /// A width between less than nothing and more than enough, with a fraction or without.
  float widthFor(const plain::Text& text) {
    const auto fraction = static_cast<double>(below(1200)) / 1000 - 0.05;
    const auto width = (plain::width(text) + 3) * fraction;
    return static_cast<float>(below(2) == 0 ? std::floor(width) : width);
  }

  void expectAgreement(const plain::Text& text, float width, TextRange range) {
    const auto expected = plain::truncated(text, width, range.location, range.length);
    MutableAttributedString string(styled(text));
    std::optional<plain::Text> result;
    try {
      truncateToFit(string, width, range);
      result = plainText(string);
    } catch (const RangeException&) {
      ASSERT_EQ(plainText(string), text);
    }
    ASSERT_EQ(result, expected) << "width " << width << ", range " << range.location << ", "
                                << range.length << ", of " << ::testing::PrintToString(text);
    if (!result) {
      ++mRefused;
    } else if (*result != text) {
      ++mCut;
    } else {
      ++mLeft;
    }
  }

  std::mt19937 mRandom{20261121};
  int mRefused = 0;
  int mCut = 0;
  int mLeft = 0;
};

TEST_F(TruncationModel, HoldsForRandomTexts) {
  for (int round = 0; round < 1500 && !HasFatalFailure(); ++round) {
    const auto text = this->text(below(50), 1 + below(kAdvances.size()));
    expectAgreement(text, widthFor(text), {0, text.size()});
  }
  EXPECT_GT(mRefused, 10);
  EXPECT_GT(mCut, 500);
  EXPECT_GT(mLeft, 100);
}

TEST_F(TruncationModel, HoldsForEveryRangeOfATextAndSomeBeyondIt) {
  for (int round = 0; round < 12 && !HasFatalFailure(); ++round) {
    const auto text = this->text(1 + below(10), 3);
    const auto width = widthFor(text);
    for (std::uint64_t location = 0; location <= text.size() + 1; ++location) {
      for (std::uint64_t length = 0; length <= text.size() + 1 && !HasFatalFailure(); ++length) {
        expectAgreement(text, width, {location, length});
      }
    }
  }
  EXPECT_GT(mRefused, 100);
  EXPECT_GT(mCut, 500);
}

TEST_F(TruncationModel, HoldsForSpacesAndFullStopsAtEveryEdge) {
  for (unsigned pattern = 0; pattern < 2187 && !HasFatalFailure(); ++pattern) {
    plain::Text text;
    auto digits = pattern;
    for (int place = 0; place < 7; ++place, digits /= 3) {
      text.push_back({std::u16string_view(u"x .").at(digits % 3), 10});
    }
    for (const float width : {63.0F, 43.0F, 23.0F}) expectAgreement(text, width, {0, 7});
  }
  EXPECT_GT(mRefused, 50);
}

TEST_F(TruncationModel, TakesTextsApartAsTheTextSystemDoes) {
  for (int round = 0; round < 300; ++round) {
    std::u16string text;
    for (const auto& unit : this->text(1 + below(20), 1)) text += unit.character;
    const auto ends = plain::boundaries(text);
    for (std::size_t index = 0; index < text.size(); ++index) {
      const auto end = std::ranges::upper_bound(ends, index);
      ASSERT_EQ(platform().text().composedCharacterRange(text, index),
                std::pair(*(end - 1), *end - *(end - 1)))
          << "index " << index;
    }
  }
}

}  // namespace
}  // namespace gatehall
