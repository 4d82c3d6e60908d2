#include <gtest/gtest.h>

#include "world/json/Base64.h"

namespace gatehall {
namespace {

TEST(Base64, ReadsBytes) {
  EXPECT_EQ(dataFromBase64(""), Data());
  EXPECT_EQ(dataFromBase64("aGVsbG8="), (Data{'h', 'e', 'l', 'l', 'o'}));
  EXPECT_EQ(dataFromBase64("AA=="), Data{0});
  EXPECT_EQ(dataFromBase64("+/+/"), (Data{0xFB, 0xFF, 0xBF}));
}

TEST(Base64, RefusesEverythingElse) {
  for (const auto* text : {"a", "aG", "aGVsbG8", "aGVsbG8==", "=", "====", "A===", "aGVs bG8=",
                           "aGVs\n", "-_-_", "aGVsbG9=", "AB==", "AA=A"}) {
    EXPECT_FALSE(dataFromBase64(text)) << text;
  }
}

}  // namespace
}  // namespace gatehall
