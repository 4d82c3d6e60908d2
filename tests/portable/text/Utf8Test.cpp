#include <gtest/gtest.h>

#include "portable/text/Utf8.h"

namespace gatehall {
namespace {

TEST(Utf8, AcceptsEveryLengthUpToTheLastCharacter) {
  for (const auto* text : {"", "ann", "é", "\xDF\xBF", "世", "\xEF\xBF\xBF", "\xED\x9F\xBF",
                           "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"}) {
    EXPECT_TRUE(isUtf8(text)) << text;
  }
}

TEST(Utf8, RefusesWhatIsCutOverlongASurrogateOrTooLarge) {
  for (const auto* text :
       {"\xFF", "\x80", "a\xC3", "\xC3(", "\xC0\x80", "\xE0\x80\x80", "\xE4\xB8", "\xED\xA0\x80",
        "\xF0\x80\x80\x80", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80"}) {
    EXPECT_FALSE(isUtf8(text)) << testing::PrintToString(text);
  }
}

}  // namespace
}  // namespace gatehall
