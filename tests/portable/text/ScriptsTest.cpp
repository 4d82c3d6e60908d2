#include <gtest/gtest.h>
#include <optional>
#include <string>

#include "portable/text/Scripts.h"

namespace gatehall {
namespace {

TEST(Scripts, AreNamedAsUnicodeHasThem) {
  EXPECT_EQ(scriptOf(U'\u092E'), "Devanagari");
  EXPECT_EQ(scriptOf(U'\u674E'), "Han");
  EXPECT_EQ(scriptOf(U'a'), "Latin");
  EXPECT_EQ(scriptOf(U'\U00010400'), "Deseret");
}

TEST(Scripts, ThatACharacterHasNoneOrManyOf) {
  EXPECT_EQ(scriptOf(U'1'), std::nullopt);
  EXPECT_EQ(scriptOf(U'\u0301'), std::nullopt) << "combines with letters of any";
  EXPECT_EQ(scriptOf(U'\uE000'), std::nullopt) << "for private use";
  EXPECT_EQ(scriptOf(static_cast<char32_t>(-1)), std::nullopt);
}

}  // namespace
}  // namespace gatehall
