#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "gatehall/platform/TextSystem.h"

namespace gatehall::contracts {

class TextSystemContract
    : public testing::TestWithParam<std::function<std::unique_ptr<TextSystem>()>> {
 protected:
  using Range = std::pair<std::size_t, std::size_t>;

  double width(const std::vector<std::u16string>& texts, const Dictionary& attributes = {}) {
    std::vector<TextRun> runs;
    for (const auto& text : texts) runs.push_back({text, attributes});
    return mText->width(runs);
  }

  const std::unique_ptr<TextSystem> mText = GetParam()();
};

TEST_P(TextSystemContract, FindsNoWidthWithoutText) {
  EXPECT_EQ(width({}), 0.0);
  EXPECT_EQ(width({u"", u""}), 0.0);
}

TEST_P(TextSystemContract, FindsMoreTextWider) {
  std::u16string name;
  double before = 0;
  for (const auto letter : std::u16string(u"Wilhelmina Featherstonehaugh")) {
    name += letter;
    const auto now = width({name});
    EXPECT_GT(now, before);
    before = now;
  }
}

TEST_P(TextSystemContract, FindsTheSameWidthEveryTimeAndOnEveryThread) {
  for (const auto* name :
       {u"Ann Lee", u"\u05DC\u05D9\u05D0\u05EA", u"\u674E", u"e\u0301\U0001F600"}) {
    const auto expected = width({name});
    EXPECT_GT(expected, 0.0);
    EXPECT_EQ(width({name}), expected);
    double elsewhere = 0;
    std::thread([&] { elsewhere = width({name}); }).join();
    EXPECT_EQ(elsewhere, expected);
  }
}

TEST_P(TextSystemContract, PassesOverAttributesThatItDoesNotKnow) {
  EXPECT_EQ(width({u"Ann"}, {{"Nonsense", 3}}), width({u"Ann"}));
}

TEST_P(TextSystemContract, MeasuresWhatIsNoUTF16) {
  EXPECT_GT(width({u"a\xD83D", u"\xDE00"}), 0.0);
}

TEST_P(TextSystemContract, KeepsComposedCharactersWhole) {
  const std::u16string text = u"ae\u0301\U0001F468\u200D\U0001F469\r\nz";
  EXPECT_EQ(mText->composedCharacterRange(text, 0), Range(0, 1));
  for (std::size_t index = 1; index < 3; ++index) {
    EXPECT_EQ(mText->composedCharacterRange(text, index), Range(1, 2));
  }
  for (std::size_t index = 3; index < 8; ++index) {
    EXPECT_EQ(mText->composedCharacterRange(text, index), Range(3, 5));
  }
  EXPECT_EQ(mText->composedCharacterRange(text, 9), Range(8, 2));
  EXPECT_EQ(mText->composedCharacterRange(text, 10), Range(10, 1));
}

}  // namespace gatehall::contracts
