#include <gtest/gtest.h>

#include "portable/text/Utf16.h"

namespace gatehall {
namespace {

TEST(Utf16, GoesThereAndBackForEveryCharacter) {
  for (char32_t character = 0; character < 0x110000; character += character < 0x3000 ? 1 : 37) {
    if (character >= 0xD800 && character < 0xE000) continue;
    std::u16string text = u"a";
    if (character < 0x10000) {
      text += static_cast<char16_t>(character);
    } else {
      text += static_cast<char16_t>(0xD7C0U + (character >> 10U));
      text += static_cast<char16_t>(0xDC00U + (character & 0x3FFU));
    }
    ASSERT_EQ(utf16(utf8(text)), text) << static_cast<unsigned>(character);
  }
}

TEST(Utf16, WritesWhatOthersWrite) {
  EXPECT_EQ(utf8(u"aé李\U0001F600"), "aé李\U0001F600");
  EXPECT_EQ(utf16("aé李\U0001F600"), u"aé李\U0001F600");
}

TEST(Utf16, PutsAReplacementCharacterWhereSomethingIsMalformed) {
  EXPECT_EQ(utf16("a\xFFz"), u"a\uFFFDz");
  EXPECT_EQ(utf16("\xC3"), u"\uFFFD");
  EXPECT_EQ(utf16("\xED\xA0\x80"), u"\uFFFD\uFFFD\uFFFD");
  EXPECT_EQ(utf8(u"a\xD83Dz"), "a\uFFFDz");
  EXPECT_EQ(utf8(u"\xDE00\xD83D"), "\uFFFD\uFFFD");
}

}  // namespace
}  // namespace gatehall
